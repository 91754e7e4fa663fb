#include "agent/AppDelegate.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "agent/DesktopApprovalPress.h"
#include "agent/FallbackStatusSnapshot.h"
#include "agent/LogReports.h"
#include "agent/QuestionPress.h"
#include "agent/configuration/AgentConfiguration.h"
#include "foundation/PrintableText.h"
#include "foundation/UrlComponents.h"
#include "status/StatusTexts.h"

namespace quillard {
namespace {

std::vector<PhoneLine> phoneLines(const std::vector<PairedPhone>& phones, Date now) {
  std::vector<PhoneLine> lines;
  for (const auto& [pairing, phone, isUnexpected, isRefused, isUnreadable] : phones) {
    lines.push_back({.pairing = pairing,
                     .name = phone.name,
                     .sinceSeconds = (now - phone.since),
                     .heardSeconds = phone.isConnected ? Seconds::zero() : (now - phone.heardAt),
                     .decisions = phone.decisions,
                     .isConnected = phone.isConnected,
                     .isUnexpected = isUnexpected,
                     .isRefused = isRefused,
                     .isUnreadable = isUnreadable});
  }
  return lines;
}

std::vector<MutedKind> mutedKinds(const std::vector<Suppression>& suppressions, Date now) {
  std::vector<MutedKind> kinds;
  for (const auto& one : suppressions) {
    kinds.push_back({.id = one.id, .program = one.kind.appName, .title = one.kind.windowTitle});
    if (one.until) kinds.back().remaining = std::max<Seconds>(*one.until - now, Seconds::zero());
  }
  return kinds;
}

}  // namespace

AppDelegate::AppDelegate(const platform::Platform& platform, StatusWindowViews& statusWindowViews,
                         const UserTexts& texts)
    : platform(platform),
      texts(texts),
      installLocation(platform.bundle),
      loginItems(platform.bundle, platform.loginService, platform.workspace, platform.console),
      permissions(platform.workspace),
      pairingConfiguration(pairingDependencies(platform)),
      suppressionStore(platform.userDefaults),
      store(AgentConfiguration::approvalStaleGrace({platform.environment, &platform.userDefaults}), platform.clock,
            platform.random),
      auditLog(auditLogDependencies()),
      audit({auditLog, platform.clock,
             [this] {
               return AgentConfiguration::logKeepsTexts({this->platform.environment, &this->platform.userDefaults});
             }}),
      stampClock(platform.clock, platform.random),
      instanceGuard({platform.application, platform.workspace, platform.lockFiles, platform.executors.mainThread()}),
      notificationPause({platform.userDefaults, platform.clock, platform.calendar, platform.executors.mainThread()},
                        [this] { publishAndRefresh(/*force=*/false); }),
      permissionWatch(platform.accessibility, platform.executors.mainThread(), permissionWatchEvents()),
      announcer({platform.bundle, platform.userNotifications, platform.console, texts}),
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
                 .publishScan = [this](const auto& outcome) { return publishScan(outcome); }}),
      suppressions({suppressionStore, platform.userDefaults, platform.clock, store, audit,
                    [this]() -> Questions& { return channel.questions(); }},
                   promptSuppressionsCallbacks()),
      decisions({store, makeApprovalPress(), platform.executors.mainThread(), stampClock,
                 [this] { return grantsNeedVerification(); }},
                {.onAnswered = [this](const Uuid& approvalID) { approvalWasAnswered(approvalID); },
                 .onResult = [this](const auto& decision,
                                    const auto& result) { relay.publishResult(decision, withLogHead(result)); },
                 .onBegun = [this](const auto& decision) { decisionBegan(decision); },
                 .onDecided = [this](const auto& decision, const auto& result) { decisionEnded(decision, result); }}),
      relay({.pairing = pairingDependencies(platform),
             .session = {pairingConfiguration, platform.executors, transports, transports, platform.clock,
                         platform.random, platform.console, stampClock}},
            phonePairingsCallbacks()),
      alerts({platform.clock, platform.executors.mainThread(), stampClock}, phoneAlertsActions()),
      channel({platform.localSockets, platform.executors.mainThread(), platform.console, store},
              {store, suppressionStore, platform.clock, platform.random, platform.executors.mainThread()},
              questionsCallbacks(), agentCommandActions(), phoneCommandActions(), suppressionCommandActions()) {}

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
          .scanProblem = scanProblem,
          .pairingImage = isRevoked ? std::nullopt : status.pairingImage(isTrusted),
          .offeredPairingImage = isTrusted ? relay.offeredImage() : std::nullopt,
          .pageAddress = pageCode.address(),
          .pageImage = pageCode.image(),
          .isPairingCodeUsed = relay.isFirstPaired(),
          .isPairingOffered = relay.isOffering(),
          .canPairAnother = relay.canOffer(),
          .phones = phoneLines(relay.phones(), platform.clock.now()),
          .pairingCaption = isRevoked ? StatusTexts::revokedPairingCaption(relay.isOtherComputers(), texts)
                                      : status.pairingCaption(isTrusted),
          .updateAvailability = menu.updateAvailability(),
          .questions = waitingQuestions(),
          .programs = isTrusted ? programs.newest() : ProgramReadability{},
          .muted = mutedKinds(suppressions.all(), platform.clock.now()),
          .relay = relayChoice()};
}

