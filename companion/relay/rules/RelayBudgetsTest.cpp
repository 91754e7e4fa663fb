#include <gtest/gtest.h>

#include "companion/relay/rules/MemoryBudget.h"
#include "companion/relay/rules/PrefixBuckets.h"
#include "companion/relay/rules/PrefixCounts.h"
#include "companion/relay/rules/RelayWorld.h"
#include "companion/relay/rules/TrafficBudget.h"

// What unauthenticated clients may cost.
namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

const RatePrefixes kOne{"2001:db8:1:1::", "2001:db8:1::", "2001:db8:1::"};

// ---- Buckets

TEST(TokenBucket, OwesWhatWasSpentAndNotThere) {
  Instant now{1h};
  TokenBucket bucket({10, 2}, now);
  bucket.spend(14, now);
  EXPECT_EQ(bucket.debtTime(now), 2s);
  EXPECT_LT(bucket.filling(now), 0);
  EXPECT_FALSE(bucket.take(now + 2s));
  EXPECT_EQ(bucket.debtTime(now + 2s), 0s);
  EXPECT_TRUE(bucket.take(now + 2500ms));
}

TEST(TokenBucket, OwesNoMoreThanWhatComesInWithinTenSeconds) {
  Instant now{1h};
  TokenBucket bucket({10, 2}, now);
  bucket.spend(1e9, now);
  EXPECT_EQ(bucket.debtTime(now), 10s);
  bucket.spend(1e9, now);
  EXPECT_EQ(bucket.debtTime(now), 10s);
  EXPECT_EQ(bucket.debtTime(now + 10s), 0s);
}

TEST(TrafficBudget, LetsOthersPayOnlyForAWhileForWhatAnAttackHasCost) {
  const RelayLimits limits{.allBytes = {1000, 1000}};
  const Instant now{1h};
  TrafficBudget traffic(limits, now);
  for (int i = 0; i < 1000; ++i) {
    auto hostile = traffic.makePairing(now);
    (void)traffic.spend(hostile, {std::to_string(i)}, {.received = 1'000'000}, now);
  }
  auto light = traffic.makePairing(now + 10s);
  EXPECT_EQ(traffic.spend(light, {"b"}, {.received = 1}, now + 10s), 0s);
}

TEST(PrefixCounts, GiveWiderPrefixesFourTimesAsMany) {
  PrefixCounts counts(2);
  const auto addAll = [&](const RatePrefixes& prefixes) {
    int added = 0;
    for (; counts.hasRoom(prefixes); ++added) counts.add(prefixes);
    return added;
  };
  EXPECT_EQ(addAll({"a1", "a", "x"}), 2);
  EXPECT_EQ(addAll({"a2", "a", "x"}), 2);
  EXPECT_EQ(addAll({"a3", "a", "x"}), 2);
  EXPECT_EQ(addAll({"a4", "a", "x"}), 2);
  EXPECT_EQ(addAll({"a5", "a", "x"}), 0);
  EXPECT_EQ(addAll({"b1", "b", "x"}), 2);
  EXPECT_EQ(addAll({"192.0.2.1"}), 2);
  counts.remove({"a1", "a", "x"});
  EXPECT_EQ(addAll({"a5", "a", "x"}), 1);
  EXPECT_TRUE(counts.hasRoom({}));
}

TEST(PrefixBuckets, CountEachWidthAlikeAndGiveWiderOnesFourTimesAsMuch) {
  PrefixBuckets buckets({2, 1}, 100);
  const Instant now{1h};
  const auto takes = [&](const RatePrefixes& prefixes) {
    int times = 0;
    while (buckets.take(prefixes, now)) ++times;
    return times;
  };
  // One network of 64 bits after another, in one of 56.
  EXPECT_EQ(takes({"a1", "a", "x"}), 2);
  EXPECT_EQ(takes({"a2", "a", "x"}), 2);
  EXPECT_EQ(takes({"a3", "a", "x"}), 2);
  EXPECT_EQ(takes({"a4", "a", "x"}), 2);
  EXPECT_EQ(takes({"a5", "a", "x"}), 0);
  // Another one of 56, until the one of 48 has nothing left.
  int others = 0;
  for (int i = 0; i < 100; ++i) others += takes({"b" + std::to_string(i), "b" + std::to_string(i / 4), "x"});
  EXPECT_EQ(others, 32 - 8);
  EXPECT_EQ(takes({"c", "c", "y"}), 2);
}

TEST(PrefixBuckets, TakeFromNoneWhereOneIsEmpty) {
  PrefixBuckets buckets({2, 1}, 100);
  const Instant now{1h};
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(buckets.take({std::to_string(i), "a", std::to_string(i)}, now));
  EXPECT_FALSE(buckets.take({"new", "a", "new"}, now));
  EXPECT_TRUE(buckets.take({"new", "b", "b"}, now));
  EXPECT_TRUE(buckets.take({"new", "b", "b"}, now));
}

