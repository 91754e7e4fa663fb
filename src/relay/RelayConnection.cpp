#include "relay/RelayConnection.h"

#include <utility>

#include "foundation/PrintableText.h"
#include "relay/RelayAddress.h"

namespace quillard {
namespace {

constexpr Seconds kReconnectDelay{3};
constexpr Seconds kConnectTimeout{60};
constexpr int kUnauthorized = 401;

// Absent: asking again may be answered otherwise.
std::optional<RelayRefusal> refusalOf(const platform::WebSocketEnd& end) {
  if (end.refusedWithStatus == kUnauthorized) return RelayRefusal::tokenUnknown;
  if (end.refusedWithStatus == kRevokedStatus) return RelayRefusal::pairingRevoked;
  return std::nullopt;
}

}  // namespace

RelayConnection::RelayConnection(std::string url, Secret relaySecret, Secret computerKey,
                                 platform::SerialExecutor& queue, platform::WebSockets& webSockets,
                                 platform::Console& console, RelayConnectionEvents events)
    : url(std::move(url)),
      relaySecret(std::move(relaySecret)),
      computerKey(std::move(computerKey)),
      queue(queue),
      webSockets(webSockets),
      console(console),
      events(std::move(events)) {}

void RelayConnection::connect() {
  if (task) return;
  shouldReconnect = true;
  ++taskNumber;
  task = webSockets.makeTask(queue, request(), [weak = weak_from_this(), number = taskNumber] {
    if (const auto self = weak.lock()) self->socketOpened(number);
  });
  isSocketOpen = false;
  task->start();
  receiveNext();
  console.writeLine("Quillard relay connected.");
}

void RelayConnection::disconnect() {
  shouldReconnect = false;
  reconnectTask.reset();
  if (task) task->cancel(platform::WebSocketCloseCode::goingAway);
  forgetTask();
  events.lost();
}

void RelayConnection::send(std::string text, std::function<void(bool)> completion) {
  if (!isSocketOpen || !task) {
    completion(false);
    return;
  }
  const auto number = ++sendCount;
  pendingSends.emplace(number, std::move(completion));
  task->sendText(std::move(text), [weak = weak_from_this(), number](const auto& error) {
    if (const auto self = weak.lock()) self->sendEnded(number, error);
  });
}

platform::WebSocketRequest RelayConnection::request() const {
  platform::WebSocketRequest request{.url = url,
                                     .headers = {{"authorization", "Bearer " + std::string(relaySecret.text())}},
                                     .timeout = kConnectTimeout};
  if (!computerKey.isEmpty()) {
    request.headers.push_back({std::string(kComputerKeyHeader), std::string(computerKey.text())});
  }
  return request;
}

void RelayConnection::socketOpened(std::uint64_t number) {
  if (!task || number != taskNumber) return;
  isSocketOpen = true;
  events.opened();
}

void RelayConnection::receiveNext() {
  task->receive([weak = weak_from_this(), number = taskNumber](const auto& receipt) {
    if (const auto self = weak.lock()) self->socketReceived(number, receipt);
  });
}

void RelayConnection::socketReceived(std::uint64_t number, const platform::WebSocketReceipt& receipt) {
  if (!task || number != taskNumber) return;
  if (const auto* message = std::get_if<platform::WebSocketMessage>(&receipt)) {
    events.received(*message);
    if (task && number == taskNumber) receiveNext();
    return;
  }
  socketEnded(std::get<platform::WebSocketEnd>(receipt));
}

// A close message is an orderly end, so only a failure is printed.
void RelayConnection::socketEnded(const platform::WebSocketEnd& end) {
  if (!end.closeCode) console.writeLine("Relay receive failed: " + printableText(end.error.description));
  forgetTask();
  events.lost();
  if (const auto refusal = refusalOf(end)) return stopRefused(*refusal);
  reconnectLater();
}

void RelayConnection::stopRefused(RelayRefusal refusal) {
  shouldReconnect = false;
  events.refused(refusal);
}

void RelayConnection::sendEnded(std::uint64_t sendNumber, const std::optional<platform::TransportError>& error) {
  auto pending = pendingSends.extract(sendNumber);
  if (!pending) return;  // It was given up together with its socket.
  if (error) console.writeLine("Unable to send relay message: " + printableText(error->description));
  pending.mapped()(!error);
}

void RelayConnection::forgetTask() {
  isSocketOpen = false;
  // It may be in the middle of telling us something, so it goes in a turn of its own.
  if (task) queue.post([last = std::shared_ptr<platform::WebSocketTask>(std::move(task))] {});
  for (const auto& [number, completion] : std::exchange(pendingSends, {})) completion(false);
}

void RelayConnection::reconnectLater() {
  if (!shouldReconnect || reconnectTask) return;
  reconnectTask = queue.postAfter(kReconnectDelay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->reconnectTask.reset();
    self->connect();
  });
}

}  // namespace quillard
