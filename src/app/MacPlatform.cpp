#include "app/MacPlatform.h"

namespace quillard::app {

MacPlatform::MacPlatform(int consoleDescriptor)
    : system(consoleDescriptor), application(system.executors.mainThread()), statusBar(system.executors.mainThread()) {}

platform::Platform MacPlatform::platform() {
  return {.accessibility = system.accessibility,
          .application = application,
          .bundle = system.bundle,
          .calendar = system.calendar,
          .clock = system.clock,
          .console = system.console,
          .environment = system.environment,
          .executors = system.executors,
          .httpSessions = system.httpSessions,
          .lockFiles = system.lockFiles,
          .loginService = system.loginService,
          .random = system.random,
          .secretStore = system.secretStore,
          .statusBar = statusBar,
          .syntheticEvents = system.syntheticEvents,
          .updateService = system.updateService,
          .userDefaults = system.userDefaults,
          .userNotifications = system.notifications,
          .webSockets = system.webSockets,
          .windowList = system.windowList,
          .workspace = system.workspace};
}

}  // namespace quillard::app
