#include "relay/RelayAddress.h"

namespace quillard {

bool isAllowedRelayURL(const UrlComponents& components) {
  if (!components.scheme || !components.host) return false;
  const std::string scheme = components.lowercasedScheme();
  return scheme == "wss" || (scheme == "ws" && isThisComputer(*components.host));
}

std::variant<std::string, RelayAddressRefusal> relaySocketURL(const RelayLaunchConfiguration& configuration) {
  auto components = UrlComponents::parse(configuration.relayURL);
  if (!components) return RelayAddressRefusal{};
  const std::string printable = components->printableText();
  if (!isAllowedRelayURL(*components)) return RelayAddressRefusal{"Refusing insecure relay URL: " + printable};
  (void)components->removeQueryItem(kRegistrationKeyItem);
  components->appendQueryItem("role", "mac");
  components->appendQueryItem("pairing", configuration.pairingID);
  auto url = components->text();
  if (!UrlComponents::parse(url)) return RelayAddressRefusal{"Invalid relay URL: " + printable};
  return url;
}

}  // namespace quillard
