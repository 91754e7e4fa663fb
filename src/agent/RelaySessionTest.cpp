#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/RelaySessionFixture.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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
