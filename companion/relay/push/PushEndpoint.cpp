#include "companion/relay/push/PushEndpoint.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/PushMessages.h"

namespace quillard::relayserver {
namespace {

constexpr std::string_view kScheme = "https://";
constexpr std::size_t kLongestHost = 253;
constexpr std::size_t kLongestLabel = 63;

bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool isLabel(std::string_view label) {
  return !label.empty() && label.size() <= kLongestLabel && label.front() != '-' && label.back() != '-' &&
         std::all_of(label.begin(), label.end(), [](char c) { return isLower(c) || isDigit(c) || c == '-'; });
}

// A name of at least two labels, of which the last begins with a letter: nobody takes that for a number or an address.
bool isHostName(std::string_view host) {
  if (host.size() > kLongestHost || host.find('.') == std::string_view::npos) return false;
  std::string_view last;
  for (std::size_t begin = 0; begin <= host.size();) {
    const auto end = std::min(host.find('.', begin), host.size());
    last = host.substr(begin, end - begin);
    if (!isLabel(last)) return false;
    begin = end + 1;
  }
  return isLower(last.front());
}

// What RFC 3986 lets stand in a path and a query.
bool isTarget(std::string_view text) {
  constexpr std::string_view kMarks = "-._~!$&'()*+,;=:@/?";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '%') {
      if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) return false;
      i += 2;
    } else if (!isLower(c) && !isDigit(c) && !(c >= 'A' && c <= 'Z') && kMarks.find(c) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

std::optional<std::uint16_t> readPort(std::string_view digits) {
  unsigned port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  const bool isWhole = error == std::errc{} && end == digits.data() + digits.size();
  if (!isWhole || digits.front() == '0' || port < 1 || port > std::numeric_limits<std::uint16_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::uint16_t>(port);
}

struct Authority {
  std::string_view host;
  std::uint16_t port = 443;
  bool isBracketed = false;
};

std::optional<Authority> readAuthority(std::string_view text) {
  Authority read;
  if (text.starts_with('[')) {
    const auto end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    read.host = text.substr(1, end - 1);
    read.isBracketed = true;
    text.remove_prefix(end + 1);
  } else {
    read.host = text.substr(0, text.find(':'));
    text.remove_prefix(read.host.size());
  }
  if (text.empty()) return read;
  if (!text.starts_with(':') || text.size() < 2) return std::nullopt;
  const auto port = readPort(text.substr(1));
  if (!port) return std::nullopt;
  read.port = *port;
  return read;
}

// With dots and without: what is written in another way has another form as text, and is no address here.
bool isAddressText(const Authority& authority) {
  const bool isSix = authority.host.find(':') != std::string_view::npos;
  if (isSix != authority.isBracketed || authority.host.find_first_of("[]%") != std::string_view::npos) return false;
  const auto address = IpAddress::parse(authority.host);
  return address && address->text() == authority.host;
}

}  // namespace

std::optional<PushEndpoint> PushEndpoint::parse(std::string_view text) {
  if (text.size() > kLongestPushEndpoint || !text.starts_with(kScheme)) return std::nullopt;
  text.remove_prefix(kScheme.size());
  const auto slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto target = text.substr(slash);
  const auto authority = readAuthority(text.substr(0, slash));
  if (!authority || !isTarget(target)) return std::nullopt;
  const bool isAddress = isAddressText(*authority);
  if (!isAddress && (authority->isBracketed || !isHostName(authority->host))) return std::nullopt;
  return PushEndpoint{.host = std::string(authority->host),
                      .port = authority->port,
                      .target = std::string(target),
                      .isAddress = isAddress};
}

std::string PushEndpoint::origin() const {
  constexpr std::uint16_t kUsual = 443;
  const std::string written = host.find(':') == std::string::npos ? host : "[" + host + "]";
  return std::string(kScheme) + written + (port == kUsual ? "" : ":" + std::to_string(port));
}

const std::vector<std::string>& PushHosts::large() {
  static const std::vector<std::string> hosts{"fcm.googleapis.com", "*.push.services.mozilla.com", "*.push.apple.com",
                                              "*.notify.windows.com"};
  return hosts;
}

bool PushHosts::add(std::string_view pattern) {
  const bool isBelow = pattern.starts_with("*.");
  if (isBelow) pattern.remove_prefix(2);
  const auto authority = readAuthority(pattern);
  if (!authority) return false;
  const bool isName = !authority->isBracketed && isHostName(authority->host);
  // An address stands for itself alone.
  if (!isName && (isBelow || !isAddressText(*authority))) return false;
  patterns.push_back({.host = std::string(authority->host), .isBelow = isBelow, .port = authority->port});
  return true;
}

bool PushHosts::allows(const PushEndpoint& endpoint) const {
  return std::any_of(patterns.begin(), patterns.end(), [&](const Pattern& pattern) {
    if (pattern.port != endpoint.port) return false;
    if (!pattern.isBelow) return endpoint.host == pattern.host;
    return endpoint.host.size() > pattern.host.size() + 1 && endpoint.host.ends_with("." + pattern.host);
  });
}

}  // namespace quillard::relayserver
