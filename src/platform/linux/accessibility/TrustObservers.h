#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "platform/Executors.h"
#include "platform/Subscription.h"
#include "platform/linux/accessibility/TrustWatch.h"

namespace quillard::atspi {

// Who wants to hear that the trust of this process may have changed. Nothing listens before somebody asks.
class TrustObservers {
 public:
  // `mainThread` outlives this; listeners are called there.
  TrustObservers(std::optional<std::string> sessionBusAddress, platform::SerialExecutor& mainThread);

  // Any thread.
  [[nodiscard]] platform::SubscriptionHandle add(std::function<void()> onChange);
  // Tells them all, soon. Any thread.
  void tell();

 private:
  struct Book;
  class Entry;

  const std::optional<std::string> sessionBusAddress;
  platform::SerialExecutor& mainThread;
  const std::shared_ptr<Book> book;
  Mutex mutex;
  std::unique_ptr<TrustWatch> watch QUILLARD_GUARDED_BY(mutex);  // Goes first: it calls `tell`.
};

}  // namespace quillard::atspi
