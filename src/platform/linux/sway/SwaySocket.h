#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/sway/SwayMessages.h"

namespace quillard::sway {

// One connection to sway's socket. When sway goes, or says what cannot be understood, it is broken for good. Not for
// two threads at a time.
class SwaySocket {
 public:
  // How long sway may take for one answer. It answers within a millisecond or two, unless it hangs.
  static constexpr std::chrono::milliseconds kTimeout{500};

  // Null when nothing listens at `path`.
  [[nodiscard]] static std::unique_ptr<SwaySocket> open(const std::string& path);
  ~SwaySocket();
  SwaySocket(const SwaySocket&) = delete;
  SwaySocket& operator=(const SwaySocket&) = delete;

  // Asks, and waits for the reply. Absent, and broken from here on, when none came in time.
  [[nodiscard]] std::optional<std::string> ask(MessageType type, std::string_view payload);

  // Takes in what has come, without waiting. False: it is broken.
  bool receive();
  // What came by itself, the oldest first. Absent: nothing more yet.
  [[nodiscard]] std::optional<Message> next() { return stream.next(); }

  [[nodiscard]] bool isBroken() const { return broken || stream.isBroken(); }
  [[nodiscard]] int descriptor() const { return file; }

 private:
  explicit SwaySocket(int file) : file(file) {}
  bool send(std::string_view bytes, std::chrono::steady_clock::time_point deadline);
  // False: not before the deadline.
  [[nodiscard]] bool await(short events, std::chrono::steady_clock::time_point deadline) const;

  const int file;
  MessageStream stream;
  bool broken = false;
};

}  // namespace quillard::sway
