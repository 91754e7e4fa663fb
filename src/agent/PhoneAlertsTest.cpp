#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/StrictBase64.h"
#include "questions/QuestionAsker.h"
#include "relay/PushMessages.h"
#include "relay/RelayCrypto.h"
#include "support/AgentWorld.h"

namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const std::string kPoint = "BCVxsr7N_eNgVRqvHtD0zTZsEc6-VV-JvLexhqUzORcxaOzi6-AYWXvTBHm4bjyPjs7Vd8pZGH6SRpkNtoIAiw4";

// An agent whose phone has handed over a subscription, as its relay says.
struct SleepyPhone : AgentWorld {
  SleepyPhone() {
    launchAndPair();
    subscribe();
  }

  void tell(const Json& json) {
    relay.agentOf(*samples::keptSecrets(world))->sendText(*jsonText(json));
    advance(0.1);
  }
  // `more`: what stands in the box besides, or instead.
  void subscribe(const Json& more = Json::object()) {
    Json inside{{"deviceID", "phone-1"}, {"p256dh", kPoint}, {"auth", "BTBZMqHH6r4Tts7J_aSIgg"}};
    inside.update(more);
    platform::simulated::SimulatedRandom random{platform::simulated::Seed{77}};
    const auto secrets = *samples::keptSecrets(world);
    const auto box = std::get<EncryptedRelayPayload>(RelayCrypto::seal(inside, secrets.e2eSecret, random));
    Json list = Json::array();
    list.push_back({{"deviceID", "phone-1"}, {"subscriptionID", "0a"}, {"encryptedSubscription", toJson(box)}});
    tell({{"type", "push.subscriptions"}, {"subscriptions", list}});
  }
  void fallAsleep() {
    const Json phone{{"deviceID", "phone-1"}, {"deviceName", "Ann's phone"}, {"connected", true}, {"asleep", true}};
    tell({{"type", "phone.status"}, {"phoneConnected", true}, {"phoneCount", 1}, {"phones", Json::array({phone})}});
  }
  void restart() {
    onMainThread([](AppDelegate& delegate) { delegate.applicationWillTerminate(); });
    destroyAgent();
    agent.reset();
    launch();
    advance(3);
  }
  // How many pushes came of a prompt that the sleeping phone has not been shown.
  std::size_t pushesOfAPrompt() {
    const auto before = pushes().size();
    fallAsleep();
    const auto window = desktop().open(erasePrompt());
    advance(12);
    desktop().close(window);
    advance(3);
    return pushes().size() - before;
  }
  void answerNewest(const std::string& status) {
    tell({{"type", "push.result"}, {"pushID", pushes().back()["pushID"]}, {"deviceID", "phone-1"}, {"status", status}});
  }
  [[nodiscard]] std::vector<Json> pushes() {
    std::vector<Json> all;
    for (const auto& text : relay.received("push.send")) all.push_back(std::get<Json>(parseStrictJson(text)));
    return all;
  }
};

TEST(PhoneAlerts, WakesAPhoneWhosePageIsHidden) {
  SleepyPhone agent;
  agent.fallAsleep();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(3);
  ASSERT_THAT(agent.pushes(), SizeIs(1));
  const auto push = agent.pushes().front();
  EXPECT_EQ(push["deviceID"], "phone-1");
  EXPECT_EQ(push["subscriptionID"], "0a");
  EXPECT_EQ(push["urgency"], "high");
  EXPECT_EQ(push["ttl"], 900);
  EXPECT_EQ(push["topic"].get<std::string>().size(), 32U);
  const auto body = base64Bytes(push["body"].get<std::string>());
  ASSERT_TRUE(body);
  EXPECT_GE(body->size(), 103U);
  EXPECT_LE(body->size(), 1900U + 103U);
}

TEST(PhoneAlerts, LeavesAPhoneAloneThatShowsItsPage) {
  SleepyPhone agent;
  (void)agent.desktop().open(erasePrompt());
  agent.advance(60);
  EXPECT_THAT(agent.pushes(), IsEmpty());
}

TEST(PhoneAlerts, WakesNobodyWhileAlertsArePausedAndTellsAfterwards) {
  SleepyPhone agent;
  agent.fallAsleep();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::indefinitely); });
  (void)agent.desktop().open(erasePrompt());
  agent.advance(30);
  EXPECT_THAT(agent.pushes(), IsEmpty());
  agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
  agent.advance(1);
  EXPECT_THAT(agent.pushes(), SizeIs(1));
}

