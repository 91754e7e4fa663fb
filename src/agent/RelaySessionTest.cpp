#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/FallbackStatusSnapshot.h"
#include "agent/RelaySession.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/AgentWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::keptSecrets;
using samples::SimulatedPhone;
using samples::SimulatedRelay;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// A session with a relay and a phone, and nothing else of an agent.
struct RelaySessionTest : testing::Test {
  RelaySessionTest() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "quillard");
  }
  std::unique_ptr<RelaySession> makeSession() {
    return std::make_unique<RelaySession>(
        RelaySessionDependencies{pairing, world.time(), world.httpSessions(), world.webSockets(), world.time(),
                                 world.random(), world.console(), stampClock},
        RelaySessionCallbacks{
            .snapshotProvider = [this] { return snapshot; },
            .onApprovalRequest = [this](const auto& envelope) { events.push_back("decision " + envelope.decisionID); },
            .onSuppressionCommand = [this](const auto& command) { events.push_back(command.action); },
            .onStatusChange = [this] { events.emplace_back("status"); },
            .onPairingForgotten =
                [this] {
                  identityWhenForgotten = identity();
                  events.emplace_back("forgotten");
                },
            .onPairingRenewed =
                [this] {
                  identityWhenRenewed = identity();
                  events.emplace_back("renewed");
                },
            .onPairingEnding = [this](const auto& revocation) { toRevoke = revocation; }});
  }
  void onMainThread(const std::function<void()>& act) { world.time().runOnMainThread(act); }
  void start() {
    onMainThread([this] { session->startRelayIfConfigured(); });
    advance(0.1);
  }
  void startAndPair() {
    start();
    phone.pair();
    events.clear();
  }
  void publish(bool force) {
    onMainThread([this, force] { session->publishCurrentApprovalSnapshot(force); });
  }
  void unpair() {
    onMainThread([this] { session->unpairPhoneFromStatusWindow(); });
  }
  void stop() {
    bool isDone = false;
    onMainThread([&] {
      session->stop();
      isDone = true;
    });
    while (!isDone) advance(0.01);
  }
  void advance(double seconds) { world.advance(Seconds{seconds}); }
  [[nodiscard]] std::string identity() const {
    const auto secrets = keptSecrets(world);
    return secrets ? secrets->pairingID : "";
  }
  [[nodiscard]] std::size_t requestCount() { return world.httpSessions().requests().size(); }

  SimulatedWorld world{Seed{4}};
  SimulatedRelay relay{world};
  SimulatedPhone phone{world, relay};
  platform::simulated::SimulatedRandom epochs{Seed{77}};
  const StampClock stampClock{world.time(), epochs};
  PairingConfiguration pairing{pairingDependencies(world.platform())};
  ApprovalSnapshot snapshot{.accessibilityTrusted = true};
  std::vector<std::string> events;
  std::string identityWhenForgotten;
  std::string identityWhenRenewed;
  std::optional<UnsentRevocation> toRevoke;
  std::unique_ptr<RelaySession> session = makeSession();
};

// ---- The start

TEST_F(RelaySessionTest, RegistersConnectsAndSendsTheListAtOnce) {
  start();
  ASSERT_EQ(requestCount(), 1U);
  EXPECT_EQ(world.httpSessions().requests()[0].url,
            "https://relay.example/api/pairings/" + identity() + "/relay-token");
  ASSERT_THAT(world.webSockets().connections(), SizeIs(1));
  EXPECT_EQ(world.webSockets().newest()->request().url, "wss://relay.example/ws?role=mac&pairing=" + identity());
  EXPECT_THAT(relay.received(kMacSnapshotType), SizeIs(1)) << "Also when nothing is pending.";
  EXPECT_TRUE(session->status().relayConnected);
  EXPECT_THAT(world.console().lines(), ElementsAre("Quillard relay connected."));
}

TEST_F(RelaySessionTest, DoesNothingWithoutARelay) {
  world.environment().unset("QUILLARD_RELAY_URL");
  start();
  publish(/*force=*/true);
  advance(60);
  EXPECT_EQ(requestCount(), 0U);
  EXPECT_EQ(identity(), "") << "No identity is made.";
  EXPECT_THAT(world.console().lines(), IsEmpty());
}

TEST_F(RelaySessionTest, PrintsAnAddressThatItRefusesWithoutItsQuery) {
  world.environment().set("QUILLARD_RELAY_URL", "ws://relay.example/ws?token=canaryquery7f3a");
  start();
  advance(60);
  EXPECT_THAT(world.console().lines(), ElementsAre("Refusing insecure relay URL: ws://relay.example/ws"));
  EXPECT_EQ(requestCount(), 0U);
}

