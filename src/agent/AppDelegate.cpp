#include "agent/AppDelegate.h"

#include <string>
#include <utility>

#include "agent/DesktopApprovalPress.h"
#include "agent/FallbackStatusSnapshot.h"
#include "agent/LogReports.h"
#include "agent/QuestionPress.h"
#include "agent/StatusLines.h"
#include "agent/configuration/AgentConfiguration.h"
#include "status/StatusTexts.h"

namespace quillard {
AppDelegate::AppDelegate(const platform::Platform& platform, StatusWindowViews& statusWindowViews,
                         const UserTexts& texts)
    : platform(platform),
      texts(texts),
      installLocation(platform.bundle),
      loginItems(platform.bundle, platform.loginService, platform.workspace, platform.console),
      permissions(platform.workspace),
      pairingConfiguration(pairingDependencies(platform)),
      suppressionStore(platform.userDefaults),
      store(AgentConfiguration::approvalStaleGrace(settings), platform.clock, platform.random),
      auditLog(auditLogDependencies()),
      audit({auditLog, platform.clock, [this] { return AgentConfiguration::logKeepsTexts(settings); }}),
      stampClock(platform.clock, platform.random),
      instanceGuard({platform.application, platform.workspace, platform.lockFiles, platform.executors.mainThread()}),
      notificationPause({platform.userDefaults, platform.clock, platform.calendar, platform.executors.mainThread()},
                        [this] { publishAndRefresh(/*force=*/false); }),
      permissionWatch(platform.accessibility, platform.executors.mainThread(), permissionWatchEvents()),
      announcer({platform.bundle, platform.userNotifications, platform.console, texts}),
      approvals({store, audit, announcer}, currentApprovalsCallbacks()),
      status({platform.statusBar,
              pairingConfiguration,
              platform.userDefaults,
              {platform.application, platform.executors, statusWindowViews, platform.workspace, installLocation,
               loginItems, permissions},
              texts},
             [this] { return statusWindowCallbacks(); }),
      menu({platform.application, platform.bundle, platform.updateService, texts},
           [this] { status.refreshStatusWindow(); }),
      programs(
          {platform.capabilities, platform.readableStarts, platform.executors, platform.clock, platform.windowList},
          [this] { status.refreshStatusWindow(); }),
      detection(promptDetectionDependencies(),
                {.isRelayConfigured = [this] { return pairingConfiguration.isRelayConfigured(); },
                 .publishScan = [this](const auto& outcome) { return approvals.publishScan(outcome); }}),
      suppressions({suppressionStore, platform.userDefaults, platform.clock, store, audit,
                    [this]() -> Questions& { return channel.questions(); }},
                   promptSuppressionsCallbacks()),
      decisions({store, makeApprovalPress(), platform.executors.mainThread(), stampClock,
                 [this] { return AgentConfiguration::phoneLockForGrants(settings); }},
                {.onAnswered = [this](const Uuid& approvalID) { approvalWasAnswered(approvalID); },
                 .onResult = [this](const auto& decision,
                                    const auto& result) { relay.publishResult(decision, withLogHead(result)); },
                 .onBegun = [this](const auto& decision) { decisionBegan(decision); },
                 .onDecided = [this](const auto& decision, const auto& result) { decisionEnded(decision, result); }}),
      relay({.pairing = pairingDependencies(platform),
             .session = {pairingConfiguration, platform.executors, transports, transports, platform.clock,
                         platform.random, platform.console, stampClock}},
            phonePairingsCallbacks()),
      alerts({platform.clock, platform.executors.mainThread(), stampClock, platform.userDefaults, platform.console},
             phoneAlertsActions()),
      channel({platform.localSockets, platform.executors.mainThread(), platform.console, store},
              {store, suppressionStore, platform.clock, platform.random, platform.executors.mainThread()},
              questionsCallbacks(), agentCommandActions(), phoneCommandActions(), suppressionCommandActions()),
      takeover({platform.userDefaults, settings, pairingConfiguration, installLocation}, settingsTakeoverActions()) {}

AppDelegate::~AppDelegate() = default;

// ---- What the system calls

void AppDelegate::applicationDidFinishLaunching() {
  instanceGuard.takeOver([this](bool mayRun) { mayRun ? start() : quit(); });
}

void AppDelegate::start() {
  // An earlier agent, or a tool, may have written since this one was made.
  (void)platform.userDefaults.synchronize();
  takeOverTunables();
  channel.start();
  // Only the agent that runs does so: the settings and the log are shared.
  detection.setEarlierFingerprintKeys(suppressions.open(detection.fingerprintKey()));
  auditLog.open();
  audit.note(audit_events::kStarted);
  menu.configureApplicationMenu();
  status.configureMenuBar();
  permissionWatch.observeAccessibilityPermission();
  if (installLocation.isRunningFromApplications()) {
    (void)loginItems.registerApplication();
    relay.startRelayIfConfigured();
  }
  permissionWatch.scheduleAccessibilityStatusTimer();
  notificationPause.scheduleNotificationPauseResumeTimer();
  announcer.requestNotificationPermission();
  status.showStatusWindowAtStart();
  detection.scheduleStartOfPromptDetection();
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
  if (!instanceGuard.isWaiting()) showStatusWindow();  // The window comes with the start, if there is one.
  return true;
}

void AppDelegate::applicationWillTerminate() {
  instanceGuard.stopWaiting();
  channel.stop();
  status.stop();
  decisions.stop();
  auditLog.flush();
  notificationPause.stop();
  permissionWatch.stop();
  programs.stop();
  detection.stop();
  alerts.stop();
  relay.stop();
  (void)platform.userDefaults.synchronize();  // Who has the lock next reads what this agent has set.
  instanceGuard.releaseSingleInstanceLock();
}

// ---- What menus and buttons call

void AppDelegate::showStatusWindow() { status.showStatusWindow(); }

void AppDelegate::checkForUpdates() { menu.checkForUpdates(); }

void AppDelegate::requestPermissions() {
  if (!installLocation.isRunningFromApplications()) {
    const auto directories = installLocation.applicationDirectories();
    if (!directories.empty()) platform.workspace.openFolder(directories.front());
    return;
  }
  permissions.openPrivacySettings(PermissionManager::accessibilityAnchor);
  permissionWatch.scheduleAccessibilityRechecks();
}

void AppDelegate::quit() { platform.application.terminate(); }

void AppDelegate::pauseNotifications(NotificationPauseOption option) {
  notificationPause.begin(option);
  audit.note(audit_events::kPaused, notificationPause.snapshot().pausedUntil);
  announcer.forget();
  publishAndRefresh(/*force=*/false);
}

void AppDelegate::resumeNotifications() {
  if (notificationPause.isPaused()) audit.note(audit_events::kResumed);
  notificationPause.end();
  publishAndRefresh(/*force=*/false);
}

void AppDelegate::unpairPhoneFromStatusWindow() { relay.unpairAll(); }

void AppDelegate::unpair(int pairing) { relay.unpair(pairing); }

void AppDelegate::pairAnotherPhone() {
  if (permissionWatch.isAccessibilityTrusted()) relay.offer();
}

void AppDelegate::cancelPairing() { relay.withdrawOffer(); }

MacStatusSnapshot AppDelegate::currentStatusSnapshot() {
  const bool isTrusted = permissionWatch.isAccessibilityTrusted();
  const bool isRevoked = relay.isPairingRevoked();
  const auto connection = relay.status();
  return {.texts = texts,
          .installedInApplications = installLocation.isRunningFromApplications(),
          .accessibilityTrusted = isTrusted,
          .loginItemStatus = loginItems.status(),
          .relayConfigured = pairingConfiguration.isRelayConfigured(),
          .pairingRevoked = isRevoked,
          .isOtherComputersPairing = relay.isOtherComputers(),
          .relayConnected = connection.relayConnected,
          .phoneConnected = connection.phoneConnected,
          .phoneCount = connection.phoneCount,
          .connectedPhones = connection.phones,
          .notificationPause = notificationPause.snapshot(),
          .pendingApprovalCount = status.pendingApprovalCount(),
          .wakeablePhones = alerts.wakeablePhones(),
          .isNobodyReached = alerts.isNobodyReached(),
          .scanProblem = approvals.scanProblem(),
          .pairingImage = isRevoked ? std::nullopt : status.pairingImage(isTrusted),
          .offeredPairingImage = isTrusted ? relay.offeredImage() : std::nullopt,
          .pageAddress = pageCode.address(),
          .pageImage = pageCode.image(),
          .isPairingCodeUsed = relay.isFirstPaired(),
          .isPairingOffered = relay.isOffering(),
          .canPairAnother = relay.canOffer(),
          .phones = StatusLines::phones(relay.phones(), platform.clock.now()),
          .pairingCaption = isRevoked ? StatusTexts::revokedPairingCaption(relay.isOtherComputers(), texts)
                                      : status.pairingCaption(isTrusted),
          .updateAvailability = menu.updateAvailability(),
          .questions = StatusLines::questions(store.all()),
          .programs = isTrusted ? programs.newest() : ProgramReadability{},
          .muted = StatusLines::muted(suppressions.all(), platform.clock.now()),
          .relay = StatusLines::relay(pairingConfiguration)};
}

// ---- What the owners report

void AppDelegate::accessibilityWasGranted() {
  publishApprovals(/*force=*/false);
  detection.scheduleScan("accessibility-granted");
  status.refreshStatusWindow();
}

void AppDelegate::takeOverTunables() {
  store.setStaleAfter(AgentConfiguration::approvalStaleGrace(settings));
  detection.takeOverTunables();
}

PhoneReach AppDelegate::phoneReach() {
  if (!installLocation.isRunningFromApplications() || !pairingConfiguration.isRelayConfigured() ||
      !relay.isAnyUsable()) {
    return PhoneReach::none;
  }
  const auto connection = relay.status();
  return connection.relayConnected && connection.isPhonePresent() ? PhoneReach::there : PhoneReach::away;
}

void AppDelegate::approvalWasAnswered(const Uuid& approvalID) {
  approvals.answered(approvalID);
  detection.scheduleScanAfterChange("approval-answered", /*scansAnyway=*/true);
}

void AppDelegate::relayStatusChanged() {
  if (relay.status().isPhonePresent()) status.phoneIsPaired();
  status.refreshStatusWindow();
}

void AppDelegate::handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command) {
  if (command.action == kTestPushAction) return alerts.test(command.pairing, command.deviceID.value_or(""));
  if (command.action != kRemovePhoneAction) return suppressions.handle(command);
  const auto name = relay.removeNewPhone(command.suppressionID);
  if (name) notices.phoneRemoved(*name);
}

