#include "relay/PendingRevocations.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>
#include <variant>

namespace quillard {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view kKey = "quillard.pending-revocations";

// Before the address of one that was only offered: no address begins with it.
constexpr char kOffer = '?';

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

}  // namespace

std::vector<UnsentRevocation> PendingRevocations::all() const {
  std::vector<UnsentRevocation> revocations;
  auto value = defaults.object(kKey);
  auto* bytes = value ? std::get_if<Bytes>(&*value) : nullptr;
  if (!bytes) return revocations;
  std::span<const std::uint8_t> rest{*bytes};
  while (!rest.empty() && revocations.size() < kMost) {
    auto address = takeLine(rest);
    const bool isOffer = !address.empty() && address.front() == kOffer;
    if (isOffer) address = address.subspan(1);
    auto secrets = readInstallationSecrets(takeLine(rest));
    if (secrets) revocations.push_back({std::string(address.begin(), address.end()), *std::move(secrets), isOffer});
  }
  wipe(*bytes);
  return revocations;
}

void PendingRevocations::add(UnsentRevocation revocation) {
  if (revocation.relayURL.find('\n') != std::string::npos) return;
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
    if (revocation.isOffer) bytes.push_back(kOffer);
    append(bytes, revocation.relayURL);
    append(bytes, text->text());
  }
  defaults.set(kKey, std::move(bytes));
}

}  // namespace quillard
