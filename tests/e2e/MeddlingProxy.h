#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace quillard::test {

// A proxy between clients and a server of this machine, which does to WebSockets what some real ones do. Everything
// else passes as it is. Runs on a thread of its own, for as long as the object lives.
class MeddlingProxy {
 public:
  enum class Habit {
    none,
    forgetsUpgrades,    // Drops the request's header `Upgrade`.
    keepsMessagesBack,  // What the server sends after the handshake is kept until there is much of it, which is never.
    dropsSilentOnes,    // Ends a connection on which nothing came for a while.
    endsItHalfWay,      // Ends a WebSocket with the first message that the client sends.
    changesHandshakes,  // Gives its own `Sec-WebSocket-Accept`.
  };
  MeddlingProxy(std::uint16_t server, Habit habit);
  MeddlingProxy(const MeddlingProxy&) = delete;
  MeddlingProxy& operator=(const MeddlingProxy&) = delete;
  ~MeddlingProxy();

  [[nodiscard]] std::uint16_t port() const { return boundPort; }
  // How long nothing may come before a silent one is dropped.
  static constexpr std::chrono::milliseconds kSilence{300};

 private:
  void run();

  const std::uint16_t server;
  const Habit habit;
  int listener = -1;
  std::uint16_t boundPort = 0;
  std::atomic<bool> isStopping{false};
  std::thread thread;
};

}  // namespace quillard::test
