#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "values/Secret.h"

namespace quillard {

// All that a phone needs to reach the same relay, to prove itself there and to read what is sealed: the content of the
// pairing code.
struct PairingPayload {
  std::string type = "quillard.pairing";
  std::int64_t version = 1;
  std::string backendURL;  // https or http; host and port only.
  std::string pairingID;
  Secret relaySecret;  // The installation's bearer token.
  Secret e2eSecret;
  bool operator==(const PairingPayload&) const = default;
};

// Compact JSON, the members in the order of the fields, "/" written as "\/": the bytes of the code. Absent when a text
// is no UTF-8.
[[nodiscard]] std::optional<Secret> pairingPayloadText(const PairingPayload& payload);

}  // namespace quillard
