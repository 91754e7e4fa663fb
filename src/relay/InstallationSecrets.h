#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "values/Secret.h"

namespace quillard {

// The identity of this installation at its relay, and the secret that it shares with its phones.
struct InstallationSecrets {
  std::string pairingID;  // Public: a prefix, "-" and 32 hexadecimal digits.
  Secret relayAuthToken;  // The bearer token for the relay.
  Secret e2eSecret;       // What the sealing key is derived from.
  // Proves to the relay that this is the computer and no phone: never in a code. Empty: none was made yet.
  Secret computerKey = {};

  // Whether none of the first three is empty or mere white space.
  [[nodiscard]] bool isUsable() const;

  bool operator==(const InstallationSecrets&) const = default;
};

// The stored form: JSON with the members in the order of the fields, without an empty `computerKey`. Absent when the
// identifier is no UTF-8.
[[nodiscard]] std::optional<Secret> installationSecretsText(const InstallationSecrets& secrets);

// Absent when the text is not the stored form; unknown members are ignored. The secrets may be unusable.
[[nodiscard]] std::optional<InstallationSecrets> readInstallationSecrets(std::span<const std::uint8_t> text);

}  // namespace quillard
