#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/PhonePairingsFixture.h"

// The code of a further phone: it is for one phone and for now, and who comes by it is told.
namespace quillard {
namespace {

using platform::SecretPlace;
using samples::erasePrompt;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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

}  // namespace
}  // namespace quillard
