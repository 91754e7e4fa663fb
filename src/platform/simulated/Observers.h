#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "platform/Subscription.h"
#include "platform/process/Executors.h"

namespace quillard::platform::simulated {

// Who wants to hear of something, each told in a turn of one executor. Subscriptions may outlive this.
template <class... Event>
class Observers {
 public:
  using Listener = std::function<void(const Event&...)>;

  // `executor` outlives this.
  explicit Observers(SerialExecutor& executor) : executor(executor), book(std::make_shared<Book>()) {}

  [[nodiscard]] SubscriptionHandle add(Listener listener) {
    const std::uint64_t id = book->next++;
    book->listeners.emplace(id, std::make_shared<Listener>(std::move(listener)));
    return std::make_unique<Entry>(book, id);
  }

  // Tells those who are subscribed now and still are when their turn comes.
  void tell(const Event&... event) {
    if (book->listeners.empty()) return;
    executor.post([book = book, end = book->next, event...] { book->deliver(end, event...); });
  }

  // Tells whoever is subscribed when the turn comes, as long as there is an observer then. Several calls until then are
  // one.
  void hint() {
    if (book->listeners.empty()) return;
    if (std::exchange(book->isHintUnderWay, true)) return;
    executor.post([book = book] {
      book->isHintUnderWay = false;
      book->deliver(book->next);
    });
  }

 private:
  struct Book {
    std::map<std::uint64_t, std::shared_ptr<Listener>> listeners;  // By age.
    std::uint64_t next = 0;
    bool isHintUnderWay = false;

    // To those older than `end`. Listeners come and go meanwhile.
    void deliver(std::uint64_t end, const Event&... event) {
      const auto told = listeners;
      for (const auto& [id, listener] : told) {
        if (id < end && listeners.contains(id)) (*listener)(event...);
      }
    }
  };

  class Entry final : public Subscription {
   public:
    Entry(const std::shared_ptr<Book>& book, std::uint64_t id) : book(book), id(id) {}
    ~Entry() override {
      if (const auto open = book.lock()) open->listeners.erase(id);
    }

   private:
    std::weak_ptr<Book> book;
    std::uint64_t id;
  };

  SerialExecutor& executor;
  std::shared_ptr<Book> book;
};

}  // namespace quillard::platform::simulated
