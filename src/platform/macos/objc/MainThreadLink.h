#pragma once

#include <memory>

#include "foundation/Mutex.h"
#include "platform/process/Executors.h"

namespace quillard::macos {

// How the system's callbacks, which come on any thread and at any time, reach the main thread for as long as somebody
// there is listening. Callbacks hold it by a `std::shared_ptr`.
class MainThreadLink : public std::enable_shared_from_this<MainThreadLink> {
 public:
  explicit MainThreadLink(platform::SerialExecutor& mainThread) : mainThread(&mainThread) {}

  // Any thread. `turn` runs in a turn of the main thread, unless the link is severed first.
  void post(platform::Turn turn) {
    const MutexLock lock(mutex);  // Held while posting, since the executor may go as soon as the link is severed.
    if (!mainThread) return;
    mainThread->post([self = shared_from_this(), turn = std::move(turn)] {
      if (!self->isSevered()) turn();
    });
  }

  // Main thread. Nothing runs afterwards, not even what was under way, and the executor may go.
  void sever() {
    const MutexLock lock(mutex);
    mainThread = nullptr;
  }

 private:
  bool isSevered() {
    const MutexLock lock(mutex);
    return mainThread == nullptr;
  }

  Mutex mutex;
  platform::SerialExecutor* mainThread QUILLARD_GUARDED_BY(mutex);
};

// The end of a link that listens: severs it when it goes. Main thread.
class MainThreadListening {
 public:
  explicit MainThreadListening(platform::SerialExecutor& mainThread)
      : itsLink(std::make_shared<MainThreadLink>(mainThread)) {}
  MainThreadListening(const MainThreadListening&) = delete;
  MainThreadListening& operator=(const MainThreadListening&) = delete;
  ~MainThreadListening() { itsLink->sever(); }

  [[nodiscard]] const std::shared_ptr<MainThreadLink>& link() const { return itsLink; }

 private:
  const std::shared_ptr<MainThreadLink> itsLink;
};

}  // namespace quillard::macos
