#include <gtest/gtest.h>

#include "companion/relay/cluster/ClusterWorld.h"

// Three relays that know the same subscriptions and have one key, in virtual time.
namespace quillard::relayserver {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class PushCluster : public testing::Test {
 protected:
  PushCluster() { EXPECT_EQ(world.status(world[0].registerToken(kPairing)), 204); }
  static PushSubscription subscription(const std::string& deviceID, std::int64_t at = 1) {
    return {.deviceID = deviceID,
            .id = std::string(32, 'a'),
            .endpoint = "https://push.example/" + deviceID,
            .sealed = R"("encryptedSubscription":{})",
            .at = at};
  }
  void keep(std::size_t relay, const PushSubscription& one, std::size_t most = 8) {
    world[relay].store.keepPushSubscription(kPairing, one, most);
  }
  std::string devices(std::size_t relay) {
    std::string all;
    for (const auto& one : world[relay].store.pushSubscriptions(kPairing)) all += one.deviceID;
    return all;
  }

  ClusterWorld world;
};

TEST_F(PushCluster, HasOneKeyEvenWhenAllMakeOneAtOnce) {
  for (std::size_t relay = 0; relay < 3; ++relay) {
    EXPECT_FALSE(world[relay].store.pushSecret());
    world[relay].store.offerPushSecret(std::string(32, static_cast<char>('a' + relay)));
  }
  world.run(milliseconds(200));
  const auto kept = world[0].store.pushSecret();
  ASSERT_TRUE(kept);
  EXPECT_EQ(world[1].store.pushSecret(), kept);
  EXPECT_EQ(world[2].store.pushSecret(), kept);
  world[1].store.offerPushSecret(std::string(32, 'z'));
  world.run(milliseconds(200));
  EXPECT_EQ(world[2].store.pushSecret(), kept);
}

TEST_F(PushCluster, KnowsASubscriptionAtOnceWhereItWasMadeAndSoonElsewhere) {
  keep(0, subscription("A"));
  EXPECT_EQ(devices(0), "A");
  world.run(milliseconds(200));
  EXPECT_EQ(world[2].store.pushSubscriptions(kPairing), std::vector{subscription("A")});
  world[1].store.erasePushSubscriptions(kPairing, "A");
  EXPECT_EQ(devices(1), "");
  world.run(milliseconds(200));
  EXPECT_EQ(devices(0) + devices(1) + devices(2), "");
}

TEST_F(PushCluster, KeepsTheNewestOfAPairing) {
  for (int i = 0; i < 3; ++i) keep(0, subscription(std::string(1, static_cast<char>('A' + i)), i), 2);
  EXPECT_EQ(devices(0), "BC");
  world.run(milliseconds(200));
  EXPECT_EQ(devices(1), "BC");
}

TEST_F(PushCluster, KnowsHowMuchMemoryTheyTakeEverywhere) {
  EXPECT_EQ(world[1].store.subscriptionBytes(), 0U);
  keep(0, subscription("A"));
  keep(0, subscription("B"));
  world.run(milliseconds(200));
  EXPECT_EQ(world[1].store.subscriptionBytes(), subscription("A").bytes() + subscription("B").bytes());
  auto longer = subscription("A", 2);
  longer.endpoint += std::string(500, 'x');
  keep(2, longer);
  world.run(milliseconds(200));
  EXPECT_EQ(world[1].store.subscriptionBytes(), longer.bytes() + subscription("B").bytes());
  world[2].store.erasePushSubscriptions(kPairing, "");
  world.run(milliseconds(200));
  EXPECT_EQ(world[1].store.subscriptionBytes(), 0U);
}

TEST_F(PushCluster, ForgetsThemWithTheirPhoneAndTheirPairingWhereverThatWas) {
  keep(0, subscription("A"));
  keep(0, subscription("B"));
  world.run(milliseconds(200));
  world[1].store.erasePushSubscriptions(kPairing, "A");
  world.run(milliseconds(200));
  EXPECT_EQ(devices(0), "B");
  world[2].member.revoke(kPairing, 6, [] {});
  world.run(milliseconds(200));
  EXPECT_EQ(devices(0) + devices(1) + devices(2), "");
  keep(0, subscription("C"));
  world.run(milliseconds(200));
  EXPECT_EQ(devices(0), "");
}

TEST_F(PushCluster, ForgetsThemWithAPairingThatIsNotUsed) {
  keep(0, subscription("A"));
  world.run(milliseconds(200));
  EXPECT_EQ(world[1].store.purge(1'000'000'000'000, 0).size(), 1U);
  world.run(milliseconds(200));
  EXPECT_EQ(devices(2), "");
}

TEST_F(PushCluster, GivesUpWhatTheEngineDoesNotTake) {
  world[0].engineEnd.isCutOff = true;
  keep(0, subscription("A"));
  EXPECT_EQ(devices(0), "A");
  world[0].engineEnd.isCutOff = false;
  world.run(seconds(30));
  EXPECT_EQ(devices(0), devices(1));
}

TEST_F(PushCluster, SaysWhenTheStoreHasASubscription) {
  std::string said;
  keep(0, subscription("A"));
  world[0].store.whenKept(kPairing, "A", [&](bool isKept) { said = isKept ? "kept" : "lost"; });
  EXPECT_EQ(said, "");
  world.run(milliseconds(200));
  EXPECT_EQ(said, "kept");
  said.clear();
  world[0].store.whenKept(kPairing, "A", [&](bool isKept) { said = isKept ? "kept" : "lost"; });
  EXPECT_EQ(said, "kept") << "It is there already.";
}

TEST_F(PushCluster, SaysThatASubscriptionIsLostWhereTheEngineDoesNotAnswer) {
  std::string said;
  world[0].engineEnd.isCutOff = true;
  keep(0, subscription("A"));
  world[0].store.whenKept(kPairing, "A", [&](bool isKept) { said += isKept ? "kept" : "lost"; });
  world.run(milliseconds(3'900));
  EXPECT_EQ(said, "");
  world.run(milliseconds(200));
  EXPECT_EQ(said, "lost");
  EXPECT_EQ(devices(0), "") << "Nobody goes by what is not kept.";
  world[0].engineEnd.isCutOff = false;
  world.run(seconds(30));
  EXPECT_EQ(said, "lost") << "It is said once.";
  EXPECT_EQ(devices(0) + devices(1), "");
}

TEST_F(PushCluster, GoesByTheEngineWhereItsAnswerWasLost) {
  std::string said;
  world[0].engineEnd.losesAnswers = true;
  keep(0, subscription("A"));
  world[0].store.whenKept(kPairing, "A", [&](bool isKept) { said += isKept ? "kept" : "lost"; });
  world.run(seconds(5));
  EXPECT_EQ(said, "lost") << "The phone says it again, which harms nothing.";
  EXPECT_EQ(devices(0) + devices(1), "AA") << "It was kept all the same, as the watch tells.";
}

TEST_F(PushCluster, SaysThatASubscriptionIsLostWhosePairingWentMeanwhile) {
  std::string said;
  world[0].engineEnd.latency = milliseconds(100);
  keep(0, subscription("A"));
  world[0].store.whenKept(kPairing, "A", [&](bool isKept) { said += isKept ? "kept" : "lost"; });
  world[1].member.revoke(kPairing, 6, [] {});
  world.run(seconds(1));
  EXPECT_EQ(said, "lost");
  EXPECT_EQ(devices(0) + devices(1), "");
}

TEST_F(PushCluster, WhoWaitsIsToldOfTheNewestWriteWhateverComesFirst) {
  std::string said;
  const auto wait = [&](const std::string& name) {
    world[0].store.whenKept(kPairing, "A", [&said, name](bool isKept) { said += name + (isKept ? "+" : "-"); });
  };
  world[0].engineEnd.latency = milliseconds(400);
  keep(0, subscription("A", 1));
  wait("1");
  world[0].engineEnd.latency = milliseconds(1);
  keep(0, subscription("A", 2));
  wait("2");
  world.run(milliseconds(300));
  EXPECT_EQ(said, "");
  world.run(seconds(1));
  EXPECT_EQ(said, "1+2+") << "The newest one is kept.";
  EXPECT_EQ(world[1].store.pushSubscriptions(kPairing), std::vector{subscription("A", 2)});
}

// A phone has moved from one relay to another, and the engine hears of it in the wrong order.
TEST_F(PushCluster, LetsALateWriteReplaceNothingNewer) {
  std::string said;
  world[1].engineEnd.latency = milliseconds(400);
  keep(1, subscription("A", 1));
  world[1].store.whenKept(kPairing, "A", [&](bool isKept) { said += isKept ? "kept" : "lost"; });
  keep(0, subscription("A", 2));
  world.run(seconds(3));
  EXPECT_EQ(said, "lost");
  for (std::size_t relay = 0; relay < 3; ++relay) {
    EXPECT_EQ(world[relay].store.pushSubscriptions(kPairing), std::vector{subscription("A", 2)}) << relay;
  }
}

TEST_F(PushCluster, ReplacesWhatAnotherRelayHasKeptMeanwhile) {
  std::string said;
  world[1].engineEnd.latency = milliseconds(400);
  keep(1, subscription("A", 2));
  world[1].store.whenKept(kPairing, "A", [&](bool isKept) { said += isKept ? "kept" : "lost"; });
  keep(0, subscription("A", 1));
  world.run(seconds(3));
  EXPECT_EQ(said, "kept");
  EXPECT_EQ(world[2].store.pushSubscriptions(kPairing), std::vector{subscription("A", 2)});
  // The same of what is erased.
  world[1].store.erasePushSubscriptions(kPairing, "A");
  auto refused = subscription("A", 2);
  refused.state = PushSubscription::State::refused;
  keep(0, refused);
  world.run(seconds(3));
  EXPECT_EQ(devices(0) + devices(1) + devices(2), "");
}

TEST_F(PushCluster, ReplacesWhatNobodyCanRead) {
  world[2].engineEnd.transact({.changes = {{.key = pushKey(kPairing, "A"), .value = "?"}}}, [](const auto&) {});
  world.run(milliseconds(200));
  keep(0, subscription("A"));
  world.run(seconds(1));
  EXPECT_EQ(devices(1), "A");
}

TEST_F(PushCluster, CallsNobodyBackWhoseStoreHasEnded) {
  auto ending = std::make_unique<ClusterRelay>(world.engine, "relay-d", "d1");
  for (int i = 0; i < 40; ++i) {
    ending->tick();
    world.run(milliseconds(50));
  }
  bool isTold = false;
  ending->store.keepPushSubscription(kPairing, subscription("A"), 8);
  ending->store.whenKept(kPairing, "A", [&](bool) { isTold = true; });
  ending.reset();
  world.run(seconds(10));
  EXPECT_FALSE(isTold);
}

}  // namespace
}  // namespace quillard::relayserver
