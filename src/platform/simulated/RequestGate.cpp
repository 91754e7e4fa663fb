#include "platform/simulated/RequestGate.h"

#include <utility>

namespace quillard::platform::simulated {

namespace {

std::optional<NodeHandle> nodeOf(const ElementTarget& target) {
  return target.kind == ElementKind::node ? std::optional{target.node} : std::nullopt;
}

}  // namespace

Delivery RequestGate::send(AXRequestKind kind, const ElementTarget& target, std::string_view name,
                           std::optional<std::int32_t> answering) {
  if (!isTrustedNow) return {.error = AXError::apiDisabled};
  const std::int32_t process = answering.value_or(target.processIdentifier);
  callHook({.index = requests++,
            .kind = kind,
            .processIdentifier = process,
            .node = nodeOf(target),
            .name = std::string(name)});
  if (!isTrustedNow) return {.error = AXError::apiDisabled};
  ++trips;
  ++tripsByProcess[process];
  return wait(target, process);
}

bool RequestGate::askForTrust() {
  if (trustLatency > Seconds::zero()) clock.sleep(trustLatency);
  return isTrustedNow;
}

void RequestGate::callHook(const AXRequest& request) {
  if (!hook || std::exchange(isInHook, true)) return;
  const auto current = hook;  // It may replace itself.
  current(request);
  isInHook = false;
}

// A process that has ended makes no caller wait.
Delivery RequestGate::wait(const ElementTarget& target, std::int32_t answering) {
  const ApplicationState* const application = state.running(answering);
  if (!application) {
    return {.error = target.kind == ElementKind::systemWide ? AXError::success : AXError::invalidUIElement};
  }
  if (application->isHung) {
    const bool isKept = application->lateActions == LateActions::performedOnUnhang;
    clock.sleep(messagingTimeout);
    return {.error = AXError::cannotComplete, .missedTimeout = true, .waitsForUnhang = isKept};
  }
  const Seconds latency = application->latency;
  if (latency > messagingTimeout) {
    clock.sleep(messagingTimeout);
    return {.error = AXError::cannotComplete, .missedTimeout = true, .arrivesAfter = latency - messagingTimeout};
  }
  clock.sleep(latency);
  return {};
}

std::uint64_t RequestGate::roundTrips(std::int32_t processIdentifier) const {
  const auto found = tripsByProcess.find(processIdentifier);
  return found == tripsByProcess.end() ? 0 : found->second;
}

void RequestGate::resetRoundTrips() {
  trips = 0;
  tripsByProcess.clear();
}

}  // namespace quillard::platform::simulated
