#include <atomic>
#include <limits>
#include <utility>
#include <variant>

#include "agent/AgentRules.h"
#include "agent/AppDelegate.h"
#include "foundation/BrokenPromise.h"
#include "relay/RelayAddress.h"
#include "relay/SnapshotTrimming.h"

// The agent's side of the relay: its start, what is told to the phones, and the reset of the pairing.
namespace quillard {
namespace {

// How long quitting waits for the relay to be sent a close message, at most.
constexpr Seconds kCloseWait{0.5};
constexpr Seconds kCloseCheckInterval{0.01};

}  // namespace

bool AppDelegate::isRelayConfigured() { return pairingConfiguration.isRelayConfigured(); }

void AppDelegate::startRelayIfConfigured() {
  const auto configuration = pairingConfiguration.launchConfiguration();
  if (!configuration) return;
  const auto address = relaySocketURL(*configuration);
  if (const auto* refusal = std::get_if<RelayAddressRefusal>(&address)) {
    if (!refusal->line.empty()) platform.console.writeLine(refusal->line);
    return;
  }
  beginRelayGeneration();
  const auto secrets = pairingConfiguration.installationSecrets();
  // Whatever comes of it is for this generation alone.
  const auto ifCurrent = [weak = weak_from_this(), generation = relayGeneration](auto act) {
    const auto self = weak.lock();
    if (self && self->relayGeneration == generation) act(*self);
  };
  relayRegistrationTask = std::make_unique<RelayRegistrationTask>(
      *configuration, secrets.relayAuthToken, platform.httpSessions, platform.executors.mainThread(),
      RelayRegistrationEvents{
          .onRegistered = [ifCurrent, url = std::get<std::string>(address),
                           secrets] { ifCurrent([&](AppDelegate& self) { self.relayTokenRegistered(url, secrets); }); },
          .onRevoked = [ifCurrent] { ifCurrent([](AppDelegate& self) { self.rotatePairingIdentityAfterUnpair(); }); },
          .onFailure =
              [ifCurrent](const std::string& description) {
                ifCurrent([&](AppDelegate& self) {
                  self.platform.console.writeLine("Unable to register relay token: " + description);
                });
              }});
}

void AppDelegate::beginRelayGeneration() {
  if (relayGeneration == std::numeric_limits<std::int64_t>::max()) {
    stopForBrokenPromise("The relay was started more often than can be counted.");
  }
  ++relayGeneration;
}

void AppDelegate::relayTokenRegistered(const std::string& url, const InstallationSecrets& secrets) {
  if (!relayQueue) {
    relayQueue = platform.executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  }
  auto client = std::make_unique<RelayClient>(
      RelayClientAccess{.url = url, .relaySecret = secrets.relayAuthToken, .cryptoSecret = secrets.e2eSecret},
      relayClientCallbacks(), *relayQueue,
      RelayClientDependencies{platform.webSockets, platform.clock, platform.random, platform.console});
  relayRegistrationTask.reset();
  relayClient = std::move(client);
  relayClient->connect();
  publishCurrentApprovalSnapshot(/*force=*/true);
}

// They come on the client's queue, where the agent is never more than looked for: it may end on the main thread only.
RelayClientCallbacks AppDelegate::relayClientCallbacks() {
  auto& mainThread = platform.executors.mainThread();
  const auto onMainThread = [&mainThread, weak = weak_from_this(), generation = relayGeneration](auto act) {
    mainThread.post([weak, generation, act = std::move(act)] {
      const auto self = weak.lock();
      if (self && self->relayGeneration == generation && !self->isTerminating) act(*self);
    });
  };
  return {.onApprovalRequest =
              [onMainThread](const ApprovalRequestEnvelope& envelope) {
                onMainThread([envelope](AppDelegate& self) { self.handleRelayApprovalRequest(envelope); });
              },
          .onSuppressionCommand =
              [onMainThread](const ApprovalSuppressionCommand& command) {
                onMainThread([command](AppDelegate& self) { self.handleRelaySuppressionCommand(command); });
              },
          .onStatusChange =
              [onMainThread](const RelayConnectionStatus& status) {
                onMainThread([status](AppDelegate& self) { self.relayStatusChanged(status); });
              }};
}

void AppDelegate::relayStatusChanged(const RelayConnectionStatus& status) {
  const auto before = std::exchange(relayStatus, status);
  refreshStatusWindow();
  if (AgentRules::phoneNeedsSnapshot(before, relayStatus)) publishCurrentApprovalSnapshot(/*force=*/true);
}

// The phone always learns whether the permission is there; of prompts it learns only while it may.
void AppDelegate::publishCurrentApprovalSnapshot(bool force) {
  const bool isTrusted = isAccessibilityTrusted();
  const bool isPaused = notificationPauseStore.snapshot().isPaused();
  if (!relayClient) return;
  auto trimmed = trimmedSnapshot(isTrusted && !isPaused ? store.all() : std::vector<PendingApproval>{});
  const auto warning = trimmed.isWhole() ? std::string{} : trimmed.description();
  if (std::exchange(lastSnapshotWarning, warning) != warning && !warning.empty()) {
    platform.console.writeLine(warning);
  }
  relayClient->publishSnapshot(std::move(trimmed.approvals), isTrusted, force);
}

void AppDelegate::handleRelaySuppressionCommand(const ApprovalSuppressionCommand& command) {
  if (command.action == kSuppressAction) {
    suppressionStore.suppress(command.suppressionID);
    store.removeSuppressed(command.suppressionID);
    pendingApprovalsChanged();
  } else if (command.action == kUnsuppressAction) {
    suppressionStore.unsuppress(command.suppressionID);
    scheduleScan("unsuppressed");
    // Nothing moves on the screen, and a prompt has to be seen twice before it is told of.
    if (eventMonitor) eventMonitor->requestFollowUpScans("unsuppressed-settled");
  }
}

// ---- The reset of the pairing

void AppDelegate::unpairPhoneFromStatusWindow() {
  if (isTerminating || std::exchange(pairingResetInProgress, true)) return;
  if (!relayClient) {
    rotatePairingIdentityAfterUnpair();
    return;
  }
  auto& mainThread = platform.executors.mainThread();
  relayClient->unpairPhone(std::nullopt, [&mainThread, weak = weak_from_this()](bool /*wasSent*/) {
    mainThread.post([weak] {
      const auto self = weak.lock();
      if (self && !self->isTerminating) self->rotatePairingIdentityAfterUnpair();
    });
  });
}

void AppDelegate::rotatePairingIdentityAfterUnpair() {
  beginRelayGeneration();
  relayRegistrationTask.reset();
  dropRelayClient();
  // Whoever decided has no say any more.
  decisions.forget();
  if (madeClicker) madeClicker->stop();
  pairingConfiguration.rotateInstallationIdentity();
  cachedPairingQRCodePayload.reset();
  cachedPairingQRCodeImage.reset();
  relayStatus = {};
  startRelayIfConfigured();
  scheduleScan("pairing-reset");
  pairingResetInProgress = false;
  refreshStatusWindow();
}

void AppDelegate::dropRelayClient() {
  if (!relayClient) return;
  relayClient->disconnect();
  relayClient.reset();
}

// What the relay client was asked before is done in turns of its queue; a queue that is destroyed drops them.
void AppDelegate::awaitRelayQueue() {
  if (!relayQueue) return;
  const auto isDone = std::make_shared<std::atomic<bool>>(false);
  relayQueue->post([isDone] { *isDone = true; });
  const auto end = advanced(platform.clock.monotonicNow(), kCloseWait);
  while (!*isDone && platform.clock.monotonicNow() < end) platform.clock.sleep(kCloseCheckInterval);
  relayQueue.reset();
}

}  // namespace quillard
