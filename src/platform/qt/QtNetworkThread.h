#pragma once

#include <memory>

#include "platform/process/Executors.h"

namespace quillard::qt {

// The thread on which sockets live, with an event loop of its own: look-ups of proxies and TLS handshakes may take a
// while, and the main thread has windows to move. Needs the application object; outlives all that is made with it.
// Destroying it ends every connection immediately.
class QtNetworkThread {
 public:
  QtNetworkThread();
  QtNetworkThread(const QtNetworkThread&) = delete;
  QtNetworkThread& operator=(const QtNetworkThread&) = delete;
  ~QtNetworkThread();

  [[nodiscard]] platform::SerialExecutor& executor() { return *loop; }

 private:
  class Thread;

  const std::unique_ptr<Thread> thread;
  platform::SerialExecutor* const loop;
};

}  // namespace quillard::qt
