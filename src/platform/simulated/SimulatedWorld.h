#pragma once

#include "platform/Platform.h"
#include "platform/simulated/Seed.h"
#include "platform/simulated/SimulatedAppendOnlyFile.h"
#include "platform/simulated/SimulatedApplication.h"
#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedCalendar.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedDesktopCapabilities.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedHttpSessions.h"
#include "platform/simulated/SimulatedLocalSockets.h"
#include "platform/simulated/SimulatedLockFiles.h"
#include "platform/simulated/SimulatedLoginService.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedReadableStarts.h"
#include "platform/simulated/SimulatedSecretStore.h"
#include "platform/simulated/SimulatedStatusBar.h"
#include "platform/simulated/SimulatedStatusWindow.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"
#include "platform/simulated/SimulatedTranslations.h"
#include "platform/simulated/SimulatedUpdateService.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/SimulatedUserNotifications.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "platform/simulated/VirtualTime.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// Everything that an agent meets, made from one seed: what runs twice from the same seed runs the same.
//
// Destroy the agent under test first. Turns that are still asleep when the world ends are unwound while all of it is
// still there.
class SimulatedWorld {
 public:
  explicit SimulatedWorld(Seed seed);
  ~SimulatedWorld();
  SimulatedWorld(const SimulatedWorld&) = delete;
  SimulatedWorld& operator=(const SimulatedWorld&) = delete;

  // What the agent is told that this desktop adds to the rules of prompts: nothing, unless it is set first.
  void setPromptSupplement(const PromptSupplement& wanted) { supplement = wanted; }

  // Whether some programs have to be told at their start that they are read; at first no.
  void setHasReadableStarts(bool has) { hasReadableStarts = has; }

  // Lets this much time pass, with all that happens in it.
  void advance(Seconds duration) { virtualTime.advance(duration); }

  // All of it, as an agent is handed it.
  [[nodiscard]] Platform platform();

  VirtualTime& time() { return virtualTime; }
  SimulatedRandom& random() { return simulatedRandom; }
  SimulatedEnvironment& environment() { return simulatedEnvironment; }
  SimulatedConsole& console() { return simulatedConsole; }
  SimulatedUserDefaults& userDefaults() { return simulatedUserDefaults; }
  SimulatedAppendOnlyFile& auditFile() { return simulatedAuditFile; }
  SimulatedCalendar& calendar() { return simulatedCalendar; }
  SimulatedDesktop& desktop() { return simulatedDesktop; }
  Accessibility& accessibility() { return simulatedDesktop.accessibility(); }
  Workspace& workspace() { return simulatedDesktop.workspace(); }
  WindowList& windowList() { return simulatedDesktop.windowList(); }
  SimulatedDesktopCapabilities& capabilities() { return simulatedCapabilities; }
  SimulatedReadableStarts& readableStarts() { return simulatedReadableStarts; }
  SimulatedSyntheticEvents& syntheticEvents() { return simulatedSyntheticEvents; }
  SimulatedTranslations& translations() { return simulatedTranslations; }
  SimulatedApplication& application() { return simulatedApplication; }
  SimulatedBundle& bundle() { return simulatedBundle; }
  SimulatedHttpSessions& httpSessions() { return simulatedHttpSessions; }
  // Where other processes of the same user may connect to the agent, or listen in its place.
  SimulatedSocketFolder& socketFolder() { return simulatedSocketFolder; }
  SimulatedLocalSockets& localSockets() { return simulatedLocalSockets; }
  // Where other processes of the same user may hold locks too.
  SimulatedLockFolder& lockFolder() { return simulatedLockFolder; }
  SimulatedLockFiles& lockFiles() { return simulatedLockFiles; }
  SimulatedLoginService& loginService() { return simulatedLoginService; }
  SimulatedSecretStore& secretStore() { return simulatedSecretStore; }
  SimulatedStatusBar& statusBar() { return simulatedStatusBar; }
  SimulatedStatusWindowViews& statusWindowViews() { return simulatedStatusWindowViews; }
  SimulatedUpdateService& updateService() { return simulatedUpdateService; }
  SimulatedUserNotifications& userNotifications() { return simulatedUserNotifications; }
  SimulatedWebSockets& webSockets() { return simulatedWebSockets; }

 private:
  PromptSupplement supplement;
  VirtualTime virtualTime;  // First, since the others may hold queues of it.
  SimulatedRandom simulatedRandom;
  SimulatedEnvironment simulatedEnvironment;
  SimulatedConsole simulatedConsole;
  SimulatedUserDefaults simulatedUserDefaults;
  SimulatedAppendOnlyFile simulatedAuditFile;
  SimulatedCalendar simulatedCalendar;
  SimulatedDesktop simulatedDesktop;
  SimulatedReadableStarts simulatedReadableStarts;
  bool hasReadableStarts = false;
  SimulatedDesktopCapabilities simulatedCapabilities{simulatedDesktop.accessibility(), simulatedDesktop.workspace(),
                                                     simulatedDesktop.windowList(), simulatedReadableStarts};
  SimulatedSyntheticEvents simulatedSyntheticEvents;
  SimulatedTranslations simulatedTranslations;
  SimulatedApplication simulatedApplication;
  SimulatedBundle simulatedBundle;
  SimulatedHttpSessions simulatedHttpSessions;
  SimulatedSocketFolder simulatedSocketFolder;
  SimulatedLocalSockets simulatedLocalSockets;
  SimulatedLockFolder simulatedLockFolder;
  SimulatedLockFiles simulatedLockFiles;
  SimulatedLoginService simulatedLoginService;
  SimulatedSecretStore simulatedSecretStore;
  SimulatedStatusBar simulatedStatusBar;
  SimulatedStatusWindowViews simulatedStatusWindowViews;
  SimulatedUpdateService simulatedUpdateService;
  SimulatedUserNotifications simulatedUserNotifications;
  SimulatedWebSockets simulatedWebSockets;
};

}  // namespace quillard::platform::simulated
