#include "status/PhoneRows.h"

#include <algorithm>
#include <utility>

#include "status/AppBrand.h"

namespace quillard::PhoneRows {
namespace {

constexpr Tint kWell{AppBrand::green};
constexpr Tint kToDo{AppBrand::amber};

std::string counted(std::int64_t count, TextKey one, TextKey several, const UserTexts& say) {
  return count == 1 ? say(one) : say(several, {std::to_string(count)});
}

// In the largest whole unit, so that the row does not change all the time.
std::string ago(Seconds seconds, const UserTexts& say) {
  struct Unit {
    double length;
    TextKey one;
    TextKey several;
  };
  static constexpr Unit kUnits[] = {{86400.0, "1 day ago", "%1 days ago"},
                                    {3600.0, "1 hour ago", "%1 hours ago"},
                                    {60.0, "1 minute ago", "%1 minutes ago"}};
  for (const auto& unit : kUnits) {
    const double count = seconds.count() / unit.length;
    if (count < 1) continue;
    return counted(static_cast<std::int64_t>(std::min(count, 1e6)), unit.one, unit.several, say);
  }
  return say("just now");
}

std::string detail(const PhoneLine& phone, const UserTexts& say) {
  const auto decisions = counted(phone.decisions, "1 decision", "%1 decisions", say);
  const auto since = ago(phone.sinceSeconds, say);
  if (phone.isConnected) return say("Paired %1, %2.", {since, decisions});
  return say("Paired %1, last heard of %2, %3.", {since, ago(phone.heardSeconds, say), decisions});
}

StatusRowContent rowOf(const PhoneLine& phone, const UserTexts& say) {
  StatusRowContent row{.symbol = "iphone", .title = phone.name};
  if (phone.isUnexpected) {
    row.tint = kToDo;
    row.status = say("Used the Same Code");
  } else if (phone.isUnreadable) {
    row.tint = kToDo;
    row.status = say("Secrets Not Readable");
  } else if (phone.isRefused) {
    row.tint = kToDo;
    row.status = say("Refused by Relay");
  } else {
    if (phone.isConnected) row.tint = kWell;
    row.status = say(phone.isConnected ? TextKey("Connected") : TextKey("Away"));
  }
  row.detail = detail(phone, say);
  row.secondaryButton = ButtonContent{say("Unpair…")};
  return row;
}

}  // namespace

std::vector<StatusRowContent> rows(const MacStatusSnapshot& snapshot) {
  const auto& phones = snapshot.phones;
  const bool hasRoom = phones.size() <= kMostPhoneRows;
  const std::size_t shown = hasRoom ? phones.size() : kMostPhoneRows - 1;
  std::vector<StatusRowContent> rows;
  for (std::size_t i = 0; i < shown; ++i) rows.push_back(rowOf(phones[i], snapshot.texts));
  if (!hasRoom) {
    rows.push_back({.symbol = "iphone",
                    .title = counted(static_cast<std::int64_t>(phones.size() - shown), "1 more phone", "%1 more phones",
                                     snapshot.texts),
                    .status = snapshot.texts("Not Shown"),
                    .detail = snapshot.texts("Unpair phones that you do not know.")});
  }
  return rows;
}

std::optional<UnpairQuestion> unpairQuestion(const MacStatusSnapshot& snapshot, std::size_t row) {
  const auto& say = snapshot.texts;
  const auto& phones = snapshot.phones;
  if (row >= phones.size() || row >= kMostPhoneRows) return std::nullopt;
  const auto& phone = phones[row];
  const auto sharing = std::count_if(phones.begin(), phones.end(),
                                     [&](const PhoneLine& other) { return other.pairing == phone.pairing; });
  if (sharing == 1) return UnpairQuestion{phone.pairing, say("Unpair %1?", {phone.name}), say("Unpair")};
  return UnpairQuestion{phone.pairing,
                        sharing == 2 ? say("%1 shares its code with 1 other phone. Unpair all?", {phone.name})
                                     : say("%1 shares its code with %2 other phones. Unpair all?",
                                           {phone.name, std::to_string(sharing - 1)}),
                        say("Unpair %1 Phones", {std::to_string(sharing)})};
}

}  // namespace quillard::PhoneRows
