#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::HttpResponse;
using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using testing::Contains;
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

TEST(AppDelegateRelay, RefusesAnAddressThatWouldTellTheNetwork) {
  RelayAgent agent;
  agent.world.environment().set("QUILLARD_RELAY_URL", "ws://relay.example/ws?token=canaryquery7f3a");
  agent.launch();
  agent.advance(60);
  EXPECT_THAT(agent.world.console().lines(), ElementsAre("Refusing insecure relay URL: ws://relay.example/ws"));
  EXPECT_EQ(agent.requestCount(), 0U);
  EXPECT_THAT(agent.world.webSockets().connections(), IsEmpty());
}

TEST(AppDelegateRelay, SaysNothingOfAnAddressThatIsNone) {
  RelayAgent agent;
  agent.world.environment().set("QUILLARD_RELAY_URL", "not an address");
  agent.launch();
  agent.advance(60);
  EXPECT_THAT(agent.world.console().lines(), IsEmpty());
  EXPECT_EQ(agent.requestCount(), 0U);
}

TEST(AppDelegateRelay, TriesToRegisterEveryThreeSecondsForEver) {
  RelayAgent agent;
  agent.relay.answerRegistrationsWith(HttpResponse{500});
  agent.launch();
  agent.advance(2.999);
  EXPECT_EQ(agent.requestCount(), 1U);
  agent.advance(0.002);
  EXPECT_EQ(agent.requestCount(), 2U);
  agent.advance(300);
  EXPECT_EQ(agent.requestCount(), 102U);
  EXPECT_THAT(
      agent.world.console().lines(),
      testing::AllOf(SizeIs(102), testing::Each("Unable to register relay token: The relay rejected token registration "
                                                "with HTTP 500.")));
  agent.relay.answerRegistrationsWith(std::nullopt);
  agent.advance(3);
  EXPECT_TRUE(agent.status().relayConnected);
}

TEST(AppDelegateRelay, QuittingEndsTheRegistration) {
  RelayAgent agent;
  agent.relay.answerRegistrationsWith(HttpResponse{500});
  agent.launch();
  agent.advance(4);
  agent.quit();
  agent.advance(60);
  EXPECT_EQ(agent.requestCount(), 2U);
}

TEST(AppDelegateRelay, QuittingWhileTheRelayThinksAboutTheTokenEndsItToo) {
  RelayAgent agent;
  agent.relay.goDown();
  agent.launch();
  agent.advance(4);
  agent.quit();
  agent.advance(60);
  EXPECT_EQ(agent.requestCount(), 1U);
  EXPECT_THAT(agent.world.console().lines(), IsEmpty());
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
  agent.advance(0.7);
  EXPECT_THAT(agent.phone.shown(), IsEmpty()) << "The first scan sees it, the second confirms it.";
  agent.advance(0.2);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
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

TEST(AppDelegateUnpairing, DuringTheRegistrationVoidsItsLaterSuccess) {
  RelayAgent agent;
  agent.relay.goDown();
  agent.launch();
  agent.advance(1);
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.unpair();
  agent.relay.comeUp();
  agent.advance(30);
  const auto after = keptSecrets(agent.world)->pairingID;
  EXPECT_NE(after, before);
  for (const auto& connection : agent.world.webSockets().connections()) {
    EXPECT_THAT(connection->request().url, HasSubstr("pairing=" + after));
  }
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

TEST(AppDelegateUnpairing, ASecondRequestMeanwhileIsTheSameRequest) {
  RelayAgent agent;
  agent.launchAndPair();
  agent.world.webSockets().newest()->holdSends();
  agent.unpair();
  agent.unpair();
  agent.advance(1);
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.world.webSockets().newest()->releaseSends();
  agent.advance(1);
  EXPECT_NE(keptSecrets(agent.world)->pairingID, before);
  EXPECT_EQ(agent.requestCount(), 2U) << "One registration for each identity.";
  agent.unpair();
  agent.advance(1);
  EXPECT_EQ(agent.requestCount(), 3U) << "It can be requested again afterwards.";
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

TEST(AppDelegateUnpairing, ARevokedPairingIsReplacedSilently) {
  RelayAgent agent;
  agent.launchAndPair();
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.quit();
  agent.relay.revoke(before);

  RelayAgent revoked;
  revoked.world.userDefaults().set("quillard.per-install-pairing-id", std::string("quillard-old"));
  revoked.relay.revoke("quillard-old");
  revoked.launch();
  revoked.advance(1);
  const auto requests = revoked.world.httpSessions().requests();
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_THAT(requests[0].url, HasSubstr("/quillard-old/"));
  EXPECT_THAT(requests[1].url, Not(HasSubstr("/quillard-old/")));
  EXPECT_TRUE(revoked.status().relayConnected);
  EXPECT_THAT(revoked.world.console().lines(), ElementsAre("Quillard relay connected."));
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
