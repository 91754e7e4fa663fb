#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "relay/PendingRevocations.h"
#include "support/PhonePairingsFixture.h"

// Taking a pairing back, with a relay that is there and with one that is not.
namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using samples::SimulatedPhone;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// ---- Taking one back

TEST_F(PhonePairingsTest, UnpairsOneAndLeavesTheOthers) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  const auto ann = pairingID(1);
  unpair(2);
  EXPECT_THAT(phones(), ElementsAre("1 Ann"));
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  EXPECT_EQ(pairingID(2), "") << "Its secrets are gone.";
  EXPECT_EQ(pairingID(1), ann);
  world.desktop().open(erasePrompt());
  world.advance(3);
  EXPECT_THAT(world.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(ben.shownTitles(), IsEmpty());
}

TEST_F(PhonePairingsTest, UnpairsAPhoneWhosePageIsClosed) {
  launchWithAnn();
  pairBen();
  ben.goOffline();
  world.advance(1);
  const auto identity = pairingID(2);
  unpair(2);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  EXPECT_THAT(phones(), ElementsAre("1 Ann"));
}

TEST_F(PhonePairingsTest, ADecisionOfAnUnpairedPhoneThatWaitsIsDropped) {
  launchWithAnn();
  pairBen();
  const auto dialog = world.desktop().open(erasePrompt());
  world.advance(3);
  const auto prompt = ben.shown().front().id;
  world.onMainThread([&](AppDelegate& agent) {
    (void)ben.decide(prompt, "Erase");
    agent.unpair(2);
  });
  world.advance(10);
  EXPECT_NE(world.desktop().pressed(dialog), "Erase");
}

TEST_F(PhonePairingsTest, MakesUpForARevocationThatTheRelayMissed) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.goDown();
  world.advance(1);
  unpair(2);
  EXPECT_EQ(pairingID(2), "");
  EXPECT_THAT(phones(), ElementsAre("1 Ann (away)"));
  world.relay.comeUp();
  world.advance(130);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  world.advance(7200);
  EXPECT_THAT(world.relay.revokedByAgents(), SizeIs(1)) << "Once.";
}

TEST_F(PhonePairingsTest, MakesUpForItInTheNextRun) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.goDown();
  unpair(2);
  quit();
  world.relay.comeUp();
  launch();
  world.advance(2);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  world.advance(100);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, AlsoForTheFirstPairing) {
  launchWithAnn();
  const auto identity = pairingID(1);
  world.relay.goDown();
  world.advance(1);
  world.onMainThread([](AppDelegate& agent) { agent.unpairPhoneFromStatusWindow(); });
  world.relay.comeUp();
  world.advance(130);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
}

TEST_F(PhonePairingsTest, KeepsARevocationUntilTheRelayIsKnownToKnow) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.loseWhatIsSent();  // The link has just gone, and the system has not noticed.
  unpair(2);
  EXPECT_THAT(world.relay.revokedByAgents(), IsEmpty());
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), SizeIs(1));
  world.advance(130);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, AlsoWhereItIsLostAgain) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.loseWhatIsSent();
  unpair(2);
  world.advance(5);
  world.relay.loseWhatIsSent();
  world.advance(10);
  EXPECT_THAT(world.relay.revokedByAgents(), IsEmpty());
  world.advance(300);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, NothingIsLeftToBeToldARelayThatHeardIt) {
  launchWithAnn();
  pairBen();
  unpair(2);
  unpair(1);
  world.advance(10);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
  EXPECT_THAT(world.relay.revokedByAgents(), SizeIs(2));
}

TEST_F(PhonePairingsTest, APhoneThatIsInNoListIsTakenBackAlsoWhileTheRelayIsAway) {
  launchWithAnn();
  const auto identity = pairingID(1);
  quit();
  world.world.userDefaults().remove("quillard.paired-phones");  // As of a build that kept no list.
  world.relay.goDown();
  launch();
  world.onMainThread([](AppDelegate& agent) { agent.unpairPhoneFromStatusWindow(); });
  world.advance(3);
  EXPECT_NE(pairingID(1), identity);
  const auto pending = PendingRevocations(world.world.userDefaults()).all();
  ASSERT_THAT(pending, SizeIs(1));
  EXPECT_FALSE(pending[0].isOffer) << "It is not the first to go where there are too many.";
  world.relay.comeUp();
  world.advance(130);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
}

