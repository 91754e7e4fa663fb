#include <gtest/gtest.h>

#include "companion/relay/cluster/ClusterWorld.h"

// Three relays and their engine in virtual time: who is let in, and what happens when something fails.
namespace quillard::relayserver {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const std::string kAgent = "role=mac&pairing=" + kPairing;
const std::string kPhone = "role=phone&deviceName=A&deviceID=A&pairing=" + kPairing;

class Cluster : public testing::Test {
 protected:
  Cluster() { EXPECT_EQ(world.status(world[0].registerToken(kPairing)), 204); }
  std::shared_ptr<FakePeer> joinAgent(std::size_t relay) {
    return world[relay].join(world.settle(world[relay].upgrade(kAgent)));
  }
  std::shared_ptr<FakePeer> joinPhone(std::size_t relay) {
    return world[relay].join(world.settle(world[relay].upgrade(kPhone)));
  }
  // As a connection does: whether the message is held.
  bool say(std::size_t relay, const std::shared_ptr<FakePeer>& peer, Role role, const Json& message) {
    auto& there = world[relay];
    const std::string text = message.dump();
    const auto take = [&there, peer, text] { there.rooms.take(*peer, text, there.now()); };
    const auto again = [this, relay, peer, role, message] {
      if (!peer->closed) say(relay, peer, role, message);
    };
    if (there.admission.holds({.role = role, .pairingID = kPairing}, text, again, take)) return true;
    take();
    return false;
  }
  void cutOff(std::size_t relay) { world[relay].engineEnd.isCutOff = true; }

