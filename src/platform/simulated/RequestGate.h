#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/desktop/Accessibility.h"
#include "platform/process/Clock.h"
#include "platform/simulated/AXRequest.h"
#include "platform/simulated/DesktopState.h"
#include "platform/simulated/SimulatedElement.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// What became of a request on its way.
struct Delivery {
  AXError error = AXError::success;  // Any other: there is no answer but this.
  bool missedTimeout = false;
  std::optional<Seconds> arrivesAfter{};  // Too slow for the time-out, but the application gets to it this much later.
  bool waitsForUnhang = false;
  bool isBlind = false;  // The desktop as a whole cannot be read.
};

// Takes every request to its application: whether it may be made, what it costs, and whether it arrives.
class RequestGate {
 public:
  RequestGate(Clock& clock, DesktopState& state) : clock(clock), state(state) {}

  // Waits as long as the application would make one wait. Everything on the desktop may change meanwhile. `answering`:
  // the process that answers, where it is not the owner of `target`.
  Delivery send(AXRequestKind kind, const ElementTarget& target, std::string_view name,
                std::optional<std::int32_t> answering = std::nullopt);

  void setTrusted(bool trusted) { isTrustedNow = trusted; }
  // What the system answers, after it has taken as long as it is to take.
  [[nodiscard]] ProcessTrust askForTrust();
  void setTrustSilent(bool silent) { isTrustSilent = silent; }
  void setDesktopFailure(std::optional<DesktopReadFailure> newFailure) { failure = newFailure; }
  [[nodiscard]] std::optional<DesktopReadFailure> desktopFailure() const;
  void setTrustLatency(Seconds latency) { trustLatency = latency; }
  [[nodiscard]] bool isTrusted() const { return isTrustedNow; }
  void setHook(std::function<void(const AXRequest&)> newHook) { hook = std::move(newHook); }
  void setMessagingTimeout(Seconds timeout) { messagingTimeout = timeout; }

  [[nodiscard]] std::uint64_t roundTrips() const { return trips; }
  [[nodiscard]] std::uint64_t roundTrips(std::int32_t processIdentifier) const;
  void resetRoundTrips();

 private:
  void callHook(const AXRequest& request);
  // Absent: the request can be sent.
  [[nodiscard]] std::optional<Delivery> blindDelivery(AXRequestKind kind);
  [[nodiscard]] Delivery wait(const ElementTarget& target, std::int32_t answering);

  Clock& clock;
  DesktopState& state;
  std::function<void(const AXRequest&)> hook;
  Seconds messagingTimeout = kMessagingTimeout;
  std::map<std::int32_t, std::uint64_t> tripsByProcess;
  std::uint64_t trips = 0;
  std::uint64_t requests = 0;
  bool isTrustedNow = true;
  bool isTrustSilent = false;
  std::optional<DesktopReadFailure> failure;
  Seconds trustLatency{0};
  bool isInHook = false;
};

}  // namespace quillard::platform::simulated
