#include "companion/relay/rules/ClientAddress.h"

#include <algorithm>
#include <charconv>

#include <arpa/inet.h>

namespace quillard::relayserver {
namespace {

constexpr std::array<std::uint8_t, 12> kIpv4Prefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

std::string_view withoutBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

}  // namespace

std::optional<IpAddress> IpAddress::parse(std::string_view text) {
  if (text.size() > 2 && text.front() == '[' && text.back() == ']') text = text.substr(1, text.size() - 2);
  const std::string terminated(text);
  if (terminated.find('\0') != std::string::npos) return std::nullopt;
  IpAddress address;
  in_addr four{};
  if (::inet_pton(AF_INET, terminated.c_str(), &four) == 1) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&four);
    std::copy(kIpv4Prefix.begin(), kIpv4Prefix.end(), address.bytes.begin());
    std::copy(bytes, bytes + sizeof four, address.bytes.begin() + kIpv4Prefix.size());
    return address;
  }
  if (::inet_pton(AF_INET6, terminated.c_str(), address.bytes.data()) == 1) return address;
  return std::nullopt;
}

bool IpAddress::isIpv4() const { return std::equal(kIpv4Prefix.begin(), kIpv4Prefix.end(), bytes.begin()); }

bool IpAddress::isLoopback() const {
  constexpr std::uint8_t kLoopbackNetwork = 127;
  if (isIpv4()) return bytes[kIpv4Prefix.size()] == kLoopbackNetwork;
  return *this == *parse("::1");
}

std::string IpAddress::text() const {
  std::array<char, INET6_ADDRSTRLEN> written{};
  const void* from = isIpv4() ? bytes.data() + kIpv4Prefix.size() : bytes.data();
  ::inet_ntop(isIpv4() ? AF_INET : AF_INET6, from, written.data(), written.size());
  return written.data();
}

RatePrefixes IpAddress::ratePrefixes() const {
  if (isIpv4()) return {text()};
  RatePrefixes prefixes;
  IpAddress network = *this;
  for (const std::ptrdiff_t kept : {8, 7, 6}) {
    std::fill(network.bytes.begin() + kept, network.bytes.end(), std::uint8_t{0});
    prefixes.push_back(network.text());
  }
  return prefixes;
}

std::optional<IpNetwork> IpNetwork::parse(std::string_view text) {
  const auto slash = std::min(text.find('/'), text.size());
  const auto address = IpAddress::parse(text.substr(0, slash));
  if (!address) return std::nullopt;
  IpNetwork network;
  network.address = *address;
  if (slash == text.size()) return network;
  const auto digits = text.substr(slash + 1);
  const unsigned longest = address->isIpv4() ? 32 : 128;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), network.prefix);
  if (error != std::errc{} || end != digits.data() + digits.size() || network.prefix > longest) return std::nullopt;
  network.prefix += 128 - longest;
  return network;
}

bool IpNetwork::contains(const IpAddress& other) const {
  const unsigned whole = prefix / 8;
  if (!std::equal(address.bytes.begin(), address.bytes.begin() + whole, other.bytes.begin())) return false;
  if (prefix % 8 == 0) return true;
  const unsigned mask = 0xFFU << (8 - prefix % 8) & 0xFFU;
  return (address.bytes[whole] & mask) == (other.bytes[whole] & mask);
}

IpAddress clientAddress(const IpAddress& peer, const std::vector<std::string>& forwardedFor,
                        const std::vector<IpNetwork>& trustedProxies) {
  const auto isTrusted = [&](const IpAddress& address) {
    return std::any_of(trustedProxies.begin(), trustedProxies.end(),
                       [&](const IpNetwork& network) { return network.contains(address); });
  };
  IpAddress client = peer;
  for (auto header = forwardedFor.rbegin(); header != forwardedFor.rend(); ++header) {
    std::string_view rest = *header;
    while (isTrusted(client) && !rest.empty()) {
      const auto comma = rest.rfind(',');
      const auto last = comma == std::string_view::npos ? rest : rest.substr(comma + 1);
      const auto address = IpAddress::parse(withoutBlanks(last));
      if (!address) return client;
      client = *address;
      rest = comma == std::string_view::npos ? std::string_view() : rest.substr(0, comma);
    }
  }
  return client;
}

}  // namespace quillard::relayserver
