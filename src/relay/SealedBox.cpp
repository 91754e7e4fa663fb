#include "relay/SealedBox.h"

#include <algorithm>
#include <limits>
#include <memory>

#include <openssl/evp.h>

namespace quillard {
namespace {

struct FreeContext {
  // Wipes the key schedule on the way.
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

constexpr std::size_t kLongestText = std::numeric_limits<int>::max() - 1024;

bool isUsable(const Secret& key, std::size_t length) {
  return key.view().size() == kSealingKeyLength && length <= kLongestText;
}

const std::uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const std::uint8_t*>(text.data()); }

// The cipher refuses a null pointer even where there is nothing to read or write.
bool encrypt(EVP_CIPHER_CTX* context, std::string_view plaintext, std::uint8_t* out) {
  const int length = static_cast<int>(plaintext.size());
  int written = 0;
  if (length > 0 && EVP_EncryptUpdate(context, out, &written, bytesOf(plaintext), length) != 1) return false;
  int rest = 0;
  return written == length && EVP_EncryptFinal_ex(context, out + written, &rest) == 1 && rest == 0;
}

bool decrypt(EVP_CIPHER_CTX* context, std::span<const std::uint8_t> ciphertext, std::string& plaintext) {
  const int length = static_cast<int>(ciphertext.size());
  auto* out = reinterpret_cast<std::uint8_t*>(plaintext.data());
  int written = 0;
  if (length > 0 && EVP_DecryptUpdate(context, out, &written, ciphertext.data(), length) != 1) return false;
  int rest = 0;
  return written == length && EVP_DecryptFinal_ex(context, out + written, &rest) == 1 && rest == 0;
}

}  // namespace

std::optional<BoxBytes> sealedBox(const Secret& key, const Nonce& nonce, std::string_view plaintext) {
  if (!isUsable(key, plaintext.size())) return std::nullopt;
  const Context context{EVP_CIPHER_CTX_new()};
  BoxBytes box(kShortestBox + plaintext.size());
  std::copy(nonce.begin(), nonce.end(), box.begin());
  std::uint8_t* const tag = box.data() + kNonceLength + plaintext.size();
  if (!context || EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.view().data(), nonce.data()) != 1 ||
      !encrypt(context.get(), plaintext, box.data() + kNonceLength) ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, kTagLength, tag) != 1) {
    return std::nullopt;
  }
  return box;
}

std::optional<std::string> openedBox(const Secret& key, std::span<const std::uint8_t> box) {
  const auto nonce = nonceOf(box);
  if (!nonce || !isUsable(key, box.size())) return std::nullopt;
  const Context context{EVP_CIPHER_CTX_new()};
  const auto ciphertext = box.subspan(kNonceLength, box.size() - kShortestBox);
  std::array<std::uint8_t, kTagLength> tag{};
  std::copy(box.end() - kTagLength, box.end(), tag.begin());
  std::string plaintext(ciphertext.size(), '\0');
  if (!context ||
      EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.view().data(), nonce->data()) != 1 ||
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, kTagLength, tag.data()) != 1 ||
      !decrypt(context.get(), ciphertext, plaintext)) {
    return std::nullopt;  // The text is not authentic: it must not get out.
  }
  return plaintext;
}

std::optional<Nonce> nonceOf(std::span<const std::uint8_t> box) {
  if (box.size() < kShortestBox) return std::nullopt;
  Nonce nonce{};
  std::copy_n(box.begin(), kNonceLength, nonce.begin());
  return nonce;
}

}  // namespace quillard
