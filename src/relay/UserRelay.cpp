#include "relay/UserRelay.h"

#include <cstddef>

#include "foundation/Text.h"
#include "foundation/TextCatalogue.h"
#include "foundation/UrlComponents.h"
#include "relay/RelayAddress.h"

namespace quillard::UserRelay {
namespace {

constexpr std::string_view kKey = "quillard.relay-url";
constexpr std::string_view kSocketPath = "/ws";
constexpr std::size_t kLongestAddress = 2'000;
constexpr std::size_t kShortestRegistrationKey = 16;
constexpr std::size_t kLongestRegistrationKey = 128;

bool isRegistrationKey(std::string_view key) {
  return key.size() >= kShortestRegistrationKey && key.size() <= kLongestRegistrationKey && percentEncoded(key) == key;
}

// "relay.example:8443" would be read as of the scheme "relay.example".
std::optional<UrlComponents> parsedAsTyped(std::string_view typed) {
  if (typed.size() > kLongestAddress) return std::nullopt;
  if (typed.find("://") != std::string_view::npos) return UrlComponents::parse(typed);
  auto components = UrlComponents::parse("https://" + std::string(typed));
  if (components && components->host && isThisComputer(*components->host)) components->scheme = "http";
  return components;
}

}  // namespace

std::variant<std::string, Refusal> addressOf(std::string_view typed,
                                             const std::optional<std::string>& registrationKey) {
  auto components = parsedAsTyped(text::trimmed(typed));
  if (!components || !components->host) return Refusal{catalogued("This is not the address of a relay.")};
  if (components->userInfo) return Refusal{catalogued("The address must not hold a user or a password.")};
  const auto scheme = components->lowercasedScheme();
  if (scheme == "https") components->scheme = "wss";
  if (scheme == "http") components->scheme = "ws";
  if (!isAllowedRelayURL(*components)) {
    return Refusal{catalogued("Only wss and https addresses can be used, or ws and http of this computer itself.")};
  }
  if (components->path.empty() || components->path == "/") components->path = kSocketPath;
  components->fragment.reset();
  if (registrationKey) {
    if (!isRegistrationKey(*registrationKey)) {
      return Refusal{"The operator's key has 16 to 128 letters, digits, or - . _ ~"};
    }
    (void)components->removeQueryItem(kRegistrationKeyItem);
    components->appendQueryItem(kRegistrationKeyItem, *registrationKey);
  }
  return components->text();
}

std::optional<std::string> stored(const platform::UserDefaults& settings) {
  const auto value = settings.object(kKey);
  const auto* const address = value ? std::get_if<std::string>(&*value) : nullptr;
  return address && !address->empty() ? std::optional{*address} : std::nullopt;
}

void store(const std::string& address, platform::UserDefaults& settings) { settings.set(kKey, address); }

void forget(platform::UserDefaults& settings) { settings.remove(kKey); }

}  // namespace quillard::UserRelay
