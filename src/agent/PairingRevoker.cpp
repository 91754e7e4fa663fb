#include "agent/PairingRevoker.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <variant>

#include "relay/RelayAddress.h"

namespace quillard {
namespace {

constexpr Seconds kAttemptTimeout{20};
constexpr Seconds kSettlingTime{5};
constexpr Seconds kFirstDelay{60};
constexpr Seconds kLongestDelay{3600};
// A relay that does not know a pairing may be about to: what was said before is not counted.
constexpr Seconds kFirstCountedDelay{1800};

}  // namespace

PairingRevoker::PairingRevoker(const PairingRevokerDependencies& dependencies)
    : dependencies(dependencies),
      pending(dependencies.userDefaults),
      attemptTimeout(kAttemptTimeout),
      nextDelay(kFirstDelay) {}

PairingRevoker::~PairingRevoker() { stop(); }

void PairingRevoker::start() {
  if (!isStopped && !client) attempt();
}

void PairingRevoker::tryEachOnce(Seconds timeout) {
  attemptTimeout = timeout;
  triesLeft = pending.all().size();
  start();
}

void PairingRevoker::keep(const UnsentRevocation& revocation) { pending.add(revocation); }

void PairingRevoker::startSoon() {
  if (isStopped || isIdle()) return;
  nextDelay = lastDelay = kFirstDelay;
  if (client) return;  // It follows.
  nextStep = dependencies.executors.mainThread().postAfter(kSettlingTime, scope.bind([this] { attempt(); }));
}

bool PairingRevoker::isKept(const std::string& identifier) const {
  const auto all = pending.all();
  return std::any_of(all.begin(), all.end(), [&](const auto& one) { return one.secrets.pairingID == identifier; });
}

void PairingRevoker::attempt() {
  nextStep.reset();
  const auto revocations = pending.all();
  if (revocations.empty()) return;
  const auto& secrets = revocations.front().secrets;
  pairingID = secrets.pairingID;
  const auto address = relaySocketURL({.relayURL = revocations.front().relayURL, .pairingID = pairingID});
  if (!std::holds_alternative<std::string>(address)) return ended(End::over);
  if (!queue) {
    queue = dependencies.executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  }
  hasAsked = false;
  client = std::make_unique<RelayClient>(
      RelayClientAccess{.url = std::get<std::string>(address),
                        .relaySecret = secrets.relayAuthToken,
                        .cryptoSecret = {},
                        .computerKey = secrets.computerKey},
      clientCallbacks(), *queue,
      RelayClientDependencies{dependencies.webSockets, dependencies.clock, dependencies.random, dependencies.console,
                              dependencies.stampClock});
  nextStep = dependencies.executors.mainThread().postAfter(attemptTimeout, scope.bind([this] { ended(End::failed); }));
  client->connect();
}

// They are called on the client's queue. What comes of an earlier client is void.
RelayClientCallbacks PairingRevoker::clientCallbacks() {
  const auto onMainThread = [this, &mainThread = dependencies.executors.mainThread()](auto act) {
    const auto bound = scope.bind([this, asked = pairingID, act](const auto& argument) {
      if (client && pairingID == asked) act(argument);
    });
    return [bound, &mainThread](const auto& argument) { mainThread.post([bound, argument] { bound(argument); }); };
  };
  return {.onApprovalRequest = [](const auto&) {},
          .onSuppressionCommand = [](const auto&) {},
          .onStatusChange =
              onMainThread([this](const RelayConnectionStatus& status) { connectionChanged(status.relayConnected); }),
          .onRefused = onMainThread([this](RelayRefusal refusal) {
            ended(refusal == RelayRefusal::pairingRevoked ? End::over : End::refused);
          })};
}

// A relay that was asked ends the connection, and refuses the next one, which the client tries by itself.
void PairingRevoker::connectionChanged(bool isConnected) {
  const bool hadAsked = std::exchange(hasAsked, isConnected);
  if (isConnected && !hadAsked) client->unpairPhone(std::nullopt, [](bool) {});
}

void PairingRevoker::ended(End end) {
  letGoOfClient();
  nextStep.reset();
  const bool isOver = end == End::over || !putBack(/*isRefused=*/end == End::refused);
  if (isOver) {
    pending.remove(pairingID);
    nextDelay = lastDelay = kFirstDelay;
  }
  if (wasLastTry() || isIdle() || isStopped) return;
  if (isOver || triesLeft) return attempt();
  lastDelay = nextDelay;
  nextStep = dependencies.executors.mainThread().postAfter(nextDelay, scope.bind([this] { attempt(); }));
  nextDelay = std::min(2 * nextDelay, kLongestDelay);
}

bool PairingRevoker::wasLastTry() {
  if (!triesLeft) return false;
  if (*triesLeft > 0) --*triesLeft;
  return *triesLeft == 0;
}

// Behind the others, which are not to wait for one whose relay is gone. False: it has been tried often enough.
bool PairingRevoker::putBack(bool isRefused) {
  const auto all = pending.all();
  const auto tried =
      std::find_if(all.begin(), all.end(), [this](const auto& one) { return one.secrets.pairingID == pairingID; });
  if (tried == all.end()) return false;
  auto left = *tried;
  ++left.attempts;
  if (isRefused && lastDelay >= kFirstCountedDelay) ++left.refusals;
  if (left.attempts >= PendingRevocations::kMostAttempts || left.refusals >= PendingRevocations::kMostRefusals) {
    return false;
  }
  pending.add(std::move(left));
  return true;
}

void PairingRevoker::letGoOfClient() {
  if (!client) return;
  client->disconnect();
  client.reset();
}

void PairingRevoker::stop() {
  isStopped = true;
  nextStep.reset();
  letGoOfClient();
  queue.reset();
}

}  // namespace quillard
