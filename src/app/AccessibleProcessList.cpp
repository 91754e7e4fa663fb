#include "app/AccessibleProcessList.h"

#include <utility>

namespace quillard::app {

AccessibleProcessList::AccessibleProcessList(std::function<std::vector<std::int32_t>()> ask,
                                             platform::Executors& executors)
    : ask(std::move(ask)), mainThread(executors.mainThread()) {
  queue = executors.makeSerialQueue("quillard.accessible-processes", platform::QualityOfService::utility);
  timer = mainThread.repeatEvery(kInterval, [this] { refreshSoon(); });
}

AccessibleProcessList::~AccessibleProcessList() {
  timer.reset();
  queue.reset();
}

std::vector<std::int32_t> AccessibleProcessList::processIdentifiers() {
  const MutexLock lock(mutex);
  return known;
}

platform::SubscriptionHandle AccessibleProcessList::observe(std::function<void()> onChange) {
  return listeners.add(std::move(onChange));
}

void AccessibleProcessList::refreshNow() { refresh(); }

void AccessibleProcessList::refreshSoon() {
  {
    const MutexLock lock(mutex);
    if (std::exchange(isRefreshAhead, true)) return;
  }
  queue->post([this] {
    {
      const MutexLock lock(mutex);
      isRefreshAhead = false;
    }
    if (!refresh()) return;
    mainThread.post([this, weak = std::weak_ptr(life)] {
      if (!weak.expired()) listeners.tell();
    });
  });
}

bool AccessibleProcessList::refresh() {
  auto found = ask();
  const MutexLock lock(mutex);
  const bool isAnother = found != known;
  known = std::move(found);
  return isAnother;
}

}  // namespace quillard::app
