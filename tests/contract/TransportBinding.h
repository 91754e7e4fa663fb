#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/network/Http.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Executors.h"

namespace quillard::test {

// What a test may change about a binding's transports. The rest is as it ships.
struct TransportSettings {
  Seconds pingInterval{20};
  Seconds silenceLimit{40};
};

// The transports of one binding, and an executor to own what they make.
class TransportBinding {
 public:
  TransportBinding() = default;
  TransportBinding(const TransportBinding&) = delete;
  TransportBinding& operator=(const TransportBinding&) = delete;
  virtual ~TransportBinding() = default;
  virtual platform::SerialExecutor& executor() = 0;
  virtual platform::WebSockets& webSockets() = 0;
  virtual platform::HttpSessions& httpSessions() = 0;
};

using MakeTransports = std::unique_ptr<TransportBinding> (*)(const TransportSettings&);

}  // namespace quillard::test