void AppDelegate::decisionBegan(const ApprovalRequestEnvelope& decision) {
  const auto approval = store.approval(decision.command.approvalID);
  audit.decisionBegan(decision, approval ? &*approval : nullptr, relay.decidersOf(decision));
}

void AppDelegate::decisionEnded(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result) {
  audit.decisionEnded(decision, result, relay.decidersOf(decision));
  relay.publishOutcome(decision, withLogHead(result));
}

ApprovalResultCommand AppDelegate::withLogHead(ApprovalResultCommand result) const {
  if (auditLog.head().sequence > 0) result.logHead = logHead(auditLog, platform.clock.now());
  return result;
}

ApprovalSnapshot AppDelegate::approvalSnapshot() {
  const NotificationPauseSnapshot pause = notificationPause.snapshot();
  ApprovalSnapshot snapshot{.accessibilityTrusted = permissionWatch.isAccessibilityTrusted(),
                            .state = {.isPaused = pause.isPaused(),
                                      .pausedUntil = pause.pausedUntil,
                                      .grantsNeedVerification = AgentConfiguration::phoneLockForGrants(settings),
                                      .suppressions = suppressions.reports(),
                                      .revision = suppressions.revision()}};
  if (!pause.isPaused()) snapshot.approvals = approvals.waiting();
  return snapshot;
}

