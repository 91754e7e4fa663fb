#include "agent/RelaySession.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/BrokenPromise.h"
#include "foundation/StrictBase64.h"
#include "push/PushEncryption.h"
#include "relay/RelayAddress.h"
#include "relay/SnapshotTrimming.h"
#include "values/Time.h"

namespace quillard {
namespace {

constexpr Seconds kCloseTimeout{0.5};
constexpr Seconds kCloseCheckInterval{0.01};
constexpr Seconds kFirstRegistrationDelay{3};
constexpr Seconds kLongestRegistrationDelay{60};
constexpr Seconds kRevokedPairingInterval{3600};
constexpr Seconds kResetTimeout{2};
constexpr std::string_view kPairingRevokedLine =
    "The relay calls this pairing revoked. The status window offers to pair anew; the relay is asked again every hour.";
constexpr std::string_view kOtherComputerLine =
    "The relay knows another computer by this pairing's code: somebody else may have it. The status window offers to "
    "pair anew; the relay is asked again every hour.";

// A page that was hidden has received what was sent meanwhile.
std::vector<RelayPhoneStatus> withoutSleep(std::vector<RelayPhoneStatus> phones) {
  for (auto& phone : phones) phone.isAsleep = false;
  return phones;
}

bool phonePartDiffers(const RelayConnectionStatus& one, const RelayConnectionStatus& other) {
  return one.phoneConnected != other.phoneConnected || one.phoneCount != other.phoneCount ||
         withoutSleep(one.phones) != withoutSleep(other.phones);
}

// Where a tap on a notification leads when the phone has not said.
std::string pageOf(const RelayLaunchConfiguration& configuration) {
  return PairingConfiguration::backendBaseURL(configuration.relayURL).value_or("") + "/";
}

}  // namespace

RelaySession::RelaySession(const RelaySessionDependencies& dependencies, RelaySessionCallbacks callbacks)
    : dependencies(dependencies), callbacks(std::move(callbacks)), nextRegistrationDelay(kFirstRegistrationDelay) {}

RelaySession::~RelaySession() {
  isStopped = true;
  nextRegistration.reset();
  relayRegistrationTask.reset();
  relayClient.reset();
  awaitRelayQueue();
}

// ---- The start

void RelaySession::startRelayIfConfigured() {
  auto found = findAccess();
  if (!found) return;
  beginRelayGeneration();
  dropRelayClient();
  access = std::move(found);
  registerRelayToken();
}

void RelaySession::relayWasChosen() {
  if (isEnded) return;
  if (pairingResetInProgress) {
    dependencies.pairingConfiguration.relayWasChosen();
    return unpaired();
  }
  letGoOfRelay();
  relayStatus = {};
  dependencies.pairingConfiguration.relayWasChosen();
  startRelayIfConfigured();
  callbacks.onStatusChange();
}

std::optional<RelaySession::Access> RelaySession::findAccess() const {
  const auto configuration = dependencies.pairingConfiguration.launchConfiguration();
  if (!configuration) return std::nullopt;
  const auto address = relaySocketURL(*configuration);
  if (const auto* refusal = std::get_if<RelayAddressRefusal>(&address)) {
    if (!refusal->line.empty()) dependencies.console.writeLine(refusal->line);
    return std::nullopt;
  }
  return Access{
      .configuration = *configuration,
      .socketURL = std::get<std::string>(address),
      .secrets = secretsFor(dependencies.pairingConfiguration.installationSecrets(), configuration->relayURL)};
}

InstallationSecrets RelaySession::secretsFor(InstallationSecrets secrets, const std::string& relayURL) {
  secrets.computerKey = computerKeyFor(secrets.computerKey, relayURL);
  return secrets;
}

void RelaySession::beginRelayGeneration() {
  if (relayGeneration == std::numeric_limits<std::int64_t>::max()) {
    stopForBrokenPromise("The relay was started more often than can be counted.");
  }
  ++relayGeneration;
}

// ---- The registration

void RelaySession::registerRelayToken() {
  nextRegistration.reset();
  const auto ifCurrent = [this, generation = relayGeneration](auto act) {
    return [this, generation, act](const auto&... arguments) {
      if (relayGeneration == generation) act(arguments...);
    };
  };
  // The task ends with this session, so that its events need no scope.
  relayRegistrationTask = std::make_unique<RelayRegistrationTask>(
      access->configuration, access->secrets.relayAuthToken, dependencies.httpSessions,
      dependencies.executors.mainThread(),
      RelayRegistrationEvents{
          .onRegistered = ifCurrent([this] { relayTokenRegistered(); }),
          .onRevoked = ifCurrent([this] { relayRevokedPairing(/*isOtherComputers=*/false); }),
          .onOtherComputer = ifCurrent([this] { relayRevokedPairing(/*isOtherComputers=*/true); }),
          .onComputerKeyWanted = ifCurrent([this] { relayWantsComputerKey(); }),
          .onFailure = ifCurrent([this](const std::string& description) { relayTokenNotRegistered(description); })},
      access->secrets.computerKey);
}

void RelaySession::registerRelayTokenAfter(Seconds delay) {
  nextRegistration = dependencies.executors.mainThread().postAfter(delay, [this] { registerRelayToken(); });
}

void RelaySession::relayTokenRegistered() {
  relayRegistrationTask.reset();
  tokenRegistered = true;
  const bool wasRevoked = std::exchange(pairingRevoked, false);
  if (!relayClient || clientKey != access->secrets.computerKey) {
    dropRelayClient();
    relayClient = makeRelayClient();
  }
  relayClient->connect();
  publishCurrentApprovalSnapshot(/*force=*/true);
  if (wasRevoked) callbacks.onStatusChange();
}

void RelaySession::relayWantsComputerKey() {
  access->secrets =
      secretsFor(dependencies.pairingConfiguration.secretsWithComputerKey(), access->configuration.relayURL);
  registerRelayToken();
}

void RelaySession::relayTokenNotRegistered(const std::string& description) {
  dependencies.console.writeLine("Unable to register relay token: " + description);
  if (!pairingRevoked) return;  // The task tries again by itself.
  relayRegistrationTask.reset();
  askAgainInAnHour();
}

std::unique_ptr<RelayClient> RelaySession::makeRelayClient() {
  clientKey = access->secrets.computerKey;
  if (!relayQueue) {
    relayQueue =
        dependencies.executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  }
  if (!conversation) {
    conversation = std::make_shared<SealedConversation>(access->secrets.e2eSecret, dependencies.random);
  }
  return std::make_unique<RelayClient>(
      RelayClientAccess{.url = access->socketURL,
                        .relaySecret = access->secrets.relayAuthToken,
                        .cryptoSecret = access->secrets.e2eSecret,
                        .computerKey = access->secrets.computerKey,
                        .conversation = conversation},
      relayClientCallbacks(), *relayQueue,
      RelayClientDependencies{dependencies.webSockets, dependencies.clock, dependencies.random, dependencies.console,
                              dependencies.stampClock});
}

// ---- A relay that refuses

// During a reset the identity that it refuses is about to go.
void RelaySession::relayRefused(RelayRefusal refusal) {
  if (pairingResetInProgress) return;
  if (refusal == RelayRefusal::pairingRevoked) return relayRevokedPairing(/*isOtherComputers=*/false);
  registerRelayTokenAfter(nextRegistrationDelay);
  nextRegistrationDelay = std::min(2 * nextRegistrationDelay, kLongestRegistrationDelay);
}

void RelaySession::relayRevokedPairing(bool isOtherComputers) {
  relayRegistrationTask.reset();
  askAgainInAnHour();
  const bool wasOtherComputers = std::exchange(otherComputer, isOtherComputers);
  if (std::exchange(pairingRevoked, true) && wasOtherComputers == isOtherComputers) return;
  dependencies.console.writeLine(isOtherComputers ? kOtherComputerLine : kPairingRevokedLine);
  callbacks.onStatusChange();
}

void RelaySession::askAgainInAnHour() {
  askAgainAt = advanced(dependencies.clock.now(), kRevokedPairingInterval);
  registerRelayTokenAfter(kRevokedPairingInterval);
}

void RelaySession::askAgainIfDue() {
  if (pairingRevoked && nextRegistration && dependencies.clock.now() >= askAgainAt) registerRelayToken();
}

// They are called on the client's queue, and only pass on what they were given.
RelayClientCallbacks RelaySession::relayClientCallbacks() {
  const auto ifCurrent = scope.bind([this, generation = relayGeneration](const auto& act) {
    if (relayGeneration == generation && !isStopped) act();
  });
  const auto onMainThread = [ifCurrent, &mainThread = dependencies.executors.mainThread()](auto act) {
    mainThread.post([ifCurrent, act = std::move(act)] { ifCurrent(act); });
  };
  return {.onApprovalRequest =
              [this, onMainThread](const ApprovalRequestEnvelope& envelope) {
                onMainThread([this, envelope] {
                  if (!pairingResetInProgress) callbacks.onApprovalRequest(envelope);
                });
              },
          .onSuppressionCommand =
              [this, onMainThread](const ApprovalSuppressionCommand& command) {
                onMainThread([this, command] {
                  if (!pairingResetInProgress) callbacks.onSuppressionCommand(command);
                });
              },
          .onStatusChange =
              [this, onMainThread](const RelayConnectionStatus& status) {
                onMainThread([this, status] { relayStatusChanged(status); });
              },
          .onRefused =
              [this, onMainThread](RelayRefusal refusal) { onMainThread([this, refusal] { relayRefused(refusal); }); },
          .onPushSubscriptions =
              [this, onMainThread](const std::vector<PhoneSubscription>& subscriptions) {
                onMainThread([this, subscriptions] { callbacks.onPushSubscriptions(subscriptions); });
              },
          .onPushResult =
              [this, onMainThread](const PushResultRelayMessage& result) {
                onMainThread([this, result] { callbacks.onPushResult(result); });
              }};
}

// ---- While it runs

void RelaySession::relayStatusChanged(const RelayConnectionStatus& status) {
  const auto before = std::exchange(relayStatus, status);
  if (relayStatus.relayConnected) nextRegistrationDelay = kFirstRegistrationDelay;
  callbacks.onStatusChange();
  if (!phoneNeedsSnapshot(before, relayStatus)) return;
  publishCurrentApprovalSnapshot(/*force=*/true);
  publishClock();
}

void RelaySession::publishClock() {
  if (relayClient && !pairingResetInProgress) relayClient->publishClock(callbacks.meetingReports());
}

void RelaySession::publishCurrentApprovalSnapshot(bool force) {
  if (!relayClient || pairingResetInProgress) return;
  auto snapshot = callbacks.snapshotProvider();
  auto trimmed = trimmedSnapshot(std::move(snapshot.approvals));
  const auto warning = trimmed.isWhole() ? std::string{} : trimmed.description();
  if (std::exchange(lastSnapshotWarning, warning) != warning && !warning.empty()) {
    dependencies.console.writeLine(warning);
  }
  relayClient->publishSnapshot(std::move(trimmed.approvals), snapshot.accessibilityTrusted, force, trimmed.leftOut,
                               snapshot.state);
}

void RelaySession::publishResult(const std::string& decisionID, const ApprovalResultCommand& result) {
  if (relayClient && !pairingResetInProgress) relayClient->publishResult(decisionID, result);
}

bool RelaySession::publishPush(const PushPlan& plan, const PushContents& contents) {
  if (!relayClient || pairingResetInProgress || !access) return false;
  const auto& command = plan.command;
  const auto tag = pushTag(access->secrets.e2eSecret, contents);
  const PushAddressee addressee{.pairingID = access->secrets.pairingID,
                                .page = command.page.empty() ? pageOf(access->configuration) : command.page,
                                .computer = command.computer,
                                .content = command.content,
                                .language = command.language};
  const auto text = pushText(contents, addressee, tag);
  const auto body = text ? encryptedPush(*text, command.keys, dependencies.random) : std::nullopt;
  if (!body) return false;
  relayClient->publishPush({.pushID = plan.pushID,
                            .deviceID = plan.phone.deviceID,
                            .subscriptionID = plan.subscriptionID,
                            .body = base64Text(*body),
                            .ttl = static_cast<std::int64_t>(plan.ttl.count()),
                            .topic = tag});
  return true;
}

bool RelaySession::phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now) {
  return now.relayConnected && now.isPhonePresent() && phonePartDiffers(before, now);
}