TEST(PhoneAlerts, WakesNobodyWhoseUserHasSwitchedThatOff) {
  SleepyPhone agent;
  agent.world.environment().set("QUILLARD_PHONE_ALERTS", "0");
  agent.fallAsleep();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(20);
  EXPECT_THAT(agent.pushes(), IsEmpty());
}

TEST(PhoneAlerts, CountsThePhonesThatCanBeWoken) {
  SleepyPhone agent;
  EXPECT_EQ(agent.status().wakeablePhones, 1U);
  agent.world.environment().set("QUILLARD_PHONE_ALERTS", "0");
  EXPECT_EQ(agent.status().wakeablePhones, 0U);
}

// A phone that has just forbidden its lock screen to show texts is in no list of the old connection.
TEST(PhoneAlerts, UsesNoSubscriptionThatTheRelayHasNotNamedOnThisConnection) {
  SleepyPhone agent;
  agent.phone.goOffline();
  agent.advance(80);
  agent.relay.dropConnections();
  agent.advance(10);
  ASSERT_TRUE(agent.status().relayConnected);
  (void)agent.desktop().open(erasePrompt());
  agent.advance(60);
  EXPECT_THAT(agent.pushes(), IsEmpty());
  EXPECT_TRUE(agent.status().isNobodyReached);
  agent.subscribe();
  agent.advance(1);
  EXPECT_THAT(agent.pushes(), SizeIs(1));
}

TEST(PhoneAlerts, SaysLessWhereItsUserWantsThat) {
  SleepyPhone agent;
  agent.fallAsleep();
  (void)agent.desktop().open(erasePrompt(std::string(150, 'x')));
  agent.advance(3);
  const auto full = agent.pushes().back()["body"].get<std::string>().size();
  SleepyPhone terse;
  terse.world.environment().set("QUILLARD_PHONE_ALERT_TEXTS", "0");
  terse.fallAsleep();
  (void)terse.desktop().open(erasePrompt(std::string(150, 'x')));
  terse.advance(3);
  EXPECT_LT(terse.pushes().back()["body"].get<std::string>().size(), full);
}

TEST(PhoneAlerts, GoesByNoSubscriptionThatIsAnotherPhones) {
  SleepyPhone agent;
  agent.subscribe({{"deviceID", "phone-2"}});
  agent.fallAsleep();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_THAT(agent.pushes(), IsEmpty());
  EXPECT_THAT(agent.world.console().lines(), testing::Contains(HasSubstr("another one than in the box")));
}