TEST_F(PhonePairingsTest, AnIdentityOfThisRunThatNoRelayKnowsLeavesNothingToBeTold) {
  world.relay.goDown();
  launch();
  const auto identity = pairingID(1);
  ASSERT_NE(identity, "");
  unpair(1);
  EXPECT_NE(pairingID(1), identity);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, AsksAgainWhereTheRelayDoesNotKnowThePairingAtThatMoment) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.goDown();
  world.advance(1);
  unpair(2);
  world.relay.answerSocketsWith(401);  // A database of last week, until the right one is back.
  world.relay.comeUp();
  world.advance(3600);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), SizeIs(1));
  world.relay.answerSocketsWith(std::nullopt);
  world.advance(600);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
  world.advance(3700);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, BelievesARelayThatDoesNotKnowThePairingForHours) {
  launchWithAnn();
  pairBen();
  world.relay.goDown();
  world.advance(1);
  unpair(2);
  world.relay.answerSocketsWith(401);
  world.relay.comeUp();
  world.advance(3.5 * 3600);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, AsksARelayThatIsGoneNoLongerThanForMonths) {
  launchWithAnn();
  pairBen();
  world.relay.goDown();
  world.advance(1);
  unpair(2);
  auto pending = PendingRevocations(world.world.userDefaults());
  world.advance(1000);
  auto kept = pending.all();
  ASSERT_THAT(kept, SizeIs(1));
  EXPECT_EQ(kept[0].attempts, 4U);
  kept[0].attempts = PendingRevocations::kMostAttempts - 1;
  pending.add(kept[0]);
  world.advance(1000);
  EXPECT_THAT(pending.all(), IsEmpty());
}

// ---- While the relay does not take the request

TEST_F(PhonePairingsTest, AnUnpairedPhoneHasNoSayWhileTheRelayDoesNotTakeTheRequest) {
  launchWithAnn();
  const auto dialog = world.desktop().open(erasePrompt());
  world.advance(3);
  const auto prompt = world.phone.shown().front();
  world.world.webSockets().newest()->holdSends();
  world.onMainThread([](AppDelegate& agent) { agent.unpair(1); });
  EXPECT_TRUE(world.phone.suppress(prompt.suppressionID));
  EXPECT_TRUE(world.phone.decide(prompt.id, "Erase"));
  world.advance(10);
  EXPECT_EQ(world.desktop().pressed(dialog), std::nullopt);
  EXPECT_TRUE(world.menuBarShowsPending()) << "It was not muted either.";
}

TEST_F(PhonePairingsTest, WhatAnUnpairedPhoneDecidedBeforeIsDroppedWhileTheRelayDoesNotTakeTheRequest) {
  launchWithAnn();
  pairBen();
  const auto dialog = world.desktop().open(erasePrompt());
  world.advance(3);
  const auto prompt = ben.shown().front().id;
  world.world.webSockets().newest()->holdSends();
  world.onMainThread([&](AppDelegate&) { EXPECT_TRUE(ben.decide(prompt, "Erase")); });
  world.onMainThread([&](AppDelegate& agent) { agent.unpair(2); });
  world.advance(10);
  EXPECT_EQ(world.desktop().pressed(dialog), std::nullopt);
}

TEST_F(PhonePairingsTest, AnUnpairedPhoneIsShownNothingNew) {
  launchWithAnn();
  const auto socket = world.world.webSockets().newest();
  socket->holdSends();
  world.onMainThread([](AppDelegate& agent) { agent.unpair(1); });
  world.advance(0.1);
  world.desktop().open(erasePrompt());
  world.advance(1.9 - 0.1);
  socket->releaseSends();
  world.advance(3);
  EXPECT_THAT(world.phone.shownTitles(), IsEmpty());
}

TEST_F(PhonePairingsTest, UnpairingWaitsTwoSecondsForTheRelayAtMost) {
  launchWithAnn();
  pairBen();
  const auto first = pairingID(1);
  const auto second = pairingID(2);
  for (const auto& conversation : world.relay.conversations()) conversation.socket->holdSends();
  world.onMainThread([](AppDelegate& agent) { agent.unpairPhoneFromStatusWindow(); });
  world.advance(1.9);
  EXPECT_EQ(pairingID(1), first);
  world.advance(0.2);
  EXPECT_NE(pairingID(1), first);
  EXPECT_EQ(pairingID(2), "");
  world.advance(300);
  EXPECT_THAT(world.relay.revokedByAgents(), testing::UnorderedElementsAre(first, second));
}

