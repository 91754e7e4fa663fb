#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "relay/PendingRevocations.h"
#include "relay/RelayAddress.h"
#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using platform::SecretPlace;
using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using samples::SimulatedPhone;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr SecretPlace kKeyrings[] = {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain};

// An agent whose first pairing has Ann's phone, and whose second one may get Ben's.
struct PhonePairingsTest : testing::Test {
  void launchWithAnn() {
    world.launchAndPair();
    world.phone.comeOnline("Ann");
    world.advance(1);
  }
  void offer() {
    world.onMainThread([](AppDelegate& agent) { agent.pairAnotherPhone(); });
    world.advance(1);
  }
  void pairBen() {
    offer();
    ben.pair(2);
    ben.comeOnline("Ben");
    world.advance(1);
  }
  void unpair(int pairing) {
    world.onMainThread([pairing](AppDelegate& agent) { agent.unpair(pairing); });
    world.advance(1);
  }
  void quit() {
    world.onMainThread([](AppDelegate& agent) { agent.applicationWillTerminate(); });
    world.destroyAgent();
  }
  void launch() {
    world.agent.reset();
    world.launch();
    world.advance(3);
  }
  void lockKeyring() {
    const platform::SecretStatus locked{platform::SecretStatusCode::interactionNotAllowed, "It is locked."};
    for (const auto place : kKeyrings) world.world.secretStore().fail(place, locked);
  }
  void unlockKeyring() {
    for (const auto place : kKeyrings) world.world.secretStore().recover(place);
  }
  void restart() {
    quit();
    launch();
  }
  std::vector<std::string> phones() {
    std::vector<std::string> lines;
    for (const auto& phone : world.status().phones) {
      lines.push_back(std::to_string(phone.pairing) + " " + phone.name + (phone.isConnected ? "" : " (away)"));
    }
    return lines;
  }
  [[nodiscard]] std::string pairingID(int number) const {
    const auto secrets = keptSecrets(world.world, number);
    return secrets ? secrets->pairingID : "";
  }
  // As this phone was told of it last. Absent: it was not.
  static std::optional<NewPhone> newPhone(SimulatedPhone& told, const std::string& name) {
    for (const auto& phone : told.newPhones()) {
      if (phone.name == name) return phone;
    }
    return std::nullopt;
  }
  // What the window shows: a code, the code that is offered, or none.
  std::string code() {
    const auto status = world.status();
    if (status.isPairingOffered) return status.offeredPairingImage ? "offered" : "broken";
    return status.isPairingCodeUsed ? "covered" : "first";
  }

  AgentWorld world;
  SimulatedPhone ben{world.world, world.relay};
};

// ---- One pairing a phone

TEST_F(PhonePairingsTest, EachPhoneHasAnIdentityOfItsOwn) {
  launchWithAnn();
  pairBen();
  const auto first = keptSecrets(world.world, 1);
  const auto second = keptSecrets(world.world, 2);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->pairingID, second->pairingID);
  EXPECT_NE(first->relayAuthToken, second->relayAuthToken);
  EXPECT_NE(first->e2eSecret, second->e2eSecret);
  EXPECT_THAT(phones(), ElementsAre("1 Ann", "2 Ben"));
}

TEST_F(PhonePairingsTest, AllAreShownThePromptAndOneAnswersIt) {
  launchWithAnn();
  pairBen();
  const auto dialog = world.desktop().open(erasePrompt());
  world.advance(3);
  ASSERT_THAT(world.phone.shownTitles(), ElementsAre("Erase disk?"));
  ASSERT_THAT(ben.shownTitles(), ElementsAre("Erase disk?"));
  const auto decision = ben.decide(ben.shown().front().id, "Cancel");
  ASSERT_TRUE(decision);
  world.advance(5);
  EXPECT_EQ(world.desktop().pressed(dialog), "Cancel");
  EXPECT_THAT(ben.answers(*decision), ElementsAre("accepted")) << "Answered on its own pairing,";
  EXPECT_THAT(world.phone.answers(*decision), ElementsAre("accepted")) << "and told on the other.";
  EXPECT_THAT(world.phone.shownTitles(), IsEmpty());
}

