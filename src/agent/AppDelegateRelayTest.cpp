#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

struct RelayAgent : AgentWorld {
  void unpair() {
    onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
  }
  [[nodiscard]] std::size_t requestCount() { return world.httpSessions().requests().size(); }
};

// ---- The start

TEST(AppDelegateRelay, RegistersConnectsAndTellsAtOnce) {
  RelayAgent agent;
  agent.launch();
  agent.advance(0.1);
  const auto secrets = keptSecrets(agent.world);
  ASSERT_TRUE(secrets);
  const auto requests = agent.world.httpSessions().requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].url, "https://relay.example/api/pairings/" + secrets->pairingID + "/relay-token");
  ASSERT_THAT(agent.world.webSockets().connections(), SizeIs(1));
  EXPECT_EQ(agent.world.webSockets().newest()->request().url,
            "wss://relay.example/ws?role=mac&pairing=" + secrets->pairingID);
  EXPECT_THAT(agent.relay.received(kMacSnapshotType), SizeIs(1)) << "Also when nothing waits.";
  EXPECT_TRUE(agent.status().relayConnected);
  EXPECT_THAT(agent.world.console().lines(), ElementsAre("Quillard relay connected."));
}

// ---- Phones that come and go

TEST(AppDelegateRelay, APhoneThatComesOnlineIsToldAtOnce) {
  RelayAgent agent;
  agent.launch();
  agent.advance(1);
  agent.phone.pair();
  const auto before = agent.phone.snapshots().size();
  agent.phone.comeOnline();
  agent.advance(0);
  EXPECT_EQ(agent.phone.snapshots().size(), before + 1);
  EXPECT_TRUE(agent.status().phoneConnected);
  EXPECT_EQ(agent.status().connectedPhones.at(0).deviceName, "Ann's phone");
  agent.phone.comeOnline();
  agent.advance(0);
  EXPECT_EQ(agent.phone.snapshots().size(), before + 1) << "The same phone again.";
  agent.phone.comeOnline("Ann's other phone");
  agent.advance(0);
  EXPECT_EQ(agent.phone.snapshots().size(), before + 2);
  agent.phone.goOffline();
  agent.advance(0);
  EXPECT_EQ(agent.phone.snapshots().size(), before + 2);
  EXPECT_FALSE(agent.status().phoneConnected);
}

TEST(AppDelegateRelay, ARequestTellsOfTheConnectionButForcesNoSnapshot) {
  RelayAgent agent;
  agent.launch();
  agent.advance(1);
  agent.phone.pair();
  const auto before = agent.phone.snapshots().size();
  agent.phone.decide(Uuid{}, "Allow");
  agent.advance(1);
  EXPECT_EQ(agent.phone.snapshots().size(), before);
}

TEST(AppDelegateRelay, ComesBackWhenTheRelayWasKilled) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  agent.relay.goDown();
  agent.advance(0.1);
  EXPECT_FALSE(agent.status().relayConnected);
  EXPECT_FALSE(agent.status().phoneConnected);
  agent.advance(30);
  agent.relay.comeUp();
  agent.advance(3.1);
  EXPECT_TRUE(agent.status().relayConnected);
  agent.phone.comeOnline();
  agent.advance(0);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

// ---- Muting

TEST(AppDelegateRelay, MutesAKindOfPromptAndShowsItAgain) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  const auto muted = agent.phone.shown().at(0).suppressionID;
  EXPECT_TRUE(agent.phone.suppress(muted));
  agent.advance(0.01);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_FALSE(agent.menuBarShowsPending());
  agent.advance(700);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_TRUE(agent.phone.unsuppress(muted));
  agent.advance(1.2);
  EXPECT_THAT(agent.phone.shown(), IsEmpty()) << "The first scan sees it, the second look confirms it.";
  agent.advance(0.2);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST(AppDelegateRelay, ForgetsAtItsStartWhatEarlierRunsMuted) {
  RelayAgent agent;
  const std::vector<std::string> earlier{samples::uuid(1).text()};
  agent.world.userDefaults().set(ApprovalSuppressionStore::key, earlier);
  agent.construct();
  EXPECT_EQ(agent.world.userDefaults().object(ApprovalSuppressionStore::key), platform::UserDefaultsValue{earlier})
      << "Not before it knows that it is the agent of this session.";
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_TRUE(agent.phone.suppress(agent.phone.shown().at(0).suppressionID));
  agent.advance(1);
  EXPECT_EQ(
      std::get<std::vector<std::string>>(*agent.world.userDefaults().object(ApprovalSuppressionStore::key)).size(), 1U)
      << "What this run muted.";
}

