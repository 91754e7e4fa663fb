#include "platform/simulated/SimulatedWebSockets.h"

#include <utility>

#include "platform/simulated/UsableUrl.h"

namespace quillard::platform::simulated {

namespace {

using ConnectionHandle = SimulatedWebSockets::ConnectionHandle;

class SimulatedWebSocketTask final : public WebSocketTask {
 public:
  SimulatedWebSocketTask(ConnectionHandle connection, std::function<void(const ConnectionHandle&)> startListener)
      : connection(std::move(connection)), startListener(std::move(startListener)) {}
  ~SimulatedWebSocketTask() override { connection->abandon(); }

  void start() override {
    if (connection->start() && startListener) startListener(connection);
  }
  void receive(std::function<void(WebSocketReceipt)> completion) override {
    connection->receive(std::move(completion));
  }
  void sendText(std::string text, std::function<void(std::optional<TransportError>)> completion) override {
    connection->sendFromClient(std::move(text), std::move(completion));
  }
  void cancel(WebSocketCloseCode code) override { connection->cancel(code); }

 private:
  ConnectionHandle connection;
  std::function<void(const ConnectionHandle&)> startListener;
};

}  // namespace

// ---- SimulatedWebSocketConnection, the server's side

SimulatedWebSocketConnection::SimulatedWebSocketConnection(SerialExecutor& executor, WebSocketRequest request,
                                                           std::function<void()> didOpen, Seconds sendDelay,
                                                           std::set<std::string> authorityFiles)
    : executor(executor),
      theRequest(std::move(request)),
      didOpen(std::move(didOpen)),
      sendDelay(sendDelay),
      authorityFiles(std::move(authorityFiles)) {}

void SimulatedWebSocketConnection::accept() {
  {
    const MutexLock lock{mutex};
    if (ended) return;
    accepted = true;
    openingTimeout.reset();
  }
  post([this] {
    if (!sentCloseCode()) didOpen();
  });
}

void SimulatedWebSocketConnection::sendText(std::string text) {
  const std::size_t length = text.size();
  sendToClient(TextMessage{std::move(text)}, length);
}

void SimulatedWebSocketConnection::sendBinary(std::vector<std::uint8_t> bytes) {
  const std::size_t length = bytes.size();
  sendToClient(BinaryMessage{std::move(bytes)}, length);
}

void SimulatedWebSocketConnection::fail(std::string description) {
  const MutexLock lock{mutex};
  end({std::nullopt, {std::move(description)}});
}

void SimulatedWebSocketConnection::close(std::uint16_t code) {
  const MutexLock lock{mutex};
  end({code, {"The connection was closed with code " + std::to_string(code) + "."}});
}

void SimulatedWebSocketConnection::refuse(int statusCode) {
  const MutexLock lock{mutex};
  if (accepted) return;
  end({.closeCode = std::nullopt,
       .error = {"The server answered with HTTP " + std::to_string(statusCode) + " instead of opening a WebSocket."},
       .refusedWithStatus = statusCode});
}

void SimulatedWebSocketConnection::holdSends() {
  const MutexLock lock{mutex};
  isHolding = true;
  for (auto& [number, send] : sends) send.arrival.reset();
}

void SimulatedWebSocketConnection::releaseSends() {
  const MutexLock lock{mutex};
  isHolding = false;
  for (auto& [number, send] : sends) letArriveLater(number, send);
}

void SimulatedWebSocketConnection::failSends(const std::string& description) {
  const MutexLock lock{mutex};
  loseSends(description);
}

void SimulatedWebSocketConnection::setReceiver(std::function<void(const std::string&)> taker) {
  const MutexLock lock{mutex};
  receiver = std::move(taker);
}

std::vector<std::string> SimulatedWebSocketConnection::receivedTexts() const {
  const MutexLock lock{mutex};
  return arrived;
}

bool SimulatedWebSocketConnection::isAccepted() const {
  const MutexLock lock{mutex};
  return accepted;
}

bool SimulatedWebSocketConnection::isEnded() const {
  const MutexLock lock{mutex};
  return ended.has_value();
}

std::optional<std::uint16_t> SimulatedWebSocketConnection::sentCloseCode() const {
  const MutexLock lock{mutex};
  return clientCloseCode;
}

// ---- The client's side

bool SimulatedWebSocketConnection::start() {
  const MutexLock lock{mutex};
  if (ended) return false;
  if (!isUsableUrl(theRequest.url, {"ws", "wss"})) {
    end({std::nullopt, {std::string(kUnusableAddress)}});
    return false;
  }
  if (!isAuthorityFileUsable(theRequest.url, theRequest.authorityFile, authorityFiles)) {
    end({std::nullopt, {unusableAuthorityFile(theRequest.authorityFile)}});
    return false;
  }
  if (accepted) return true;
  openingTimeout = executor.postAfter(theRequest.timeout, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->fail("The connection was not opened in time.");
  });
  return true;
}

