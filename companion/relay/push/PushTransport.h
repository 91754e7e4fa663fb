#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "companion/relay/push/PushEndpoint.h"

namespace quillard::relayserver {

// One request to a push service.
struct PushRequest {
  PushEndpoint endpoint;
  std::string authorization;
  std::chrono::seconds ttl{0};
  std::string urgency;
  std::string topic;  // Empty: none.
  std::string body;
};

struct PushReply {
  int status = 0;  // 0: none came in time, or something else did.
  std::optional<std::chrono::seconds> retryAfter{};
  bool isAddressRefused = false;  // All addresses of the host are ones that the relay posts nothing to.
};

// Posts to push services: all that waking phones asks of the net.
class PushTransport {
 public:
  PushTransport() = default;
  PushTransport(const PushTransport&) = delete;
  PushTransport& operator=(const PushTransport&) = delete;
  virtual ~PushTransport() = default;

  // `done` once, later, unless the transport is destroyed first; within `PushLimits::attempt`.
  virtual void post(PushRequest request, std::function<void(PushReply)> done) = 0;
};

// The request as it is sent. `topic` and `urgency` hold nothing that could end a line.
[[nodiscard]] std::string pushRequestText(const PushRequest& request);
// Of the header "Retry-After": whole seconds. A date is not taken: the pauses of PushLimits then hold.
[[nodiscard]] std::optional<std::chrono::seconds> readRetryAfter(std::string_view value);

}  // namespace quillard::relayserver
