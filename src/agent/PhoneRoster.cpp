#include "agent/PhoneRoster.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "foundation/StrictJson.h"

namespace quillard {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view kKey = "quillard.paired-phones";
constexpr std::string_view kNameless = "A phone";
constexpr std::size_t kLongestName = 120;  // In bytes; the relay's limit is 64 characters.
constexpr std::int64_t kMostDecisions = std::int64_t{1} << 53;
constexpr std::size_t kLongestDeviceID = 64;
constexpr Seconds kHeardStep{600};
constexpr Seconds kNewPhoneTime{3600};
constexpr JsonLimits kLimits{.bytes = 256 * 1024, .depth = 8};

std::string shownName(const std::string& name) {
  auto shown = printableName(name, kLongestName);
  return shown.empty() ? std::string(kNameless) : shown;
}

// What is there as the relay names it, or, where it only counts, one phone without a name.
std::vector<RelayPhoneStatus> presentPhones(const RelayConnectionStatus& status) {
  std::vector<RelayPhoneStatus> present;
  for (const auto& phone : status.phones) {
    const bool isUsable = phone.connected.value_or(true) && phone.deviceID.size() <= kLongestDeviceID;
    if (isUsable && present.size() < PhoneRoster::kMostOfPairing) present.push_back(phone);
  }
  const bool isCounted = status.phoneConnected || status.phoneCount > 0;
  if (present.empty() && isCounted) present.push_back({.deviceID = "", .deviceName = std::string(kNameless)});
  return present;
}

Json toJson(const KnownPhone& phone) {
  return {{"pairingID", phone.pairingID},
          {"deviceID", phone.deviceID},
          {"name", phone.name},
          {"since", isoDateText(phone.since)},
          {"heardAt", isoDateText(phone.heardAt)},
          {"decisions", phone.decisions},
          {"hasGranted", phone.hasGranted}};
}

KnownPhone readPhone(JsonReader& reader) {
  return {.pairingID = reader.string("pairingID"),
          .deviceID = reader.string("deviceID"),
          .name = shownName(reader.string("name")),
          .since = reader.date("since"),
          .heardAt = reader.date("heardAt"),
          .decisions = reader.integer("decisions", 0, kMostDecisions),
          .hasGranted = reader.boolean("hasGranted")};
}

}  // namespace

PhoneRoster::PhoneRoster(platform::UserDefaults& defaults, const platform::Clock& clock)
    : defaults(defaults), clock(clock) {
  load();
}

std::vector<KnownPhone> PhoneRoster::note(std::string_view pairingID, const RelayConnectionStatus& status) {
  const Date now = clock.now();
  const auto present = presentPhones(status);
  bool hasChanged = false;
  for (auto& phone : known) {
    if (phone.pairingID != pairingID || !phone.isConnected) continue;
    const bool isPresent = std::any_of(present.begin(), present.end(),
                                       [&](const RelayPhoneStatus& one) { return one.deviceID == phone.deviceID; });
    if (isPresent) continue;
    phone.isConnected = false;
    phone.heardAt = now;
    hasChanged = true;
  }
  std::vector<KnownPhone> arrived;
  for (const auto& one : present) {
    auto* phone = find(pairingID, one.deviceID);
    if (!phone) {
      makeRoom(pairingID);
      known.push_back({.pairingID = std::string(pairingID),
                       .deviceID = one.deviceID,
                       .name = shownName(one.deviceName),
                       .since = now,
                       .heardAt = now,
                       .isConnected = true});
      arrived.push_back(known.back());
      hasChanged = true;
      continue;
    }
    auto name = shownName(one.deviceName);
    hasChanged = hasChanged || phone->name != name || now >= advanced(phone->heardAt, kHeardStep);
    phone->name = std::move(name);
    phone->heardAt = now;
    phone->isConnected = true;
  }
  if (hasChanged) save();
  return arrived;
}

std::vector<std::string> PhoneRoster::connectedPhones(std::string_view pairingID) const {
  std::vector<std::string> deviceIDs;
  for (const auto& phone : known) {
    if (phone.pairingID == pairingID && phone.isConnected) deviceIDs.push_back(phone.deviceID);
  }
  return deviceIDs;
}

