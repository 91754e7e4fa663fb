#include "channel/ChannelLines.h"

namespace quillard {

void ChannelLines::add(std::string_view bytes) {
  if (!broken) pending += bytes;
}

std::optional<std::string> ChannelLines::next() {
  if (broken) return std::nullopt;
  const auto end = pending.find('\n', searched);
  const std::size_t length = end == std::string::npos ? pending.size() : end;
  if (length > kLongest) {
    broken = true;
    pending = {};
    return std::nullopt;
  }
  searched = end == std::string::npos ? length : 0;
  if (end == std::string::npos) return std::nullopt;
  std::string line = pending.substr(0, end);
  pending.erase(0, end + 1);
  return line;
}

}  // namespace quillard
