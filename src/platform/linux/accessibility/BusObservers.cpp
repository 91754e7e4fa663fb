#include "platform/linux/accessibility/BusObservers.h"

#include <utility>

namespace quillard::atspi {

struct BusObservers::Book {
  using Listener = std::shared_ptr<std::function<void()>>;

  Mutex mutex;
  std::map<std::uint64_t, Listener> listeners QUILLARD_GUARDED_BY(mutex);  // By age.
  std::uint64_t next QUILLARD_GUARDED_BY(mutex) = 0;
  bool isTurnAhead QUILLARD_GUARDED_BY(mutex) = false;

  std::map<std::uint64_t, Listener> present() {
    const MutexLock lock(mutex);
    isTurnAhead = false;
    return listeners;
  }
  bool isSubscribed(std::uint64_t id) {
    const MutexLock lock(mutex);
    return listeners.contains(id);
  }
  // Several pieces of news until the main thread comes to them are one.
  bool beginTurn() {
    const MutexLock lock(mutex);
    return !listeners.empty() && !std::exchange(isTurnAhead, true);
  }
};

class BusObservers::Entry final : public platform::Subscription {
 public:
  Entry(const std::shared_ptr<Book>& book, std::uint64_t id) : book(book), id(id) {}
  ~Entry() override {
    const auto open = book.lock();
    if (!open) return;
    const MutexLock lock(open->mutex);
    open->listeners.erase(id);
  }

 private:
  const std::weak_ptr<Book> book;
  const std::uint64_t id;
};

BusObservers::BusObservers(BusWatch::FindAddress findAddress, std::vector<std::string> matchRules,
                           platform::SerialExecutor& mainThread, std::function<bool()> beforeTelling)
    : findAddress(std::move(findAddress)),
      matchRules(std::move(matchRules)),
      mainThread(mainThread),
      beforeTelling(std::move(beforeTelling)),
      book(std::make_shared<Book>()) {}

platform::SubscriptionHandle BusObservers::add(std::function<void()> onChange) {
  {
    const MutexLock lock(mutex);
    if (!watch) {
      watch = std::make_unique<BusWatch>(findAddress, matchRules, [this] {
        if (!beforeTelling || beforeTelling()) tell();
      });
    }
  }
  const MutexLock lock(book->mutex);
  const auto id = book->next++;
  book->listeners.emplace(id, std::make_shared<std::function<void()>>(std::move(onChange)));
  return std::make_unique<Entry>(book, id);
}

void BusObservers::tell() {
  if (!book->beginTurn()) return;
  mainThread.post([book = book] {
    for (const auto& [id, listener] : book->present()) {
      if (book->isSubscribed(id)) (*listener)();
    }
  });
}

}  // namespace quillard::atspi