void AppDelegate::publishApprovals(bool force) {
  relay.publishCurrentApprovalSnapshot(force);
  alerts.update();
}

void AppDelegate::publishAndRefresh(bool force) {
  publishApprovals(force);
  status.refreshStatusWindow();
}

// ---- What the owners are handed

AuditLogDependencies AppDelegate::auditLogDependencies() {
  return {platform.auditFile, platform.userDefaults, platform.clock, platform.console, [this] {
            return AuditLimits{.bytes = AgentConfiguration::logSize(settings),
                               .age = AgentConfiguration::logAge(settings)};
          }};
}

CurrentApprovalsCallbacks AppDelegate::currentApprovalsCallbacks() {
  return {.isTrusted = [this] { return permissionWatch.isAccessibilityTrusted(); },
          .isPaused = [this] { return notificationPause.isPaused(); },
          .openQuestions = [this] { return channel.questions().openCount(); },
          .publish = [this] { publishApprovals(/*force=*/false); },
          .onCount = [this](std::int64_t count) { status.updateStatus(count); }};
}

PromptSuppressionsCallbacks AppDelegate::promptSuppressionsCallbacks() {
  return {.onSuppressed =
              [this] {
                approvals.changed();
                detection.scheduleScanAfterChange("suppressed", /*scansAnyway=*/false);
              },
          .onUnsuppressed = [this] { detection.scheduleScan("unsuppressed"); },
          .onListChanged = [this] { publishAndRefresh(/*force=*/false); }};
}

