#include "relay/RelayCrypto.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include <openssl/evp.h>

#include "foundation/BrokenPromise.h"
#include "foundation/HexText.h"
#include "foundation/StrictBase64.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr std::size_t kDigestLength = 32;
using Digest = std::array<std::uint8_t, kDigestLength>;

Digest sha256(std::string_view text) {
  Digest digest{};
  unsigned length = 0;
  if (EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1 ||
      length != kDigestLength) {
    stopForBrokenPromise("The cryptographic library has no SHA-256.");
  }
  return digest;
}

}  // namespace

std::string_view description(RelayCryptoError error) {
  switch (error) {
    case RelayCryptoError::invalidCiphertext:
      return "RelayCryptoError.invalidCiphertext";
  }
  return "RelayCryptoError";
}

namespace RelayCrypto {

Secret key(const Secret& secret) {
  Digest digest = sha256(text::trimmed(secret.text()));
  Secret key{digest};
  wipe(digest);
  return key;
}

std::variant<EncryptedRelayPayload, JsonError, RelayCryptoError> seal(const Json& value, const Secret& relaySecret,
                                                                      platform::Random& random) {
  const auto plaintext = jsonText(value);
  if (!plaintext) return JsonError{"", "A text is not valid UTF-8."};
  auto sealed = sealText(*plaintext, relaySecret, random);
  if (const auto* error = std::get_if<RelayCryptoError>(&sealed)) return *error;
  return std::get<EncryptedRelayPayload>(std::move(sealed));
}

std::variant<EncryptedRelayPayload, RelayCryptoError> sealText(std::string_view plaintext, const Secret& relaySecret,
                                                               platform::Random& random) {
  Nonce nonce{};
  if (!random.fillSecurely(nonce)) return RelayCryptoError::invalidCiphertext;
  const auto box = sealedBox(key(relaySecret), nonce, plaintext);
  if (!box) return RelayCryptoError::invalidCiphertext;
  return EncryptedRelayPayload{.version = 1, .nonce = base64Text(nonce), .ciphertext = base64Text(*box)};
}

std::variant<BoxBytes, RelayCryptoError> box(const EncryptedRelayPayload& payload) {
  auto bytes = base64Bytes(payload.ciphertext);
  if (!bytes || bytes->size() < kShortestBox) return RelayCryptoError::invalidCiphertext;
  return *std::move(bytes);
}

std::variant<std::string, RelayCryptoError> open(const EncryptedRelayPayload& payload, const Secret& relaySecret) {
  const auto bytes = box(payload);
  if (const auto* error = std::get_if<RelayCryptoError>(&bytes)) return *error;
  auto plaintext = openedBox(key(relaySecret), std::get<BoxBytes>(bytes));
  if (!plaintext) return RelayCryptoError::invalidCiphertext;
  return *std::move(plaintext);
}

std::string digest(std::string_view text) { return hexText(sha256(text)); }

std::string snapshotID(const std::vector<PendingApproval>& approvals) {
  std::string text;
  for (const auto& approval : approvals) {
    if (&approval != &approvals.front()) text += '|';
    text += approval.id.text() + ':';
    for (const auto& button : approval.buttons) {
      if (&button != &approval.buttons.front()) text += ',';
      text += button.label;
    }
  }
  return digest(text);
}

}  // namespace RelayCrypto
}  // namespace quillard