TEST_F(PhonePairingsTest, ARepeatedDecisionIsAnsweredOnItsOwnPairingAlone) {
  launchWithAnn();
  pairBen();
  world.desktop().open(erasePrompt());
  world.advance(3);
  const auto id = ben.shown().front().id;
  const auto box = ben.timedRequest("decision-1", id, "Cancel");
  EXPECT_TRUE(ben.deliver("decision-1", box));
  world.advance(5);
  EXPECT_TRUE(ben.deliver("decision-1", box));
  world.advance(1);
  EXPECT_THAT(ben.answers("decision-1"), ElementsAre("accepted", "accepted"));
  EXPECT_THAT(world.phone.answers("decision-1"), ElementsAre("accepted"));
}

TEST_F(PhonePairingsTest, APhoneCannotTakeTheNameOfAnothersDecision) {
  launchWithAnn();
  pairBen();
  const auto first = world.desktop().open(erasePrompt("Erase disk?"));
  world.advance(3);
  const auto prompt = world.phone.shown().front().id;
  EXPECT_TRUE(ben.send("decision-1", Uuid{}, "Erase")) << "Ben takes the name,";
  EXPECT_TRUE(world.phone.send("decision-1", prompt, "Cancel"));
  world.advance(5);
  EXPECT_EQ(world.desktop().pressed(first), "Cancel") << "and Ann's decision is carried out all the same.";
}

TEST_F(PhonePairingsTest, ComeBackAfterARestart) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  restart();
  EXPECT_THAT(phones(), ElementsAre("1 Ann (away)", "2 Ben (away)"));
  EXPECT_EQ(pairingID(2), identity);
  world.desktop().open(erasePrompt());
  world.advance(3);
  ben.comeOnline("Ben");
  world.advance(1);
  EXPECT_THAT(ben.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(phones(), ElementsAre("1 Ann (away)", "2 Ben"));
}

TEST_F(PhonePairingsTest, AreEightAtMost) {
  launchWithAnn();
  for (int number = 2; number <= PhonePairings::kMost; ++number) {
    offer();
    SimulatedPhone phone{world.world, world.relay};
    phone.pair(number);
    phone.comeOnline("Phone");
    world.advance(1);
  }
  EXPECT_THAT(phones(), SizeIs(8));
  offer();
  EXPECT_EQ(code(), "covered");
  EXPECT_FALSE(world.status().canPairAnother);
  unpair(5);
  EXPECT_TRUE(world.status().canPairAnother);
  offer();
  EXPECT_EQ(code(), "offered");
  EXPECT_NE(pairingID(5), "");
}

// ---- The code is for one phone and for now

TEST_F(PhonePairingsTest, TheFirstCodeIsCoveredOnceItHasAPhoneAndStaysSo) {
  world.launch();
  world.advance(3);
  EXPECT_EQ(code(), "first");
  world.phone.pair();
  world.phone.comeOnline("Ann");
  world.advance(1);
  EXPECT_EQ(code(), "covered");
  world.phone.goOffline();
  world.advance(1);
  EXPECT_EQ(code(), "covered");
  world.relay.goDown();
  restart();
  EXPECT_EQ(code(), "covered") << "Also while the relay is away.";
}

TEST_F(PhonePairingsTest, ANewCodeEndsWhenItsFirstPhoneHasJoined) {
  launchWithAnn();
  offer();
  EXPECT_EQ(code(), "offered");
  ben.pair(2);
  ben.comeOnline("Ben");
  world.advance(1);
  EXPECT_EQ(code(), "covered");
  world.advance(700);
  EXPECT_THAT(phones(), Contains("2 Ben")) << "The pairing stays.";
}

TEST_F(PhonePairingsTest, ANewCodeThatNobodyUsesEndsAfterTenMinutes) {
  launchWithAnn();
  offer();
  const auto identity = pairingID(2);
  world.advance(597);
  EXPECT_EQ(code(), "offered");
  world.advance(4);
  EXPECT_EQ(code(), "covered");
  EXPECT_EQ(pairingID(2), "");
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
}

