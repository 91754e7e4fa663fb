#include "relay/InstallationSecrets.h"

#include <utility>
#include <variant>

#include "foundation/StrictJson.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr JsonLimits kLimits{.bytes = 16 * 1024, .depth = 8};

// Wipes the texts of a record that held secrets; the parser's own copies are short-lived.
class WipedAtEnd {
 public:
  explicit WipedAtEnd(Json& json) : json(json) {}
  ~WipedAtEnd() { wipeTexts(json); }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  static void wipeTexts(Json& part) {
    if (part.is_string()) wipe(part.get_ref<std::string&>());
    if (!part.is_structured()) return;
    for (auto& inside : part) wipeTexts(inside);
  }

  Json& json;
};

Secret readSecret(JsonReader& reader, std::string_view name) {
  std::string text = reader.string(name);
  return takenSecret(text);
}

}  // namespace

bool InstallationSecrets::isUsable() const {
  return !text::trimmed(pairingID).empty() && !text::trimmed(relayAuthToken.text()).empty() &&
         !text::trimmed(e2eSecret.text()).empty();
}

std::optional<Secret> installationSecretsText(const InstallationSecrets& secrets) {
  Json json{{"pairingID", secrets.pairingID},
            {"relayAuthToken", secrets.relayAuthToken.text()},
            {"e2eSecret", secrets.e2eSecret.text()}};
  if (!secrets.computerKey.isEmpty()) json["computerKey"] = secrets.computerKey.text();
  const WipedAtEnd wiped{json};
  auto written = jsonText(json);
  if (!written) return std::nullopt;
  return takenSecret(*written);
}

std::optional<InstallationSecrets> readInstallationSecrets(std::span<const std::uint8_t> text) {
  auto outcome = parseStrictJson({reinterpret_cast<const char*>(text.data()), text.size()}, kLimits);
  auto* json = std::get_if<Json>(&outcome);
  if (!json) return std::nullopt;
  const WipedAtEnd wiped{*json};
  JsonReader reader{*json};
  InstallationSecrets secrets{reader.string("pairingID"), readSecret(reader, "relayAuthToken"),
                              readSecret(reader, "e2eSecret")};
  if (auto key = reader.optionalString("computerKey")) secrets.computerKey = takenSecret(*key);
  if (reader.error()) return std::nullopt;
  return secrets;
}

}  // namespace quillard