// The relay plays again what a phone sealed earlier: other keys, or leave to show more.
TEST(PhoneAlerts, UsesNoSubscriptionThatIsOlderThanOneOfThatPhone) {
  SleepyPhone agent;
  agent.subscribe({{"sequence", 5}, {"shows", "computer"}});
  agent.subscribe({{"sequence", 4}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 0U);
  EXPECT_EQ(agent.status().wakeablePhones, 0U);
  EXPECT_THAT(agent.world.console().lines(), testing::Contains(HasSubstr("an earlier subscription")));
  agent.subscribe({{"sequence", 5}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U) << "The newest one may come any number of times.";
  agent.subscribe({{"sequence", 6}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U);
}

TEST(PhoneAlerts, TakesWhatOlderPagesSealUntilANewerOneHasSealed) {
  SleepyPhone agent;
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U);
  agent.subscribe({{"sequence", 1}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U);
  agent.subscribe();
  EXPECT_EQ(agent.pushesOfAPrompt(), 0U);
}

TEST(PhoneAlerts, KnowsAnOlderSubscriptionInItsNextRun) {
  SleepyPhone agent;
  agent.subscribe({{"sequence", 5}});
  agent.restart();
  agent.subscribe({{"sequence", 4}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 0U);
  agent.subscribe({{"sequence", 5}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U);
}

TEST(PhoneAlerts, ANewPairingBeginsToCountAnew) {
  SleepyPhone agent;
  agent.subscribe({{"sequence", 5}});
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpair(1); });
  agent.advance(5);
  agent.phone.pair();
  agent.phone.comeOnline();
  agent.advance(3);
  agent.subscribe({{"sequence", 4}});
  EXPECT_EQ(agent.pushesOfAPrompt(), 1U);
}

TEST(PhoneAlerts, SpeakTheLanguageOfThePhonesPage) {
  SleepyPhone agent;
  agent.subscribe({{"shows", "computer"}, {"language", "en-GB"}});
  ASSERT_EQ(agent.pushesOfAPrompt(), 1U);
  const auto english = agent.pushes().back()["body"].get<std::string>().size();
  agent.subscribe({{"shows", "computer"}, {"language", "de-DE"}});
  ASSERT_EQ(agent.pushesOfAPrompt(), 1U);
  EXPECT_NE(agent.pushes().back()["body"].get<std::string>().size(), english);
}

TEST(PhoneAlerts, SendsATestWhenThePhoneAsksAndSaysWhatBecameOfIt) {
  SleepyPhone agent;
  const auto secrets = *samples::keptSecrets(agent.world);
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{78}};
  const ApprovalSuppressionCommand command{
      .action = std::string(kTestPushAction), .suppressionID = Uuid{}, .deviceID = "phone-1"};
  const ApprovalSuppressionRelayMessage message{.decisionID = "test",
                                                .encryptedSuppression = std::get<EncryptedRelayPayload>(
                                                    RelayCrypto::seal(toJson(command), secrets.e2eSecret, random))};
  agent.tell(toJson(message));
  agent.advance(1);
  ASSERT_THAT(agent.pushes(), SizeIs(1));
  agent.answerNewest("accepted");
  agent.advance(1);
  const auto reports = agent.phone.meeting().pushes;
  ASSERT_THAT(reports, SizeIs(1));
  EXPECT_EQ(reports.front().keyText, kPoint);
  EXPECT_EQ(reports.front().status, "accepted");
  EXPECT_TRUE(reports.front().acceptedAt);
}

TEST(PhoneAlerts, SaysOnceWhenAPromptWaitsAndNobodyIsReached) {
  SleepyPhone agent;
  agent.phone.goOffline();
  agent.tell({{"type", "push.subscriptions"}, {"subscriptions", Json::array()}});
  (void)agent.desktop().open(erasePrompt("Erase one?"));
  (void)agent.desktop().open(erasePrompt("Erase two?"));
  agent.advance(25);
  EXPECT_FALSE(agent.status().isNobodyReached);
  agent.advance(60);
  EXPECT_TRUE(agent.status().isNobodyReached);
  const auto lines = agent.world.console().lines();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const auto& line) { return line.find("no phone was told") != std::string::npos; }),
            1);
  agent.phone.comeOnline();
  agent.advance(3);
  EXPECT_FALSE(agent.status().isNobodyReached);
}

TEST(PhoneAlerts, SomebodyIsReachedOnceAPushServiceHasTheWord) {
  SleepyPhone agent;
  agent.fallAsleep();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(3);
  ASSERT_THAT(agent.pushes(), SizeIs(1));
  agent.answerNewest("accepted");
  agent.advance(100);
  EXPECT_FALSE(agent.status().isNobodyReached);
  EXPECT_THAT(agent.pushes(), SizeIs(1));
}

TEST(PhoneAlerts, AProgramIsToldThatNobodyAnsweredWhereAPhoneWasWokenForItsQuestion) {
  SleepyPhone agent;
  agent.phone.goOffline();
  agent.advance(60);
  platform::simulated::SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(),
                                                     {.process = {.processIdentifier = 4242, .programName = "backup"}});
  std::vector<QuestionEnd> ends;
  const auto asks = [&](bool isWoken) {
    QuestionAsker asker({sockets, agent.world.time().mainThread(), agent.world.time()},
                        {.question = "Go on?", .buttons = {{"Yes"}}, .timeout = Seconds{60}},
                        {.take = [](const AskOutcome&) { return true; },
                         .onOutcome = [&](const AskOutcome& outcome) { ends.push_back(outcome.end); }});
    agent.advance(3);
    agent.answerNewest(isWoken ? "accepted" : "failed");
    agent.advance(62);
  };
  asks(/*isWoken=*/true);
  asks(/*isWoken=*/false);
  EXPECT_THAT(ends, ElementsAre(QuestionEnd::timedOut, QuestionEnd::noPhone));
}

}  // namespace
}  // namespace quillard