TEST_F(RelaySessionTest, PrintsNothingOfAnAddressThatIsNone) {
  world.environment().set("QUILLARD_RELAY_URL", "not an address");
  start();
  advance(60);
  EXPECT_THAT(world.console().lines(), IsEmpty());
  EXPECT_EQ(requestCount(), 0U);
}

TEST_F(RelaySessionTest, RegistersAgainEveryThreeSecondsAndPrintsWhy) {
  relay.answerRegistrationsWith(HttpResponse{500});
  start();
  advance(2.8);
  EXPECT_EQ(requestCount(), 1U);
  advance(0.2);
  EXPECT_EQ(requestCount(), 2U);
  EXPECT_THAT(world.console().lines(),
              testing::AllOf(SizeIs(2), testing::Each("Unable to register relay token: The relay rejected token "
                                                      "registration with HTTP 500.")));
  relay.answerRegistrationsWith(std::nullopt);
  advance(3);
  EXPECT_TRUE(session->status().relayConnected);
}

// ---- While it runs

TEST_F(RelaySessionTest, SendsAListOnceUnlessItIsForced) {
  startAndPair();
  snapshot.approvals = {samples::approval(1)};
  publish(/*force=*/false);
  publish(/*force=*/false);
  advance(0.1);
  EXPECT_THAT(phone.snapshots(), SizeIs(2)) << "The one at the start, and this.";
  publish(/*force=*/true);
  advance(0.1);
  EXPECT_THAT(phone.snapshots(), SizeIs(3));
  EXPECT_THAT(phone.shown(), SizeIs(1));
}

