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

}  // namespace
}  // namespace quillard::relayserver