TEST_F(PhonePairingsTest, QuittingWhileTheRelayDoesNotTakeTheRequestBringsNothingBack) {
  launchWithAnn();
  const auto identity = pairingID(1);
  world.world.webSockets().newest()->holdSends();
  world.onMainThread([](AppDelegate& agent) { agent.unpair(1); });
  quit();
  launch();
  EXPECT_NE(pairingID(1), "");
  EXPECT_NE(pairingID(1), identity);
  EXPECT_THAT(phones(), IsEmpty());
  EXPECT_EQ(code(), "first");
  world.advance(130);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
}

TEST_F(PhonePairingsTest, ARelayThatCallsItRevokedHasNothingToBeToldAnyMore) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  world.relay.goDown();
  unpair(2);
  world.relay.revoke(identity);
  world.relay.comeUp();
  world.advance(130);
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

TEST_F(PhonePairingsTest, NeverComesBackFromAKeyringThatWasLocked) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  lockKeyring();
  unpair(2);
  restart();
  unlockKeyring();
  restart();
  EXPECT_THAT(phones(), Not(Contains(HasSubstr("Ben"))));
  offer();
  EXPECT_NE(pairingID(2), identity) << "Not even where it takes the same place.";
  EXPECT_NE(pairingID(2), "");
}

TEST_F(PhonePairingsTest, WhatALockedKeyringKeptOfAnUnpairedPhoneGoesAtTheNextStart) {
  launchWithAnn();
  pairBen();
  lockKeyring();
  unpair(2);
  world.advance(3);
  EXPECT_NE(pairingID(2), "") << "It could not be deleted.";
  quit();
  unlockKeyring();
  launch();
  EXPECT_EQ(pairingID(2), "");
  EXPECT_NE(pairingID(1), "");
  EXPECT_THAT(phones(), ElementsAre("1 Ann (away)"));
}

TEST_F(PhonePairingsTest, WhatAKilledRunBeganToUnpairIsEndedWithoutARelayToo) {
  launchWithAnn();
  pairBen();
  quit();
  world.world.userDefaults().set("quillard.further-pairings", std::vector<std::string>{"2!"});
  world.world.environment().unset("QUILLARD_RELAY_URL");
  launch();
  EXPECT_EQ(pairingID(2), "");
  EXPECT_THAT(world.world.userDefaults().keys(), Not(Contains(HasSubstr("secrets-v1-2"))));
  EXPECT_THAT(world.world.userDefaults().keys(), Not(Contains("quillard.further-pairings")));
}

TEST_F(PhonePairingsTest, AKillAtTheStartLosesNoPairingAndBringsNoneBack) {
  for (const char* const ended : {"2?", "2!"}) {
    for (std::size_t changes = 0; changes < 8; ++changes) {
      SCOPED_TRACE(ended + std::string(" killed after changes: ") + std::to_string(changes));
      AgentWorld killed;
      killed.launchAndPair();
      for (int number = 2; number <= 4; ++number) {
        killed.onMainThread([](AppDelegate& agent) { agent.pairAnotherPhone(); });
        killed.advance(1);
        SimulatedPhone phone{killed.world, killed.relay};
        phone.pair(number);
        phone.comeOnline("Phone " + std::to_string(number));
        killed.advance(1);
      }
      killed.onMainThread([](AppDelegate& agent) { agent.applicationWillTerminate(); });
      killed.destroyAgent();
      auto& settings = killed.world.userDefaults();
      settings.set("quillard.further-pairings", std::vector<std::string>{ended, "3", "4"});
      settings.loseChangesAfter(changes);
      killed.launch();
      killed.destroyAgent();
      const bool hasLost = settings.keepChanges();
      EXPECT_TRUE(hasLost || changes > 0);
      killed.launch();
      killed.advance(3);
      std::vector<int> listed;
      for (const auto& phone : killed.status().phones) listed.push_back(phone.pairing);
      EXPECT_THAT(listed, ElementsAre(1, 3, 4));
    }
  }
}

TEST_F(PhonePairingsTest, UnpairingAllEndsFurtherPairingsAndReplacesTheFirst) {
  launchWithAnn();
  pairBen();
  const auto first = pairingID(1);
  const auto second = pairingID(2);
  world.onMainThread([](AppDelegate& agent) { agent.unpairPhoneFromStatusWindow(); });
  world.advance(3);
  EXPECT_THAT(world.relay.revokedByAgents(), testing::UnorderedElementsAre(first, second));
  EXPECT_THAT(phones(), IsEmpty());
  EXPECT_NE(pairingID(1), first);
  EXPECT_EQ(pairingID(2), "");
  EXPECT_EQ(code(), "first");
}

}  // namespace
}  // namespace quillard
