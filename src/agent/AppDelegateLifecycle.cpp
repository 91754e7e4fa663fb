#include <array>
#include <utility>

#include "agent/AgentRules.h"
#include "agent/AppDelegate.h"
#include "agent/FallbackStatusSnapshot.h"
#include "agent/configuration/AgentConfiguration.h"
#include "foundation/PrintableText.h"
#include "status/MenuBarIcon.h"

// From construction to quitting: the start, the single instance, the permission, the pause, and the end.
namespace quillard {
namespace {

constexpr std::array<std::string_view, 2> kAgentBundleIdentifiers{"com.farrowlight.agent", "com.quillard.agent"};
constexpr std::string_view kLockFileName = "com.quillard.agent.lock";
constexpr Seconds kDetectionStartDelay{0.3};
constexpr Seconds kAccessibilityPollInterval{2.0};
constexpr std::array<Seconds, 3> kAccessibilityRecheckDelays{Seconds{0.15}, Seconds{0.75}, Seconds{2.0}};
constexpr Seconds kResumeGrace{0.5};

}  // namespace

AppDelegate::AppDelegate(const platform::Platform& platform)
    : platform(platform),
      installLocation(platform.bundle),
      loginItems(platform.bundle, platform.loginService, platform.workspace, platform.console),
      permissions(platform.workspace),
      pairingConfiguration(pairingDependencies(platform)),
      stableIDs(platform.random),
      suppressionStore(platform.userDefaults),
      store(AgentConfiguration::approvalStaleGrace(platform.environment), platform.clock, platform.random),
      notificationPauseStore(platform.userDefaults),
      lastAccessibilityTrusted(isAccessibilityTrusted()) {}

AppDelegate::~AppDelegate() {
  // What runs elsewhere ends first, while all that it uses is still there.
  relayRegistrationTask.reset();
  madeClicker.reset();
  madeScanWorker.reset();
  relayClient.reset();
  awaitRelayQueue();
}

void AppDelegate::applicationDidFinishLaunching() {
  terminateOtherAgents();
  if (!acquireSingleInstanceLock()) {
    quit();
    return;
  }
  configureApplicationMenu();
  configureMenuBar();
  (void)updateManager();
  observeAccessibilityPermission();
  if (installLocation.isRunningFromApplications()) {
    (void)loginItems.registerApplication();
    startRelayIfConfigured();
  }
  scheduleAccessibilityStatusTimer();
  scheduleNotificationPauseResumeTimer();
  requestNotificationPermission();
  showStatusWindow();
  scheduleStartOfPromptDetection();
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
  showStatusWindow();
  return true;
}

void AppDelegate::applicationWillTerminate() {
  isTerminating = true;
  if (madeClicker) madeClicker->stop();
  safetySweepTimer.reset();
  accessibilityStatusTimer.reset();
  notificationPauseResumeTimer.reset();
  startDetectionTask.reset();
  accessibilityRechecks.clear();
  accessibilityPermissionObserver.reset();
  relayRegistrationTask.reset();
  staleCleanupTask.reset();
  confirmationTask.reset();
  if (eventMonitor) eventMonitor->stop();
  dropRelayClient();
  awaitRelayQueue();
  releaseSingleInstanceLock();
}

void AppDelegate::quit() { platform.application.terminate(); }

// ---- One agent a session

void AppDelegate::terminateOtherAgents() {
  const auto own = platform.application.processIdentifier();
  const auto running = platform.workspace.runningApplications();
  for (const auto identifier : kAgentBundleIdentifiers) {
    for (const auto& application : running) {
      if (application.bundleIdentifier != identifier || application.processIdentifier == own) continue;
      platform.workspace.terminate(application.processIdentifier);
    }
  }
}

bool AppDelegate::acquireSingleInstanceLock() {
  const auto result = platform.lockFiles.acquire(kLockFileName);
  if (result.outcome == platform::LockOutcome::acquired) instanceLockFileDescriptor = result.descriptor;
  return result.outcome != platform::LockOutcome::heldElsewhere;
}

void AppDelegate::releaseSingleInstanceLock() {
  if (instanceLockFileDescriptor < 0) return;
  platform.lockFiles.release(std::exchange(instanceLockFileDescriptor, -1));
}

// ---- Menus and updates

void AppDelegate::configureApplicationMenu() {
  checkForUpdatesMenuItem = platform::ApplicationMenuItem{.title = "Check for Updates...",
                                                          .action = platform::ApplicationMenuAction::custom,
                                                          .isEnabled = updateManager() != nullptr,
                                                          .onChoice = [weak = weak_from_this()] {
                                                            if (const auto self = weak.lock()) self->checkForUpdates();
                                                          }};
  setApplicationMenu();
}

void AppDelegate::setApplicationMenu() {
  using platform::ApplicationMenuAction;
  platform.application.setApplicationMenu(
      "Quillard", {{.title = "About Quillard", .action = ApplicationMenuAction::standardAboutPanel},
                   *checkForUpdatesMenuItem,
                   {},
                   {.title = "Quit Quillard", .action = ApplicationMenuAction::terminate, .keyEquivalent = "q"}});
}

void AppDelegate::configureMenuBar() {
  statusItem = platform.statusBar.makeStatusItem(MenuBarIcon::idleLength, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->showStatusWindow();
  });
  statusItem->setImage(MenuBarIcon::image(0));
  statusItem->setToolTip("Quillard");
}

