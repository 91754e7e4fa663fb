#pragma once

#include <string>

#include "contract/TransportContract.h"

// What the tests of WebSockets ask for, and what their servers do.
namespace quillard::test {

inline platform::WebSocketRequest requestTo(const std::string& url, const std::string& authorityFile = {}) {
  return {.url = url,
          .headers = {{"authorization", "Bearer " + std::string(kCanaryHeader)}},
          .authorityFile = authorityFile};
}

inline std::string pathWithCanary() { return "/ws?pairing=" + std::string(kCanaryQuery) + "&role=mac"; }

inline void echo(ServerConnection& connection) {
  if (!connection.acceptWebSocket()) return;
  while (const auto frame = connection.readFrame()) {
    if (frame->opcode == Opcode::text && !connection.sendFrame(Opcode::text, frame->payload)) return;
    if (frame->opcode == Opcode::ping) connection.sendFrame(Opcode::pong, frame->payload);
    if (frame->opcode == Opcode::close) return;
  }
}

// Answers the opening request with `response` instead of a WebSocket.
inline Script answerWith(const std::string& response) {
  return [response](ServerConnection& connection) {
    connection.readHead();
    connection.write(response);
  };
}

}  // namespace quillard::test
