#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// The frames of RFC 6455 as a client reads and writes them. Pure: no socket, no time, no randomness.
namespace quillard::qt {

struct TextReceived {
  std::string text;  // UTF-8, however it was cut into frames.
};
struct BinaryReceived {
  std::string bytes;
};
struct PingReceived {
  std::string payload;  // To be sent back in a pong.
};
struct PongReceived {};
struct CloseReceived {
  std::uint16_t code = 1005;  // 1005: it gave none.
};
// The server broke the protocol. Nothing after that is read.
struct ProtocolBroken {
  std::uint16_t code = 0;  // To close with: 1002, 1007 or 1009.
};
using WebSocketEvent =
    std::variant<TextReceived, BinaryReceived, PingReceived, PongReceived, CloseReceived, ProtocolBroken>;

// Reads what a server sends, in pieces of any size. It is as strict as a client may be: frames that are masked, of a
// reserved kind or with a reserved bit, lengths in more bytes than they need, control frames that are long or in
// pieces, and texts that are no UTF-8 break the protocol.
class WebSocketFrameReader {
 public:
  // `longestMessage`: bytes. Of a longer one nothing is kept.
  explicit WebSocketFrameReader(std::size_t longestMessage) : longestMessage(longestMessage) {}

  void add(std::string_view bytes);
  // The next thing that came. Absent: more bytes are needed, or it has ended, with a close frame or a broken protocol.
  [[nodiscard]] std::optional<WebSocketEvent> next();

 private:
  struct Header {
    bool isLast = true;
    unsigned opcode = 0;
    std::size_t payload = 0;  // Bytes.
    std::size_t size = 0;     // Of the header itself.
  };
  // Absent: it is not whole yet, or `broken` says what is wrong with it.
  [[nodiscard]] std::optional<Header> readHeader();
  [[nodiscard]] std::optional<WebSocketEvent> take(const Header& header);
  [[nodiscard]] WebSocketEvent takeControl(unsigned opcode, std::string payload);
  [[nodiscard]] WebSocketEvent finishMessage();
  WebSocketEvent fail(std::uint16_t code);

  const std::size_t longestMessage;
  std::string bytes;           // From the beginning of the next frame on.
  std::size_t used = 0;        // Of these, what was taken already.
  std::string message;         // Its frames that are there.
  unsigned messageOpcode = 0;  // 0: none has begun.
  bool hasEnded = false;
  std::optional<std::uint16_t> broken;
};

enum class ClientOpcode : unsigned { text = 1, close = 8, ping = 9, pong = 10 };

// One whole frame, masked, as a client has to. The mask must not be foreseeable.
[[nodiscard]] std::string clientFrame(ClientOpcode opcode, std::string_view payload,
                                      const std::array<std::uint8_t, 4>& mask);
// The payload of a close frame without a reason.
[[nodiscard]] std::string closePayload(std::uint16_t code);

}  // namespace quillard::qt