SuppressionCommandActions AppDelegate::suppressionCommandActions() {
  return {.all = [this] { return suppressions.all(); },
          .undo = [this](const Uuid& id) { return suppressions.undo(id); },
          .setEnd = [this](const Uuid& id, const SuppressionEnd& end) { return suppressions.setEnd(id, end); }};
}

MeetingReports AppDelegate::meetingReports(int pairing) {
  return {.suppressions = suppressions.reports().value_or(SuppressionReports{}),
          .log = logExcerpt(auditLog, platform.clock.now()),
          .pushes = alerts.reports(pairing)};
}

PhoneAlertsActions AppDelegate::phoneAlertsActions() {
  return {.waiting = [this] { return approvals.waiting(); },
          .endOf = [this](const Uuid& id) { return channel.questions().endOf(id); },
          .isPaused = [this] { return notificationPause.isPaused(); },
          .isEnabled = [this] { return AgentConfiguration::phoneAlerts(settings); },
          .showsTexts = [this] { return AgentConfiguration::phoneAlertTexts(settings); },
          .isAnyPaired = [this] { return pairingConfiguration.isRelayConfigured() && !relay.phones().empty(); },
          .publish = [this](const auto& plan, const auto& contents) { return relay.publishPush(plan, contents); },
          .tellPhones = [this](int pairing) { relay.publishClock(pairing); },
          .onReachChanged =
              [this](bool isNobodyReached) {
                status.refreshStatusWindow();
                if (isNobodyReached) notices.nobodyReached();
              }};
}

PermissionWatchEvents AppDelegate::permissionWatchEvents() {
  return {.onGranted = [this] { accessibilityWasGranted(); },
          .onRevoked = [this] { approvals.forget(); },
          .onConfirmed = [this] { publishAndRefresh(/*force=*/true); },
          .onPolled =
              [this] {
                notificationPause.resumeAfterSleepIfNeeded();
                relay.askAgainIfDue();
                suppressions.endDue();
                auditLog.tend();
                alerts.poll();
              }};
}

PromptDetectionDependencies AppDelegate::promptDetectionDependencies() {
  return {platform.application.processIdentifier(),
          suppressionStore,
          installLocation,
          platform.accessibility,
          platform.workspace,
          platform.windowList,
          platform.executors,
          platform.random,
          platform.clock,
          settings,
          platform.console,
          platform.promptSupplement,
          &platform.translations};
}

std::unique_ptr<ApprovalPress> AppDelegate::makeApprovalPress() {
  auto desktop = std::make_unique<DesktopApprovalPress>(
      DesktopApprovalPressDependencies{.detector = [this]() -> DialogDetector& { return detection.detector(); },
                                       .click = {platform.accessibility, platform.syntheticEvents, platform.clock},
                                       .workspace = platform.workspace,
                                       .executors = platform.executors});
  return std::make_unique<QuestionPress>(std::move(desktop), [this]() -> Questions& { return channel.questions(); });
}

QuestionsCallbacks AppDelegate::questionsCallbacks() {
  return {.phoneReach = [this] { return phoneReach(); },
          .isPaused = [this] { return notificationPause.isPaused(); },
          .wasPhoneWoken = [this](const Uuid& id) { return alerts.isKnown(id); },
          .onChanged = [this] { approvals.questionsChanged(); },
          .onOver = [this](const Uuid& id, const auto& answer, bool wasTaken,
                           auto end) { audit.questionEnded(id, answer, wasTaken, end); }};
}

AgentCommandActions AppDelegate::agentCommandActions() {
  return {.status = [this] { return currentStatusSnapshot(); },
          .pause = [this](NotificationPauseOption option) { pauseNotifications(option); },
          .resume = [this] { resumeNotifications(); },
          .openWindow = [this] { showStatusWindow(); },
          .quit = [this] { quit(); },
          .change = [this](const SettingsChange& change) { return takeover.change(change); }};
}

PhoneCommandActions AppDelegate::phoneCommandActions() {
  return {.phones = [this] { return relay.phones(); },
          .pairings = [this] { return relay.pairings(); },
          .unpair = [this](int pairing) { unpair(pairing); },
          .unpairAll = [this] { unpairPhoneFromStatusWindow(); },
          .offer =
              [this] {
                pairAnotherPhone();
                status.refreshStatusWindow();
                return relay.offeredText();
              }};
}

