#pragma once

#include <condition_variable>
#include <string_view>
#include <thread>

#include "foundation/Mutex.h"
#include "platform/qt/TurnQueue.h"

namespace quillard::qt {

// A queue with a thread of its own.
class SerialQueue final : public platform::SerialExecutor {
 public:
  SerialQueue(std::string_view label, platform::QualityOfService quality);
  ~SerialQueue() override;

  void post(platform::Turn turn) override;
  [[nodiscard]] platform::TaskHandle postAfter(Seconds delay, platform::Turn turn) override;
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds interval, platform::Turn turn) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  void run();
  // False when the queue is being destroyed.
  bool waitForWork();
  void wake();

  Mutex mutex;
  std::condition_variable_any changed;
  bool isWoken QUILLARD_GUARDED_BY(mutex) = false;
  bool isStopping QUILLARD_GUARDED_BY(mutex) = false;
  const std::shared_ptr<TurnQueue> turns;
  std::thread thread;  // Last: it uses all of the above.
};

}  // namespace quillard::qt
