#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/ssl.h>

#include "contract/support/ScriptedServer.h"
#include "foundation/StrictJson.h"

namespace quillard::test {

struct WireReply {
  int status = 0;                              // 0: the connection ended instead.
  std::map<std::string, std::string> headers;  // Names in lower case.
  std::string body;
};

using WireHeaders = std::vector<std::pair<std::string, std::string>>;

// A client's end of a connection with the relay: plain system calls, so that it can misbehave in any way it likes.
// Nothing waits longer than ten seconds. Pings are answered while it reads.
class RelayWire {
 public:
  // `authority`: a certificate, PEM, to trust; empty: without TLS.
  explicit RelayWire(std::uint16_t port, const std::string& authority = {}, int receiveBuffer = 0);
  RelayWire(const RelayWire&) = delete;
  RelayWire& operator=(const RelayWire&) = delete;
  ~RelayWire();

  // What the relay has shown, PEM. With TLS only.
  [[nodiscard]] std::string certificate() const;

  // How long it waits instead of ten seconds.
  void setTimeout(std::chrono::milliseconds timeout) const;
  // Ends what waits in another thread.
  void interrupt() const;
  // Nothing more is sent; what the other end still sends can be read.
  void endSending() const;
  bool write(std::string_view bytes);
  WireReply ask(const std::string& method, const std::string& target, const WireHeaders& headers = {},
                const std::string& body = {});
  WireReply readReply(bool hasBody = true);
  // 101 when it is a WebSocket now.
  WireReply upgrade(const std::string& query, const WireHeaders& headers);

  bool sendFrame(Opcode opcode, std::string_view payload, bool isLast = true);
  // The start of a frame that claims to be `size` bytes long.
  bool sendFrameHeader(Opcode opcode, std::uint64_t size);
  bool say(const Json& message) { return sendFrame(Opcode::text, message.dump()); }
  // The next bytes as they come, pings and all; fewer: the relay has ended the connection.
  std::string readRaw(std::size_t count) { return readBytes(count).value_or(""); }
  // The next frame that is neither ping nor pong. Absent: the relay has ended the connection.
  std::optional<Frame> readFrame();
  // The next message of this type; others are skipped. Null: none came.
  Json read(const std::string& type);
  // The code of the close frame; 0: the connection ended without one. Messages before it are skipped.
  int readClose();
  // Whether the relay ends the connection, without saying anything more, in ten seconds.
  bool isEnded();

  bool answersPings = true;

 private:
  std::optional<std::string> readBytes(std::size_t count);
  bool readMore();

  int descriptor = -1;
  SSL_CTX* context = nullptr;
  SSL* tls = nullptr;
  std::string arrived;
};

}  // namespace quillard::test