UpdateManager* AppDelegate::updateManager() {
  if (!std::exchange(isUpdateManagerSettled, true) && UpdateManager::isSupported(platform.bundle)) {
    madeUpdateManager = std::make_unique<UpdateManager>(platform.updateService, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->refreshStatusWindow();
    });
  }
  return madeUpdateManager.get();
}

void AppDelegate::checkForUpdates() {
  if (auto* manager = updateManager()) {
    manager->checkForUpdates();
    return;
  }
  if (!checkForUpdatesMenuItem || !checkForUpdatesMenuItem->isEnabled) return;
  checkForUpdatesMenuItem->isEnabled = false;
  setApplicationMenu();
}

// ---- Detection

void AppDelegate::scheduleStartOfPromptDetection() {
  startDetectionTask = platform.executors.mainThread().postAfter(kDetectionStartDelay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->startDetectionTask.reset();
    if (self->installLocation.isRunningFromApplications()) self->startPromptDetection();
  });
}

void AppDelegate::startPromptDetection() {
  if (!isRelayConfigured()) return;
  auto& mainThread = platform.executors.mainThread();
  eventMonitor = std::make_unique<DialogEventMonitor>(
      platform.application.processIdentifier(), AgentConfiguration::eventScanDebounce(platform.environment),
      [weak = weak_from_this()](const std::string& reason) {
        if (const auto self = weak.lock()) self->scheduleScan(reason);
      },
      MonitorDependencies{mainThread, platform.workspace, platform.windowList, platform.environment});
  if (!eventMonitor->isRunning()) eventMonitor->start();
  safetySweepTimer =
      mainThread.repeatEvery(AgentConfiguration::safetySweepInterval(platform.environment), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->scheduleScan("safety-sweep");
      });
  scheduleScan("prompt-detection-started");
}

// ---- The permission

bool AppDelegate::isAccessibilityTrusted() { return platform.accessibility.lastKnownProcessTrust(); }

void AppDelegate::observeAccessibilityPermission() {
  accessibilityPermissionObserver = platform.accessibility.observeTrustChanges([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->accessibilityPermissionDidChange();
  });
}

void AppDelegate::accessibilityPermissionDidChange() { scheduleAccessibilityRechecks(); }

