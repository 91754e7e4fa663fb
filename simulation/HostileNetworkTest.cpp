#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulation/HostileNetwork.h"

namespace quillard::simulation {
namespace {

struct HostileNetworkTest : testing::Test {
  // Sends so many frames, and gives them five minutes.
  std::vector<std::string> arrivalsOf(int count) {
    Seconds last{0};
    for (int i = 0; i < count; ++i) {
      network.send(std::to_string(i), last, [this](const std::string& frame) { arrived.push_back(frame); });
    }
    world.advance(Seconds{300});
    return arrived;
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  Stage stage{world, {}};
  Ledger ledger;
  Chance chance{1, 2};
  HostileNetwork network{stage, ledger, chance};
  std::vector<std::string> arrived;
};

TEST_F(HostileNetworkTest, IsReliableAtFirst) {
  std::vector<std::string> all;
  for (int i = 0; i < 100; ++i) all.push_back(std::to_string(i));
  EXPECT_EQ(arrivalsOf(100), all) << "Each once, in its order.";
}

TEST_F(HostileNetworkTest, LosesAndRepeatsAndReordersWhenItIsHostile) {
  network.setHostility(100);
  const auto frames = arrivalsOf(100);
  const std::set<std::string> different(frames.begin(), frames.end());
  EXPECT_LT(different.size(), 100U) << "Some are lost,";
  EXPECT_GT(frames.size(), different.size()) << "some come more than once,";
  EXPECT_FALSE(std::is_sorted(frames.begin(), frames.end(), [](const auto& one, const auto& other) {
    return std::stoi(one) < std::stoi(other);
  })) << "and some before earlier ones.";
}

TEST_F(HostileNetworkTest, LosesWhatItStillHeldBackWhenItCalmsDown) {
  network.setHostility(100);
  Seconds last{0};
  for (int i = 0; i < 100; ++i) {
    network.send("late", last, [this](const std::string& frame) { arrived.push_back(frame); });
  }
  network.setHostility(0);
  world.advance(Seconds{300});
  EXPECT_TRUE(arrived.empty());
}

TEST_F(HostileNetworkTest, GivesADecisionAnotherNameThatTheLedgerKnows) {
  network.setHostility(100);
  ledger.add({.id = "decision-1"}, "box");
  Seconds last{0};
  const std::string frame = R"({"decisionID":"decision-1","encryptedRequest":{}})";
  for (int i = 0; i < 50; ++i) {
    network.send(frame, last, [this](const std::string& sent) { arrived.push_back(sent); });
  }
  world.advance(Seconds{300});
  int renamed = 0;
  for (const auto& sent : arrived) renamed += sent == frame ? 0 : 1;
  EXPECT_GT(renamed, 0);
  EXPECT_TRUE(ledger.find("decision-1")->wasRenamed);
}

}  // namespace
}  // namespace quillard::simulation
