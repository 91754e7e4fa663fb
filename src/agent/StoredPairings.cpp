#include "agent/StoredPairings.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "relay/PairingConfiguration.h"

namespace quillard {
namespace {

// The numbers of those that are paired, each with its mark behind it.
constexpr std::string_view kFurtherKey = "quillard.further-pairings";
// The same numbers, each with its pairing's name behind a blank: for the list of phones while the secrets cannot be
// read. Not in the list above, which older agents read, too.
constexpr std::string_view kNamesKey = "quillard.further-pairing-names";

std::vector<std::string> storedTexts(const platform::UserDefaults& defaults, std::string_view key) {
  auto value = defaults.object(key);
  auto* const texts = value ? std::get_if<std::vector<std::string>>(&*value) : nullptr;
  return texts ? std::move(*texts) : std::vector<std::string>{};
}

void storeTexts(std::vector<std::string> texts, std::string_view key, platform::UserDefaults& defaults) {
  texts.empty() ? defaults.remove(key) : defaults.set(key, std::move(texts));
}

}  // namespace

std::vector<StoredPairing> StoredPairings::all() const {
  std::vector<StoredPairing> stored;
  for (const auto& text : storedTexts(defaults, kFurtherKey)) {
    const int number = text.empty() ? 0 : text.front() - '0';
    const bool isKnown =
        std::any_of(stored.begin(), stored.end(), [&](const auto& one) { return one.number == number; });
    if (number <= PairingConfiguration::kFirst || number > most || isKnown) continue;
    stored.push_back({.number = number, .mark = text.substr(1), .pairingID = pairingIDOf(number)});
  }
  return stored;
}

void StoredPairings::store(const std::vector<StoredPairing>& pairings) {
  storeNumbers(pairings);
  std::vector<std::string> names;
  for (const auto& one : pairings) {
    if (!one.pairingID.empty()) names.push_back(std::to_string(one.number) + ' ' + one.pairingID);
  }
  storeTexts(std::move(names), kNamesKey, defaults);
}

// Names of those that are not in the list are not asked for.
void StoredPairings::remove(int number) {
  auto left = all();
  std::erase_if(left, [&](const auto& one) { return one.number == number; });
  storeNumbers(left);
}

void StoredPairings::storeNumbers(const std::vector<StoredPairing>& pairings) {
  std::vector<std::string> texts;
  for (const auto& one : pairings) texts.push_back(std::to_string(one.number) + one.mark);
  storeTexts(std::move(texts), kFurtherKey, defaults);
}

std::string StoredPairings::pairingIDOf(int number) const {
  const std::string prefix = std::to_string(number) + ' ';
  for (const auto& name : storedTexts(defaults, kNamesKey)) {
    if (name.starts_with(prefix)) return name.substr(prefix.size());
  }
  return {};
}

}  // namespace quillard