// ---- The reset of the pairing

void RelaySession::unpairPhoneFromStatusWindow() { unpair(/*takesNewIdentity=*/true); }

void RelaySession::endPairing() { unpair(/*takesNewIdentity=*/false); }

void RelaySession::unpair(bool takesNewIdentity) {
  if (isStopped || std::exchange(pairingResetInProgress, true)) return;
  resetTakesNewIdentity = takesNewIdentity;
  callbacks.onPairingEnding(revocation());
  if (!relayClient || pairingRevoked) return unpaired();  // There is no connection that could take the request.
  resetEnd = dependencies.executors.mainThread().postAfter(kResetTimeout, [this] { unpaired(); });
  auto act = scope.bind([this, generation = relayGeneration] {
    if (relayGeneration == generation && !isStopped) unpaired();
  });
  relayClient->unpairPhone(std::nullopt,
                           [act, &mainThread = dependencies.executors.mainThread()](bool) { mainThread.post(act); });
}

void RelaySession::unpaired() {
  resetEnd.reset();
  if (resetTakesNewIdentity) return rotatePairingIdentityAfterUnpair();
  isEnded = true;
  forgetPairing();
  callbacks.onPairingEnded();
}

// The relay that knows the pairing is the one that was used, whichever is configured by now.
std::optional<UnsentRevocation> RelaySession::revocation() const {
  if (pairingRevoked) return std::nullopt;  // It says so itself.
  if (access) return UnsentRevocation{.relayURL = access->configuration.relayURL, .secrets = access->secrets};
  const auto configured = dependencies.pairingConfiguration.configuredRelay();
  const auto secrets = dependencies.pairingConfiguration.storedSecrets();
  if (!configured || !secrets) return std::nullopt;
  return UnsentRevocation{.relayURL = configured->relayURL, .secrets = secretsFor(*secrets, configured->relayURL)};
}

