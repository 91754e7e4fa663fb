#include "companion/relay/rules/ListenAddress.h"

#include <charconv>

namespace quillard::relayserver {

std::optional<ListenAddress> ListenAddress::parse(std::string_view text) {
  const auto colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto host = text.substr(0, colon);
  // Without brackets, an address with colons could be one with its end cut off.
  if (host.find(':') != std::string_view::npos && !(host.starts_with('[') && host.ends_with(']'))) return std::nullopt;
  const auto address = IpAddress::parse(host);
  const auto digits = text.substr(colon + 1);
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (!address || error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  return ListenAddress{*address, port};
}

}  // namespace quillard::relayserver
