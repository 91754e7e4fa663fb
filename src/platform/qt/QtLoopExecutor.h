#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <thread>

#include "platform/qt/TurnQueue.h"

class QSocketNotifier;
class QTimer;

namespace quillard::qt {

// The Qt event loop of the thread that makes it: its turns take turns with the loop's own events. Made and destroyed on
// that thread, and needs the application object.
//
// A turn that runs a loop inside itself (a menu, a modal dialog) keeps the next turns waiting until that loop ends, for
// turns run one at a time.
class QtLoopExecutor final : public platform::SerialExecutor {
 public:
  QtLoopExecutor();
  ~QtLoopExecutor() override;

  void post(platform::Turn turn) override;
  [[nodiscard]] platform::TaskHandle postAfter(Seconds delay, platform::Turn turn) override;
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds interval, platform::Turn turn) override;
  // Also true in the loop's own events, which are turns of the same thread.
  [[nodiscard]] bool isCurrent() const override;

 private:
  void wake();
  void takeWake();
  void runReady();
  void arm();

  const std::thread::id owner = std::this_thread::get_id();
  std::array<int, 2> wakePipe{-1, -1};
  std::atomic<bool> isWakeSent{false};
  bool isRunning = false;
  const std::shared_ptr<TurnQueue> turns;
  std::unique_ptr<QSocketNotifier> notifier;
  std::unique_ptr<QTimer> timer;
};

}  // namespace quillard::qt
