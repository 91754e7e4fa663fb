#include "status/PhoneRows.h"

#include <algorithm>
#include <utility>

#include "status/AppBrand.h"

namespace quillard::PhoneRows {
namespace {

constexpr Tint kWell{AppBrand::green};
constexpr Tint kToDo{AppBrand::amber};

// "1 day", "3 days".
std::string counted(std::int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// In the largest whole unit, so that the row does not change all the time.
std::string ago(Seconds seconds) {
  constexpr std::pair<double, const char*> kUnits[] = {{86400.0, "day"}, {3600.0, "hour"}, {60.0, "minute"}};
  for (const auto& [length, noun] : kUnits) {
    const double count = seconds.count() / length;
    if (count >= 1) return counted(static_cast<std::int64_t>(std::min(count, 1e6)), noun) + " ago";
  }
  return "just now";
}

std::string detail(const PhoneLine& phone) {
  std::string text = "Paired " + ago(phone.sinceSeconds);
  if (!phone.isConnected) text += ", last heard of " + ago(phone.heardSeconds);
  return text + ", " + counted(phone.decisions, "decision") + ".";
}

StatusRowContent rowOf(const PhoneLine& phone) {
  StatusRowContent row{.symbol = "iphone", .title = phone.name};
  if (phone.isUnexpected) {
    row.tint = kToDo;
    row.status = "Used the Same Code";
  } else if (phone.isUnreadable) {
    row.tint = kToDo;
    row.status = "Secrets Not Readable";
  } else if (phone.isRefused) {
    row.tint = kToDo;
    row.status = "Refused by Relay";
  } else {
    if (phone.isConnected) row.tint = kWell;
    row.status = phone.isConnected ? "Connected" : "Away";
  }
  row.detail = detail(phone);
  row.secondaryButton = ButtonContent{"Unpair…"};
  return row;
}

}  // namespace

std::vector<StatusRowContent> rows(const MacStatusSnapshot& snapshot) {
  const auto& phones = snapshot.phones;
  const bool hasRoom = phones.size() <= kMostPhoneRows;
  const std::size_t shown = hasRoom ? phones.size() : kMostPhoneRows - 1;
  std::vector<StatusRowContent> rows;
  for (std::size_t i = 0; i < shown; ++i) rows.push_back(rowOf(phones[i]));
  if (!hasRoom) {
    rows.push_back({.symbol = "iphone",
                    .title = counted(static_cast<std::int64_t>(phones.size() - shown), "more phone"),
                    .status = "Not Shown",
                    .detail = "Unpair phones that you do not know."});
  }
  return rows;
}

std::optional<UnpairQuestion> unpairQuestion(const MacStatusSnapshot& snapshot, std::size_t row) {
  const auto& phones = snapshot.phones;
  if (row >= phones.size() || row >= kMostPhoneRows) return std::nullopt;
  const auto& phone = phones[row];
  const auto sharing = std::count_if(phones.begin(), phones.end(),
                                     [&](const PhoneLine& other) { return other.pairing == phone.pairing; });
  if (sharing == 1) return UnpairQuestion{phone.pairing, "Unpair " + phone.name + "?", "Unpair"};
  return UnpairQuestion{phone.pairing,
                        phone.name + " shares its code with " + counted(sharing - 1, "other phone") + ". Unpair all?",
                        "Unpair " + counted(sharing, "Phone")};
}

}  // namespace quillard::PhoneRows
