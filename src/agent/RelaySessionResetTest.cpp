#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/RelaySessionFixture.h"

// A session whose pairing is replaced, is unknown to the relay, or is revoked by it.
namespace quillard {
namespace {

using platform::HttpResponse;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// ---- The reset of the pairing

TEST_F(RelaySessionTest, UnpairingTakesANewIdentityAndStartsOver) {
  startAndPair();
  const auto before = identity();
  const auto socket = world.webSockets().newest();
  unpair();
  advance(0.1);
  EXPECT_THAT(relay.received(kUnpairPhoneType), SizeIs(1));
  EXPECT_EQ(socket->sentCloseCode(), 1001);
  EXPECT_EQ(identityWhenForgotten, before) << "Whoever is to forget is told before the identity changes.";
  EXPECT_NE(identityWhenRenewed, before);
  EXPECT_EQ(identityWhenRenewed, identity());
  ASSERT_GE(events.size(), 2U);
  EXPECT_EQ(events[0], "forgotten");
  EXPECT_EQ(events[1], "renewed");
  EXPECT_TRUE(session->status().relayConnected);
}

TEST_F(RelaySessionTest, UnpairingWithoutAConnectionRotatesImmediately) {
  relay.goDown();
  start();
  const auto before = identity();
  unpair();
  EXPECT_NE(identity(), before);
  EXPECT_THAT(relay.received(kUnpairPhoneType), IsEmpty());
}

TEST_F(RelaySessionTest, ASecondRequestDuringAResetIsTheSameRequest) {
  startAndPair();
  world.webSockets().newest()->holdSends();
  unpair();
  unpair();
  advance(0.1);
  world.webSockets().newest()->releaseSends();
  advance(0.1);
  EXPECT_EQ(requestCount(), 2U) << "One registration for each identity.";
  unpair();
  advance(0.1);
  EXPECT_EQ(requestCount(), 3U) << "It can be requested again afterwards.";
}

TEST_F(RelaySessionTest, AnotherRelayThatIsChosenDuringAResetEndsIt) {
  startAndPair();
  const auto before = identity();
  world.webSockets().newest()->holdSends();
  unpair();
  world.environment().set("QUILLARD_RELAY_URL", "wss://other.example/ws");
  onMainThread([this] { session->relayWasChosen(); });
  advance(0.1);
  const auto second = identity();
  EXPECT_NE(second, before);
  EXPECT_EQ(world.webSockets().newest()->request().url, "wss://other.example/ws?role=mac&pairing=" + second);
  unpair();
  advance(0.1);
  EXPECT_NE(identity(), second) << "It can be requested again afterwards.";
}

TEST_F(RelaySessionTest, TellsBeforeAnythingElseWhatTheRelayIsToLearnAndWhichRelay) {
  startAndPair();
  const auto before = identity();
  world.webSockets().newest()->holdSends();
  world.environment().set("QUILLARD_RELAY_URL", "wss://other.example/ws");
  unpair();
  ASSERT_TRUE(toRevoke);
  EXPECT_EQ(toRevoke->secrets.pairingID, before);
  EXPECT_EQ(toRevoke->relayURL, "wss://relay.example/ws") << "The one that knows it.";
  EXPECT_THAT(events, IsEmpty()) << "It is not forgotten yet.";
}

TEST_F(RelaySessionTest, ARegistrationOfAnEarlierGenerationDoesNothing) {
  relay.goDown();
  start();
  const auto before = identity();
  unpair();
  relay.comeUp();
  advance(30);
  ASSERT_THAT(world.webSockets().connections(), SizeIs(1));
  EXPECT_THAT(world.webSockets().newest()->request().url, Not(HasSubstr(before)));
  EXPECT_THAT(world.console().lines(),
              ElementsAre("Unable to register relay token: The request timed out.", "Quillard relay connected."))
      << "Of the new generation; nothing is reported of the registration that was given up.";
}

TEST_F(RelaySessionTest, WhatAClientOfAnEarlierGenerationReportsIsDropped) {
  startAndPair();
  // While the main thread is busy, the client first reports that the request to unpair was sent, and then a decision:
  // the reset comes between the decision's arrival and its turn.
  onMainThread([this] {
    session->unpairPhoneFromStatusWindow();
    world.time().sleep(Seconds{0.01});
    EXPECT_TRUE(phone.decide(samples::uuid(1), "Erase"));
    world.time().sleep(Seconds{0.01});
  });
  advance(5);
  EXPECT_THAT(events, testing::IsSupersetOf({"forgotten", "renewed"}));
  EXPECT_THAT(events, Not(testing::Contains(HasSubstr("decision"))));
}

// ---- A relay that does not know the token, or calls the pairing revoked

TEST_F(RelaySessionTest, RegistersAgainWithARelayThatLostItsDatabase) {
  startAndPair();
  const auto before = identity();
  relay.loseDatabase();
  advance(10);
  EXPECT_TRUE(session->status().relayConnected);
  EXPECT_EQ(requestCount(), 2U) << "One registration for each time that the relay did not know the token.";
  EXPECT_EQ(identity(), before);
  const auto shown = phone.snapshots().size();
  phone.comeOnline();
  advance(0.1);
  EXPECT_GT(phone.snapshots().size(), shown) << "The phone that was paired before is served again.";
  EXPECT_THAT(events, Not(testing::Contains("forgotten")));
}

TEST_F(RelaySessionTest, ABoxThatWasOpenedBeforeTheRelayForgotTheTokenIsNotOpenedAgain) {
  startAndPair();
  EXPECT_TRUE(phone.suppress(samples::uuid(1)));
  advance(0.1);
  ASSERT_THAT(events, testing::Contains("suppress"));
  relay.loseDatabase();
  advance(10);
  ASSERT_TRUE(session->status().relayConnected);
  events.clear();
  EXPECT_TRUE(phone.repeatSuppression());
  advance(0.1);
  EXPECT_THAT(events, Not(testing::Contains("suppress")));
}

TEST_F(RelaySessionTest, NorIsOneThatWasOpenedBeforeARelayWasChosenAgain) {
  startAndPair();
  EXPECT_TRUE(phone.suppress(samples::uuid(1)));
  advance(0.1);
  ASSERT_THAT(events, testing::Contains("suppress"));
  onMainThread([this] { session->relayWasChosen(); });
  advance(5);
  ASSERT_TRUE(session->status().relayConnected);
  events.clear();
  EXPECT_TRUE(phone.repeatSuppression());
  advance(0.1);
  EXPECT_THAT(events, Not(testing::Contains("suppress")));
}

TEST_F(RelaySessionTest, RegistersAtABoundedPaceWithARelayThatTakesTheTokenAndNeverKnowsIt) {
  relay.answerSocketsWith(401);
  start();
  advance(600);
  EXPECT_GE(requestCount(), 10U);
  EXPECT_LE(requestCount(), 20U) << "After 3 s, then twice as long each time, 60 s at most.";
  EXPECT_EQ(world.webSockets().connections().size(), requestCount());
  relay.answerSocketsWith(std::nullopt);
  advance(60);
  EXPECT_TRUE(session->status().relayConnected);
  const auto before = requestCount();
  relay.loseDatabase();
  advance(7);
  EXPECT_TRUE(session->status().relayConnected) << "A connection that opened begins the delays anew.";
  EXPECT_EQ(requestCount(), before + 1);
}

TEST_F(RelaySessionTest, OtherRefusalsAreTriedAgainEveryThreeSecondsWithoutRegistration) {
  startAndPair();
  relay.answerSocketsWith(503);
  relay.dropConnections();
  advance(61);
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_GE(world.webSockets().connections().size(), 20U);
  relay.answerSocketsWith(std::nullopt);
  advance(3.1);
  EXPECT_TRUE(session->status().relayConnected);
}

constexpr const char* kRevokedLine =
    "The relay calls this pairing revoked. The status window offers to pair anew; the relay is asked again every hour.";

TEST_F(RelaySessionTest, KeepsItsIdentityWhenTheRelayCallsThePairingRevokedAtRegistration) {
  world.userDefaults().set("quillard.per-install-pairing-id", std::string("quillard-old"));
  relay.revoke("quillard-old");
  start();
  advance(3599);
  EXPECT_EQ(requestCount(), 1U) << "It does not hammer.";
  EXPECT_EQ(identity(), "quillard-old") << "A relay cannot make it throw its identity away.";
  EXPECT_TRUE(session->isPairingRevoked());
  EXPECT_THAT(events, ElementsAre("status"));
  EXPECT_THAT(world.console().lines(), ElementsAre(kRevokedLine));
  advance(2);
  EXPECT_EQ(requestCount(), 2U);
  EXPECT_EQ(identity(), "quillard-old");
  EXPECT_THAT(world.console().lines(), ElementsAre(kRevokedLine)) << "Said once.";
  EXPECT_THAT(world.webSockets().connections(), IsEmpty());
}

TEST_F(RelaySessionTest, KeepsItsIdentityWhenTheRelayCallsThePairingRevokedAtTheSocket) {
  startAndPair();
  const auto before = identity();
  relay.revoke(before);
  advance(3600);
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_THAT(world.webSockets().connections(), SizeIs(2)) << "The one that was dropped, and the one that was refused.";
  EXPECT_TRUE(session->isPairingRevoked());
  EXPECT_FALSE(session->status().relayConnected);
  EXPECT_EQ(identity(), before);
  EXPECT_THAT(events, Not(testing::Contains("forgotten")));
}

TEST_F(RelaySessionTest, SaysThatTheRelayKnowsAnotherComputerByTheCode) {
  startAndPair();
  const auto before = identity();
  relay.answerRegistrationsWith(platform::HttpResponse{409});
  relay.loseDatabase();
  advance(10);
  EXPECT_TRUE(session->isPairingRevoked()) << "It is left alone as after a revocation,";
  EXPECT_TRUE(session->isOtherComputers()) << "but that it is none is said.";
  EXPECT_THAT(world.console().lines(),
              testing::Contains(testing::HasSubstr("another computer by this pairing's code")));
  EXPECT_THAT(world.console().lines(), Not(testing::Contains(kRevokedLine)));
  EXPECT_EQ(identity(), before);
  relay.answerRegistrationsWith(std::nullopt);
  advance(3600);
  EXPECT_FALSE(session->isOtherComputers());
  EXPECT_TRUE(session->status().relayConnected);
}

TEST_F(RelaySessionTest, ARelayThatTakesTheRevocationBackIsUsedAgain) {
  startAndPair();
  const auto before = identity();
  relay.revoke(before);
  advance(10);
  ASSERT_TRUE(session->isPairingRevoked());
  relay.unrevoke(before);
  advance(3600);
  EXPECT_FALSE(session->isPairingRevoked());
  EXPECT_TRUE(session->status().relayConnected);
  EXPECT_EQ(identity(), before);
}

TEST_F(RelaySessionTest, AnAskingThatFailsLeavesARevokedPairingUntilTheNextHour) {
  relay.revoke("quillard-old");
  world.userDefaults().set("quillard.per-install-pairing-id", std::string("quillard-old"));
  start();
  relay.answerRegistrationsWith(HttpResponse{503});
  advance(3601);
  EXPECT_EQ(requestCount(), 2U);
  advance(3500);
  EXPECT_EQ(requestCount(), 2U);
  EXPECT_TRUE(session->isPairingRevoked());
  relay.unrevoke("quillard-old");
  relay.answerRegistrationsWith(std::nullopt);
  advance(200);
  EXPECT_TRUE(session->status().relayConnected);
}

TEST_F(RelaySessionTest, AsksAgainAfterTheComputerSleptForAnHour) {
  startAndPair();
  relay.revoke(identity());
  advance(10);
  ASSERT_TRUE(session->isPairingRevoked());
  onMainThread([this] { session->askAgainIfDue(); });
  EXPECT_EQ(requestCount(), 1U) << "It is not due yet.";
  world.time().setWallClock(advanced(world.time().now(), Seconds{3600}));  // The timers stood still meanwhile.
  onMainThread([this] { session->askAgainIfDue(); });
  advance(0.1);
  EXPECT_EQ(requestCount(), 2U);
  onMainThread([this] { session->askAgainIfDue(); });
  advance(10);
  EXPECT_EQ(requestCount(), 2U) << "Once an hour.";
}

TEST_F(RelaySessionTest, PairingAnewEndsARevokedPairing) {
  startAndPair();
  const auto before = identity();
  relay.revoke(before);
  advance(10);
  ASSERT_TRUE(session->isPairingRevoked());
  unpair();
  advance(0.1);
  EXPECT_NE(identity(), before);
  EXPECT_FALSE(session->isPairingRevoked());
  EXPECT_TRUE(session->status().relayConnected);
  const auto requests = requestCount();
  advance(7200);
  EXPECT_EQ(requestCount(), requests) << "No request is about the old one any more.";
}

TEST_F(RelaySessionTest, ARefusalDuringAResetDoesNotStopIt) {
  startAndPair();
  const auto before = identity();
  world.webSockets().newest()->holdSends();
  unpair();
  advance(0.1);
  relay.revoke(before);  // As a relay does that was asked to unpair.
  advance(10);
  EXPECT_NE(identity(), before);
  EXPECT_FALSE(session->isPairingRevoked());
  EXPECT_TRUE(session->status().relayConnected);
}

TEST_F(RelaySessionTest, NothingIsAskedOnceItIsStoppedWhileThePairingIsRevoked) {
  startAndPair();
  relay.revoke(identity());
  advance(10);
  stop();
  advance(7200);
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
