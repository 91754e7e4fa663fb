#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {

namespace {

LocalPeer agentProcess() {
  return {.process = {.processIdentifier = 1,
                      .executable = "/Applications/Quillard.app/quillard",
                      .programName = "quillard",
                      .workingFolder = "/"}};
}

}  // namespace

SimulatedWorld::SimulatedWorld(Seed seed)
    : virtualTime(seed),
      simulatedRandom(seed),
      simulatedDesktop(virtualTime, virtualTime),
      simulatedSyntheticEvents(simulatedDesktop, virtualTime),
      simulatedApplication(virtualTime),
      simulatedLocalSockets(simulatedSocketFolder, virtualTime.mainThread(), agentProcess()),
      simulatedLockFiles(simulatedLockFolder),
      simulatedStatusBar(virtualTime),
      simulatedStatusWindowViews(virtualTime),
      simulatedUpdateService(virtualTime),
      simulatedUserNotifications(virtualTime) {}

SimulatedWorld::~SimulatedWorld() { virtualTime.shutDown(); }

Platform SimulatedWorld::platform() {
  return {.accessibility = accessibility(),
          .application = simulatedApplication,
          .auditFile = simulatedAuditFile,
          .bundle = simulatedBundle,
          .calendar = simulatedCalendar,
          .capabilities = simulatedCapabilities,
          .clock = virtualTime,
          .console = simulatedConsole,
          .environment = simulatedEnvironment,
          .executors = virtualTime,
          .httpSessions = simulatedHttpSessions,
          .localSockets = simulatedLocalSockets,
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
          .workspace = workspace(),
          .readableStarts = hasReadableStarts ? &simulatedReadableStarts : nullptr};
}

}  // namespace quillard::platform::simulated