TEST_F(PhonePairingsTest, ANewCodeIsTakenBackByWhoeverHidesIt) {
  launchWithAnn();
  offer();
  world.onMainThread([](AppDelegate& agent) { agent.cancelPairing(); });
  world.advance(1);
  EXPECT_EQ(code(), "covered");
  EXPECT_EQ(pairingID(2), "");
}

TEST_F(PhonePairingsTest, ANewCodeDoesNotOutliveTheRun) {
  launchWithAnn();
  offer();
  const auto identity = pairingID(2);
  restart();
  EXPECT_EQ(code(), "covered");
  EXPECT_EQ(pairingID(2), "");
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(identity));
}

TEST_F(PhonePairingsTest, TellsOfASecondPhoneOnACode) {
  launchWithAnn();
  const auto noticesBefore = world.world.userNotifications().posted().size();
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.advance(1);
  EXPECT_THAT(world.world.console().lines(), Contains(HasSubstr("Mallory has paired with the code of Ann")));
  ASSERT_GT(world.world.userNotifications().posted().size(), noticesBefore);
  EXPECT_THAT(world.world.userNotifications().posted().back().body, HasSubstr("Mallory has paired with the code"));
}

TEST_F(PhonePairingsTest, TellsTheOtherPhonesOfASecondPhoneOnACode) {
  launchWithAnn();
  pairBen();
  EXPECT_THAT(ben.newPhones(), IsEmpty());
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.advance(1);
  for (auto* told : {&ben, &world.phone}) {
    const auto mallory = newPhone(*told, "Mallory");
    ASSERT_TRUE(mallory);
    EXPECT_EQ(mallory->earlierName, "Ann");
    EXPECT_EQ(mallory->deviceID, "of-Mallory");
  }
}

TEST_F(PhonePairingsTest, APhoneThatComesLaterIsToldOfIt) {
  launchWithAnn();
  pairBen();
  ben.goOffline();
  world.advance(1);
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.advance(3600);
  ben.comeOnline("Ben");
  world.advance(1);
  EXPECT_TRUE(newPhone(ben, "Mallory"));
  world.advance(PhonePairings::kNewPhoneTime.count());
  ben.goOffline();
  ben.comeOnline("Ben");
  world.advance(1);
  EXPECT_THAT(ben.newPhones(), IsEmpty()) << "A day later nobody is told any more.";
}

TEST_F(PhonePairingsTest, APhoneHasASecondPhoneOnACodeRemoved) {
  launchWithAnn();
  pairBen();
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.advance(1);
  const auto first = pairingID(1);
  ASSERT_TRUE(ben.sendSuppression("removePhone", newPhone(ben, "Mallory").value().id));
  world.advance(3);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(first)) << "With Ann, who shares its secret.";
  EXPECT_THAT(phones(), ElementsAre("2 Ben"));
  EXPECT_THAT(world.world.console().lines(), Contains("A phone has had Mallory removed."));
  EXPECT_THAT(ben.newPhones(), IsEmpty()) << "and the others are told that it is gone.";
}

TEST_F(PhonePairingsTest, NoPhoneRemovesOneThatIsExpected) {
  launchWithAnn();
  pairBen();
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.advance(1);
  const auto mallory = newPhone(ben, "Mallory").value().id;
  EXPECT_TRUE(ben.sendSuppression("removePhone", Uuid{}));
  world.advance(3);
  EXPECT_THAT(world.relay.revokedByAgents(), IsEmpty());
  world.advance(PhonePairings::kNewPhoneTime.count());
  EXPECT_TRUE(ben.sendSuppression("removePhone", mallory));
  world.advance(3);
  EXPECT_THAT(world.relay.revokedByAgents(), IsEmpty()) << "Nor one that has been there for a day.";
}

