#pragma once

#include <memory>

#include "foundation/Mutex.h"
#include "platform/process/Executors.h"

namespace quillard::qt {

// How the network thread brings news to the executor of whoever asked, for as long as the owner lives.
class OwnerLink : public std::enable_shared_from_this<OwnerLink> {
 public:
  explicit OwnerLink(platform::SerialExecutor& executor) : executor(&executor) {}

  // Any thread. `turn` runs on the executor, unless the link is severed first.
  void post(platform::Turn turn) {
    const MutexLock lock(mutex);  // Held while posting, since the executor may go as soon as the link is severed.
    if (!executor) return;
    executor->post([self = shared_from_this(), turn = std::move(turn)] {
      if (!self->isSevered()) turn();
    });
  }

  // On the executor. Nothing runs afterwards, not even what was under way, and the executor may go.
  void sever() {
    const MutexLock lock(mutex);
    executor = nullptr;
  }

 private:
  bool isSevered() {
    const MutexLock lock(mutex);
    return executor == nullptr;
  }

  Mutex mutex;
  platform::SerialExecutor* executor QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::qt
