#pragma once

#include <optional>
#include <string>

#include "platform/linux/accessibility/AccessibilityCounters.h"
#include "platform/linux/accessibility/BusConnections.h"
#include "platform/linux/accessibility/BusRequests.h"

namespace quillard::atspi {

// What the session bus tells about accessibility. Waits for the session's own services, never for applications. Any
// thread.
class AccessibilityStatus {
 public:
  // `sessionBusAddress`: absent outside a session. `counters` outlive this.
  AccessibilityStatus(std::optional<std::string> sessionBusAddress, AccessibilityCounters& counters);

  // Absent: no service answers for accessibility. Starts nothing.
  [[nodiscard]] std::optional<bool> isEnabled();
  // Starts the service if need be. False: it is not there, or refused.
  bool enable();
  // Where the accessibility bus listens. Absent when there is none. Starts nothing.
  [[nodiscard]] std::optional<std::string> busAddress();

 private:
  void ask(BusCall call, const BusRequests::OnReply& onReply);

  BusConnections session;
  AccessibilityCounters& counters;
};

}  // namespace quillard::atspi
