#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/Environment.h"
#include "platform/linux/system/SessionBus.h"

namespace quillard::desktop {

// The desktop's switch for accessibility (org.a11y.Status on the session bus), which some toolkits look at when a
// program starts: programs that were started while it was off stay unseen until they are started again. The service
// behind it keeps it switched on in the user's settings.
//
// Main thread, with the Qt event loop. Completions come in a later turn, and no more when this has gone.
class AccessibilitySwitch {
 public:
  static constexpr std::chrono::milliseconds kTimeout{5000};

  // `environment` says where the session bus is, and outlives this.
  explicit AccessibilitySwitch(const platform::Environment& environment, std::chrono::milliseconds timeout = kTimeout)
      : bus(environment), timeout(timeout) {}

  // The error's description when it cannot be switched on. False, and no completion, when there is no session bus.
  bool turnOn(std::function<void(std::optional<std::string>)> completion);

 private:
  SessionBus bus;
  const std::chrono::milliseconds timeout;
};

}  // namespace quillard::desktop