RelayChoice AppDelegate::relayChoice() {
  const auto configured = pairingConfiguration.configuredRelay();
  if (!configured) return {};
  const auto components = UrlComponents::parse(configured->relayURL);
  return {.address = components ? components->printableText() : printableText(configured->relayURL),
          .origin = pairingConfiguration.relayOrigin()};
}

std::vector<WaitingQuestion> AppDelegate::waitingQuestions() const {
  std::vector<WaitingQuestion> waiting;
  for (const auto& approval : store.all()) {
    if (!approval.isAsked) continue;
    auto& one = waiting.emplace_back(WaitingQuestion{.id = approval.id,
                                                     .program = approval.appName,
                                                     .question = approval.windowTitle,
                                                     .lines = approval.messageLines});
    for (const auto& button : approval.buttons) one.labels.push_back(button.label);
  }
  return waiting;
}

// ---- What the owners report

std::optional<std::size_t> AppDelegate::publishScan(const ScanOutcome& outcome) {
  if (!permissionWatch.isAccessibilityTrusted()) {
    forgetApprovals();
    return std::nullopt;
  }
  scanProblem = ScanProblem::of(outcome);
  const auto missedCount = store.merge(outcome);
  const auto current = store.all();
  audit.approvalsChanged(current);
  publishApprovals(/*force=*/false);
  announcer.announce(current, notificationPause.isPaused());
  status.updateStatus(static_cast<std::int64_t>(current.size()));
  return missedCount;
}

void AppDelegate::accessibilityWasGranted() {
  publishApprovals(/*force=*/false);
  detection.scheduleScan("accessibility-granted");
  status.refreshStatusWindow();
}

void AppDelegate::forgetApprovals() {
  scanProblem = {};
  audit.lostSight();
  store.replace({});
  announcer.forget();
  status.updateStatus(static_cast<std::int64_t>(channel.questions().openCount()));
  publishApprovals(/*force=*/false);
}

void AppDelegate::pendingApprovalsChanged() {
  audit.approvalsChanged(store.all());
  publishApprovals(/*force=*/false);
  status.updateStatus(static_cast<std::int64_t>(store.all().size()));
}

void AppDelegate::questionsChanged() {
  announcer.announce(store.all(), notificationPause.isPaused());
  pendingApprovalsChanged();
}

