#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "foundation/Mutex.h"
#include "platform/Subscription.h"

namespace quillard::desktop {

// Who wants to hear of something. Subscribe on any thread; tell, and unsubscribe, on one. Subscriptions may outlive
// this.
template <class... Event>
class Listeners {
 public:
  using Listener = std::function<void(const Event&...)>;

  [[nodiscard]] platform::SubscriptionHandle add(Listener listener) {
    const MutexLock lock(book->mutex);
    const std::uint64_t id = book->next++;
    book->listeners.emplace(id, std::make_shared<Listener>(std::move(listener)));
    return std::make_unique<Entry>(book, id);
  }

  [[nodiscard]] bool isEmpty() const {
    const MutexLock lock(book->mutex);
    return book->listeners.empty();
  }

  // Tells those who are subscribed now, unless one that is told first takes their subscription away. This may be
  // destroyed meanwhile.
  void tell(const Event&... event) {
    const auto kept = book;
    for (const auto& [id, listener] : kept->copy()) {
      if (kept->has(id)) (*listener)(event...);
    }
  }

 private:
  struct Book {
    Mutex mutex;
    std::map<std::uint64_t, std::shared_ptr<Listener>> listeners QUILLARD_GUARDED_BY(mutex);  // By age.
    std::uint64_t next QUILLARD_GUARDED_BY(mutex) = 0;

    std::map<std::uint64_t, std::shared_ptr<Listener>> copy() {
      const MutexLock lock(mutex);
      return listeners;
    }
    bool has(std::uint64_t id) {
      const MutexLock lock(mutex);
      return listeners.contains(id);
    }
    std::shared_ptr<Listener> remove(std::uint64_t id) {
      const MutexLock lock(mutex);
      const auto found = listeners.find(id);
      if (found == listeners.end()) return nullptr;
      auto listener = std::move(found->second);
      listeners.erase(found);
      return listener;  // What it holds is destroyed outside the lock.
    }
  };

  class Entry final : public platform::Subscription {
   public:
    Entry(const std::shared_ptr<Book>& book, std::uint64_t id) : book(book), id(id) {}
    ~Entry() override {
      if (const auto open = book.lock()) open->remove(id);
    }

   private:
    std::weak_ptr<Book> book;
    std::uint64_t id;
  };

  const std::shared_ptr<Book> book = std::make_shared<Book>();
};

}  // namespace quillard::desktop
