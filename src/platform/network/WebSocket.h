#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/network/Http.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::platform {

struct WebSocketRequest {
  std::string url;  // ws or wss. Never printed with its query.
  std::vector<HttpHeader> headers;
  Seconds timeout{60};                       // From the start to the open connection.
  std::size_t longestMessage = 1024 * 1024;  // Bytes; a longer one fails the connection before it is kept.
};

struct TextMessage {
  std::string text;  // As received; a binding may have checked that it is UTF-8, but need not.
};
struct BinaryMessage {
  std::vector<std::uint8_t> bytes;
};
using WebSocketMessage = std::variant<TextMessage, BinaryMessage>;
using WebSocketReceipt = std::variant<WebSocketMessage, TransportError>;

enum class WebSocketCloseCode : std::uint16_t { normalClosure = 1000, goingAway = 1001 };

// One connection, from its start to its end; never reused. States: made -> connecting -> open -> closed, or closed from
// any of them. All calls and all callbacks on the executor that it was made for. Callbacks never come from inside a
// call, and none come after the task is destroyed.
class WebSocketTask {
 public:
  WebSocketTask() = default;
  WebSocketTask(const WebSocketTask&) = delete;
  WebSocketTask& operator=(const WebSocketTask&) = delete;
  virtual ~WebSocketTask() = default;

  virtual void start() = 0;
  // The next message, or why there will be none. One receive at a time; each is answered exactly once.
  virtual void receive(std::function<void(WebSocketReceipt)> completion) = 0;
  // One text frame. The completion comes exactly once: nothing when the frame was handed to the network, else why not.
  virtual void sendText(std::string text, std::function<void(std::optional<TransportError>)> completion) = 0;
  // Sends a close message with `code` and no reason, and ends the connection whether or not the other side answers.
  virtual void cancel(WebSocketCloseCode code) = 0;
};

// Both are told for the one task that they were given with. A failed connection may report a failed receive only.
struct WebSocketEvents {
  std::function<void()> didOpen;
  std::function<void(std::uint16_t closeCode)> didClose;
};

// Dead peers are found by pings, within 40 s of silence: the task then fails. Trust and proxies as for HTTP.
class WebSockets {
 public:
  virtual ~WebSockets() = default;
  // `executor` outlives the task.
  [[nodiscard]] virtual std::unique_ptr<WebSocketTask> makeTask(SerialExecutor& executor, WebSocketRequest request,
                                                                WebSocketEvents events) = 0;
};

}  // namespace quillard::platform