SettingsTakeoverActions AppDelegate::settingsTakeoverActions() {
  return {.takeOverTunables = [this] { takeOverTunables(); },
          .connectAnew = [this] { relay.relayWasChosen(); },
          .forgetPairingCode = [this] { status.forgetPairingCode(); },
          .forgetApprovals = [this] { approvals.forget(); },
          .startDetection = [this] { detection.scheduleStartOfPromptDetection(); },
          .publish = [this] { publishApprovals(/*force=*/false); },
          .refreshWindow = [this] { status.refreshStatusWindow(); }};
}

PhonePairingsCallbacks AppDelegate::phonePairingsCallbacks() {
  return {.snapshotProvider = [this] { return approvalSnapshot(); },
          .onApprovalRequest = [this](const auto& envelope) { decisions.handleRelayApprovalRequest(envelope); },
          .onSuppressionCommand = [this](const auto& command) { handleRelaySuppressionCommand(command); },
          .onStatusChange =
              [this] {
                relayStatusChanged();
                channel.questions().phonesChanged();
              },
          .onPairingEnding =
              [this](int pairing) {
                decisions.forget(pairing);
                audit.pairingEnded(pairing);
              },
          .onPairingForgotten =
              [this](int pairing) {
                status.forgetPairingCode();
                channel.phones().pairingForgotten(pairing);
                alerts.pairingForgotten(pairing);
              },
          .onPairingRenewed =
              [this] {
                detection.scheduleScan("pairing-reset");
                status.refreshStatusWindow();
              },
          .onFirstGrant = [this](const FirstGrant& grant) { notices.firstGrant(grant); },
          .onUnexpectedPhone = [this](const UnexpectedPhone& phone) { notices.unexpectedPhone(phone); },
          .meetingReports = [this](int pairing) { return meetingReports(pairing); },
          .onPhonesChange = [this](int pairing, const auto& now) { alerts.phonesChanged(pairing, now); },
          .onPushSubscriptions =
              [this](int pairing, const auto& all) {
                alerts.subscriptionsChanged(pairing, all);
                status.refreshStatusWindow();
              },
          .onPushResult = [this](int pairing, const auto& result) { alerts.pushEnded(pairing, result); }};
}

StatusWindowCallbacks AppDelegate::statusWindowCallbacks() {
  const auto weakly = [weak = weak_from_this()](auto act) {
    return [weak, act](auto... arguments) {
      if (const auto self = weak.lock()) act(*self, arguments...);
    };
  };
  return {
      .snapshotProvider =
          [weak = weak_from_this(), platform = platform, texts = texts] {
            const auto self = weak.lock();
            return self ? self->currentStatusSnapshot() : fallbackStatusSnapshot(platform, texts);
          },
      .onEnableLoginItem = weakly([](AppDelegate& self) { (void)self.loginItems.registerApplication(); }),
      .onUnpairPhone = weakly([](AppDelegate& self) { self.unpairPhoneFromStatusWindow(); }),
      .onCheckForUpdates = weakly([](AppDelegate& self) { self.checkForUpdates(); }),
      .onPauseNotifications =
          weakly([](AppDelegate& self, NotificationPauseOption option) { self.pauseNotifications(option); }),
      .onResumeNotifications = weakly([](AppDelegate& self) { self.resumeNotifications(); }),
      .onUnpairPairing = weakly([](AppDelegate& self, int pairing) { self.unpair(pairing); }),
      .onPairAnother = weakly([](AppDelegate& self) { self.pairAnotherPhone(); }),
      .onCancelPairing = weakly([](AppDelegate& self) { self.cancelPairing(); }),
      .onRequestPermissions = weakly([](AppDelegate& self) { self.requestPermissions(); }),
      .onAnswerQuestion = weakly([](AppDelegate& self, const Uuid& id, const std::string& label) {
        (void)self.channel.questions().answer(id, label, AnsweredBy::computer, [](bool) {});
      }),
      .onMakeReadable = weakly([](AppDelegate& self, const std::string& entry) { self.programs.makeReadable(entry); }),
      .onUndoReadable = weakly([](AppDelegate& self, const std::string& entry) { self.programs.undo(entry); }),
      .onUnmute = weakly([](AppDelegate& self, const Uuid& kind) { (void)self.suppressions.undo(kind); }),
      .onSetMuteEnd = weakly([](AppDelegate& self, const Uuid& kind, std::optional<Seconds> after) {
        (void)self.suppressions.setEnd(kind, after ? SuppressionEnd::afterTime(*after) : SuppressionEnd::never());
      }),
      .onSetRelay = [weak = weak_from_this()](const std::string& typed) -> std::optional<std::string> {
        const auto self = weak.lock();
        return self ? self->takeover.setRelay(typed) : std::nullopt;
      }};
}

}  // namespace quillard
