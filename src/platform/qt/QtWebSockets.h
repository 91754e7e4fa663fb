#pragma once

#include "platform/network/WebSocket.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/TransportPolicy.h"

namespace quillard::qt {

// WebSockets over Qt. Sockets live on the network thread, a fresh one for each task; a task lives on its executor, and
// every callback hops there. Destroying a task waits for nothing: its socket is closed on the network thread soon
// after. A task that was cancelled first gets up to a second there to send a close message.
//
// Messages that are not received are kept up to the weight of 16 of the longest; past that the connection fails.
// Likewise a text is refused while 4 MiB wait for the network. A text counts as sent when the socket has passed it on.
//
// A peer that has sent nothing for `silenceLimit` is dead; pings every `pingInterval` make a live one answer. Redirects
// and demands for credentials fail the connection, and so does what breaks the protocol.
class QtWebSockets final : public platform::WebSockets {
 public:
  // `network` outlives this object and its tasks.
  explicit QtWebSockets(QtNetworkThread& network, TransportOptions options = {});

  [[nodiscard]] std::unique_ptr<platform::WebSocketTask> makeTask(platform::SerialExecutor& executor,
                                                                  platform::WebSocketRequest request,
                                                                  std::function<void()> didOpen) override;

 private:
  QtNetworkThread& network;
  const TransportOptions options;
};

}  // namespace quillard::qt
