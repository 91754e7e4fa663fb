#include "companion/relay/server/NameLookup.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include <boost/asio/post.hpp>

#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

namespace asio = boost::asio;
using asio::ip::tcp;

// What threads and loop have in common. The threads own it: the last of them may end after everything else.
struct NameLookup::Shared {
  Shared(asio::io_context& loop, std::weak_ptr<Waiting> waiting, Resolve resolve)
      : waiting(std::move(waiting)), resolve(std::move(resolve)), loop(&loop) {}

  const std::weak_ptr<Waiting> waiting;  // Locked on the loop alone.
  const Resolve resolve;
  std::mutex mutex;  // Of all below.
  std::condition_variable changed;
  asio::io_context* loop;  // Null: it is over.
  std::deque<Name> wanted;
  std::size_t threads = 0;
  std::size_t busy = 0;
};

NameLookup::Endpoints NameLookup::resolveBySystem(const std::string& host, std::uint16_t port) {
  asio::io_context alone;
  ErrorCode error;
  const auto results = tcp::resolver(alone).resolve(host, std::to_string(port), tcp::resolver::numeric_service, error);
  Endpoints found;
  if (error) return found;
  for (const auto& result : results) found.push_back(result.endpoint());
  return found;
}

NameLookup::NameLookup(asio::io_context& loop, Resolve resolve)
    : shared(std::make_shared<Shared>(loop, waiting, std::move(resolve))) {}

// Threads that wait for a name, and for nothing else, are left to themselves.
NameLookup::~NameLookup() {
  std::unique_lock lock(shared->mutex);
  shared->loop = nullptr;
  shared->wanted.clear();
  shared->changed.notify_all();
  shared->changed.wait(lock, [this] { return shared->threads == shared->busy; });
}

void NameLookup::find(const std::string& host, std::uint16_t port, std::function<void(Endpoints)> done) {
  const Name name{host, port};
  auto& all = (*waiting)[name];
  all.push_back(std::move(done));
  if (all.size() > 1) return;
  const std::lock_guard lock(shared->mutex);
  shared->wanted.push_back(name);
  const bool isAnyFree = shared->threads - shared->busy >= shared->wanted.size();
  if (isAnyFree || shared->threads >= kMostThreads) return shared->changed.notify_all();
  try {
    std::thread([shared = shared] { work(shared); }).detach();
    ++shared->threads;
  } catch (const std::system_error&) {
    if (shared->threads > 0) return;  // It has its turn later.
    shared->wanted.clear();
    publish(*shared, name, {});
  }
}

void NameLookup::work(const std::shared_ptr<Shared>& shared) {
  std::unique_lock lock(shared->mutex);
  while (true) {
    shared->changed.wait(lock, [&] { return shared->loop == nullptr || !shared->wanted.empty(); });
    if (shared->loop == nullptr) break;
    const Name name = std::move(shared->wanted.front());
    shared->wanted.pop_front();
    ++shared->busy;
    lock.unlock();
    auto found = shared->resolve(name.first, name.second);
    lock.lock();
    --shared->busy;
    if (shared->loop == nullptr) break;
    publish(*shared, name, std::move(found));
  }
  --shared->threads;
  shared->changed.notify_all();
}

// With the mutex held, so that the loop is still there. What it does not run any more, it destroys: names alone.
void NameLookup::publish(Shared& shared, const Name& name, Endpoints found) {
  asio::post(*shared.loop, [weak = shared.waiting, name, found = std::move(found)] {
    const auto live = weak.lock();
    if (!live) return;
    auto all = live->extract(name);
    if (all.empty()) return;
    for (const auto& done : all.mapped()) done(found);
  });
}

}  // namespace quillard::relayserver
