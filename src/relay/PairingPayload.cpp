#include "relay/PairingPayload.h"

#include "foundation/StrictJson.h"

namespace quillard {
namespace {

// In compact JSON a "/" stands in strings only.
std::string withEscapedSlashes(const std::string& json) {
  std::string escaped;
  escaped.reserve(json.size() * 2);  // So that no copy is left behind by growing.
  for (const char c : json) {
    if (c == '/') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::optional<Secret> pairingPayloadText(const PairingPayload& payload) {
  Json json{{"type", payload.type},
            {"version", payload.version},
            {"backendURL", payload.backendURL},
            {"pairingID", payload.pairingID},
            {"relaySecret", payload.relaySecret.text()},
            {"e2eSecret", payload.e2eSecret.text()}};
  auto text = jsonText(json);
  for (const auto* name : {"relaySecret", "e2eSecret"}) wipe(json[name].get_ref<std::string&>());
  if (!text) return std::nullopt;
  auto escaped = withEscapedSlashes(*text);
  wipe(*text);
  return takenSecret(escaped);
}

}  // namespace quillard
