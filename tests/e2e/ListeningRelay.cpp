// A relay that only listens, and that the tests can really kill: listening_relay PORT. Says the port that it listens
// on, then every text that it is sent, a line each.

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "contract/support/ScriptedServer.h"

int main(int argc, char** argv) {
  using namespace quillard::test;
  const auto port = static_cast<std::uint16_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0);
  const ScriptedServer server(
      [](ServerConnection& connection) {
        if (!connection.acceptWebSocket()) return;
        while (const auto frame = connection.readFrame()) {
          if (frame->opcode != Opcode::text) continue;
          std::printf("%s\n", frame->payload.c_str());
          std::fflush(stdout);
        }
      },
      std::nullopt, port);
  std::printf("%u\n", unsigned{server.port()});
  std::fflush(stdout);
  while (true) ::pause();
}
