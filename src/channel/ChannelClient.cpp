#include "channel/ChannelClient.h"

#include <variant>

namespace quillard {

platform::LocalConnectOutcome ChannelClient::open() {
  auto result = sockets.connect(kChannelName);
  if (!result.connection) return result.outcome;
  connection = std::move(result.connection);
  connection->start({.onBytes = [this](std::string_view bytes) { received(bytes); }, .onEnd = [this] { end(); }});
  return result.outcome;
}

void ChannelClient::send(std::string_view line) {
  if (connection) connection->send(line);
}

void ChannelClient::close() { connection.reset(); }

void ChannelClient::received(std::string_view bytes) {
  const std::weak_ptr<const char> alive = life;
  lines.add(bytes);
  while (const auto line = lines.next()) {
    const auto message = readChannelMessage(*line);
    if (std::holds_alternative<ChannelProblem>(message)) return end();
    const auto called = events.onMessage;
    called(std::get<ChannelMessage>(message));
    if (alive.expired() || !connection) return;
  }
  if (lines.isBroken()) end();
}

void ChannelClient::end() {
  connection.reset();
  const auto called = events.onEnd;
  called();
}

}  // namespace quillard
