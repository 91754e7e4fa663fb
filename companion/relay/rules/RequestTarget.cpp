#include "companion/relay/rules/RequestTarget.h"

#include <algorithm>

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestTarget = 8 * 1024;
constexpr std::size_t kMostItems = 64;

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
  return std::nullopt;
}

std::optional<char> escapedByte(std::string_view text, std::size_t percent) {
  if (percent + 2 >= text.size()) return std::nullopt;
  const auto high = hexDigit(text[percent + 1]);
  const auto low = hexDigit(text[percent + 2]);
  if (!high || !low || (*high == 0 && *low == 0)) return std::nullopt;
  return static_cast<char>(*high * 16 + *low);
}

// `plusIsBlank`: as in queries, but not in paths.
std::optional<std::string> unescaped(std::string_view text, bool plusIsBlank) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      const auto byte = escapedByte(text, i);
      if (!byte) return std::nullopt;
      result += *byte;
      i += 2;
    } else {
      result += plusIsBlank && text[i] == '+' ? ' ' : text[i];
    }
  }
  return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  parts.push_back(text);
  return parts;
}

bool hasOnlyCharactersOfUrls(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F' && c != '#' && c != '\\'; });
}

std::optional<std::vector<std::string>> readSegments(std::string_view path) {
  std::vector<std::string> segments;
  if (path.empty()) return segments;
  for (const auto part : split(path, '/')) {
    auto segment = unescaped(part, false);
    if (!segment) return std::nullopt;
    segments.push_back(std::move(*segment));
  }
  return segments;
}

std::optional<std::vector<QueryItem>> readQuery(std::string_view query) {
  std::vector<QueryItem> items;
  for (const auto part : split(query, '&')) {
    if (part.empty()) continue;
    const auto equals = std::min(part.find('='), part.size());
    auto name = unescaped(part.substr(0, equals), true);
    auto value = unescaped(part.substr(std::min(equals + 1, part.size())), true);
    if (!name || !value || items.size() == kMostItems) return std::nullopt;
    items.push_back({std::move(*name), std::move(*value)});
  }
  return items;
}

}  // namespace

std::optional<RequestTarget> parseRequestTarget(std::string_view target) {
  if (target.size() > kLongestTarget || !target.starts_with('/') || !hasOnlyCharactersOfUrls(target)) {
    return std::nullopt;
  }
  const auto question = std::min(target.find('?'), target.size());
  auto segments = readSegments(target.substr(1, question - 1));
  auto query = readQuery(target.substr(std::min(question + 1, target.size())));
  if (!segments || !query) return std::nullopt;
  return RequestTarget{std::move(*segments), std::move(*query)};
}

}  // namespace quillard::relayserver
