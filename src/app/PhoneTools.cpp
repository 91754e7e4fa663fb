#include "app/PhoneTools.h"

#include <algorithm>
#include <iterator>

#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::app {
namespace {

constexpr std::int64_t kMostPairings = 9999;
constexpr std::int64_t kMostDecisions = std::int64_t{1} << 53;

// The list is not who has the code: it may be lost, or younger than the pairing.
constexpr const char* kNoneListed = "No phone is listed. Unpair whoever may have used this computer's code?";

using Phones = std::vector<ListedPhone>;

template <class Matches>
Phones phonesThat(const Phones& phones, Matches matches) {
  Phones found;
  std::copy_if(phones.begin(), phones.end(), std::back_inserter(found), matches);
  return found;
}

std::string namesOf(const Phones& phones) {
  std::vector<std::string> names;
  for (const auto& phone : phones) names.push_back(printableName(phone.name));
  return text::joined(names, ", ");
}

std::string lineOf(const ListedPhone& phone) {
  std::string line = std::to_string(phone.pairing) + "  " + printableName(phone.name) + ": ";
  line += phone.isConnected ? "connected" : "last heard of " + isoDateText(phone.lastHeard);
  line += ", paired " + isoDateText(phone.since) + ", " + std::to_string(phone.decisions) +
          (phone.decisions == 1 ? " decision" : " decisions");
  if (phone.isUnexpected) line += ", used the code of another phone";
  if (phone.isUnreadable) line += ", not served: the secrets of its pairing cannot be read";
  return line + "\n";
}

// Those that `given` may mean: of the pairing of that number, else of that name.
Phones phonesMeant(const Phones& phones, const std::string& given) {
  auto found = phonesThat(phones, [&](const auto& phone) { return std::to_string(phone.pairing) == given; });
  if (!found.empty()) return found;
  const auto name = printableName(given);
  found = phonesThat(phones, [&](const auto& phone) { return printableName(phone.name) == name; });
  if (!found.empty()) return found;
  return phonesThat(
      phones, [&](const auto& phone) { return text::lowercased(printableName(phone.name)) == text::lowercased(name); });
}

std::string questionOf(const Phones& sharing) {
  if (sharing.size() == 1) return "Unpair " + namesOf(sharing) + "?";
  return "These share a pairing and go together: " + namesOf(sharing) + ". Unpair all of them?";
}

}  // namespace

std::optional<Phones> readPhones(const ChannelMessage& message) {
  JsonReader reader{message.json};
  auto phones = reader.objects("phones", [](JsonReader& one) {
    return ListedPhone{.name = one.string("name"),
                       .pairing = static_cast<int>(one.integer("pairing", 1, kMostPairings)),
                       .since = one.date("since"),
                       .lastHeard = one.date("lastHeard"),
                       .isConnected = one.boolean("connected"),
                       .decisions = one.integer("decisions", 0, kMostDecisions),
                       .isUnexpected = one.boolean("isUnexpected"),
                       .isUnreadable = one.optionalBoolean("isUnreadable").value_or(false)};
  });
  if (reader.error()) return std::nullopt;
  return phones;
}

std::string phonesText(const Phones& phones) {
  if (phones.empty()) return "No phone is paired.\n";
  std::string text;
  for (const auto& phone : phones) text += lineOf(phone);
  return text;
}

std::variant<Unpairing, std::string> planUnpairing(const UnpairPhones& command, const Phones& phones) {
  if (command.all) {
    return Unpairing{channelLine("unpair", {{"all", true}}),
                     phones.empty() ? kNoneListed : "Unpair all phones: " + namesOf(phones) + "?"};
  }
  if (phones.empty()) return "No phone is paired.";
  const auto meant = phonesMeant(phones, command.phone);
  if (meant.empty()) return "No phone has this name or number: " + printableText(command.phone);
  const auto& one = meant.front();
  const auto isTogether = [&](const ListedPhone& phone) { return phone.pairing == one.pairing; };
  if (!std::all_of(meant.begin(), meant.end(), isTogether)) {
    return "Several phones have this name. Say the number of one:\n" + phonesText(meant);
  }
  return Unpairing{channelLine("unpair", {{"pairing", one.pairing}, {"since", isoDateText(one.since)}}),
                   questionOf(phonesThat(phones, isTogether))};
}

std::optional<std::string> unpairedText(const ChannelMessage& message) {
  JsonReader reader{message.json};
  auto names = reader.strings("phones");
  if (message.type != "unpaired" || reader.error()) return std::nullopt;
  for (auto& name : names) name = printableName(name);
  if (names.empty()) return "Unpaired. The code is a new one now.\n";
  return "Unpaired: " + text::joined(names, ", ") + "\n";
}

}  // namespace quillard::app
