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
  std::string authorityFile = {};            // As of an HTTP request, for wss.
};

// A text that came in pieces is joined, however it was cut.
struct TextMessage {
  std::string text;  // As received; a binding may have checked that it is UTF-8, but need not.
};
struct BinaryMessage {
  std::vector<std::uint8_t> bytes;
};
using WebSocketMessage = std::variant<TextMessage, BinaryMessage>;

// Why a connection ended: closed by the server, refused by it, failed, or cancelled.
struct WebSocketEnd {
  std::optional<std::uint16_t> closeCode;  // Present when a close message ended it, absent when it failed.
  TransportError error;                    // The same in words, for a diagnostic line: never the server's own words.
  // The HTTP status with which the server answered instead of opening the connection. Absent: it gave no such answer.
  std::optional<int> refusedWithStatus = std::nullopt;
};
using WebSocketReceipt = std::variant<WebSocketMessage, WebSocketEnd>;

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
  // The next message. Once those that arrived are read, why there are no more: this is the only report of the end, and
  // every later receive gets the same one. An owner that always has a receive under way therefore learns of the end as
  // it happens, and one that does not only by its sends, which fail. One receive at a time; each is answered exactly
  // once.
  virtual void receive(std::function<void(WebSocketReceipt)> completion) = 0;
  // One text frame. The completion comes exactly once: nothing when the frame was handed to the network, else why not.
  virtual void sendText(std::string text, std::function<void(std::optional<TransportError>)> completion) = 0;
  // Sends a close message with `code` and no reason, and ends the connection whether or not the other side answers.
  // Messages that were not received are dropped.
  virtual void cancel(WebSocketCloseCode code) = 0;
};

// Dead peers are found by pings, within 40 s of silence: the task then fails. Trust and proxies as for HTTP.
class WebSockets {
 public:
  virtual ~WebSockets() = default;
  // `executor` outlives the task. `didOpen` is called at most once, when the connection is open; it is not empty.
  [[nodiscard]] virtual std::unique_ptr<WebSocketTask> makeTask(SerialExecutor& executor, WebSocketRequest request,
                                                                std::function<void()> didOpen) = 0;
};

}  // namespace quillard::platform
