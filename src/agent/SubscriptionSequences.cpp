#include "agent/SubscriptionSequences.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/StrictJson.h"
#include "relay/PushMessages.h"

namespace quillard {
namespace {

constexpr std::string_view kSequencesKey = "quillard.alert-subscriptions";
constexpr std::int64_t kMostPairings = 1'000;
constexpr JsonLimits kSequencesLimits{.bytes = 64 * 1024, .depth = 8};

}  // namespace

bool SubscriptionSequences::take(int pairing, const std::string& deviceID, std::int64_t sequence) {
  load();
  auto* const known = find(pairing, deviceID);
  if (known && sequence < known->sequence) return false;
  if (sequence == 0 || (known && sequence == known->sequence)) return true;
  if (known) {
    known->sequence = sequence;
  } else {
    add({.pairing = pairing, .deviceID = deviceID, .sequence = sequence});
  }
  save();
  return true;
}

void SubscriptionSequences::forget(int pairing) {
  load();
  if (std::erase_if(phones, [&](const Counted& one) { return one.pairing == pairing; }) > 0) save();
}

SubscriptionSequences::Counted* SubscriptionSequences::find(int pairing, const std::string& deviceID) {
  const auto found = std::find_if(phones.begin(), phones.end(), [&](const Counted& one) {
    return one.pairing == pairing && one.deviceID == deviceID;
  });
  return found == phones.end() ? nullptr : &*found;
}

void SubscriptionSequences::add(Counted counted) {
  std::size_t ofPairing = 0;
  auto least = phones.end();
  for (auto at = phones.begin(); at != phones.end(); ++at) {
    if (at->pairing != counted.pairing) continue;
    ++ofPairing;
    if (least == phones.end() || at->sequence < least->sequence) least = at;
  }
  if (ofPairing >= kMostOfPairing) phones.erase(least);
  phones.push_back(std::move(counted));
}

void SubscriptionSequences::load() {
  if (std::exchange(isLoaded, true)) return;
  const auto value = defaults.object(kSequencesKey);
  const auto* bytes = value ? std::get_if<std::vector<std::uint8_t>>(&*value) : nullptr;
  if (!bytes) return;
  const auto json = parseStrictJson({reinterpret_cast<const char*>(bytes->data()), bytes->size()}, kSequencesLimits);
  const auto* object = std::get_if<Json>(&json);
  if (!object) return;
  JsonReader reader{*object};
  auto read = reader.objects("phones", [](JsonReader& phone) {
    return Counted{.pairing = phone.integer("pairing", 1, kMostPairings),
                   .deviceID = phone.string("deviceID"),
                   .sequence = phone.integer("sequence", 1, kLatestSequence)};
  });
  if (!reader.error()) phones = std::move(read);
}

void SubscriptionSequences::save() const {
  if (phones.empty()) return defaults.remove(kSequencesKey);
  Json json{{"phones", Json::array()}};
  for (const auto& one : phones) {
    json["phones"].push_back({{"pairing", one.pairing}, {"deviceID", one.deviceID}, {"sequence", one.sequence}});
  }
  if (const auto text = jsonText(json))
    defaults.set(kSequencesKey, std::vector<std::uint8_t>(text->begin(), text->end()));
}

}  // namespace quillard
