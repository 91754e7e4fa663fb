#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "contract/TransportBinding.h"

namespace quillard::test {

inline constexpr std::chrono::seconds kTimeout{5};

// Runs `body` in a turn of `executor` and waits for what it returns.
template <class Body>
auto onExecutor(platform::SerialExecutor& executor, Body body) -> decltype(body()) {
  std::packaged_task<decltype(body())()> task(std::move(body));
  auto result = task.get_future();
  executor.post([&] { task(); });
  return result.get();
}

// A value that another thread will bring.
template <class T>
class Awaited {
 public:
  void set(T value) {
    const std::lock_guard lock(mutex);
    values.push_back(std::move(value));
    changed.notify_all();
  }
  // The `index`th value; absent when it has not come in time.
  std::optional<T> get(std::size_t index = 0, std::chrono::milliseconds timeout = kTimeout) {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, timeout, [&] { return values.size() > index; });
    return values.size() > index ? std::optional(values[index]) : std::nullopt;
  }
  std::size_t count() {
    const std::lock_guard lock(mutex);
    return values.size();
  }

 private:
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<T> values;
};

// Drives one WebSocket task from the test's thread, and keeps what it reports.
class WebSocketClient {
 public:
  WebSocketClient(TransportBinding& binding, platform::WebSocketRequest request) : executor(binding.executor()) {
    onExecutor(executor, [&] {
      task = binding.webSockets().makeTask(executor, request, [this] { opened.set(true); });
      task->start();
    });
  }
  WebSocketClient(const WebSocketClient&) = delete;
  WebSocketClient& operator=(const WebSocketClient&) = delete;
  ~WebSocketClient() { destroy(); }

  void destroy() {
    onExecutor(executor, [&] { task.reset(); });
  }
  void cancel(platform::WebSocketCloseCode code) {
    onExecutor(executor, [&] { task->cancel(code); });
  }
  bool waitForOpen() { return opened.get().has_value(); }

  void beginReceive() {
    onExecutor(executor, [&] {
      task->receive([this](platform::WebSocketReceipt receipt) { received.set(std::move(receipt)); });
    });
  }
  // Receives once and waits for it. An end without a text when nothing came.
  platform::WebSocketReceipt receive() {
    const std::size_t index = received.count();
    beginReceive();
    return received.get(index).value_or(platform::WebSocketEnd{});
  }
  // The text of the next message. "!" and the error when there is none.
  std::string receiveText() {
    const auto receipt = receive();
    if (const auto* end = std::get_if<platform::WebSocketEnd>(&receipt)) return "!" + end->error.description;
    const auto* text = std::get_if<platform::TextMessage>(&std::get<platform::WebSocketMessage>(receipt));
    return text ? text->text : "!binary";
  }
  // Receives once: the end. Absent when there is a message; an end without a text when nothing came.
  std::optional<platform::WebSocketEnd> receiveEnd() {
    const auto receipt = receive();
    const auto* end = std::get_if<platform::WebSocketEnd>(&receipt);
    return end ? std::optional(*end) : std::nullopt;
  }
  // Why there is no message. Empty when there is one, or nothing came.
  std::string receiveError() {
    const auto end = receiveEnd();
    return end ? end->error.description : "";
  }

  void beginSend(const std::string& text) {
    onExecutor(executor, [&] {
      task->sendText(text, [this](const std::optional<platform::TransportError>& error) {
        sent.set(error ? error->description : "");
      });
    });
  }
  // Empty when the text was sent, else why not.
  std::string send(const std::string& text) {
    const std::size_t index = sent.count();
    beginSend(text);
    return sent.get(index).value_or("no completion");
  }

  Awaited<bool> opened;
  Awaited<platform::WebSocketReceipt> received;
  Awaited<std::string> sent;

 private:
  platform::SerialExecutor& executor;
  std::unique_ptr<platform::WebSocketTask> task;
};

// Sends one request and waits for its outcome.
inline platform::HttpOutcome sendHttp(TransportBinding& binding, const platform::HttpRequest& request) {
  Awaited<platform::HttpOutcome> outcome;
  std::unique_ptr<platform::HttpSession> session;
  onExecutor(binding.executor(), [&] {
    session = binding.httpSessions().makeEphemeralSession(binding.executor());
    session->send(request, [&](platform::HttpOutcome got) { outcome.set(std::move(got)); });
  });
  auto got = outcome.get(0, kTimeout + kTimeout);
  onExecutor(binding.executor(), [&] { session.reset(); });
  return got.value_or(platform::TransportError{});
}

inline int statusOf(const platform::HttpOutcome& outcome) {
  const auto* response = std::get_if<platform::HttpResponse>(&outcome);
  return response ? response->statusCode : 0;
}

inline std::string errorOf(const platform::HttpOutcome& outcome) {
  const auto* error = std::get_if<platform::TransportError>(&outcome);
  return error ? error->description : "";
}

}  // namespace quillard::test
