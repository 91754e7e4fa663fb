#include "companion/relay/push/PushAddresses.h"

#include <algorithm>
#include <vector>

namespace quillard::relayserver {
namespace {

std::vector<IpNetwork> networksOf(std::initializer_list<const char*> texts) {
  std::vector<IpNetwork> networks;
  for (const char* text : texts) networks.push_back(IpNetwork::parse(text).value());
  return networks;
}

bool isIn(const std::vector<IpNetwork>& networks, const IpAddress& address) {
  return std::any_of(networks.begin(), networks.end(),
                     [&](const IpNetwork& network) { return network.contains(address); });
}

}  // namespace

// By IANA's registries of special addresses.
bool isPublicAddress(const IpAddress& address) {
  static const auto allOfIpv4 = networksOf({"0.0.0.0/0"});
  static const auto notOfIpv4 = networksOf({
      "0.0.0.0/8",        // This network.
      "10.0.0.0/8",       // Private.
      "100.64.0.0/10",    // Shared behind a provider's gateway.
      "127.0.0.0/8",      // Loopback.
      "169.254.0.0/16",   // Link-local.
      "172.16.0.0/12",    // Private.
      "192.0.0.0/24",     // Protocols.
      "192.0.2.0/24",     // Documentation.
      "192.88.99.0/24",   // The way to IPv6 that was given up.
      "192.168.0.0/16",   // Private.
      "198.18.0.0/15",    // Benchmarks.
      "198.51.100.0/24",  // Documentation.
      "203.0.113.0/24",   // Documentation.
      "224.0.0.0/4",      // Groups.
      "240.0.0.0/4",      // Reserved, and everybody.
  });
  // All that was ever given out; nothing else is public, such as fc00::/7, fe80::/10, ff00::/8 and 64:ff9b::/96.
  static const auto ofIpv6 = networksOf({"2000::/3"});
  static const auto notOfIpv6 = networksOf({
      "2001::/23",      // Protocols, and addresses of IPv4 in a tunnel.
      "2001:db8::/32",  // Documentation.
      "2002::/16",      // Addresses of IPv4 in another one.
      "3fff::/20",      // Documentation.
  });
  if (isIn(allOfIpv4, address)) return !isIn(notOfIpv4, address);
  return isIn(ofIpv6, address) && !isIn(notOfIpv6, address);
}

}  // namespace quillard::relayserver