TEST(AppDelegateRelay, IgnoresActionsThatItDoesNotKnow) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_TRUE(agent.phone.sendSuppression("Suppress", agent.phone.shown().at(0).suppressionID));
  agent.advance(1);
  EXPECT_THAT(agent.phone.shown(), SizeIs(1));
}

// ---- The reset of the pairing

TEST(AppDelegateUnpairing, GivesTheInstallationANewIdentity) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  const auto before = *keptSecrets(agent.world);
  const auto image = agent.status().pairingImage;
  const auto socket = agent.world.webSockets().newest();
  agent.unpair();
  agent.advance(0.1);
  EXPECT_THAT(agent.relay.received(kUnpairPhoneType), ElementsAre(Not(HasSubstr("deviceID"))));
  EXPECT_EQ(socket->sentCloseCode(), 1001);
  const auto after = *keptSecrets(agent.world);
  EXPECT_NE(after.pairingID, before.pairingID);
  EXPECT_FALSE(after.relayAuthToken == before.relayAuthToken);
  EXPECT_FALSE(after.e2eSecret == before.e2eSecret);
  EXPECT_TRUE(agent.status().relayConnected);
  EXPECT_FALSE(agent.status().phoneConnected);
  EXPECT_FALSE(agent.status().pairingImage == image);

  // What the old phone has is worth nothing.
  EXPECT_EQ(agent.phone.decide(agent.phone.shown().at(0).id, "Erase"), std::nullopt);
  agent.phone.pair();
  agent.phone.comeOnline();
  agent.advance(0);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST(AppDelegateUnpairing, WorksWithoutAConnectionToo) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.relay.goDown();
  agent.advance(1);
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.unpair();
  agent.advance(0);
  EXPECT_NE(keptSecrets(agent.world)->pairingID, before);
  EXPECT_THAT(agent.relay.received(kUnpairPhoneType), IsEmpty());
  agent.relay.comeUp();
  agent.advance(20);
  EXPECT_TRUE(agent.status().relayConnected);
}

TEST(AppDelegateUnpairing, DuringTheWaitBetweenRegistrationsEndsTheStaleLoop) {
  RelayAgent agent;
  agent.relay.answerRegistrationsWith(HttpResponse{500});
  agent.launch();
  agent.advance(1);
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.relay.answerRegistrationsWith(std::nullopt);
  agent.unpair();
  agent.advance(30);
  const auto requests = agent.world.httpSessions().requests();
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_THAT(requests[1].url, Not(HasSubstr(before)));
  EXPECT_THAT(agent.world.webSockets().connections(), SizeIs(1));
}

TEST(AppDelegateUnpairing, ItsRelayDyingMeanwhileDoesNotStopIt) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.world.webSockets().newest()->holdSends();
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.unpair();
  agent.advance(1);
  EXPECT_EQ(keptSecrets(agent.world)->pairingID, before);
  agent.relay.dropConnections();
  agent.advance(1);
  EXPECT_NE(keptSecrets(agent.world)->pairingID, before);
}

TEST(AppDelegateUnpairing, QuittingBeforeTheRelayAnsweredKeepsTheIdentity) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.world.webSockets().newest()->holdSends();
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.unpair();
  agent.quit();
  agent.advance(60);
  EXPECT_EQ(keptSecrets(agent.world)->pairingID, before);
}

}  // namespace
}  // namespace quillard
