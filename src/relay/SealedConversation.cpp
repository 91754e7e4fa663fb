#include "relay/SealedConversation.h"

#include <string_view>
#include <utility>

#include "relay/HexText.h"
#include "relay/RelayCrypto.h"
#include "relay/SealedBox.h"

namespace quillard {
namespace {

constexpr std::string_view kSeenBefore = "The sealed box was seen before.";

SealingFailure failure(RelayCryptoError error) { return {std::string(description(error))}; }

}  // namespace

SealedConversation::SealedConversation(Secret cryptoSecret, platform::Random& random)
    : cryptoSecret(std::move(cryptoSecret)), random(random) {}

std::variant<EncryptedRelayPayload, SealingFailure> SealedConversation::seal(const Json& value) {
  auto sealed = RelayCrypto::seal(value, cryptoSecret, random);
  if (const auto* error = std::get_if<JsonError>(&sealed)) return SealingFailure{error->description()};
  if (const auto* error = std::get_if<RelayCryptoError>(&sealed)) return failure(*error);
  auto& payload = std::get<EncryptedRelayPayload>(sealed);
  const auto box = RelayCrypto::box(payload);
  if (const auto* bytes = std::get_if<BoxBytes>(&box)) sealedHere.remember(*nonceOf(*bytes));
  return std::move(payload);
}

std::variant<OpenedBox, SealingFailure> SealedConversation::open(const EncryptedRelayPayload& payload) {
  const auto box = RelayCrypto::box(payload);
  if (const auto* error = std::get_if<RelayCryptoError>(&box)) return failure(*error);
  const auto& bytes = std::get<BoxBytes>(box);
  const auto nonce = *nonceOf(bytes);
  if (sealedHere.knows(nonce)) return SealingFailure{std::string(kSeenBefore)};
  auto plaintext = openedBox(RelayCrypto::key(cryptoSecret), bytes);
  if (!plaintext) return failure(RelayCryptoError::invalidCiphertext);
  return OpenedBox{*std::move(plaintext), hexText(nonce)};
}

std::variant<OpenedBox, SealingFailure> SealedConversation::openOnce(const EncryptedRelayPayload& payload) {
  auto opened = open(payload);
  if (std::holds_alternative<SealingFailure>(opened)) return opened;
  const auto nonce = *nonceOf(std::get<BoxBytes>(RelayCrypto::box(payload)));
  if (openedOnce.knows(nonce)) return SealingFailure{std::string(kSeenBefore)};
  openedOnce.remember(nonce);
  return opened;
}

}  // namespace quillard
