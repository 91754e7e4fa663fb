#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/Subscription.h"
#include "platform/linux/accessibility/AccessibleApplications.h"
#include "platform/linux/accessibility/BusObservers.h"
#include "platform/linux/x11/AccessibleProcesses.h"
#include "platform/process/Executors.h"

namespace quillard::atspi {

// Who is on the accessibility bus, as a copy that the bus's own news keep up to date. Asks the bus when it is made, and
// again whenever a program joins or leaves.
class AccessibleProcessList final : public x11::AccessibleProcesses {
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

  AccessibleApplications& applications;
  Mutex mutex;
  std::vector<std::int32_t> present QUILLARD_GUARDED_BY(mutex);
  BusObservers observers;  // From here on last: its thread uses all of the above.
  const platform::SubscriptionHandle ownSubscription;
};

}  // namespace quillard::atspi