std::optional<FirstGrant> PhoneRoster::noteDecision(std::string_view pairingID, bool isGrant,
                                                    const std::vector<std::string>& present) {
  const Date now = clock.now();
  std::vector<KnownPhone*> candidates;
  for (auto& phone : known) {
    const bool wasPresent =
        present.empty() || std::find(present.begin(), present.end(), phone.deviceID) != present.end();
    if (phone.pairingID == pairingID && wasPresent) candidates.push_back(&phone);
  }
  if (candidates.empty()) return std::nullopt;
  // Of several it cannot be known which it was.
  const bool isCertain = candidates.size() == 1 && !present.empty();
  if (isCertain) {
    ++candidates.front()->decisions;
    candidates.front()->heardAt = now;
  }
  std::optional<FirstGrant> granted;
  for (auto* phone : candidates) {
    if (!isGrant || phone->hasGranted || now >= advanced(phone->since, kNewPhoneTime)) continue;
    phone->hasGranted = true;
    if (!granted) granted = FirstGrant{*phone, isCertain};
  }
  save();
  return granted;
}

std::optional<std::string> PhoneRoster::deciderName(std::string_view pairingID,
                                                    const std::vector<std::string>& present) const {
  std::vector<const KnownPhone*> candidates;
  for (const auto& phone : known) {
    const bool mayBe = present.empty() || std::find(present.begin(), present.end(), phone.deviceID) != present.end();
    if (phone.pairingID == pairingID && mayBe) candidates.push_back(&phone);
  }
  return candidates.size() == 1 ? std::optional(candidates.front()->name) : std::nullopt;
}

void PhoneRoster::noteTime() {
  const Date now = clock.now();
  bool hasChanged = false;
  for (auto& phone : known) {
    if (!phone.isConnected || now < advanced(phone.heardAt, kHeardStep)) continue;
    phone.heardAt = now;
    hasChanged = true;
  }
  if (hasChanged) save();
}

void PhoneRoster::forget(std::string_view pairingID) {
  if (std::erase_if(known, [&](const KnownPhone& phone) { return phone.pairingID == pairingID; }) > 0) save();
}

std::vector<KnownPhone> PhoneRoster::phonesOf(std::string_view pairingID) const {
  std::vector<KnownPhone> phones;
  for (const auto& phone : known) {
    if (phone.pairingID == pairingID) phones.push_back(phone);
  }
  return phones;
}

KnownPhone* PhoneRoster::find(std::string_view pairingID, std::string_view deviceID) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const KnownPhone& phone) {
    return phone.pairingID == pairingID && phone.deviceID == deviceID;
  });
  return found == known.end() ? nullptr : &*found;
}

void PhoneRoster::makeRoom(std::string_view pairingID) {
  std::vector<KnownPhone>::iterator oldest = known.end();
  std::size_t count = 0;
  for (auto phone = known.begin(); phone != known.end(); ++phone) {
    if (phone->pairingID != pairingID) continue;
    ++count;
    const bool isOlder = oldest == known.end() || phone->heardAt < oldest->heardAt;
    if (!phone->isConnected && isOlder) oldest = phone;
  }
  if (count < kMostOfPairing) return;
  if (oldest == known.end()) {
    oldest =
        std::find_if(known.begin(), known.end(), [&](const KnownPhone& one) { return one.pairingID == pairingID; });
  }
  known.erase(oldest);
}

void PhoneRoster::reload() {
  known.clear();
  load();
}

void PhoneRoster::load() {
  const auto value = defaults.object(kKey);
  const auto* bytes = value ? std::get_if<Bytes>(&*value) : nullptr;
  if (!bytes) return;
  const auto json = parseStrictJson({reinterpret_cast<const char*>(bytes->data()), bytes->size()}, kLimits);
  const auto* object = std::get_if<Json>(&json);
  if (!object) return;
  JsonReader reader{*object};
  auto phones = reader.objects("phones", readPhone);
  if (!reader.error()) known = std::move(phones);
}

void PhoneRoster::save() const {
  if (known.empty()) return defaults.remove(kKey);
  Json json{{"phones", Json::array()}};
  for (const auto& phone : known) json["phones"].push_back(toJson(phone));
  if (const auto text = jsonText(json)) defaults.set(kKey, Bytes(text->begin(), text->end()));
}

}  // namespace quillard
