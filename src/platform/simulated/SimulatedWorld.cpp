#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {

SimulatedWorld::SimulatedWorld(Seed seed)
    : virtualTime(seed),
      simulatedRandom(seed),
      simulatedDesktop(virtualTime, virtualTime),
      simulatedSyntheticEvents(simulatedDesktop, virtualTime),
      simulatedApplication(virtualTime),
      simulatedLockFiles(simulatedLockFolder),
      simulatedStatusBar(virtualTime),
      simulatedStatusWindowViews(virtualTime),
      simulatedUpdateService(virtualTime),
      simulatedUserNotifications(virtualTime) {}

SimulatedWorld::~SimulatedWorld() { virtualTime.shutDown(); }

Platform SimulatedWorld::platform() {
  return {.accessibility = accessibility(),
          .application = simulatedApplication,
          .bundle = simulatedBundle,
          .calendar = simulatedCalendar,
          .capabilities = simulatedCapabilities,
          .clock = virtualTime,
          .console = simulatedConsole,
          .environment = simulatedEnvironment,
          .executors = virtualTime,
          .httpSessions = simulatedHttpSessions,
          .lockFiles = simulatedLockFiles,
          .loginService = simulatedLoginService,
          .promptSupplement = supplement,
          .random = simulatedRandom,
          .secretStore = simulatedSecretStore,
          .statusBar = simulatedStatusBar,
          .syntheticEvents = simulatedSyntheticEvents,
          .translations = simulatedTranslations,
          .updateService = simulatedUpdateService,
          .userDefaults = simulatedUserDefaults,
          .userNotifications = simulatedUserNotifications,
          .webSockets = simulatedWebSockets,
          .windowList = windowList(),
          .workspace = workspace()};
}

}  // namespace quillard::platform::simulated