TEST_F(RelaySessionTest, PrintsOnceThatAListIsTooLong) {
  startAndPair();
  for (std::uint64_t i = 1; i <= 20; ++i) {
    auto approval = samples::approval(i);
    approval.messageLines = {std::string(60'000, 'x')};
    snapshot.approvals.push_back(approval);
  }
  const std::string line = "The list of approvals is too long for the relay: 20 shortened, 0 left out.";
  publish(/*force=*/true);
  publish(/*force=*/true);
  advance(0.1);
  EXPECT_THAT(world.console().lines(), ElementsAre("Quillard relay connected.", line));
  EXPECT_LT(phone.shown().at(0).messageLines.at(0).size(), 10'000U);
  const auto tooMuch = std::exchange(snapshot.approvals, {});
  publish(/*force=*/true);
  snapshot.approvals = tooMuch;
  publish(/*force=*/true);
  EXPECT_THAT(world.console().lines(), ElementsAre("Quillard relay connected.", line, line)) << "It had been whole.";
}

TEST_F(RelaySessionTest, OneHugeNewerPromptHidesNoOtherAndThePhoneLearnsThatOneIsMissing) {
  startAndPair();
  snapshot.approvals = {samples::approval(1), samples::approval(2)};
  for (std::uint64_t i = 3; i <= 22; ++i) {
    snapshot.approvals.push_back(samples::approval(i));
    snapshot.approvals.back().windowTitle = std::string(64'000, 'x');
  }
  publish(/*force=*/false);
  advance(0.1);
  ASSERT_GT(phone.shown().size(), 2U);
  EXPECT_EQ(phone.shown()[0], samples::approval(1));
  EXPECT_EQ(phone.shown()[1], samples::approval(2));
  const auto leftOut = phone.snapshots().back().marks.leftOut;
  EXPECT_EQ(leftOut, 22 - phone.shown().size());
  // One more of them does not change what is shown, but what is said of it.
  snapshot.approvals.push_back(snapshot.approvals.back());
  snapshot.approvals.back().id = samples::uuid(23);
  publish(/*force=*/false);
  advance(0.1);
  EXPECT_EQ(phone.snapshots().back().marks.leftOut, leftOut + 1);
}

TEST_F(RelaySessionTest, TellsAPhoneThatComesOnlineWhatTimeItIs) {
  startAndPair();
  snapshot.approvals = {samples::approval(1)};
  publish(/*force=*/false);
  advance(3600);
  phone.comeOnline();
  advance(0.1);
  EXPECT_THAT(relay.received(kMacClockType), SizeIs(1));
  const auto sealedAt = phone.snapshots().back().marks.clock;
  ASSERT_TRUE(sealedAt && phone.newestClock());
  EXPECT_EQ(phone.newestClock()->time - sealedAt->time, std::chrono::hours{1}) << "The list itself is an hour old.";
  phone.goOffline();
  advance(0.1);
  EXPECT_THAT(relay.received(kMacClockType), SizeIs(1));
}

TEST_F(RelaySessionTest, SendsTheListToAPhoneThatComesOnline) {
  startAndPair();
  const auto before = phone.snapshots().size();
  phone.comeOnline();
  advance(0.1);
  EXPECT_THAT(events, ElementsAre("status"));
  EXPECT_EQ(phone.snapshots().size(), before + 1);
  EXPECT_EQ(session->status().phones.at(0).deviceName, "Ann's phone");
  phone.goOffline();
  advance(0.1);
  EXPECT_EQ(phone.snapshots().size(), before + 1);
}

TEST_F(RelaySessionTest, ReportsDecisionsAndSuppressionsAndSendsResults) {
  startAndPair();
  const auto decision = *phone.decide(samples::uuid(1), "Erase");
  phone.suppress(samples::uuid(2));
  advance(0.1);
  EXPECT_THAT(events, testing::IsSupersetOf({"decision " + decision, std::string("suppress")}));
  onMainThread([&] {
    session->publishResult(decision, {.approvalID = samples::uuid(1), .buttonLabel = "Erase", .status = "accepted"});
  });
  advance(0.1);
  EXPECT_THAT(phone.answers(decision), ElementsAre("accepted"));
}

TEST(RelaySessionRules, ANewPhoneNeedsTheListAndANewConnectionAloneDoesNot) {
  const RelayConnectionStatus none{};
  const RelayConnectionStatus connected{.relayConnected = true};
  const RelayConnectionStatus phone{.relayConnected = true, .phoneConnected = true};
  EXPECT_FALSE(RelaySession::phoneNeedsSnapshot(none, connected));
  EXPECT_TRUE(RelaySession::phoneNeedsSnapshot(connected, phone));
  EXPECT_FALSE(RelaySession::phoneNeedsSnapshot(phone, phone));
  EXPECT_FALSE(RelaySession::phoneNeedsSnapshot(phone, connected)) << "No phone is there to be sent anything.";
  EXPECT_FALSE(RelaySession::phoneNeedsSnapshot({.phoneConnected = true}, phone)) << "Only the relay's part changed.";
}

TEST(RelaySessionRules, EachPartOfThePhonesCounts) {
  const RelayConnectionStatus connected{.relayConnected = true};
  EXPECT_TRUE(RelaySession::phoneNeedsSnapshot(connected, {.relayConnected = true, .phoneCount = 1}));
  const std::vector<RelayPhoneStatus> phones{{.deviceID = "1", .deviceName = "Ann's phone"}};
  EXPECT_TRUE(RelaySession::phoneNeedsSnapshot(connected, {.relayConnected = true, .phones = phones}));
  EXPECT_FALSE(
      RelaySession::phoneNeedsSnapshot(connected, {.relayConnected = false, .phoneCount = 1, .phones = phones}));
}

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

// ---- The end

TEST_F(RelaySessionTest, StoppingSendsACloseMessageAndEndsEverything) {
  startAndPair();
  const auto socket = world.webSockets().newest();
  stop();
  EXPECT_EQ(socket->sentCloseCode(), 1001);
  snapshot.approvals = {samples::approval(1)};
  publish(/*force=*/true);
  unpair();
  advance(60);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

TEST_F(RelaySessionTest, StoppingWaitsForTheCloseMessageForHalfASecondAtMost) {
  startAndPair();
  const auto before = world.time().monotonicNow();
  stop();
  EXPECT_LE(Seconds{world.time().monotonicNow() - before}.count(), 0.52);
}

TEST_F(RelaySessionTest, StoppingEndsARegistrationToo) {
  relay.answerRegistrationsWith(HttpResponse{500});
  start();
  stop();
  advance(60);
  EXPECT_EQ(requestCount(), 1U);
}

TEST_F(RelaySessionTest, StoppingEndsARegistrationThatIsNotAnsweredToo) {
  relay.goDown();
  start();
  stop();
  advance(60);
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_THAT(world.console().lines(), IsEmpty());
}

TEST_F(RelaySessionTest, AResetThatWasNotAnsweredBeforeTheStopKeepsTheIdentity) {
  startAndPair();
  const auto before = identity();
  world.webSockets().newest()->holdSends();
  unpair();
  stop();
  advance(60);
  EXPECT_EQ(identity(), before);
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(RelaySessionTest, NothingComesOfWhatIsUnderWayWhenItIsDestroyed) {
  startAndPair();
  world.webSockets().newest()->holdSends();
  unpair();
  phone.decide(samples::uuid(1), "Erase");
  session.reset();
  relay.dropConnections();
  advance(60);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
