#pragma once

#include <optional>
#include <string>

#include "platform/linux/accessibility/AccessibilityCounters.h"
#include "platform/linux/accessibility/BusConnections.h"
#include "platform/linux/accessibility/BusRequests.h"

namespace quillard::atspi {

// `off` also where no service takes care of it. `unknown`: the bus or the service did not answer.
enum class SwitchState { on, off, unknown };

// What the session bus tells about accessibility. Waits for the session's own services, never for applications. Any
// thread.
class AccessibilityStatus {
 public:
  // `sessionBusAddress`: absent outside a session. `counters` outlive this.
  AccessibilityStatus(std::optional<std::string> sessionBusAddress, AccessibilityCounters& counters);

  // Starts nothing.
  [[nodiscard]] SwitchState isEnabled();
  // Starts the service if need be. False: it is not there, or refused.
  bool enable();
  // Where the accessibility bus listens. Absent when there is none. Starts nothing.
  [[nodiscard]] std::optional<std::string> busAddress();

 private:
  // `onReply` is called unless the session bus cannot be reached. Whether that is still there afterwards.
  bool ask(BusCall call, const BusRequests::OnReply& onReply);

  const bool isInSession;
  BusConnections session;
  AccessibilityCounters& counters;
};

}  // namespace quillard::atspi
