#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "platform/Subscription.h"
#include "platform/linux/accessibility/BusWatch.h"
#include "platform/process/Executors.h"

namespace quillard::atspi {

// Observers, on the main thread, of signals on a bus. Nothing listens before the first one. Hints:
// one may come without any news, for example when the bus is met for the first time.
class BusObservers {
 public:
  // `mainThread` outlives this; listeners are called there.
  // `findAddress` and `matchRules`: as for BusWatch. `beforeTelling`, which may be empty, is called on the watch's
  // thread first; when it answers false, no observer is notified.
  BusObservers(BusWatch::FindAddress findAddress, std::vector<std::string> matchRules,
               platform::SerialExecutor& mainThread, std::function<bool()> beforeTelling = {});

  // Any thread.
  [[nodiscard]] platform::SubscriptionHandle add(std::function<void()> onChange);
  // Tells them all, soon. Any thread.
  void tell();

 private:
  struct Book;
  class Entry;

  const BusWatch::FindAddress findAddress;
  const std::vector<std::string> matchRules;
  platform::SerialExecutor& mainThread;
  const std::function<bool()> beforeTelling;
  const std::shared_ptr<Book> book;
  Mutex mutex;
  std::unique_ptr<BusWatch> watch QUILLARD_GUARDED_BY(mutex);  // Goes first: it calls `tell`.
};

}  // namespace quillard::atspi