void AppDelegate::scheduleAccessibilityStatusTimer() {
  accessibilityStatusTimer.reset();
  accessibilityStatusTimer =
      platform.executors.mainThread().repeatEvery(kAccessibilityPollInterval, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->handleAccessibilityStatusChangeIfNeeded(/*forceRefresh=*/false);
        self->resumeAfterSleepIfNeeded();
      });
}

// The system tells of a change a little before or after its answer changes.
void AppDelegate::scheduleAccessibilityRechecks() {
  for (const Seconds delay : kAccessibilityRecheckDelays) {
    const auto number = ++accessibilityRecheckCount;
    accessibilityRechecks[number] = platform.executors.mainThread().postAfter(delay, [weak = weak_from_this(), number] {
      const auto self = weak.lock();
      if (!self) return;
      self->accessibilityRechecks.erase(number);
      self->handleAccessibilityStatusChangeIfNeeded(/*forceRefresh=*/true);
    });
  }
}

void AppDelegate::handleAccessibilityStatusChangeIfNeeded(bool forceRefresh) {
  platform.accessibility.refreshProcessTrust([weak = weak_from_this(), forceRefresh](bool isTrusted) {
    const auto self = weak.lock();
    if (self && !self->isTerminating) self->accessibilityTrustRead(isTrusted, forceRefresh);
  });
}

void AppDelegate::accessibilityTrustRead(bool isTrusted, bool forceRefresh) {
  const bool hasChanged = std::exchange(lastAccessibilityTrusted, isTrusted) != isTrusted;
  if (hasChanged && isTrusted) {
    publishCurrentApprovalSnapshot(/*force=*/false);
    scheduleScan("accessibility-granted");
    refreshStatusWindow();
  } else if (hasChanged) {
    forgetApprovals();
    refreshStatusWindow();
  } else if (forceRefresh) {
    publishCurrentApprovalSnapshot(/*force=*/true);
    refreshStatusWindow();
  }
}

void AppDelegate::requestPermissions() {
  if (!installLocation.isRunningFromApplications()) {
    const auto directories = installLocation.applicationDirectories();
    if (!directories.empty()) platform.workspace.openFolder(directories.front());
    return;
  }
  permissions.openPrivacySettings(PermissionManager::accessibilityAnchor);
  scheduleAccessibilityRechecks();
}

void AppDelegate::requestNotificationPermission() {
  if (!platform.bundle.identifier()) return;
  platform.userNotifications.requestAuthorization([&console = platform.console](const auto& error) {
    if (error) console.writeLine("Unable to request notification permission: " + printableText(*error));
  });
}

// ---- The pause

void AppDelegate::scheduleNotificationPauseResumeTimer() {
  notificationPauseResumeTimer.reset();
  const auto pause = notificationPauseStore.snapshot();
  if (!pause.pausedUntil || pause.pausesIndefinitely) return;
  const Seconds delay = AgentRules::resumeDelay(*pause.pausedUntil, platform.clock.now());
  notificationPauseResumeTimer = platform.executors.mainThread().postAfter(delay, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->notificationPauseMayHaveEnded();
  });
}

void AppDelegate::notificationPauseMayHaveEnded() {
  notificationPauseResumeTimer.reset();
  notificationPauseStore.pruneExpired(platform.clock.now());
  if (notificationPauseStore.snapshot().isPaused()) {
    scheduleNotificationPauseResumeTimer();
    return;
  }
  publishCurrentApprovalSnapshot(/*force=*/false);
  refreshStatusWindow();
}

// Where the monotonic clock stands still while the computer sleeps, the timer is late by that sleep: a pause until the
// morning must not last until the evening.
void AppDelegate::resumeAfterSleepIfNeeded() {
  if (!notificationPauseResumeTimer) return;
  const auto end = notificationPauseStore.snapshot().pausedUntil;
  if (end && advanced(*end, kResumeGrace) <= platform.clock.now()) notificationPauseMayHaveEnded();
}

}  // namespace quillard
