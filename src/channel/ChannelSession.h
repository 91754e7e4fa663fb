#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "channel/ChannelLines.h"
#include "channel/ChannelMessage.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

namespace quillard {

// One connection to the agent, on the agent's side. It carries one request, the answers to it, and what the other side
// says about these: nothing that a program sends on one connection has to do with what it sends on another one.
//
// States: waiting for a request -> answering -> finished -> closed; or closed from any of them. What cannot be
// understood is answered with the reason, and finishes it. Main thread.
class ChannelSession {
 public:
  // How long a connection may be open without a request, and how long one that is finished stays open, so that the last
  // line is read.
  static constexpr Seconds kRequestTimeout{10};
  static constexpr Seconds kFinishTimeout{2};
  // Lines that the other side may send on one connection.
  static constexpr std::size_t kMostLines = 64;

  struct Events {
    std::function<void(const ChannelMessage&)> onRequest;  // Once.
    std::function<void()> onClosed;                        // Once. Not from inside an operation.
  };

  // Begins to read. `mainThread` outlives this.
  ChannelSession(std::unique_ptr<platform::LocalConnection> connection, platform::SerialExecutor& mainThread,
                 Events events);
  ~ChannelSession() = default;
  ChannelSession(const ChannelSession&) = delete;
  ChannelSession& operator=(const ChannelSession&) = delete;

  [[nodiscard]] const platform::LocalPeer& peer() const { return connection->peer(); }

  // What comes after the request. Without it, anything more is refused.
  void setOnMessage(std::function<void(const ChannelMessage&)> handler) { onMessage = std::move(handler); }
  // The other side has gone, or is to go for what it sent. Called once, before the owner learns of it and before the
  // reason is sent.
  void setOnEnd(std::function<void()> handler) { onEnd = std::move(handler); }

  // Dropped once it is finished.
  void send(std::string_view line);
  // The last line. The end is not reported to whoever finished it.
  void finish(std::string_view line);
  void refuse(std::string_view code, std::string_view message);
  [[nodiscard]] bool isFinished() const { return hasFinished; }

 private:
  void received(std::string_view bytes);
  void read(std::string_view line);
  // Refuses what the other side sent, which ends what it waits for.
  void giveUp(const ChannelProblem& problem);
  void close();

  platform::SerialExecutor& mainThread;
  const Events events;
  ChannelLines lines;
  std::size_t lineCount = 0;
  bool hasFinished = false;
  bool isClosed = false;
  std::function<void(const ChannelMessage&)> onMessage;
  std::function<void()> onEnd;
  platform::TaskHandle timeout;
  const std::unique_ptr<platform::LocalConnection> connection;
};

}  // namespace quillard
