#include "relay/SealedConversation.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "foundation/HexText.h"
#include "relay/RelayCrypto.h"
#include "relay/SealedBox.h"

namespace quillard {
namespace {

constexpr std::string_view kSeenBefore = "The sealed box was seen before.";

SealingFailure failure(RelayCryptoError error) { return {std::string(description(error))}; }

// Gives the one nonce that belongs to another.
class NonceBeside final : public platform::Random {
 public:
  explicit NonceBeside(const std::string& nonce) : digest(RelayCrypto::digest("beside " + nonce)) {}

  [[nodiscard]] bool fillSecurely(std::span<std::uint8_t> bytes) override {
    if (bytes.size() * 2 > digest.size()) return false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(digitAt(2 * i) * 16 + digitAt(2 * i + 1));
    }
    return true;
  }
  // Nothing asks for it.
  [[nodiscard]] std::array<std::uint8_t, 16> identityBytes() override { return {}; }

 private:
  [[nodiscard]] int digitAt(std::size_t index) const {
    const char digit = digest[index];
    return digit <= '9' ? digit - '0' : digit - 'a' + 10;
  }

  const std::string digest;
};

}  // namespace

SealedConversation::SealedConversation(Secret cryptoSecret, platform::Random& random)
    : cryptoSecret(std::move(cryptoSecret)), random(random) {}

std::variant<EncryptedRelayPayload, SealingFailure> SealedConversation::seal(const Json& value) {
  return seal(value, random);
}

std::variant<EncryptedRelayPayload, SealingFailure> SealedConversation::sealBeside(const Json& value,
                                                                                   const EncryptedRelayPayload& other) {
  NonceBeside nonce(other.nonce);
  return seal(value, nonce);
}

std::variant<EncryptedRelayPayload, SealingFailure> SealedConversation::seal(const Json& value,
                                                                             platform::Random& nonces) {
  auto sealed = RelayCrypto::seal(value, cryptoSecret, nonces);
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
