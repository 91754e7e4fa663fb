#include <string>

#include "foundation/UrlComponents.h"
#include "fuzz/FuzzTarget.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/PairingConfiguration.h"
#include "relay/PairingIdentifiers.h"

using namespace quillard;
using fuzz::require;

namespace {

constexpr std::string_view kIdentifierCharacters = "abcdefghijklmnopqrstuvwxyz0123456789_-";

void checkAddress(std::string_view text) {
  auto url = UrlComponents::parse(text);
  if (!url) {
    require(!PairingConfiguration::backendBaseURL(text).has_value(), "No address without a URL.");
    return;
  }
  require(UrlComponents::parse(url->text()) == url, "What was read is written.");
  url->appendQueryItem("pairing", text);
  require(UrlComponents::parse(url->text()).has_value(), "Any text may be the value of a query item.");
  const auto base = PairingConfiguration::backendBaseURL(text);
  require(base.has_value() == url->host.has_value(), "A host makes an address.");
  if (!base) return;
  const auto read = UrlComponents::parse(*base);
  require(read && read->host == url->host && read->port == url->port, "Host and port stay.");
  require(base->find_first_of("@?#") == std::string::npos, "Nothing else does.");
}

void checkSeed(std::string_view text) {
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  const auto identifier = createdPairingID(std::string(text), random);
  require(identifier.find_first_not_of(kIdentifierCharacters) == std::string::npos, "Identifiers are plain.");
  require(percentEncoded(identifier) == identifier, "Identifiers need no encoding.");
  require(identifier.size() >= 34, "A prefix, a dash and 32 digits.");
}

}  // namespace

// What the environment gives for the relay's address, and for the start of the pairing identifier.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::textOf(data, size);
  checkAddress(text);
  checkSeed(text);
  return 0;
}