std::variant<std::string, SettingsChangeResult> AppDelegate::changeSetting(const SettingsChange& change) {
  const bool wasConfigured = pairingConfiguration.isRelayConfigured();
  const auto authorityBefore = relayAuthorityFile();
  if (const auto problem = apply(change, platform.userDefaults)) return *problem;
  auto unwritten = platform.userDefaults.synchronize();
  if (change.name == kRelaySetting) return SettingsChangeResult{takeOverRelay(wasConfigured), std::move(unwritten)};
  takeOverTunables();
  if (relayAuthorityFile() != authorityBefore) connectAnew();
  publishApprovals(/*force=*/false);
  return SettingsChangeResult{/*isTakenOver=*/true, std::move(unwritten)};
}

std::optional<std::string> AppDelegate::setRelay(const std::string& typed) {
  const auto outcome = changeSetting({.name = std::string(kRelaySetting), .value = typed});
  if (const auto* const problem = std::get_if<std::string>(&outcome)) return *problem;
  return std::get<SettingsChangeResult>(outcome).unwritten;
}

void AppDelegate::takeOverTunables() {
  store.setStaleAfter(AgentConfiguration::approvalStaleGrace({platform.environment, &platform.userDefaults}));
  detection.takeOverTunables();
}

std::string AppDelegate::relayAuthorityFile() const {
  return AgentConfiguration::relayAuthorityFile({platform.environment, &platform.userDefaults});
}

// An open connection was made with a relay for which the authorities of before have vouched.
void AppDelegate::connectAnew() {
  if (installLocation.isRunningFromApplications()) relay.relayWasChosen();
}

// Where the environment or the program itself names a relay, the user's is kept and not used.
bool AppDelegate::takeOverRelay(bool wasConfigured) {
  const auto origin = pairingConfiguration.relayOrigin();
  if (origin.value_or(RelayOrigin::user) != RelayOrigin::user) return false;
  if (!installLocation.isRunningFromApplications()) return false;
  status.forgetPairingCode();
  relay.relayWasChosen();
  if (!origin) {
    forgetApprovals();  // Nothing is looked at without a relay.
  } else if (!wasConfigured) {
    detection.scheduleStartOfPromptDetection();
  }
  status.refreshStatusWindow();
  return true;
}

PhoneReach AppDelegate::phoneReach() {
  if (!installLocation.isRunningFromApplications() || !pairingConfiguration.isRelayConfigured() ||
      !relay.isAnyUsable()) {
    return PhoneReach::none;
  }
  const auto& connection = relay.status();
  const bool isThere = connection.phoneConnected || connection.phoneCount > 0 || !connection.phones.empty();
  return connection.relayConnected && isThere ? PhoneReach::there : PhoneReach::away;
}

void AppDelegate::approvalWasAnswered(const Uuid& approvalID) {
  // What was answered and seen gone is over: the same text again is a new prompt.
  store.remove(approvalID, Seconds::zero());
  pendingApprovalsChanged();
  detection.scheduleScanAfterChange("approval-answered", /*scansAnyway=*/true);
}

void AppDelegate::relayStatusChanged() {
  const auto& connection = relay.status();
  if (connection.phoneConnected || connection.phoneCount > 0 || !connection.phones.empty()) status.phoneIsPaired();
  status.refreshStatusWindow();
}

void AppDelegate::handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command) {
  if (command.action == kTestPushAction) return alerts.test(command.pairing, command.deviceID.value_or(""));
  if (command.action != kRemovePhoneAction) return suppressions.handle(command);
  const auto name = relay.removeNewPhone(command.suppressionID);
  if (name) announcer.tell("phone-removed", "A phone has had %1 removed.", {*name}, /*isLogged=*/true);
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

bool AppDelegate::grantsNeedVerification() const {
  return AgentConfiguration::phoneLockForGrants({platform.environment, &platform.userDefaults});
}

ApprovalSnapshot AppDelegate::approvalSnapshot() {
  const NotificationPauseSnapshot pause = notificationPause.snapshot();
  ApprovalSnapshot snapshot{.accessibilityTrusted = permissionWatch.isAccessibilityTrusted(),
                            .state = {.isPaused = pause.isPaused(),
                                      .pausedUntil = pause.pausedUntil,
                                      .grantsNeedVerification = grantsNeedVerification(),
                                      .suppressions = suppressions.reports(),
                                      .revision = suppressions.revision()}};
  if (!pause.isPaused()) snapshot.approvals = waitingApprovals();
  return snapshot;
}

std::vector<PendingApproval> AppDelegate::waitingApprovals() {
  auto approvals = store.all();
  // What programs ask needs no permission.
  if (!permissionWatch.isAccessibilityTrusted()) std::erase_if(approvals, [](const auto& one) { return !one.isAsked; });
  return approvals;
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
            const AgentConfiguration::Sources sources{platform.environment, &platform.userDefaults};
            return AuditLimits{.bytes = AgentConfiguration::logSize(sources),
                               .age = AgentConfiguration::logAge(sources)};
          }};
}

