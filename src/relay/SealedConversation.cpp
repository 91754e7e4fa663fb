#include "relay/SealedConversation.h"

#include <utility>

#include "relay/RelayCrypto.h"
#include "relay/SealedBox.h"

namespace quillard {
namespace {

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
  if (const auto* bytes = std::get_if<BoxBytes>(&box)) memory.remember(*nonceOf(*bytes));
  return std::move(payload);
}

std::variant<std::string, SealingFailure> SealedConversation::open(const EncryptedRelayPayload& payload) {
  const auto box = RelayCrypto::box(payload);
  if (const auto* error = std::get_if<RelayCryptoError>(&box)) return failure(*error);
  const auto& bytes = std::get<BoxBytes>(box);
  const auto nonce = nonceOf(bytes);
  if (nonce && memory.knows(*nonce)) return SealingFailure{"The sealed box was seen before."};
  auto plaintext = openedBox(RelayCrypto::key(cryptoSecret), bytes);
  if (!plaintext) return failure(RelayCryptoError::invalidCiphertext);
  memory.remember(*nonce);
  return *std::move(plaintext);
}

}  // namespace quillard
