#include "agent/RelaySession.h"

#include <atomic>
#include <limits>
#include <optional>
#include <utility>
#include <variant>

#include "foundation/BrokenPromise.h"
#include "relay/RelayAddress.h"
#include "relay/SnapshotTrimming.h"
#include "values/Time.h"

namespace quillard {
namespace {

constexpr Seconds kCloseTimeout{0.5};
constexpr Seconds kCloseCheckInterval{0.01};

bool isPhonePresent(const RelayConnectionStatus& status) {
  return status.phoneConnected || status.phoneCount > 0 || !status.phones.empty();
}

bool phonePartDiffers(const RelayConnectionStatus& one, const RelayConnectionStatus& other) {
  return one.phoneConnected != other.phoneConnected || one.phoneCount != other.phoneCount || one.phones != other.phones;
}

}  // namespace

RelaySession::RelaySession(const RelaySessionDependencies& dependencies, RelaySessionCallbacks callbacks)
    : dependencies(dependencies), callbacks(std::move(callbacks)) {}

RelaySession::~RelaySession() {
  isStopped = true;
  relayRegistrationTask.reset();
  relayClient.reset();
  awaitRelayQueue();
}

// ---- The start

void RelaySession::startRelayIfConfigured() {
  const auto configuration = dependencies.pairingConfiguration.launchConfiguration();
  if (!configuration) return;
  const auto address = relaySocketURL(*configuration);
  if (const auto* refusal = std::get_if<RelayAddressRefusal>(&address)) {
    if (!refusal->line.empty()) dependencies.console.writeLine(refusal->line);
    return;
  }
  beginRelayGeneration();
  const auto secrets = dependencies.pairingConfiguration.installationSecrets();
  const auto ifCurrent = [this, generation = relayGeneration](auto act) {
    return [this, generation, act](const auto&... arguments) {
      if (relayGeneration == generation) act(arguments...);
    };
  };
  // The task ends with this session, so that its events need no scope.
  relayRegistrationTask = std::make_unique<RelayRegistrationTask>(
      *configuration, secrets.relayAuthToken, dependencies.httpSessions, dependencies.executors.mainThread(),
      RelayRegistrationEvents{.onRegistered = ifCurrent([this, url = std::get<std::string>(address), secrets] {
                                relayTokenRegistered(url, secrets);
                              }),
                              .onRevoked = ifCurrent([this] { rotatePairingIdentityAfterUnpair(); }),
                              .onFailure = ifCurrent([this](const std::string& description) {
                                dependencies.console.writeLine("Unable to register relay token: " + description);
                              })});
}

void RelaySession::beginRelayGeneration() {
  if (relayGeneration == std::numeric_limits<std::int64_t>::max()) {
    stopForBrokenPromise("The relay was started more often than can be counted.");
  }
  ++relayGeneration;
}

void RelaySession::relayTokenRegistered(const std::string& url, const InstallationSecrets& secrets) {
  if (!relayQueue) {
    relayQueue =
        dependencies.executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  }
  auto client = std::make_unique<RelayClient>(
      RelayClientAccess{.url = url, .relaySecret = secrets.relayAuthToken, .cryptoSecret = secrets.e2eSecret},
      relayClientCallbacks(), *relayQueue,
      RelayClientDependencies{dependencies.webSockets, dependencies.clock, dependencies.random, dependencies.console});
  relayRegistrationTask.reset();
  relayClient = std::move(client);
  relayClient->connect();
  publishCurrentApprovalSnapshot(/*force=*/true);
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
                onMainThread([this, envelope] { callbacks.onApprovalRequest(envelope); });
              },
          .onSuppressionCommand =
              [this, onMainThread](const ApprovalSuppressionCommand& command) {
                onMainThread([this, command] { callbacks.onSuppressionCommand(command); });
              },
          .onStatusChange =
              [this, onMainThread](const RelayConnectionStatus& status) {
                onMainThread([this, status] { relayStatusChanged(status); });
              }};
}

// ---- While it runs

void RelaySession::relayStatusChanged(const RelayConnectionStatus& status) {
  const auto before = std::exchange(relayStatus, status);
  callbacks.onStatusChange();
  if (phoneNeedsSnapshot(before, relayStatus)) publishCurrentApprovalSnapshot(/*force=*/true);
}

void RelaySession::publishCurrentApprovalSnapshot(bool force) {
  if (!relayClient) return;
  auto snapshot = callbacks.snapshotProvider();
  auto trimmed = trimmedSnapshot(std::move(snapshot.approvals));
  const auto warning = trimmed.isWhole() ? std::string{} : trimmed.description();
  if (std::exchange(lastSnapshotWarning, warning) != warning && !warning.empty()) {
    dependencies.console.writeLine(warning);
  }
  relayClient->publishSnapshot(std::move(trimmed.approvals), snapshot.accessibilityTrusted, force);
}

void RelaySession::publishResult(const std::string& decisionID, const ApprovalResultCommand& result) {
  if (relayClient) relayClient->publishResult(decisionID, result);
}

bool RelaySession::phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now) {
  return now.relayConnected && isPhonePresent(now) && phonePartDiffers(before, now);
}

// ---- The reset of the pairing

void RelaySession::unpairPhoneFromStatusWindow() {
  if (isStopped || std::exchange(pairingResetInProgress, true)) return;
  if (!relayClient) {
    rotatePairingIdentityAfterUnpair();
    return;
  }
  auto rotate = scope.bind([this] {
    if (!isStopped) rotatePairingIdentityAfterUnpair();
  });
  relayClient->unpairPhone(std::nullopt, [rotate, &mainThread = dependencies.executors.mainThread()](bool /*wasSent*/) {
    mainThread.post(rotate);
  });
}

void RelaySession::rotatePairingIdentityAfterUnpair() {
  beginRelayGeneration();
  relayRegistrationTask.reset();
  dropRelayClient();
  callbacks.onPairingForgotten();
  dependencies.pairingConfiguration.rotateInstallationIdentity();
  relayStatus = {};
  startRelayIfConfigured();
  pairingResetInProgress = false;
  callbacks.onPairingRenewed();
}

// ---- The end

void RelaySession::stop() {
  isStopped = true;
  relayRegistrationTask.reset();
  dropRelayClient();
  awaitRelayQueue();
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
