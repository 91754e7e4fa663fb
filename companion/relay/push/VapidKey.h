#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_pkey_st;

namespace quillard::relayserver {

// The key by which push services know this relay: a key pair of P-256, as RFC 8292 has it. Subscriptions are made with
// it, so it is made once, and kept.
class VapidKey {
 public:
  static constexpr std::size_t kSecretBytes = 32;

  // A new one, from OpenSSL's random numbers: its secret.
  [[nodiscard]] static std::string newSecret();
  // Absent: these bytes are no secret of such a key.
  [[nodiscard]] static std::optional<VapidKey> fromSecret(std::string_view bytes);

  // The point, 65 bytes, in base64url without padding.
  [[nodiscard]] const std::string& publicText() const { return written; }
  // ES256: r and s, 64 bytes.
  [[nodiscard]] std::string sign(std::string_view text) const;

 private:
  VapidKey() = default;
  std::shared_ptr<evp_pkey_st> pair;
  std::string written;
};

// Whom push services may write to: "mailto:" and an address, or "https://" and a host, without anything that one of
// them is known to refuse.
[[nodiscard]] bool isPushContact(std::string_view text);

// Signs for one push service after another. A token is used for hours: services may remember whom they have checked.
class VapidTokens {
 public:
  // `contact`: see isPushContact.
  VapidTokens(VapidKey key, std::string contact) : key(std::move(key)), contact(std::move(contact)) {}

  // The value of the header "Authorization". `now`: seconds since 1970.
  [[nodiscard]] std::string authorization(const std::string& origin, std::int64_t now);
  // The next one is made anew: this one was refused.
  void forget(const std::string& origin) { tokens.erase(origin); }
  [[nodiscard]] const std::string& publicText() const { return key.publicText(); }

 private:
  struct Token {
    std::string text;
    std::int64_t madeAt = 0;
  };
  VapidKey key;
  std::string contact;
  std::map<std::string, Token> tokens;
};

}  // namespace quillard::relayserver
