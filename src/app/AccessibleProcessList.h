#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/Executors.h"
#include "platform/linux/x11/AccessibleProcesses.h"
#include "platform/linux/x11/Listeners.h"

namespace quillard::app {

// A copy of the list of processes on the accessibility bus. It is asked for anew soon after somebody says that it may
// have changed, and every `kInterval`; on a queue of its own, since the bus may be slow.
//
// Made and destroyed on the main thread.
class AccessibleProcessList final : public x11::AccessibleProcesses {
 public:
  static constexpr platform::Seconds kInterval{5};

  // `ask` waits for the bus, and gives no process twice.
  AccessibleProcessList(std::function<std::vector<std::int32_t>()> ask, platform::Executors& executors);
  ~AccessibleProcessList() override;

  [[nodiscard]] std::vector<std::int32_t> processIdentifiers() override;
  [[nodiscard]] platform::SubscriptionHandle observe(std::function<void()> onChange) override;

  // Asks now, and waits for the answer: for tools, which look only once.
  void refreshNow();
  // Any number of calls before it is done are one.
  void refreshSoon();

 private:
  // Whether it is another list than before.
  bool refresh();

  const std::function<std::vector<std::int32_t>()> ask;
  platform::SerialExecutor& mainThread;
  x11::Listeners<> listeners;  // Main thread.
  const std::shared_ptr<const bool> life = std::make_shared<const bool>(true);
  mutable Mutex mutex;
  std::vector<std::int32_t> known QUILLARD_GUARDED_BY(mutex);
  bool isRefreshAhead QUILLARD_GUARDED_BY(mutex) = false;
  platform::TaskHandle timer;
  std::unique_ptr<platform::SerialExecutor> queue;  // Last: what it does uses the rest.
};

}  // namespace quillard::app
