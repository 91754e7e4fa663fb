#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/HexText.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "support/GoldenFile.h"
#include "support/HexBytes.h"

// Sealed boxes that were kept: those of the agent and those of a browser's WebCrypto are opened here, and by the tests
// of the phone's page. A line is secret and text, both in hexadecimal digits ("-" for no text), and the payload as
// JSON.
namespace quillard {
namespace {

struct KeptBox {
  std::string secret;
  std::string text;
  std::string payload;
};

std::string textOf(const std::string& hex) {
  if (hex == "-") return {};
  const auto bytes = samples::hexBytes(hex);
  return {bytes.begin(), bytes.end()};
}

std::vector<KeptBox> boxesIn(const std::string& golden) {
  std::vector<KeptBox> boxes;
  std::istringstream lines{golden};
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream words{line};
    std::string secret, text, payload;
    words >> secret >> text >> payload;
    boxes.push_back({textOf(secret), textOf(text), payload});
  }
  return boxes;
}

void expectOpened(const std::vector<KeptBox>& boxes) {
  for (const auto& box : boxes) {
    const auto payload = readRelayRecord<EncryptedRelayPayload>(box.payload);
    ASSERT_TRUE(std::holds_alternative<EncryptedRelayPayload>(payload)) << box.payload;
    const auto opened = RelayCrypto::open(std::get<EncryptedRelayPayload>(payload), Secret{box.secret});
    ASSERT_TRUE(std::holds_alternative<std::string>(opened)) << box.payload;
    EXPECT_EQ(std::get<std::string>(opened), box.text);
  }
}

std::string hexOf(const std::string& text) {
  return hexText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(RelayBoxes, OfABrowserAreOpened) {
  // Read only: nothing here could write them anew.
  std::ifstream file{std::filesystem::path(QUILLARD_GOLDEN_DIRECTORY) / "relay/sealed-by-webcrypto.txt"};
  const auto boxes = boxesIn({std::istreambuf_iterator<char>(file), {}});
  ASSERT_EQ(boxes.size(), 4U);
  expectOpened(boxes);
}

TEST(RelayBoxes, OfTheAgentStayAsTheyAre) {
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  std::string written =
      "# Secret and text in hexadecimal digits, and the payload that they were sealed as by the agent.\n";
  for (const auto& [secret, text] : {std::pair<std::string, std::string>{std::string(64, 'b'), "[]"},
                                     {"\r\n " + std::string(64, 'c') + "\xC2\xA0", R"({"status":"accepted"})"},
                                     {std::string(64, 'd'), "\"\xE2\x80\xAE\xF0\x9F\x98\x80\""}}) {
    const auto payload = RelayCrypto::sealText(text, Secret{secret}, random);
    ASSERT_TRUE(std::holds_alternative<EncryptedRelayPayload>(payload));
    written += hexOf(secret) + " " + hexOf(text) + " " +
               jsonText(toJson(std::get<EncryptedRelayPayload>(payload))).value() + "\n";
  }
  const auto kept = samples::goldenText("relay/sealed-by-agent.txt", written);
  EXPECT_EQ(written, kept);
  const auto boxes = boxesIn(kept);
  ASSERT_EQ(boxes.size(), 3U);
  expectOpened(boxes);
}

}  // namespace
}  // namespace quillard
