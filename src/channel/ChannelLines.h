#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillard {

// Cuts a stream of bytes into lines. A line ends in a line feed, which is no part of it. One that gets longer than
// `kLongest` breaks the stream for good: nothing is kept of it, and no line comes any more.
class ChannelLines {
 public:
  static constexpr std::size_t kLongest = 256 * 1024;

  void add(std::string_view bytes);
  // The next whole line. Absent: not yet.
  [[nodiscard]] std::optional<std::string> next();
  [[nodiscard]] bool isBroken() const { return broken; }

 private:
  std::string pending;       // From the first line that was not handed out.
  std::size_t searched = 0;  // Bytes of it, of which none ends a line.
  bool broken = false;
};

}  // namespace quillard
