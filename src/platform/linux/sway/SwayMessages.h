#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillard::sway {

// The kinds of messages of sway's IPC protocol that something here depends on. Replies are of the kind of their
// request; events have the highest bit set.
enum class MessageType : std::uint32_t {
  runCommand = 0,
  subscribe = 2,
  getTree = 4,
  workspaceEvent = 0x80000000,
  windowEvent = 0x80000003,
};

struct Message {
  std::uint32_t type = 0;
  std::string payload;  // JSON, as sway wrote it: titles in it are any program's.
  bool operator==(const Message&) const = default;
};

// More than a tree of a thousand windows takes.
inline constexpr std::size_t kLongestPayload = std::size_t{8} * 1024 * 1024;

// As it goes over the socket: a fixed text, the length and the type in this machine's byte order, the payload.
[[nodiscard]] std::string encoded(MessageType type, std::string_view payload);

// Puts the bytes of a socket together into messages. One that is malformed or too long breaks the stream for good.
class MessageStream {
 public:
  void add(std::string_view bytes);
  // The next message that is complete. Absent: more bytes are needed, or the stream is broken.
  [[nodiscard]] std::optional<Message> next();
  [[nodiscard]] bool isBroken() const { return broken; }

 private:
  std::string pending;
  bool broken = false;
};

}  // namespace quillard::sway
