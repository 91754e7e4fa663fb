#include "foundation/UrlComponents.h"

#include <algorithm>
#include <vector>

namespace quillard {
namespace {

constexpr std::string_view kUnreservedMarks = "-._~";
constexpr std::string_view kReserved = ":/?#[]@!$&'()*+,;=";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool isUnreserved(char c) { return isLetter(c) || isDigit(c) || kUnreservedMarks.find(c) != std::string_view::npos; }

template <class Predicate>
bool all(std::string_view text, Predicate predicate) {
  return std::all_of(text.begin(), text.end(), predicate);
}

// Only characters that a URL may have, and no percent sign without its two digits.
bool isUrlText(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      if (text.size() - i < 3 || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) return false;
    } else if (!isUnreserved(text[i]) && kReserved.find(text[i]) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text.front()) &&
         all(text, [](char c) { return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; });
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  while (true) {
    const auto end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

// Digits only, and not more than `largest`, which is below 100,000.
std::optional<unsigned> smallNumber(std::string_view text, unsigned largest) {
  if (text.empty() || !all(text, isDigit)) return std::nullopt;
  unsigned value = 0;
  for (const char digit : text) {
    value = value * 10 + static_cast<unsigned>(digit - '0');
    if (value > largest) return std::nullopt;
  }
  return value;
}

bool isIPv4Address(std::string_view text) {
  const auto parts = split(text, '.');
  return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](std::string_view part) {
           return smallNumber(part, 255) && (part.size() == 1 || part.front() != '0');
         });
}

// How many groups of 16 bits `text` stands for, an IPv4 address at the end being two. Absent: no groups at all.
std::optional<std::size_t> groupCount(std::string_view text, bool mayEndInIPv4) {
  if (text.empty()) return 0;
  std::size_t count = 0;
  const auto parts = split(text, ':');
  for (const auto& part : parts) {
    const bool isLast = &part == &parts.back();
    if (isLast && mayEndInIPv4 && isIPv4Address(part)) {
      count += 2;
    } else if (part.empty() || part.size() > 4 || !all(part, isHexDigit)) {
      return std::nullopt;
    } else {
      ++count;
    }
  }
  return count;
}

bool isIPv6Address(std::string_view text) {
  constexpr std::size_t kGroups = 8;
  const auto gap = text.find("::");
  if (gap == std::string_view::npos) return groupCount(text, true) == kGroups;
  const auto before = groupCount(text.substr(0, gap), false);
  const auto after = groupCount(text.substr(gap + 2), true);
  return before && after && *before + *after < kGroups;
}

bool readPort(std::string_view text, UrlComponents& url) {
  if (text.empty()) return true;  // "host:" is "host".
  const auto port = smallNumber(text, 65'535);
  if (port) url.port = static_cast<std::uint16_t>(*port);
  return port.has_value();
}

bool readBracketedHost(std::string_view text, UrlComponents& url) {
  const auto end = text.find(']');
  if (end == std::string_view::npos) return false;
  const auto address = text.substr(1, end - 1);
  const auto rest = text.substr(end + 1);
  if (!isIPv6Address(address) || (!rest.empty() && rest.front() != ':')) return false;
  url.host = address;
  return rest.empty() || readPort(rest.substr(1), url);
}

bool readAuthority(std::string_view text, UrlComponents& url) {
  if (const auto at = text.find('@'); at != std::string_view::npos) {
    url.userInfo = text.substr(0, at);
    text.remove_prefix(at + 1);
    if (text.find('@') != std::string_view::npos) return false;
  }
  if (text.starts_with('[')) return readBracketedHost(text, url);
  const auto colon = text.find(':');
  const auto host = text.substr(0, colon);
  if (host.empty() || !all(host, isUnreserved)) return false;
  url.host = host;
  return colon == std::string_view::npos || readPort(text.substr(colon + 1), url);
}

// Takes what follows the first `mark` off the end of `text`.
std::optional<std::string> takenTail(std::string_view& text, char mark) {
  const auto position = text.find(mark);
  if (position == std::string_view::npos) return std::nullopt;
  std::string tail{text.substr(position + 1)};
  text = text.substr(0, position);
  return tail;
}

}  // namespace

std::optional<UrlComponents> UrlComponents::parse(std::string_view text) {
  if (text.empty() || !isUrlText(text)) return std::nullopt;
  UrlComponents url;
  url.fragment = takenTail(text, '#');
  url.query = takenTail(text, '?');
  const auto colon = text.find(':');
  if (colon != std::string_view::npos && colon < text.find('/')) {
    if (!isScheme(text.substr(0, colon))) return std::nullopt;
    url.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const auto authority = text.substr(0, text.find('/'));
    if (!readAuthority(authority, url)) return std::nullopt;
    text.remove_prefix(authority.size());
  }
  if (text.find_first_of("[]") != std::string_view::npos) return std::nullopt;
  url.path = text;
  return url;
}

std::string UrlComponents::lowercasedScheme() const {
  std::string lowercased = scheme.value_or("");
  for (char& c : lowercased) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return lowercased;
}

void UrlComponents::appendQueryItem(std::string_view name, std::string_view value) {
  const bool isFirst = !query || query->empty();
  query = query.value_or("") + (isFirst ? "" : "&") + percentEncoded(name) + "=" + percentEncoded(value);
}

std::optional<std::string> UrlComponents::removeQueryItem(std::string_view name) {
  if (!query) return std::nullopt;
  for (std::size_t begin = 0; begin <= query->size();) {
    const auto end = std::min(query->find('&', begin), query->size());
    const auto item = query->substr(begin, end - begin);
    if (item.starts_with(std::string(name) + "=")) {
      // The separator before it goes with it, or, of the first one, the separator behind it.
      const bool isFirst = begin == 0;
      query->erase(isFirst ? 0 : begin - 1, item.size() + (isFirst && end == query->size() ? 0 : 1));
      if (query->empty()) query.reset();
      return item.substr(name.size() + 1);
    }
    begin = end + 1;
  }
  return std::nullopt;
}

std::string UrlComponents::text() const {
  std::string text;
  if (scheme) text += *scheme + ":";
  if (host) {
    text += "//";
    if (userInfo) text += *userInfo + "@";
    const bool isIPv6 = host->find(':') != std::string::npos;
    text += isIPv6 ? "[" + *host + "]" : *host;
    if (port) text += ":" + std::to_string(*port);
  }
  text += path;
  if (query) text += "?" + *query;
  if (fragment) text += "#" + *fragment;
  return text;
}

std::string UrlComponents::printableText() const {
  UrlComponents printable = *this;
  printable.userInfo.reset();
  printable.query.reset();
  printable.fragment.reset();
  return printable.text();
}

std::string percentEncoded(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (isUnreserved(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kDigits[byte >> 4U], kDigits[byte & 0x0FU]};
    }
  }
  return encoded;
}

bool isThisComputer(std::string_view host) { return host == "localhost" || host == "127.0.0.1" || host == "::1"; }

}  // namespace quillard
