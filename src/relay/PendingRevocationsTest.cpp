#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedUserDefaults.h"
#include "relay/PendingRevocations.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedUserDefaults;

UnsentRevocation revocationOf(const std::string& pairingID) {
  return {.relayURL = "wss://relay.example/ws",
          .secrets = {.pairingID = pairingID,
                      .relayAuthToken = Secret{std::string_view{"token"}},
                      .e2eSecret = Secret{std::string_view{"secret"}},
                      .computerKey = Secret{std::string_view{"key"}}}};
}

struct PendingRevocationsTest : testing::Test {
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& one : PendingRevocations{defaults}.all()) all.push_back(one.secrets.pairingID);
    return all;
  }

  mutable SimulatedUserDefaults defaults;
  PendingRevocations pending{defaults};
};

TEST_F(PendingRevocationsTest, LastsFromRunToRunWithoutTheEndToEndSecret) {
  pending.add(revocationOf("quillard-1"));
  const auto kept = PendingRevocations{defaults}.all();
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].relayURL, "wss://relay.example/ws");
  EXPECT_EQ(kept[0].secrets.relayAuthToken.text(), "token");
  EXPECT_EQ(kept[0].secrets.computerKey.text(), "key");
  EXPECT_TRUE(kept[0].secrets.e2eSecret.isEmpty());
}

TEST_F(PendingRevocationsTest, KeepsNothingOfTheOperatorsKey) {
  auto revocation = revocationOf("quillard-1");
  revocation.relayURL = "wss://relay.example/ws?registration-key=0123456789abcdef&room=2";
  pending.add(std::move(revocation));
  EXPECT_EQ(PendingRevocations{defaults}.all().at(0).relayURL, "wss://relay.example/ws?room=2");
}

TEST_F(PendingRevocationsTest, CountsTheAttemptsFromRunToRun) {
  auto revocation = revocationOf("quillard-1");
  revocation.isOffer = true;
  revocation.attempts = 1999;
  revocation.refusals = 2;
  pending.add(revocation);
  const auto kept = PendingRevocations{defaults}.all();
  ASSERT_EQ(kept.size(), 1U);
  revocation.secrets.e2eSecret = {};
  EXPECT_EQ(kept[0], revocation);
}

TEST_F(PendingRevocationsTest, ReadsWhatEarlierBuildsKeptAndCountsWhatIsNoNumberAsNone) {
  pending.add(revocationOf("quillard-1"));
  const auto value = std::get<std::vector<std::uint8_t>>(*defaults.object("quillard.pending-revocations"));
  const std::string stored(value.begin(), value.end());
  const auto secrets = stored.substr(stored.find('\n'));
  struct Case {
    std::string counts;
    std::uint32_t attempts;
    std::uint32_t refusals;
  };
  for (const auto& [counts, attempts, refusals] : std::vector<Case>{{"", 0, 0},
                                                                    {" ", 0, 0},
                                                                    {" 7", 7, 0},
                                                                    {" x y", 0, 0},
                                                                    {" -1 2", 0, 2},
                                                                    {" 4294967295 0", 2000, 0},
                                                                    {" 99999999999999999999 1", 0, 1},
                                                                    {" 1 2 3", 1, 2},
                                                                    {"  1", 0, 1}}) {
    const auto text = "wss://relay.example/ws" + counts + secrets;
    defaults.set("quillard.pending-revocations", std::vector<std::uint8_t>(text.begin(), text.end()));
    const auto kept = pending.all();
    ASSERT_EQ(kept.size(), 1U) << counts;
    EXPECT_EQ(kept[0].relayURL, "wss://relay.example/ws") << counts;
    EXPECT_EQ(kept[0].attempts, attempts) << counts;
    EXPECT_EQ(kept[0].refusals, refusals) << counts;
  }
}

TEST_F(PendingRevocationsTest, LeavesNothingWhenAllAreDone) {
  pending.add(revocationOf("quillard-1"));
  pending.add(revocationOf("quillard-2"));
  pending.add(revocationOf("quillard-1"));
  EXPECT_EQ(names(), (std::vector<std::string>{"quillard-2", "quillard-1"}));
  pending.remove("quillard-1");
  pending.remove("quillard-2");
  EXPECT_TRUE(defaults.keys().empty());
}

TEST_F(PendingRevocationsTest, KeepsTheNewestSixteen) {
  for (int i = 1; i <= 20; ++i) pending.add(revocationOf("quillard-" + std::to_string(i)));
  ASSERT_EQ(names().size(), PendingRevocations::kMost);
  EXPECT_EQ(names().front(), "quillard-5");
  EXPECT_EQ(names().back(), "quillard-20");
}

TEST_F(PendingRevocationsTest, LetsOffersGoBeforeWhatHadAPhone) {
  for (int i = 1; i <= 10; ++i) pending.add(revocationOf("paired-" + std::to_string(i)));
  for (int i = 1; i <= 20; ++i) {
    auto offer = revocationOf("offered-" + std::to_string(i));
    offer.isOffer = true;
    pending.add(std::move(offer));
  }
  const auto kept = PendingRevocations{defaults}.all();
  ASSERT_EQ(kept.size(), PendingRevocations::kMost);
  EXPECT_EQ(kept[0].secrets.pairingID, "paired-1");
  EXPECT_EQ(kept[9].secrets.pairingID, "paired-10");
  EXPECT_EQ(kept[10].secrets.pairingID, "offered-15");
  EXPECT_EQ(kept[10].relayURL, "wss://relay.example/ws");
  EXPECT_TRUE(kept[10].isOffer);
  EXPECT_FALSE(kept[9].isOffer);
}

TEST_F(PendingRevocationsTest, SkipsWhatItCannotRead) {
  for (const std::string stored : {"", "\n", "wss://relay.example/ws", "wss://relay.example/ws\n{}\n", "a\nb\nc\nd\n",
                                   "a\n{\"pairingID\":\"x\"}"}) {
    defaults.set("quillard.pending-revocations", std::vector<std::uint8_t>(stored.begin(), stored.end()));
    EXPECT_TRUE(names().empty()) << stored;
  }
  defaults.set("quillard.pending-revocations", std::string("text"));
  EXPECT_TRUE(names().empty());
}

TEST_F(PendingRevocationsTest, TakesNoAddressThatIsTwoLines) {
  auto revocation = revocationOf("quillard-1");
  revocation.relayURL += "\nwss://other.example/ws";
  pending.add(std::move(revocation));
  EXPECT_TRUE(names().empty());
}

}  // namespace
}  // namespace quillard
