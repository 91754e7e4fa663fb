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
  if (const auto blind = blindDelivery(kind)) return *blind;
  ++trips;
  ++tripsByProcess[process];
  return wait(target, process);
}

ProcessTrust RequestGate::askForTrust() {
  if (trustLatency > Seconds::zero()) clock.sleep(trustLatency);
  if (isTrustSilent) return ProcessTrust::unknown;
  return isTrustedNow ? ProcessTrust::granted : ProcessTrust::denied;
}

std::optional<DesktopReadFailure> RequestGate::desktopFailure() const {
  return isTrustedNow ? failure : DesktopReadFailure::notPermitted;
}

// What carries the requests is missing at once; who would have to tell where they go lets the caller wait. An action
// needs no such answer: its application is known.
std::optional<Delivery> RequestGate::blindDelivery(AXRequestKind kind) {
  if (!failure) return std::nullopt;
  if (*failure == DesktopReadFailure::accessibilityService)
    return Delivery{.error = AXError::apiDisabled, .isBlind = true};
  if (kind == AXRequestKind::setAttribute || kind == AXRequestKind::performAction) return std::nullopt;
  clock.sleep(messagingTimeout);
  return Delivery{.error = AXError::cannotComplete, .isBlind = true};
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