void RelaySession::rotatePairingIdentityAfterUnpair() {
  forgetPairing();
  startRelayIfConfigured();
  pairingResetInProgress = false;
  callbacks.onPairingRenewed();
}

void RelaySession::letGoOfRelay() {
  beginRelayGeneration();
  nextRegistration.reset();
  relayRegistrationTask.reset();
  dropRelayClient();
  access.reset();
  tokenRegistered = false;
  pairingRevoked = false;
  nextRegistrationDelay = kFirstRegistrationDelay;
}

void RelaySession::forgetPairing() {
  letGoOfRelay();
  conversation.reset();
  callbacks.onPairingForgotten();
  dependencies.pairingConfiguration.rotateInstallationIdentity();
  relayStatus = {};
}

// ---- The end

void RelaySession::stop() {
  beginToStop();
  awaitRelayQueue();
}

void RelaySession::beginToStop() {
  isStopped = true;
  resetEnd.reset();
  nextRegistration.reset();
  relayRegistrationTask.reset();
  dropRelayClient();
}

void RelaySession::dropRelayClient() {
  if (!relayClient) return;
  relayClient->disconnect();
  relayClient.reset();
}

// What a client was asked before is done in later turns of its queue, and a queue that is destroyed drops those.
void RelaySession::awaitRelayQueue() {
  if (!relayQueue) return;
  auto& clock = dependencies.clock;
  const auto isDone = std::make_shared<std::atomic<bool>>(false);
  relayQueue->post([isDone] { *isDone = true; });
  const auto end = advanced(clock.monotonicNow(), kCloseTimeout);
  while (!*isDone && clock.monotonicNow() < end) clock.sleep(kCloseCheckInterval);
  relayQueue.reset();
}

}  // namespace quillard
