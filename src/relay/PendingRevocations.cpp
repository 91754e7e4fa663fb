#include "relay/PendingRevocations.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/UrlComponents.h"
#include "foundation/WholeNumber.h"
#include "relay/RelayAddress.h"

namespace quillard {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view kKey = "quillard.pending-revocations";

// Before the address of one that was only offered: no address begins with it.
constexpr char kOffer = '?';

// Behind the address, each after a blank: the attempts and the refusals. No address holds a blank.
constexpr char kBlank = ' ';

// Two lines for each: the relay's address and the secrets' stored form, neither of which holds a line break.
void append(Bytes& bytes, std::string_view line) {
  bytes.insert(bytes.end(), line.begin(), line.end());
  bytes.push_back('\n');
}

std::span<const std::uint8_t> takeLine(std::span<const std::uint8_t>& rest) {
  const auto end = std::find(rest.begin(), rest.end(), '\n');
  const auto line = rest.first(static_cast<std::size_t>(end - rest.begin()));
  rest = rest.subspan(std::min(rest.size(), line.size() + 1));
  return line;
}

// What follows the next blank. Zero: no number does.
std::uint32_t takeCount(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.size(), rest.find(kBlank)));
  if (rest.empty()) return 0;
  rest.remove_prefix(1);
  const auto count = wholeNumber(rest.substr(0, rest.find(kBlank))).value_or(0);
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, PendingRevocations::kMostAttempts));
}

// The line before the secrets.
UnsentRevocation readHead(std::string_view line) {
  UnsentRevocation read;
  read.isOffer = line.starts_with(kOffer);
  if (read.isOffer) line.remove_prefix(1);
  read.relayURL = line.substr(0, line.find(kBlank));
  read.attempts = takeCount(line);
  read.refusals = takeCount(line);
  return read;
}

std::string headOf(const UnsentRevocation& revocation) {
  std::string line = (revocation.isOffer ? std::string(1, kOffer) : std::string()) + revocation.relayURL;
  for (const auto count : {revocation.attempts, revocation.refusals}) line += kBlank + std::to_string(count);
  return line;
}

// The key is for new pairings, and its operator's.
void removeRegistrationKey(std::string& relayURL) {
  auto relay = UrlComponents::parse(relayURL);
  if (relay && relay->removeQueryItem(kRegistrationKeyItem)) relayURL = relay->text();
}

}  // namespace

std::vector<UnsentRevocation> PendingRevocations::all() const {
  std::vector<UnsentRevocation> revocations;
  auto value = defaults.object(kKey);
  auto* bytes = value ? std::get_if<Bytes>(&*value) : nullptr;
  if (!bytes) return revocations;
  std::span<const std::uint8_t> rest{*bytes};
  while (!rest.empty() && revocations.size() < kMost) {
    const auto head = takeLine(rest);
    auto revocation = readHead({reinterpret_cast<const char*>(head.data()), head.size()});
    auto secrets = readInstallationSecrets(takeLine(rest));
    if (!secrets) continue;
    revocation.secrets = *std::move(secrets);
    revocations.push_back(std::move(revocation));
  }
  wipe(*bytes);
  return revocations;
}

void PendingRevocations::add(UnsentRevocation revocation) {
  if (revocation.relayURL.find_first_of("\n ") != std::string::npos) return;
  removeRegistrationKey(revocation.relayURL);
  revocation.secrets.e2eSecret = {};
  auto revocations = all();
  std::erase_if(revocations, [&](const auto& one) { return one.secrets.pairingID == revocation.secrets.pairingID; });
  revocations.push_back(std::move(revocation));
  if (revocations.size() > kMost) {
    const auto offer =
        std::find_if(revocations.begin(), revocations.end(), [](const auto& one) { return one.isOffer; });
    revocations.erase(offer == revocations.end() ? revocations.begin() : offer);
  }
  store(revocations);
}

void PendingRevocations::remove(const std::string& pairingID) {
  auto revocations = all();
  if (std::erase_if(revocations, [&](const auto& one) { return one.secrets.pairingID == pairingID; }) > 0) {
    store(revocations);
  }
}

void PendingRevocations::store(const std::vector<UnsentRevocation>& revocations) {
  if (revocations.empty()) return defaults.remove(kKey);
  Bytes bytes;
  for (const auto& revocation : revocations) {
    const auto text = installationSecretsText(revocation.secrets);
    if (!text) continue;
    append(bytes, headOf(revocation));
    append(bytes, text->text());
  }
  defaults.set(kKey, std::move(bytes));
}

}  // namespace quillard
