#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "contract/support/TransportClients.h"
#include "platform/network/Http.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Executors.h"

namespace quillard::test {

// The network of one binding, with servers that the test controls. What needs bytes on a wire (TLS, frames, proxies) is
// tested by `WebSocketContract` and `HttpContract`, for the bindings that have one.
class NetworkBinding {
 public:
  NetworkBinding() = default;
  NetworkBinding(const NetworkBinding&) = delete;
  NetworkBinding& operator=(const NetworkBinding&) = delete;
  virtual ~NetworkBinding() = default;

  virtual platform::SerialExecutor& executor() = 0;
  virtual platform::WebSockets& webSockets() = 0;
  virtual platform::HttpSessions& httpSessions() = 0;
  // Lets time pass, and turns run, until `condition` holds. False when five seconds have passed without it.
  virtual bool eventually(const std::function<bool()>& condition) = 0;

  // ---- A server of WebSockets that accepts every connection; the operations are about the newest.
  virtual std::string webSocketUrl() = 0;
  virtual void sendText(const std::string& text) = 0;
  virtual void sendBinary(const std::vector<std::uint8_t>& bytes) = 0;
  virtual void close(std::uint16_t code) = 0;
  virtual void drop() = 0;  // Without a close message.
  [[nodiscard]] virtual std::vector<std::string> receivedTexts() = 0;
  // The code of the client's close message. Absent: it sent none.
  [[nodiscard]] virtual std::optional<std::uint16_t> receivedCloseCode() = 0;
  [[nodiscard]] virtual bool hasEnded() = 0;
  // A server that answers with this HTTP status instead of opening a WebSocket.
  virtual std::string refusingWebSocketUrl(int status) = 0;
  // A server that lets clients connect and never answers.
  virtual std::string silentWebSocketUrl() = 0;

  // Paths that cannot serve as files of authorities: nothing is there, or no certificate in it.
  [[nodiscard]] virtual std::vector<std::string> unusableAuthorityFiles() = 0;

  // ---- A server of HTTP that answers with `status`, and one that never answers.
  virtual std::string httpUrl(int status) = 0;
  virtual std::string silentHttpUrl() = 0;
  // What was asked of both, as "METHOD body".
  [[nodiscard]] virtual std::vector<std::string> httpRequests() = 0;
};

using MakeNetwork = std::unique_ptr<NetworkBinding> (*)();

// Drives one WebSocket task from the test's thread, and keeps what it reports.
class TaskClient {
 public:
  TaskClient(NetworkBinding& binding, platform::WebSocketRequest request);
  TaskClient(const TaskClient&) = delete;
  TaskClient& operator=(const TaskClient&) = delete;
  ~TaskClient() { destroy(); }

  void run(const std::function<void()>& body);
  void destroy() {
    run([this] { task.reset(); });
  }
  void cancel(platform::WebSocketCloseCode code) {
    run([&] { task->cancel(code); });
  }
  bool waitForOpen() { return next(opened, 0).has_value(); }
  void beginReceive();
  // Absent when nothing came in time.
  std::optional<platform::WebSocketReceipt> receive();
  // The next message, "binary" and its bytes, or "end" and its close code: "end 4001", "end".
  std::string receiveAsText();
  void beginSend(const std::string& text);
  // Empty when the text was sent, else why not.
  std::string send(const std::string& text);

  Awaited<bool> opened;
  Awaited<platform::WebSocketReceipt> received;
  Awaited<std::string> sent;

  template <class T>
  std::optional<T> next(Awaited<T>& awaited, std::size_t index) {
    (void)binding.eventually([&] { return awaited.count() > index; });
    return awaited.get(index, std::chrono::milliseconds(0));
  }

  std::unique_ptr<platform::WebSocketTask> task;

 private:
  NetworkBinding& binding;
};

class WebSocketTaskContract : public testing::TestWithParam<MakeNetwork> {
 protected:
  const std::unique_ptr<NetworkBinding> binding = GetParam()();
};

class HttpSessionContract : public testing::TestWithParam<MakeNetwork> {
 protected:
  const std::unique_ptr<NetworkBinding> binding = GetParam()();
};

// Runs `body` in a turn of the binding's executor and waits for it.
void runOnExecutor(NetworkBinding& binding, const std::function<void()>& body);

}  // namespace quillard::test
