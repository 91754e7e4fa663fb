#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/Subscription.h"

namespace quillard::desktop {

// Which processes are on the accessibility bus. The binding of that bus implements it.
class AccessibleProcesses {
 public:
  AccessibleProcesses() = default;
  AccessibleProcesses(const AccessibleProcesses&) = delete;
  AccessibleProcesses& operator=(const AccessibleProcesses&) = delete;
  virtual ~AccessibleProcesses() = default;

  // From a copy that is kept up to date: waits for no other process. Any thread; no process twice.
  [[nodiscard]] virtual std::vector<std::int32_t> processIdentifiers() = 0;
  // Whether it is there now: asks the bus, so that a program counts that the copy does not have yet. Waits for the bus,
  // but for no program. Any thread.
  [[nodiscard]] virtual bool isPresentNow(std::int32_t processIdentifier) = 0;

  // Calls back on the main thread after a process joined or left. May be null where that is not told.
  [[nodiscard]] virtual platform::SubscriptionHandle observe(std::function<void()> onChange) = 0;
};

}  // namespace quillard::desktop
