#include <string>

#include <gtest/gtest.h>

#include "foundation/StrictJson.h"
#include "relay/PairingPayload.h"
#include "support/GoldenFile.h"

namespace quillard {
namespace {

PairingPayload examplePayload() {
  return {.backendURL = "https://relay.example:8443",
          .pairingID = "quillard-00112233445566778899aabbccddeeff",
          .relaySecret = Secret{std::string(64, 'a')},
          .e2eSecret = Secret{std::string(64, 'b')}};
}

TEST(PairingPayload, IsCompactJsonWithEscapedSlashes) {
  const auto text = std::string(pairingPayloadText(examplePayload())->text());
  EXPECT_EQ(text, R"({"type":"quillard.pairing","version":1,"backendURL":"https:\/\/relay.example:8443",)"
                  R"("pairingID":"quillard-00112233445566778899aabbccddeeff","relaySecret":")" +
                      std::string(64, 'a') + R"(","e2eSecret":")" + std::string(64, 'b') + "\"}");
  EXPECT_EQ(text + "\n", samples::goldenText("relay/pairing-payload.json", text + "\n"));
}

TEST(PairingPayload, ReadsAsTheSameTextsWhateverTheyHold) {
  auto payload = examplePayload();
  payload.pairingID = "legacy/\"id\"\\ \xC3\xA4\n";
  const auto text = pairingPayloadText(payload);
  const auto json = std::get<Json>(parseStrictJson(text->text()));
  EXPECT_EQ(json["pairingID"], payload.pairingID);
  EXPECT_EQ(json["backendURL"], payload.backendURL);
}

TEST(PairingPayload, HasNoTextWhenItIsNoUtf8) {
  auto payload = examplePayload();
  payload.pairingID = "\xFF";
  EXPECT_FALSE(pairingPayloadText(payload).has_value());
}

}  // namespace
}  // namespace quillard
