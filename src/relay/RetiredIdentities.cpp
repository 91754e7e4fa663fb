#include "relay/RetiredIdentities.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quillard {
namespace {

using platform::SecretPlace;
using Texts = std::vector<std::string>;

constexpr std::string_view kPairingIDsKey = "quillard.retired-pairing-ids";  // Oldest first.

constexpr std::pair<SecretPlace, std::string_view> kPlaceNames[] = {
    {SecretPlace::dataProtectionKeychain, "data-protection-keychain"}, {SecretPlace::fileKeychain, "file-keychain"}};

// Empty also when something else is stored.
Texts textsUnder(std::string_view key, const platform::UserDefaults& defaults) {
  auto stored = defaults.object(key);
  auto* texts = stored ? std::get_if<Texts>(&*stored) : nullptr;
  return texts ? std::move(*texts) : Texts{};
}

}  // namespace

bool RetiredIdentities::contains(std::string_view pairingID) const {
  const auto retired = textsUnder(kPairingIDsKey, defaults);
  return std::find(retired.begin(), retired.end(), pairingID) != retired.end();
}

void RetiredIdentities::retire(std::string_view pairingID) {
  auto retired = textsUnder(kPairingIDsKey, defaults);
  std::erase(retired, pairingID);
  retired.emplace_back(pairingID);
  if (retired.size() > kMost) retired.erase(retired.begin(), std::prev(retired.end(), kMost));
  defaults.set(kPairingIDsKey, std::move(retired));
}

std::set<SecretPlace> RetiredIdentities::voidPlaces() const {
  std::set<SecretPlace> places;
  const auto stored = textsUnder(voidPlacesKey, defaults);
  for (const auto& [place, name] : kPlaceNames) {
    if (std::find(stored.begin(), stored.end(), name) != stored.end()) places.insert(place);
  }
  return places;
}

void RetiredIdentities::setVoid(SecretPlace place) {
  auto places = voidPlaces();
  if (places.insert(place).second) storeVoidPlaces(places);
}

void RetiredIdentities::setUsable(SecretPlace place) {
  auto places = voidPlaces();
  if (places.erase(place) > 0) storeVoidPlaces(places);
}

void RetiredIdentities::storeVoidPlaces(const std::set<SecretPlace>& places) {
  if (places.empty()) return defaults.remove(voidPlacesKey);
  Texts names;
  for (const auto& [place, name] : kPlaceNames) {
    if (places.contains(place)) names.emplace_back(name);
  }
  defaults.set(voidPlacesKey, std::move(names));
}

}  // namespace quillard
