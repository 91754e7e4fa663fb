#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "relay/PendingRevocations.h"
#include "relay/RelayAddress.h"
#include "support/PhonePairingsFixture.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using samples::erasePrompt;
using samples::keptSecrets;
using samples::SimulatedPhone;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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
