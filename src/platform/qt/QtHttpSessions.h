#pragma once

#include "platform/network/Http.h"
#include "platform/qt/QtNetworkThread.h"

namespace quillard::qt {

// HTTP/1.1 over Qt's sockets, on the network thread; completions hop to the executor of the session. Every request has
// a connection of its own, and nothing is kept of one for the next. Answers of any status, demands for credentials
// included, are responses; only a proxy that asks for credentials is a failure.
class QtHttpSessions final : public platform::HttpSessions {
 public:
  // `network` outlives this object and its sessions.
  explicit QtHttpSessions(QtNetworkThread& network);

  [[nodiscard]] std::unique_ptr<platform::HttpSession> makeEphemeralSession(
      platform::SerialExecutor& executor) override;

 private:
  QtNetworkThread& network;
};

}  // namespace quillard::qt