PromptSuppressionsCallbacks AppDelegate::promptSuppressionsCallbacks() {
  return {.onSuppressed =
              [this] {
                pendingApprovalsChanged();
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
  const auto isOn = [this](bool (*setting)(const AgentConfiguration::Sources&)) {
    return setting({platform.environment, &platform.userDefaults});
  };
  return {.waiting = [this] { return waitingApprovals(); },
          .endOf = [this](const Uuid& id) { return channel.questions().endOf(id); },
          .isPaused = [this] { return notificationPause.isPaused(); },
          .isEnabled = [isOn] { return isOn(AgentConfiguration::phoneAlerts); },
          .showsTexts = [isOn] { return isOn(AgentConfiguration::phoneAlertTexts); },
          .isAnyPaired = [this] { return pairingConfiguration.isRelayConfigured() && !relay.phones().empty(); },
          .publish = [this](const auto& plan, const auto& contents) { return relay.publishPush(plan, contents); },
          .tellPhones = [this](int pairing) { relay.publishClock(pairing); },
          .onReachChanged =
              [this](bool isNobodyReached) {
                status.refreshStatusWindow();
                if (!isNobodyReached) return;
                announcer.tell("nobody-reached",
                               "A prompt waits, and no phone was told: none shows its page, and none could be woken.",
                               {},
                               /*isLogged=*/true);
              }};
}

PermissionWatchEvents AppDelegate::permissionWatchEvents() {
  return {.onGranted = [this] { accessibilityWasGranted(); },
          .onRevoked = [this] { forgetApprovals(); },
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
          {platform.environment, &platform.userDefaults},
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
          .onChanged = [this] { questionsChanged(); },
          .onOver = [this](const Uuid& id, const auto& answer, bool wasTaken,
                           auto end) { audit.questionEnded(id, answer, wasTaken, end); }};
}

AgentCommandActions AppDelegate::agentCommandActions() {
  return {.status = [this] { return currentStatusSnapshot(); },
          .pause = [this](NotificationPauseOption option) { pauseNotifications(option); },
          .resume = [this] { resumeNotifications(); },
          .openWindow = [this] { showStatusWindow(); },
          .quit = [this] { quit(); },
          .change = [this](const SettingsChange& change) { return changeSetting(change); }};
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
          .onFirstGrant =
              [this](const FirstGrant& grant) {
                const auto& name = grant.phone.name;
                announcer.tell(
                    "first-grant",
                    grant.isCertain
                        ? TextKey("%1 has answered a prompt for the first time.")
                        : TextKey("A phone paired with the code of %1 has answered a prompt for the first time."),
                    {name},
                    /*isLogged=*/false);
              },
          .onUnexpectedPhone =
              [this](const UnexpectedPhone& phone) {
                announcer.tell(
                    "new-phone",
                    "%1 has paired with the code of %2. If you do not know it, unpair it in Quillard's window.",
                    {phone.name, phone.earlierName},
                    /*isLogged=*/true);
              },
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
        return self ? self->setRelay(typed) : std::nullopt;
      }};
}

}  // namespace quillard
