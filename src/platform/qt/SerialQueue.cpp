#include "platform/qt/SerialQueue.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "platform/qt/ThreadTraits.h"

namespace quillard::qt {

using platform::TaskHandle;
using platform::Turn;

SerialQueue::SerialQueue(std::string_view label, platform::QualityOfService quality)
    : turns(std::make_shared<TurnQueue>([this] { wake(); })), thread([this, name = std::string(label), quality] {
        setThreadTraits(name, quality);
        run();
      }) {}

SerialQueue::~SerialQueue() {
  {
    const MutexLock lock(mutex);
    isStopping = true;
  }
  changed.notify_one();
  thread.join();
  turns->close();
}

void SerialQueue::post(Turn turn) { turns->post(std::move(turn)); }

TaskHandle SerialQueue::postAfter(Seconds delay, Turn turn) { return turns->postAfter(delay, std::move(turn)); }

TaskHandle SerialQueue::repeatEvery(Seconds interval, Turn turn) {
  return turns->repeatEvery(interval, std::move(turn));
}

bool SerialQueue::isCurrent() const { return std::this_thread::get_id() == thread.get_id(); }

void SerialQueue::wake() {
  {
    const MutexLock lock(mutex);
    isWoken = true;
  }
  changed.notify_one();
}

void SerialQueue::run() {
  while (waitForWork()) turns->runNext();
}

bool SerialQueue::waitForWork() {
  // The longest wait is bounded since deadlines near the end of the clock overflow in some libraries' arithmetic.
  constexpr std::chrono::hours kLongestWait{1};
  const auto due = turns->nextDue();
  const MutexLock lock(mutex);
  if (!isWoken && !isStopping) {
    const auto wait = due ? std::min<std::chrono::nanoseconds>(kLongestWait, std::max(*due, steadyNow()) - steadyNow())
                          : std::chrono::nanoseconds(kLongestWait);
    if (wait > std::chrono::nanoseconds::zero()) changed.wait_for(mutex, wait);
  }
  isWoken = false;
  return !isStopping;
}

}  // namespace quillard::qt