// ---- Traffic

TEST(TrafficBudget, ReadsAPairingOnAsLongAsItOwesNothing) {
  const RelayLimits limits{.pairingBytes = {1000, 100}};
  const Instant now{1h};
  TrafficBudget traffic(limits, now);
  auto pairing = traffic.makePairing(now);
  EXPECT_EQ(traffic.spend(pairing, kOne, {.received = 600, .sent = 400}, now), 0s);
  EXPECT_EQ(traffic.spend(pairing, kOne, {.received = 200}, now), 2s);
  EXPECT_EQ(traffic.spend(pairing, kOne, {.received = 100'000}, now), limits.longestWait);
  auto another = traffic.makePairing(now);
  EXPECT_EQ(traffic.spend(another, kOne, {.received = 200}, now), 0s);
}

TEST(TrafficBudget, MakesWhatIsNotSealedDearer) {
  const auto sealed = costOf({.received = 1'000'000, .sealed = 1'000'000});
  const auto plain = costOf({.received = 1'000'000});
  EXPECT_EQ(sealed.bytes, plain.bytes);
  EXPECT_GT(plain.seconds, 10 * sealed.seconds);
}

TEST(TrafficBudget, CountsAllPairingsOfAnAddress) {
  const RelayLimits limits{.addressBytes = {1000, 100}};
  const Instant now{1h};
  TrafficBudget traffic(limits, now);
  for (int i = 0; i < 10; ++i) {
    auto pairing = traffic.makePairing(now);
    EXPECT_EQ(traffic.spend(pairing, {"192.0.2.1"}, {.received = 100}, now), 0s);
  }
  auto pairing = traffic.makePairing(now);
  EXPECT_EQ(traffic.spend(pairing, {"192.0.2.1"}, {.received = 100}, now), 1s);
  EXPECT_EQ(traffic.spend(pairing, {"192.0.2.2"}, {.received = 100}, now), 0s);
}

TEST(TrafficBudget, LetsThoseWaitFirstWhoHaveSpentMost) {
  const RelayLimits limits{.pairingBytes = {1000, 100}, .allBytes = {1000, 1000}};
  const Instant now{1h};
  TrafficBudget traffic(limits, now);
  auto heavy = traffic.makePairing(now);
  auto light = traffic.makePairing(now);
  EXPECT_EQ(traffic.spend(heavy, {"a"}, {.received = 900}, now), 0s);
  EXPECT_EQ(traffic.spend(light, {"b"}, {.received = 300}, now), 0s);
  EXPECT_GT(traffic.spend(heavy, {"a"}, {.received = 1}, now), 0s);
  // Where that does not help, all wait.
  EXPECT_EQ(traffic.spend(light, {"b"}, {.received = 100}, now), 0s);
  auto third = traffic.makePairing(now);
  EXPECT_GT(traffic.spend(third, {"c"}, {.received = 400}, now), 0s);
}

TEST(PairingRooms, MakeAPeerWaitForWhatItsMessagesCost) {
  RelayWorld world({.agentMessages = {1000, 1000}, .pairingBytes = {64 * 1024, 1024}});
  const auto agent = world.joinAgent();
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(60 * 1024, 'A');
  EXPECT_EQ(world.say(*agent, message), 0s);
  const auto wait = world.say(*agent, message);
  EXPECT_GT(wait, 5s);
  EXPECT_LE(wait, world.limits.longestWait);
  EXPECT_FALSE(agent->closed);
  // Whoever is not read is not taken for dead.
  world.run(world.limits.idle + 4s);
  EXPECT_FALSE(agent->isAborted);
}

TEST(PairingRooms, ChargeForEachPhoneThatASnapshotGoesTo) {
  RelayWorld world({.agentMessages = {1000, 1000}, .pairingBytes = {100 * 1024, 1024}});
  const auto agent = world.joinAgent();
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(60 * 1024, 'A');
  EXPECT_EQ(world.say(*agent, message), 0s);
  world.advance(1h);
  const auto phone = world.joinPhone("A");
  EXPECT_GT(world.say(*agent, message), 0s);
}

// What a peer can do that is no message: it comes, and nothing else.
template <class Event>
Duration waitAfter(int times, Event event) {
  Duration wait{};
  for (int i = 0; i < times && wait == Duration::zero(); ++i) wait = event();
  return wait;
}

TEST(PairingRooms, ChargeForPings) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto ping = [&] { return world.rooms.didReceiveControl(*agent, world.instant); };
  EXPECT_EQ(waitAfter(1000, ping), 0s);
  EXPECT_GT(waitAfter(100'000, ping), 0s);
  // Its phones and others at its address pay as well; those elsewhere do not.
  const auto elsewhere = world.join({.role = Role::agent, .pairingID = "other"}, {"203.0.113.1"});
  EXPECT_EQ(waitAfter(1000, [&] { return world.rooms.didReceiveControl(*elsewhere, world.instant); }), 0s);
}

TEST(PairingRooms, ChargeForPartsHoweverSmall) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto part = [&] {
    const auto wait = world.rooms.didReceiveBytes(*agent, 7, world.instant);
    return wait + world.rooms.didReceivePart(*agent, 1, world.instant);
  };
  EXPECT_EQ(waitAfter(1000, part), 0s);
  EXPECT_GT(waitAfter(1'000'000, part), 0s);
}

TEST(PairingRooms, ChargeForFramesThatHoldNothing) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto rubbish = [&] { return world.rooms.didReceiveBytes(*agent, 1536, world.instant); };
  EXPECT_EQ(waitAfter(100, rubbish), 0s);
  EXPECT_GT(waitAfter(1'000'000, rubbish), 0s);
}

TEST(PairingRooms, ChargeNothingTwiceForOrdinaryMessages) {
  RelayWorld world({.agentMessages = {1e6, 1e6}});
  const auto agent = world.joinAgent();
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(1024, 'A');
  const auto size = message.dump().size();
  // 16 MiB at first: the frames around messages are not worth mentioning.
  for (int i = 0; i < 10'000; ++i) {
    world.rooms.didReceiveBytes(*agent, size + 8, world.instant);
    ASSERT_EQ(world.say(*agent, message), 0s) << i;
  }
}

// Who has to write down what it forgets, on a disk as slow as the test likes.
class WritingPush final : public RoomPush {
 public:
  [[nodiscard]] std::optional<std::string> publicKey() const override { return std::nullopt; }
  Answer subscribe(const std::string&, const std::string&, const PushSubscribeMessage&, Moment) override { return {}; }
  Answer unsubscribe(const std::string&, const std::string&, Moment) override { return {}; }
  [[nodiscard]] std::optional<List> list(const std::string&) override { return std::nullopt; }
  [[nodiscard]] std::optional<std::string> send(const std::string&, PushSendMessage, Moment) override {
    return std::nullopt;
  }
  void forget(const std::string&, const std::string&) override {
    if (store) store->waited += waitOfAWrite;
  }

  MemoryPairingStore* store = nullptr;
  double waitOfAWrite = 0;  // Seconds.
};

TEST(PairingRooms, ChargeForTheDisk) {
  WritingPush push;
  RelayWorld world({.agentMessages = {1e6, 1e6}}, &push);
  push.store = &world.store;
  const auto agent = world.joinAgent();
  int closed = 0;
  while (closed < 10'000 && world.say(*agent, unpair("d" + std::to_string(closed))) == Duration::zero()) ++closed;
  EXPECT_GT(closed, 50);
  EXPECT_LT(closed, 150);
  // A disk that is slower has to be paid for as it is.
  world.advance(1h);
  push.waitOfAWrite = 0.05;
  int slowly = 0;
  while (slowly < 10'000 && world.say(*agent, unpair("s" + std::to_string(slowly))) == Duration::zero()) ++slowly;
  EXPECT_GT(slowly, 5);
  EXPECT_LT(slowly, 15);
}

TEST(PairingRooms, DoNotTakeThoseForSlowWhomTheyDoNotRead) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  Duration waited{};
  // Over and over: each part costs much because of all the parts before it.
  while (waited < world.limits.message * 2) {
    const auto wait = waitAfter(1'000'000, [&] { return world.rooms.didReceivePart(*agent, 1, world.instant); });
    ASSERT_GT(wait, 0s);
    world.advance(wait);
    world.rooms.tick(world.instant);
    waited += wait;
  }
  EXPECT_FALSE(agent->closed);
  EXPECT_FALSE(agent->isAborted);
}

// ---- Connections

TEST(RelayService, GrantsAnAddressOnlySoManyWebSockets) {
  RelayWorld world({.addressWebSockets = 2});
  (void)world.registerToken();
  const auto one = world.joinPhone("A");
  EXPECT_EQ(world.connect("role=mac&pairing=" + kPairing), 101);
  const auto two = world.joinPhone("B");
  EXPECT_EQ(world.connect("role=mac&pairing=" + kPairing), 429);
  EXPECT_EQ(world.connect("role=mac&pairing=" + kPairing, kToken, "192.0.2.2"), 101);
  world.rooms.leave(*one, world.instant);
  EXPECT_EQ(world.connect("role=mac&pairing=" + kPairing), 101);
}

// ---- Memory

TEST(MemoryBudget, CountsATextOnceForAllWhoHoldIt) {
  MemoryBudget memory(100);
  auto text = memory.hold(std::string(60, 'x'));
  auto copy = text;
  EXPECT_EQ(memory.used(), 60U);
  text = nullptr;
  EXPECT_EQ(memory.used(), 60U);
  EXPECT_EQ(copy->size(), 60U);
  copy = nullptr;
  EXPECT_EQ(memory.used(), 0U);
}

TEST(MemoryBudget, GetsSharesBack) {
  MemoryBudget memory(100);
  {
    MemoryBudget::Share share(memory);
    share.resize(150);
    share.resize(120);
    EXPECT_EQ(memory.excess(), 20U);
  }
  EXPECT_EQ(memory.used(), 0U);
}

TEST(PairingRooms, CountWhoSentWhichDecision) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone =
      world.join({.role = Role::phone, .pairingID = kPairing, .deviceID = "A", .deviceName = std::string(256, 'n')});
  for (int i = 0; i < 20; ++i) world.say(*phone, request("decision-" + std::to_string(i)));
  const auto used = world.memory.used();
  EXPECT_GT(used, 20U * 64);
  // The name of the phone is kept once for all of them.
  EXPECT_LT(used, 20U * 256);
  world.rooms.leave(*phone, world.instant);
  EXPECT_EQ(world.memory.used(), used);
  world.say(*agent, unpair());
  EXPECT_EQ(world.memory.used(), 0U);
}

TEST(PairingRooms, ForgetWhoSentWhichDecisionWhereNothingElseIsKept) {
  RelayWorld world({.memoryBytes = 4096});
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  for (int i = 0; i < 20; ++i) world.say(*phone, request("decision-" + std::to_string(i)));
  const auto used = world.memory.used();
  MemoryBudget::Share share(world.memory);
  share.resize(4096);
  world.rooms.didReceivePart(*agent, 1, world.instant);
  EXPECT_LT(world.memory.used(), 4096 + used / 4);
  world.say(*agent, result("decision-1"));
  EXPECT_FALSE(phone->newest().contains("phone"));
  EXPECT_FALSE(agent->isAborted);
}

// A peer that makes the relay keep `bytes` of a message that has not arrived as a whole.
std::shared_ptr<FakePeer> holding(RelayWorld& world, const std::string& device, const RatePrefixes& from,
                                  std::size_t bytes) {
  auto peer = world.join({.role = Role::phone, .pairingID = kPairing, .deviceID = device}, from);
  peer->held = bytes;
  return peer;
}

TEST(PairingRooms, DropTheLargestAndNewestOfTheNetworkThatKeepsMost) {
  RelayWorld world({.memoryBytes = 1000});
  MemoryBudget::Share share(world.memory);
  const auto honest = holding(world, "honest", {"a"}, 350);
  const auto small = holding(world, "small", {"b"}, 100);
  const auto large = holding(world, "large", {"b"}, 200);
  const auto newest = holding(world, "newest", {"b"}, 200);
  share.resize(1000);
  world.rooms.didReceivePart(*honest, 1, world.instant);
  EXPECT_FALSE(newest->isAborted);
  share.resize(1001);
  world.rooms.didReceivePart(*honest, 1, world.instant);
  EXPECT_TRUE(newest->isAborted);
  EXPECT_FALSE(large->isAborted);
  EXPECT_FALSE(small->isAborted);
  EXPECT_FALSE(honest->isAborted);
  EXPECT_EQ(world.metrics.droppedForMemory, 1U);
}

TEST(PairingRooms, DropSnapshotsWhereNothingElseIsKept) {
  RelayWorld world({.memoryBytes = 1000});
  const auto agent = world.joinAgent();
  world.say(*agent, snapshot());
  EXPECT_GT(world.metrics.snapshotBytes, 0U);
  MemoryBudget::Share share(world.memory);
  share.resize(1000);
  world.rooms.didReceivePart(*agent, 1, world.instant);
  EXPECT_EQ(world.metrics.snapshotBytes, 0U);
  EXPECT_FALSE(agent->isAborted);
}

TEST(PairingRooms, CloseThoseWhoDoNotFinishAMessage) {
  RelayWorld world;
  const auto slow = world.joinAgent();
  world.rooms.didReceivePart(*slow, 1, world.instant);
  const auto keepAlive = [&](Duration by) {
    for (Duration done{}; done < by; done += 1s) {
      world.advance(1s);
      world.rooms.didReceiveBytes(*slow, 8, world.instant);
      world.rooms.didReceivePart(*slow, 1, world.instant);
      world.rooms.tick(world.instant);
    }
  };
  keepAlive(59s);
  EXPECT_FALSE(slow->closed);
  world.say(*slow, snapshot());
  world.rooms.didReceivePart(*slow, 1, world.instant);
  keepAlive(59s);
  EXPECT_FALSE(slow->closed);
  keepAlive(1s);
  EXPECT_EQ(slow->closed, CloseCode::tooManyMessages);
}

}  // namespace
}  // namespace quillard::relayserver
