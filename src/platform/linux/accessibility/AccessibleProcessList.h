#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/Subscription.h"
#include "platform/linux/accessibility/AccessibleApplications.h"
#include "platform/linux/accessibility/BusObservers.h"
#include "platform/linux/windows/AccessibleProcesses.h"
#include "platform/process/Executors.h"

namespace quillard::atspi {

// Who is on the accessibility bus, as a copy that the bus's own news keep up to date. Asks the bus when it is made, and
// again whenever a program joins or leaves. When the bus gives no answer the copy stays as it was, and whoever reads it
// asks again, once a second at most: no silence of a registry empties a desktop.
class AccessibleProcessList final : public desktop::AccessibleProcesses {
 public:
  // All outlive this. `findBus`: where the accessibility bus listens.
  AccessibleProcessList(AccessibleApplications& applications, BusWatch::FindAddress findBus,
                        platform::SerialExecutor& mainThread);

  [[nodiscard]] std::vector<std::int32_t> processIdentifiers() override;
  // Leaves the copy as it is: observers are notified of what changes it.
  [[nodiscard]] bool isPresentNow(std::int32_t processIdentifier) override;
  [[nodiscard]] platform::SubscriptionHandle observe(std::function<void()> onChange) override;

 private:
  // Whether anything is different now.
  bool refresh();
  void refreshIfOutdated();

  AccessibleApplications& applications;
  Mutex mutex;
  std::vector<std::int32_t> present QUILLARD_GUARDED_BY(mutex);
  // When the bus was asked last without an answer. Absent: the copy is good.
  std::optional<std::chrono::steady_clock::time_point> unansweredSince QUILLARD_GUARDED_BY(mutex);
  BusObservers observers;  // From here on last: its thread uses all of the above.
  const platform::SubscriptionHandle ownSubscription;
};

}  // namespace quillard::atspi
