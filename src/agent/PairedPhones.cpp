#include "agent/PairedPhones.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "relay/RelayCrypto.h"

namespace quillard {
namespace {

Uuid newPhoneID(const KnownPhone& phone) {
  const auto digits = RelayCrypto::digest(phone.pairingID + "\n" + phone.deviceID);
  std::string text = digits.substr(0, 32);
  for (const std::size_t at : {20U, 16U, 12U, 8U}) text.insert(at, "-");
  return Uuid::parse(text).value_or(Uuid{});
}

}  // namespace

std::vector<NewPhone> newPhonesOf(const std::vector<PairedPhone>& all, Date now, Seconds within) {
  std::vector<NewPhone> found;
  for (const auto& one : all) {
    const bool isNew = one.isUnexpected && now < advanced(one.phone.since, within);
    if (!isNew || found.size() >= kMostNewPhones) continue;
    const auto earlier =
        std::find_if(all.begin(), all.end(), [&](const PairedPhone& other) { return other.pairing == one.pairing; });
    found.push_back({.id = newPhoneID(one.phone),
                     .deviceID = one.phone.deviceID,
                     .name = one.phone.name,
                     .earlierName = earlier->phone.name,
                     .since = one.phone.since});
  }
  return found;
}

std::optional<int> pairingOfNewPhone(const std::vector<PairedPhone>& all, const Uuid& id) {
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const PairedPhone& one) { return newPhoneID(one.phone) == id; });
  return found == all.end() ? std::nullopt : std::optional(found->pairing);
}

}  // namespace quillard
