#include "platform/qt/HttpResponseHead.h"

#include <algorithm>
#include <optional>

namespace quillard::qt {
namespace {

constexpr std::size_t kLongestHead = 64 * 1024;  // All interim answers included.

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether `text` is "HTTP/1.d ddd" and a blank or a line's end, or may still become that. `d`: a digit.
bool mayBeStatusLine(std::string_view text) {
  constexpr std::string_view kPattern = "HTTP/1.d ddde";
  for (std::size_t i = 0; i < std::min(text.size(), kPattern.size()); ++i) {
    const char c = text[i];
    const char wanted = kPattern[i];
    const bool fits = wanted == 'd' ? isDigit(c) : wanted == 'e' ? c == ' ' || c == '\r' || c == '\n' : c == wanted;
    if (!fits) return false;
  }
  return true;
}

// Where the head ends: after its first empty line.
std::optional<std::size_t> endOfHead(std::string_view text) {
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
    const std::string_view rest = text.substr(at + 1);
    if (rest.substr(0, 1) == "\n") return at + 2;
    if (rest.substr(0, 2) == "\r\n") return at + 3;
  }
  return std::nullopt;
}

int statusIn(std::string_view head) { return (head[9] - '0') * 100 + (head[10] - '0') * 10 + (head[11] - '0'); }

}  // namespace

HttpResponseHead::State HttpResponseHead::add(std::string_view bytes) {
  if (current != State::incomplete) return current;
  received += bytes.size();
  head += bytes;
  current = judge();
  if (current == State::incomplete && received > kLongestHead) current = State::tooLong;
  return current;
}

HttpResponseHead::State HttpResponseHead::judge() {
  while (mayBeStatusLine(head)) {
    const auto found = endOfHead(head);
    if (!found) return State::incomplete;
    end = *found;
    status = statusIn(head);
    constexpr int kSwitchingProtocols = 101;
    if (status < 100) return State::notHttp;
    if (status >= 200 || status == kSwitchingProtocols) return State::complete;
    head.erase(0, end);
  }
  return State::notHttp;
}

}  // namespace quillard::qt