  ClusterWorld world;
};

TEST_F(Cluster, TakesAnAgentWhereItArrivesAndSendsPhonesThere) {
  const auto agent = joinAgent(1);
  EXPECT_EQ(world.status(world[0].upgrade(kPhone)), 0);
  EXPECT_EQ(std::get<Forwarding>(world.settle(world[2].upgrade(kPhone))).relay, "relay-b");
  EXPECT_EQ(world.status(world[1].upgrade(kPhone)), 101);
  // Its next connection comes elsewhere.
  const auto phone = joinPhone(1);
  const auto later = joinAgent(2);
  world.run(milliseconds(100));
  EXPECT_EQ(agent->closed, CloseCode::replaced);
  EXPECT_EQ(phone->closed, CloseCode::stopping);
  EXPECT_EQ(later->closed, std::nullopt);
  EXPECT_EQ(std::get<Forwarding>(world.settle(world[1].upgrade(kPhone))).relay, "relay-c");
}

TEST_F(Cluster, KnowsAPairingEverywhereAsSoonAsItIsRegistered) {
  for (std::size_t relay = 0; relay < 3; ++relay) world[relay].engineEnd.hasSilentWatch = true;
  EXPECT_EQ(world.status(world[1].registerToken("another")), 204);
  EXPECT_EQ(world.status(world[2].upgrade("role=mac&pairing=another")), 101);
  EXPECT_EQ(world.status(world[2].upgrade("role=mac&pairing=nobody")), 401);
}

TEST_F(Cluster, KnowsOneComputerWhenTwoShowAKeyAtOnce) {
  const std::string key(32, 'k');
  const std::string otherKey(32, 'o');
  const auto one = world[0].registerToken(kPairing, key);
  const auto other = world[1].registerToken(kPairing, otherKey);
  const int statusOfOne = world.status(one);
  EXPECT_EQ(statusOfOne + world.status(other), 204 + 409);
  world.run(seconds(1));
  for (std::size_t relay = 0; relay < 3; ++relay) {
    EXPECT_EQ(world.status(world[relay].registerToken(kPairing, key)), statusOfOne);
  }
}

TEST_F(Cluster, TellsNobodyOfAKeyBeforeItIsKept) {
  world[0].engineEnd.latency = milliseconds(60);
  const auto registered = world[0].registerToken(kPairing, std::string(32, 'k'));
  world.run(milliseconds(150));  // It has looked up the pairing, and has yet to hear that the key is written.
  EXPECT_FALSE(registered->has_value());
  world[0].engineEnd.losesAnswers = true;
  EXPECT_EQ(world.status(registered), 503);
}

TEST_F(Cluster, HasOneHomeWhenTwoPhonesComeAtOnce) {
  const auto one = world[0].upgrade(kPhone);
  const auto other = world[1].upgrade(kPhone);
  EXPECT_EQ(world.status(one) + world.status(other), 101);
}

TEST_F(Cluster, RevokesEverywhereBeforeItSaysSo) {
  const auto agent = joinAgent(0);
  const auto phone = joinPhone(0);
  EXPECT_TRUE(say(0, agent, Role::agent, unpair()));
  EXPECT_EQ(agent->closed, std::nullopt);
  world.run(milliseconds(100));
  EXPECT_EQ(agent->closed, CloseCode::revoked);
  EXPECT_EQ(phone->closed, CloseCode::revoked);
  for (std::size_t relay = 0; relay < 3; ++relay) {
    EXPECT_EQ(world.status(world[relay].upgrade(kAgent)), 410);
    EXPECT_EQ(world.status(world[relay].registerToken(kPairing)), 410);
  }
}

TEST_F(Cluster, ClosesThePhoneThatAnAgentNamesWithoutAWait) {
  const auto agent = joinAgent(0);
  const auto phone = joinPhone(0);
  EXPECT_FALSE(say(0, agent, Role::agent, unpair("A")));
  EXPECT_EQ(phone->closed, CloseCode::removed);
  EXPECT_EQ(world.status(world[0].upgrade(kPhone)), 101);
}

// The engine answers, but what the relay knew at the request is too old by then.
TEST_F(Cluster, CannotSayWhatItsMirrorIsTooOldForByTheTimeOfTheAnswer) {
  const auto silentFor = [this](Duration time) {
    for (Duration done{}; done < time; done += milliseconds(50)) {
      world[0].engineEnd.hasSilentWatch = true;
      world.run(milliseconds(50));
    }
  };
  silentFor(milliseconds(5'500));
  world[0].engineEnd.latency = milliseconds(400);
  ASSERT_TRUE(world[0].member.isFresh(world.engine.now()));
  const auto registered = world[0].registerToken("another");
  const auto known = world[0].registerToken(kPairing);
  const auto asked =
      world[0].decide({.method = "GET", .target = "/api/pairings/" + kPairing, .authorization = {"Bearer " + kToken}});
  const auto joined = world[0].upgrade(kPhone);
  silentFor(milliseconds(1'000));
  EXPECT_EQ(world.status(registered), 503);
  EXPECT_EQ(world.status(known), 503);
  EXPECT_EQ(world.status(asked), 503);
  EXPECT_EQ(world.status(joined), 503);
}

TEST_F(Cluster, KeepsARevocationOnItsDiskUntilTheEngineHasIt) {
  const auto agent = joinAgent(0);
  world.engine.setAvailable(false);
  EXPECT_TRUE(say(0, agent, Role::agent, unpair()));
  EXPECT_EQ(world[0].disk.revoked.size(), 1U);
  world.run(milliseconds(4'900));
  EXPECT_EQ(agent->closed, std::nullopt);
  world.run(seconds(1));
  EXPECT_EQ(agent->closed, CloseCode::revoked);
  EXPECT_EQ(world[0].member.unsavedCount(), 1U);
  world.engine.setAvailable(true);
  world.run(seconds(6));
  EXPECT_EQ(world[0].member.unsavedCount(), 0U);
  EXPECT_EQ(world.status(world[1].upgrade(kAgent)), 410);
}

TEST_F(Cluster, TellsOfARevocationThatItReadAfterASleepNoEarlier) {
  const auto agent = joinAgent(0);
  world[0].isAsleep = true;
  world.run(seconds(3));
  world[0].isAsleep = false;
  EXPECT_TRUE(say(0, agent, Role::agent, unpair()));
  for (int i = 0; i < 2'000 && !agent->closed; ++i) {
    world.engine.advance(milliseconds(1));
    for (const auto& relay : world.relays) relay->tick();
  }
  EXPECT_EQ(agent->closed, CloseCode::revoked);
  EXPECT_TRUE(world.engine.value(revokedKey(kPairing)));
}

TEST_F(Cluster, WaitsNoLongerForARevocationThatWasOnItsDiskAlready) {
  world.relays.push_back(std::make_unique<ClusterRelay>(world.engine, "relay-d"));
  world[3].disk.revoked = {{kPairing, 1}};
  for (int i = 0; i < 100 && world[3].member.unsavedCount() == 0; ++i) world.run(milliseconds(50));
  ASSERT_EQ(world[3].member.unsavedCount(), 1U);
  world.engine.setAvailable(false);
  bool isTold = false;
  world[3].member.revoke(kPairing, 1, [&] { isTold = true; });
  world.run(milliseconds(4'900));
  EXPECT_FALSE(isTold);
  world.run(seconds(2));
  EXPECT_TRUE(isTold);
}

TEST_F(Cluster, WritesWhatARestoredEngineLacksAnewFromTheDisks) {
  const auto agent = joinAgent(0);
  say(0, agent, Role::agent, unpair());
  world.run(milliseconds(100));
  world.engine.lose(revokedKey(kPairing));
  auto earlier = std::move(world[0].disk.revoked);
  world.relays[0] = std::make_unique<ClusterRelay>(world.engine, "relay-a", "a2");
  world[0].disk.revoked = std::move(earlier);
  world.run(seconds(3));
  EXPECT_TRUE(world.engine.value(revokedKey(kPairing)));
}

TEST_F(Cluster, BringsThePairingsOfARelayThatWasAlone) {
  world.relays.push_back(std::make_unique<ClusterRelay>(world.engine, "relay-d"));
  world[3].disk.earlier = {{"old", {.token = hashOf(kToken), .lastUsed = 1, .isJoined = true}}};
  world.run(seconds(3));
  EXPECT_TRUE(world[3].disk.earlier.empty());
  EXPECT_EQ(world.status(world[1].upgrade("role=mac&pairing=old")), 101);
}

TEST_F(Cluster, WaitsForAWatchThatTakesLongToBegin) {
  for (std::size_t relay = 0; relay < 3; ++relay) {
    world[relay].engineEnd.watchDelay = milliseconds(2'500);
    world[relay].engineEnd.hasSilentWatch = true;
  }
  world.run(seconds(20));
  EXPECT_EQ(world.status(world[1].upgrade(kAgent)), 101);
  // And is as quick as before to leave one that says nothing any more.
  world[1].engineEnd.watchDelay = {};
  world[1].engineEnd.hasSilentWatch = true;
  world.run(seconds(2));
  EXPECT_GT(world[1].member.steadyFor(world[1].now().instant), Duration::zero());
}

TEST_F(Cluster, LivesThroughAnEngineThatIsGoneForLessThanAMinute) {
  const auto agent = joinAgent(0);
  const auto phone = joinPhone(0);
  world.engine.setAvailable(false);
  world.run(seconds(58));
  EXPECT_FALSE(say(0, phone, Role::phone, request("d1")));
  EXPECT_EQ(agent->newest()["decisionID"], "d1");
  EXPECT_EQ(world.status(world[0].upgrade(kPhone)), 503);
  EXPECT_EQ(world.status(world[1].registerToken("another")), 503);
  EXPECT_EQ(world[0].fences, 0);
}

TEST_F(Cluster, ClosesEverythingWhenTheEngineIsGoneForAMinute) {
  const auto agent = joinAgent(0);
  world.engine.setAvailable(false);
  world.run(milliseconds(59'000));
  EXPECT_EQ(agent->closed, std::nullopt);
  world.run(milliseconds(2'000));
  EXPECT_EQ(agent->closed, CloseCode::stopping);
  EXPECT_EQ(world.status(world[0].decide({.method = "GET", .target = "/healthz"})), 503);
  world.engine.setAvailable(true);
  world.run(seconds(6));
  EXPECT_EQ(world.status(world[0].upgrade(kAgent)), 101);
}

TEST_F(Cluster, GivesUpSoonWhereItAloneIsCutOff) {
  const auto agent = joinAgent(0);
  cutOff(0);
  // In this time it has found the next member of the engine, had only one stood still.
  world.run(milliseconds(1'000));
  world[0].member.noteNeighbour(seconds(10), world.engine.now());
  EXPECT_EQ(world[0].fences, 0);
  world.run(milliseconds(350));
  // One that has only just found the engine again says nothing.
  world[0].member.noteNeighbour(milliseconds(500), world.engine.now());
  EXPECT_EQ(world[0].fences, 0);
  world[0].member.noteNeighbour(seconds(10), world.engine.now());
  EXPECT_EQ(agent->closed, CloseCode::stopping);
  EXPECT_EQ(world.status(world[0].upgrade(kAgent)), 503);
  EXPECT_EQ(world.status(world[1].upgrade(kAgent)), 101);
}

TEST_F(Cluster, TakesNoTimeThatItHadNoTurnInForOneWithoutTheEngine) {
  const auto agent = joinAgent(0);
  world[0].isAsleep = true;
  world.run(milliseconds(1'600));
  world[0].isAsleep = false;
  world[0].member.noteNeighbour(seconds(10), world.engine.now());
  EXPECT_EQ(agent->closed, std::nullopt);
}

TEST_F(Cluster, SendsNobodyAwayAfterAnElectionThatOneRelayHearsOfLater) {
  const auto agent = joinAgent(0);
  world.engine.setAvailable(false);
  world.run(milliseconds(1'200));
  cutOff(0);
  world.engine.setAvailable(true);
  // The others have the engine again, and are asked every moment.
  for (int i = 0; i < 28; ++i) {
    world.run(milliseconds(100));
    world[0].member.noteNeighbour(world[1].member.steadyFor(world.engine.now()), world.engine.now());
    EXPECT_EQ(agent->closed, std::nullopt) << i;
  }
  world.run(seconds(1));
  world[0].member.noteNeighbour(world[1].member.steadyFor(world.engine.now()), world.engine.now());
  EXPECT_EQ(agent->closed, CloseCode::stopping);
}

TEST_F(Cluster, IsNotReadyWhileItsOwnDiskTakesNothing) {
  world[0].disk.isFull = true;
  world[0].pairings.probe();
  EXPECT_EQ(world.status(world[0].decide({.method = "GET", .target = "/readyz"})), 503);
  EXPECT_EQ(world.status(world[0].decide({.method = "GET", .target = "/healthz"})), 200);
  world[0].disk.isFull = false;
  world[0].pairings.probe();
  EXPECT_EQ(world.status(world[0].decide({.method = "GET", .target = "/readyz"})), 200);
}

TEST_F(Cluster, HoldsWhatItReadsAfterASleepUntilItKnowsWhatHappened) {
  const auto agent = joinAgent(0);
  const auto phone = joinPhone(0);
  world[0].isAsleep = true;
  world[0].engineEnd.isCutOff = true;
  world.run(seconds(8));
  // Meanwhile the computer has gone elsewhere.
  const auto later = joinAgent(1);
  world[0].isAsleep = false;
  world[0].engineEnd.isCutOff = false;
  // It reads its sockets before anything else.
  EXPECT_TRUE(say(0, phone, Role::phone, request("d1")));
  world.run(seconds(2));
  EXPECT_TRUE(agent->ofType("approval.request").empty());
  EXPECT_TRUE(phone->ofType("relay.receipt").empty());
  EXPECT_EQ(phone->closed, CloseCode::stopping);
  EXPECT_EQ(agent->closed, CloseCode::replaced);
  EXPECT_EQ(later->closed, std::nullopt);
}

TEST_F(Cluster, GoesOnAfterASleepThatNobodyNoticed) {
  const auto agent = joinAgent(0);
  const auto phone = joinPhone(0);
  world[0].isAsleep = true;
  world.run(seconds(3));
  world[0].isAsleep = false;
  EXPECT_TRUE(say(0, phone, Role::phone, request("d1")));
  world.run(seconds(2));
  EXPECT_EQ(agent->ofType("approval.request").size(), 1U);
  EXPECT_EQ(phone->newest()["delivered"], true);
}

TEST_F(Cluster, TakesTheHomeOfARelayThatHasGoneAndOfNoOther) {
  (void)joinAgent(0);
  world[0].isAsleep = true;
  EXPECT_EQ(world.status(world[1].upgrade(kPhone)), 0);
  world.run(seconds(6));
  EXPECT_EQ(world.status(world[1].upgrade(kPhone)), 101);
}

TEST_F(Cluster, WaitsALittleForANewHomeWhereTheOldOneDoesNotAnswer) {
  (void)joinAgent(0);
  const auto forwarding = std::get<Forwarding>(world.settle(world[1].upgrade(kPhone)));
  world[0].isAsleep = true;
  auto decided = std::make_shared<std::optional<ClusterDecision>>();
  world[1].admission.decideAgain(forwarding, false, [decided](ClusterDecision d) { *decided = std::move(d); });
  world.run(seconds(3));
  EXPECT_FALSE(*decided);
  (void)joinAgent(2);
  world.run(milliseconds(200));
  ASSERT_TRUE(*decided);
  EXPECT_EQ(std::get<Forwarding>(**decided).relay, "relay-c");
}

TEST_F(Cluster, ReadsEverythingAnewWhenTheWatchWasLeftBehind) {
  world[2].engineEnd.isCutOff = true;
  EXPECT_EQ(world.status(world[0].registerToken("another")), 204);
  world.engine.compact();
  world[2].engineEnd.isCutOff = false;
  world.run(seconds(6));
  EXPECT_NE(world[2].member.mirror().pairing("another"), nullptr);
  EXPECT_TRUE(world[2].member.isFresh(world.engine.now()));
}

TEST_F(Cluster, MakesWayForARelayThatWasStartedUnderItsName) {
  const auto agent = joinAgent(0);
  world.relays.push_back(std::make_unique<ClusterRelay>(world.engine, "relay-a", "a2"));
  world.run(seconds(5));
  EXPECT_EQ(agent->closed, CloseCode::stopping);
  EXPECT_TRUE(world[0].member.isFenced());
  EXPECT_FALSE(world[3].member.isFenced());
}

TEST_F(Cluster, LeavesItsNameToTheOneThatWasStartedWhileItSlept) {
  world[0].isAsleep = true;
  world.run(seconds(6));
  world.relays.push_back(std::make_unique<ClusterRelay>(world.engine, "relay-a", "a2"));
  world.run(seconds(3));
  world[0].isAsleep = false;
  world.run(seconds(10));
  EXPECT_TRUE(world[0].member.isFenced());
  EXPECT_FALSE(world[3].member.isFenced());
}

TEST_F(Cluster, IsNotThereAnyMoreOnceItHasLeft) {
  world[0].engineEnd.latency = milliseconds(20);
  world.engine.lose(relayKey("relay-a"));
  bool hasLeft = false;
  // A lease that it asked for before comes afterwards.
  world[0].isAsleep = true;
  world.run(seconds(7));
  world[0].isAsleep = false;
  for (int i = 0; i < 100 && !world.engine.value(relayKey("relay-a")); ++i) {
    if (i == 6) world[0].member.leave([&] { hasLeft = true; });
    world.engine.advance(milliseconds(10));
    world[0].tick();
  }
  world.run(milliseconds(500));
  EXPECT_TRUE(hasLeft);
  EXPECT_FALSE(world.engine.value(relayKey("relay-a")));
}

TEST_F(Cluster, CountsThePairingsOfAllRelays) {
  for (std::size_t relay = 0; relay < 3; ++relay) world[relay].limits.pairings = 2;
  EXPECT_EQ(world.status(world[0].upgrade(kAgent)), 101);
  EXPECT_EQ(world.status(world[1].registerToken("two")), 204);
  EXPECT_EQ(world.status(world[1].upgrade("role=mac&pairing=two")), 101);
  EXPECT_EQ(world.status(world[2].registerToken("three")), 507);
}

TEST_F(Cluster, AsksNothingOfTheEngineForALoadBalancer) {
  (void)joinAgent(1);
  world.run(milliseconds(100));
  const auto route = [&](const std::string& target) {
    return world[0].admission.answerRoute({.method = "GET", .target = target});
  };
  EXPECT_EQ(route("/route?pairing=" + kPairing).headers[1].second, "relay-b");
  EXPECT_EQ(route("/route?pairing=unknown").headers[1].second, "relay-a");
  EXPECT_EQ(route("/route").status, 400);
}

// Another relay is asked then, which knows more.
TEST_F(Cluster, TellsALoadBalancerNothingWhileItServesNobody) {
  (void)joinAgent(1);
  world.run(milliseconds(100));
  const auto route = [&] {
    return world[0].admission.answerRoute({.method = "GET", .target = "/route?pairing=" + kPairing}).status;
  };
  world.engine.setAvailable(false);
  world.run(seconds(59));
  EXPECT_EQ(route(), 204);
  world.run(seconds(2));
  EXPECT_EQ(route(), 503);
  world.engine.setAvailable(true);
  world.run(seconds(6));
  EXPECT_EQ(route(), 204);
}

TEST_F(Cluster, CountsHowItStandsForTheOperator) {
  const auto metrics = [&] { return world[0].member.metrics(world.engine.now()); };
  const auto agent = joinAgent(0);
  EXPECT_TRUE(metrics().isServing);
  EXPECT_TRUE(metrics().isFresh);
  world.engine.setAvailable(false);
  world[0].member.revoke("another", 1, [] {});
  world.run(seconds(10));
  EXPECT_TRUE(metrics().isServing);
  EXPECT_FALSE(metrics().isFresh);
  EXPECT_EQ(metrics().unsavedRevocations, 1U);
  EXPECT_EQ(metrics().fences, 0U);
  world.run(seconds(52));
  EXPECT_FALSE(metrics().isServing);
  EXPECT_EQ(metrics().fences, 1U);
  world.engine.setAvailable(true);
  world.run(seconds(6));
  EXPECT_TRUE(metrics().isServing);
  EXPECT_TRUE(metrics().isFresh);
  EXPECT_EQ(metrics().unsavedRevocations, 0U);
  EXPECT_EQ(metrics().fences, 1U);
}

}  // namespace
}  // namespace quillard::relayserver
