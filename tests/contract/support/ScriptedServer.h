#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include <openssl/ssl.h>

#include "contract/support/TestAuthority.h"

namespace quillard::test {

enum class Opcode : std::uint8_t { continuation = 0, text = 1, binary = 2, close = 8, ping = 9, pong = 10 };

struct Frame {
  Opcode opcode = Opcode::text;
  std::string payload;  // Of a close frame: two bytes of code, then the reason.
  bool isLast = true;   // Otherwise continuations follow.
  bool operator==(const Frame&) const = default;
};

// The server's end of one accepted connection, in the hands of a script: plain system calls, so that it can misbehave
// in any way it likes. Nothing waits longer than five seconds. On the script's thread.
class ServerConnection {
 public:
  ServerConnection(int descriptor, SSL_CTX* tls);
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;
  ~ServerConnection();

  // False when the client broke the TLS handshake off.
  bool handshake();

  // The request line and headers, the empty line included. What there was of them when the client ended it first.
  std::string readHead();
  std::string readBytes(std::size_t count);
  bool write(std::string_view bytes);

  // Reads the client's handshake and accepts it. The head is kept in `head`.
  bool acceptWebSocket();
  // The same for a handshake that was read already.
  bool acceptWebSocket(std::string readHead);
  // How long reads and writes wait from now on, in place of five seconds.
  void setTimeout(std::chrono::seconds timeout);
  // A whole frame with its mask undone. Absent when the client has gone.
  std::optional<Frame> readFrame();
  bool sendFrame(Opcode opcode, std::string_view payload, bool isLast = true);
  // The start of a frame that claims to be `size` bytes long.
  bool sendFrameHeader(Opcode opcode, std::uint64_t size, bool isLast = true);
  // Reads and drops frames until the client has gone. The last close code, if it said one.
  std::optional<std::uint16_t> waitForEnd();

  // Ends the connection rudely: the client sees a reset.
  void reset();
  // From another thread: whatever the script waits for fails.
  void interrupt() const;

  std::string head;

 private:
  long readSome(char* to, std::size_t atMost);

  std::atomic<int> descriptor;
  SSL* tls = nullptr;
};

using Script = std::function<void(ServerConnection&)>;

// Listens on this machine alone, and runs `script` for each connection on a thread of its own. Destroying it interrupts
// the scripts and waits for them.
class ScriptedServer {
 public:
  explicit ScriptedServer(Script script, const std::optional<ServerIdentity>& identity = std::nullopt,
                          std::uint16_t port = 0);
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer();

  [[nodiscard]] std::uint16_t port() const { return boundPort; }
  // "wss://127.0.0.1:40001/ws"
  [[nodiscard]] std::string url(std::string_view scheme, std::string_view pathAndQuery = "/ws",
                                std::string_view host = "127.0.0.1") const;
  [[nodiscard]] int accepted() const { return count; }

 private:
  struct Client {
    std::unique_ptr<ServerConnection> connection;
    std::thread thread;
  };
  void acceptAll();
  void serve(int descriptor);

  const Script script;
  SSL_CTX* tls = nullptr;
  int listener = -1;
  std::uint16_t boundPort = 0;
  std::atomic<int> count{0};
  std::atomic<bool> isStopping{false};
  std::mutex mutex;
  std::list<Client> clients;
  std::thread acceptor;
};

// A port on which no server listens.
[[nodiscard]] std::uint16_t deadPort();

}  // namespace quillard::test