void SimulatedWebSocketConnection::receive(std::function<void(WebSocketReceipt)> completion) {
  const MutexLock lock{mutex};
  pendingReceive = std::move(completion);
  deliver();
}

void SimulatedWebSocketConnection::sendFromClient(std::string text,
                                                  std::function<void(std::optional<TransportError>)> completion) {
  const MutexLock lock{mutex};
  if (!accepted || ended) {
    post([completion = std::move(completion)] { completion(TransportError{"The connection is not open."}); });
    return;
  }
  const auto number = ++sendCount;
  Send& send = sends[number] = Send{std::move(text), std::move(completion), nullptr};
  if (!isHolding) letArriveLater(number, send);
}

void SimulatedWebSocketConnection::cancel(WebSocketCloseCode code) {
  const MutexLock lock{mutex};
  if (!clientCloseCode) clientCloseCode = static_cast<std::uint16_t>(code);
  inbox.clear();
  end({std::nullopt, {"The connection was cancelled."}});
}

void SimulatedWebSocketConnection::abandon() {
  std::map<std::uint64_t, Send> dropped;  // Destroyed last, without the lock.
  std::function<void(WebSocketReceipt)> droppedReceive;
  const MutexLock lock{mutex};
  isAbandoned = true;
  if (!ended) ended.emplace();
  openingTimeout.reset();
  dropped.swap(sends);
  droppedReceive.swap(pendingReceive);
}

// ---- Between the two

void SimulatedWebSocketConnection::post(Turn turn) {
  executor.post([self = shared_from_this(), turn = std::move(turn)] {
    const auto isGone = [&] {
      const MutexLock lock{self->mutex};
      return self->isAbandoned;
    };
    if (!isGone()) turn();
  });
}

void SimulatedWebSocketConnection::sendToClient(WebSocketMessage message, std::size_t length) {
  const MutexLock lock{mutex};
  if (ended) return;
  if (length > theRequest.longestMessage) {
    end({std::nullopt, {"A message of the server is too long."}});
    return;
  }
  inbox.push_back(std::move(message));
  deliver();
}

void SimulatedWebSocketConnection::deliver() {
  if (!pendingReceive || (inbox.empty() && !ended)) return;
  WebSocketReceipt receipt = WebSocketEnd{};
  if (inbox.empty()) {
    receipt = *ended;
  } else {
    receipt = std::move(inbox.front());
    inbox.pop_front();
  }
  post([completion = std::exchange(pendingReceive, nullptr), receipt = std::move(receipt)] { completion(receipt); });
}

void SimulatedWebSocketConnection::letArriveLater(std::uint64_t number, Send& send) {
  send.arrival = executor.postAfter(sendDelay, [weak = weak_from_this(), number] {
    if (const auto self = weak.lock()) self->arrive(number);
  });
}

void SimulatedWebSocketConnection::arrive(std::uint64_t number) {
  Send send;
  std::function<void(const std::string&)> take;
  {
    const MutexLock lock{mutex};
    const auto found = sends.find(number);
    if (found == sends.end()) return;
    send = std::move(found->second);
    sends.erase(found);
    take = receiver;
    if (!take) arrived.push_back(std::move(send.text));
  }
  if (take) take(send.text);
  send.completion(std::nullopt);
}

void SimulatedWebSocketConnection::loseSends(const std::string& description) {
  for (auto& [number, send] : std::exchange(sends, {})) {
    post([completion = std::move(send.completion), description] { completion(TransportError{description}); });
  }
}

void SimulatedWebSocketConnection::end(WebSocketEnd why) {
  if (ended) return;
  ended = std::move(why);
  openingTimeout.reset();
  deliver();
  loseSends("The connection was lost.");
}

// ---- SimulatedWebSockets

void SimulatedWebSockets::onStart(std::function<void(const ConnectionHandle&)> listener) {
  const MutexLock lock{mutex};
  startListener = std::move(listener);
}

void SimulatedWebSockets::addAuthorityFile(std::string path) {
  const MutexLock lock{mutex};
  authorityFiles.insert(std::move(path));
}

void SimulatedWebSockets::setSendDelay(Seconds delay) {
  const MutexLock lock{mutex};
  sendDelay = delay;
}

std::vector<SimulatedWebSockets::ConnectionHandle> SimulatedWebSockets::connections() const {
  const MutexLock lock{mutex};
  return made;
}

std::unique_ptr<WebSocketTask> SimulatedWebSockets::makeTask(SerialExecutor& executor, WebSocketRequest request,
                                                             std::function<void()> didOpen) {
  const MutexLock lock{mutex};
  made.push_back(std::make_shared<SimulatedWebSocketConnection>(executor, std::move(request), std::move(didOpen),
                                                                sendDelay, authorityFiles));
  return std::make_unique<SimulatedWebSocketTask>(made.back(), startListener);
}

}  // namespace quillard::platform::simulated