TEST_F(PhonePairingsTest, PhonesOfOtherPairingsAreToldWhoDecided) {
  launchWithAnn();
  pairBen();
  world.desktop().open(erasePrompt());
  world.advance(3);
  const auto decision = ben.decide(ben.shown().front().id, "Cancel");
  world.advance(5);
  ASSERT_FALSE(world.phone.results().empty());
  EXPECT_EQ(world.phone.results().back().decisionID, decision);
  EXPECT_EQ(world.phone.results().back().command.decidedBy, "Ben");
  EXPECT_FALSE(ben.results().back().command.decidedBy) << "It knows that itself.";
}

TEST_F(PhonePairingsTest, OfSeveralWhoMayHaveDecidedNoneIsNamed) {
  launchWithAnn();
  pairBen();
  world.phone.comeOnlineTogether({"Ann", "Mallory"});
  world.desktop().open(erasePrompt());
  world.advance(3);
  ASSERT_TRUE(world.phone.decide(world.phone.shown().front().id, "Cancel"));
  world.advance(5);
  ASSERT_FALSE(ben.results().empty());
  EXPECT_FALSE(ben.results().back().command.decidedBy);
}

TEST_F(PhonePairingsTest, APhoneWhoseSecretsCannotBeReadIsListedAsSuch) {
  launchWithAnn();
  pairBen();
  auto& keychain = world.world.secretStore();
  const platform::SecretStatus locked{platform::SecretStatusCode::interactionNotAllowed, "It is locked."};
  quit();
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain})
    keychain.fail(place, locked);
  world.world.userDefaults().remove("quillard.installation-secrets-v1-2");
  launch();
  EXPECT_THAT(phones(), Contains("2 Ben (away)"));
  for (const auto& phone : world.status().phones) EXPECT_EQ(phone.isUnreadable, phone.pairing == 2) << phone.name;
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) keychain.recover(place);
  restart();
  for (const auto& phone : world.status().phones) EXPECT_FALSE(phone.isUnreadable) << phone.name;
}

TEST_F(PhonePairingsTest, TellsOfNobodyWhoIsTheFirst) {
  launchWithAnn();
  pairBen();
  EXPECT_THAT(world.world.console().lines(), Not(Contains(HasSubstr("has paired with the code"))));
}

TEST_F(PhonePairingsTest, TellsOfTheFirstGrantOfANewPhone) {
  launchWithAnn();
  pairBen();
  world.desktop().open(erasePrompt());
  world.advance(3);
  ASSERT_TRUE(ben.decide(ben.shown().front().id, "Erase"));
  world.advance(5);
  std::vector<std::string> told;
  for (const auto& note : world.world.userNotifications().posted()) told.push_back(note.body);
  EXPECT_THAT(told, Contains("Ben has answered a prompt for the first time."));
}

TEST_F(PhonePairingsTest, TellsOfTheFirstGrantOfAPhoneThatLeavesAfterTheTap) {
  launchWithAnn();
  pairBen();
  world.desktop().open(erasePrompt());
  world.advance(3);
  ASSERT_TRUE(ben.decide(ben.shown().front().id, "Erase"));
  ben.goOffline();
  world.advance(5);
  std::vector<std::string> told;
  for (const auto& note : world.world.userNotifications().posted()) told.push_back(note.body);
  EXPECT_THAT(told, Contains("Ben has answered a prompt for the first time."));
}

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

// ---- The window

TEST_F(PhonePairingsTest, TheWindowAsksBeforeItUnpairsOne) {
  launchWithAnn();
  pairBen();
  ben.goOffline();
  world.advance(3);
  auto& window = world.world.statusWindowViews().window();
  ASSERT_TRUE(window.click(phoneButton(1)));
  world.advance(1);
  EXPECT_THAT(window.menuTitles(), ElementsAre("Unpair Ben?", "", "Unpair", "Cancel"));
  EXPECT_THAT(phones(), SizeIs(2));
  ASSERT_TRUE(window.chooseMenuItem("Unpair"));
  world.advance(1);
  EXPECT_THAT(phones(), ElementsAre("1 Ann"));
}

