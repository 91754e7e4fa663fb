#include "relay/RelayAddress.h"

#include "foundation/Text.h"
#include "relay/RelayCrypto.h"

namespace quillard {

bool isAllowedRelayURL(const UrlComponents& components) {
  if (!components.scheme || !components.host) return false;
  const std::string scheme = components.lowercasedScheme();
  return scheme == "wss" || (scheme == "ws" && isThisComputer(*components.host));
}

bool isAllowedRelayURL(std::string_view address) {
  const auto components = UrlComponents::parse(address);
  return components && isAllowedRelayURL(*components);
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

Secret computerKeyFor(const Secret& computerKey, std::string_view relayURL) {
  const auto relay = UrlComponents::parse(relayURL);
  if (computerKey.isEmpty() || !relay || !relay->host) return {};
  std::string text(computerKey.text());
  text += "\n" + text::lowercased(*relay->host);
  Secret key{std::string_view{RelayCrypto::digest(text)}};
  wipe(text);
  return key;
}

}  // namespace quillard
