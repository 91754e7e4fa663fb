#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companion/relay/rules/PrefixBuckets.h"

namespace quillard::relayserver {

// An IP address. One of IPv4 is kept as IPv6 writes it, ::ffff:192.0.2.1.
class IpAddress {
 public:
  // "192.0.2.1", "2001:db8::1", with or without brackets, without port or zone.
  [[nodiscard]] static std::optional<IpAddress> parse(std::string_view text);

  [[nodiscard]] bool isLoopback() const;
  [[nodiscard]] std::string text() const;
  // What its rates are counted by: see RatePrefixes.
  [[nodiscard]] RatePrefixes ratePrefixes() const;
  bool operator==(const IpAddress&) const = default;

 private:
  friend class IpNetwork;
  [[nodiscard]] bool isIpv4() const;
  std::array<std::uint8_t, 16> bytes{};
};

// "10.0.0.0/8", or one address.
class IpNetwork {
 public:
  [[nodiscard]] static std::optional<IpNetwork> parse(std::string_view text);
  [[nodiscard]] bool contains(const IpAddress& address) const;

 private:
  IpAddress address;
  unsigned prefix = 128;
};

// The address that a request really comes from: `peer`, unless that is a trusted proxy. Then it is the last address in
// its X-Forwarded-For headers that is not a trusted proxy itself: those before it may be made up by the client.
[[nodiscard]] IpAddress clientAddress(const IpAddress& peer, const std::vector<std::string>& forwardedFor,
                                      const std::vector<IpNetwork>& trustedProxies);

}  // namespace quillard::relayserver