TEST_F(PhonePairingsTest, TheWindowShowsAndHidesTheCodeOfAnotherPhone) {
  launchWithAnn();
  world.advance(3);
  auto& window = world.world.statusWindowViews().window();
  EXPECT_FALSE(window.content()->pairingImage) << "Covered.";
  ASSERT_TRUE(window.click(StatusWindowButton::pairAnother));
  world.advance(1);
  EXPECT_TRUE(window.content()->pairingImage);
  EXPECT_EQ(window.content()->pairAnotherButton->title, "Hide Code");
  ASSERT_TRUE(window.click(StatusWindowButton::pairAnother));
  world.advance(1);
  EXPECT_FALSE(window.content()->pairingImage);
}

TEST_F(PhonePairingsTest, PairingAnewLeavesTheOthers) {
  launchWithAnn();
  pairBen();
  const auto first = pairingID(1);
  const auto second = pairingID(2);
  world.relay.revoke(first);
  world.advance(10);
  auto& window = world.world.statusWindowViews().window();
  ASSERT_EQ(window.content()->unpairPhoneButton->title, "Pair Anew");
  ASSERT_TRUE(window.click(StatusWindowButton::unpairPhone));
  world.advance(3);
  EXPECT_NE(pairingID(1), first);
  EXPECT_EQ(pairingID(2), second);
  EXPECT_THAT(world.relay.revokedByAgents(), IsEmpty());
}

TEST_F(PhonePairingsTest, ShowAFurtherOneThatTheRelayRefuses) {
  launchWithAnn();
  pairBen();
  world.relay.revoke(pairingID(2));
  world.advance(10);
  const auto lines = world.status().phones;
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_FALSE(lines[0].isRefused);
  EXPECT_TRUE(lines[1].isRefused);
}

// ---- What is offered is new

TEST_F(PhonePairingsTest, ANewCodeIsNeverThatOfAnEarlierPairing) {
  launchWithAnn();
  pairBen();
  const auto identity = pairingID(2);
  quit();
  world.world.userDefaults().remove("quillard.further-pairings");  // The settings were lost, the keychain was not.
  launch();
  ASSERT_EQ(pairingID(2), identity);
  offer();
  EXPECT_EQ(code(), "offered");
  EXPECT_NE(pairingID(2), "");
  EXPECT_NE(pairingID(2), identity);
}

TEST_F(PhonePairingsTest, AnOfferThatNoRelayEverKnewLeavesNothingToBeTold) {
  launchWithAnn();
  world.relay.goDown();
  world.advance(1);
  offer();
  world.onMainThread([](AppDelegate& agent) { agent.cancelPairing(); });
  world.advance(1);
  EXPECT_EQ(pairingID(2), "");
  EXPECT_THAT(PendingRevocations(world.world.userDefaults()).all(), IsEmpty());
}

// ---- Who is the computer

TEST_F(PhonePairingsTest, ShowsAKeyToARelayThatWantsOne) {
  std::vector<std::string> shown;
  world.world.httpSessions().setServer([&](const platform::HttpRequest& request) -> platform::HttpOutcome {
    for (const auto& header : request.headers) {
      if (header.name == "quillard-computer-key") shown.push_back(header.value);
    }
    return HttpResponse{shown.size() == 1 ? 428 : 204};
  });
  world.launch();
  world.advance(3);
  ASSERT_GE(shown.size(), 2U);
  EXPECT_EQ(shown[0], "new");
  EXPECT_EQ(shown[1].size(), 64U);
  const auto kept = keptSecrets(world.world);
  ASSERT_TRUE(kept);
  EXPECT_FALSE(kept->computerKey.isEmpty());
  EXPECT_EQ(computerKeyFor(kept->computerKey, "wss://relay.example/ws").text(), shown[1]) << "The one of this relay.";
  EXPECT_NE(kept->computerKey.text(), shown[1]);
  EXPECT_NE(kept->relayAuthToken.text(), shown[1]);
}

TEST_F(PhonePairingsTest, MakesNoKeyForARelayThatWantsNone) {
  launchWithAnn();
  EXPECT_TRUE(keptSecrets(world.world)->computerKey.isEmpty());
}

}  // namespace
}  // namespace quillard
