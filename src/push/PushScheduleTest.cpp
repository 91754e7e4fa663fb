#include <string>

#include <gtest/gtest.h>

#include "push/PushSchedule.h"

namespace quillard {
namespace {

Uuid promptID(int number) {
  std::string text = "00000000-0000-4000-8000-000000000000";
  const auto digits = std::to_string(number);
  text.replace(text.size() - digits.size(), digits.size(), digits);
  return *Uuid::parse(text);
}

// A pairing with one phone, "A", that can be woken, in virtual time.
class PushScheduleTest : public testing::Test {
 protected:
  PushScheduleTest() { connect(); }

  void connect() {
    schedule.phonesAre(1, {}, now);
    subscribe("s1");
  }
  void subscribe(const std::string& subscriptionID, bool isRefused = false) {
    schedule.subscriptionsAre(
        1, {{.subscriptionID = subscriptionID, .command = {.deviceID = "A", .keyText = "key"}, .isRefused = isRefused}},
        now);
  }
  void awake() { schedule.phonesAre(1, {{.deviceID = "A"}}, now); }
  void asleep() { schedule.phonesAre(1, {{.deviceID = "A", .isAsleep = true}}, now); }
  void gone() { schedule.phonesAre(1, {}, now); }
  void wait(std::initializer_list<int> numbers) {
    std::vector<WaitingPrompt> prompts;
    for (const int number : numbers) prompts.push_back({.id = promptID(number)});
    schedule.promptsAre(prompts, now);
  }
  void pass(double seconds) { now = advanced(now, Seconds{seconds}); }
  // Which prompts the next push tells of: "1 2"; empty: there is none.
  std::string due() {
    const auto plans = schedule.takeDue(now);
    if (plans.empty()) return "";
    EXPECT_EQ(plans.size(), 1U);
    newest = plans.front();
    std::string told;
    for (const auto& id : newest.prompts) {
      for (int number = 1; number < 20; ++number) {
        if (id == promptID(number)) told += (told.empty() ? "" : " ") + std::to_string(number);
      }
    }
    return told;
  }
  void ended(PushStatus status, const std::string& reason = "") {
    schedule.pushEnded(1, {.pushID = newest.pushID, .deviceID = "A", .status = status, .reason = reason}, now, Date{});
  }

  Instant now{};
  PushSchedule schedule{"run"};
  PushPlan newest;
};

TEST_F(PushScheduleTest, WakesAPhoneThatIsNotThereForAPromptThatIsNew) {
  EXPECT_EQ(due(), "");
  wait({1});
  EXPECT_EQ(schedule.nextDue(now), now);
  EXPECT_EQ(due(), "1");
  EXPECT_EQ(newest.ttl, PushSchedule::kTtl);
  EXPECT_EQ(newest.subscriptionID, "s1");
  ended(PushStatus::accepted);
  pass(3600);
  wait({1});
  EXPECT_EQ(due(), "");
  EXPECT_EQ(schedule.nextDue(now), std::nullopt);
}

TEST_F(PushScheduleTest, LeavesAPhoneAloneThatShowsItsPage) {
  awake();
  wait({1});
  pass(100);
  EXPECT_EQ(due(), "");
  gone();
  pass(100);
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, WakesOneWhosePageIsHidden) {
  asleep();
  wait({1});
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, TellsWhatComesMeanwhileTogetherWithTheNextPush) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::accepted);
  wait({1, 2});
  pass(5);
  wait({1, 2, 3});
  pass(4.9);
  EXPECT_EQ(due(), "");
  pass(0.1);
  EXPECT_EQ(due(), "2 3");
  EXPECT_EQ(newest.waiting, 3U);
}

TEST_F(PushScheduleTest, TellsNothingOfWhatWasSettledMeanwhile) {
  wait({1});
  EXPECT_EQ(due(), "1");
  wait({1, 2});
  pass(5);
  wait({1});
  pass(5);
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, SendsNothingWhileAlertsAreOffAndWhatStillWaitsAfterwards) {
  schedule.setEnabled(false);
  wait({1, 2});
  EXPECT_EQ(due(), "");
  EXPECT_EQ(schedule.nextDue(now), std::nullopt);
  wait({2});
  schedule.setEnabled(true);
  EXPECT_EQ(due(), "2");
}

TEST_F(PushScheduleTest, WhileAlertsArePausedPhonesAreToldNothingAndAfterwardsWhatStillWaits) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::accepted);
  schedule.setPaused(true, now);
  wait({1, 2, 3});
  pass(100);
  EXPECT_EQ(due(), "");
  EXPECT_FALSE(schedule.isNobodyReached(now));
  wait({1, 3});
  schedule.setPaused(false, now);
  EXPECT_EQ(due(), "3");
}

TEST_F(PushScheduleTest, WhatCameRightBeforeThePageWasHiddenMayNotHaveBeenShown) {
  awake();
  wait({1});
  pass(20);
  wait({1, 2});
  pass(14.9);
  asleep();
  EXPECT_EQ(due(), "2");
}

TEST_F(PushScheduleTest, WhatCameWhileAPhoneWasGoneAndTheRelayHadNotNoticedIsTold) {
  awake();
  wait({1});
  pass(20);
  wait({1, 2});
  pass(60);
  gone();
  EXPECT_EQ(due(), "");  // It may be back in a second.
  EXPECT_EQ(schedule.nextDue(now), advanced(now, PushSchedule::kReturn));
  pass(5);
  EXPECT_EQ(due(), "2");
}

TEST_F(PushScheduleTest, APhoneThatOnlyLostItsConnectionIsNotWoken) {
  awake();
  gone();
  wait({1});
  pass(4.9);
  EXPECT_EQ(due(), "");
  awake();
  pass(10);
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, AfterTheRelayWasLostPhonesHaveTimeToComeBack) {
  awake();
  schedule.relayLost(1, now);
  wait({1});
  pass(3);
  connect();
  EXPECT_EQ(due(), "");
  pass(PushSchedule::kReturnWithRelay.count() - 3);
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, AfterTheRelayIsBackNothingIsSentBeforeItHasNamedTheSubscriptions) {
  schedule.relayLost(1, now);
  wait({1});
  pass(50);
  schedule.phonesAre(1, {}, now);
  EXPECT_EQ(due(), "");
  EXPECT_EQ(schedule.nextDue(now), std::nullopt);
  EXPECT_FALSE(schedule.takeTest({1, "A"}, now));
  EXPECT_EQ(schedule.subscriptionCount(), 0U);
  EXPECT_TRUE(schedule.isNobodyReached(now)) << "It may be gone.";
  subscribe("s1");
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, APauseAfterFailuresOutlastsAShortBreakOfTheRelay) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::refused, "subscribeAnew");
  schedule.relayLost(1, now);
  pass(100);
  connect();
  EXPECT_EQ(due(), "");
  pass(500);
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, APushWithoutAResultIsSentAgainAfterTheRelayWasLost) {
  wait({1});
  EXPECT_EQ(due(), "1");
  schedule.relayLost(1, now);
  pass(11);
  EXPECT_EQ(due(), "");
  connect();
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, WhatWasToldStaysToldWhenTheRelayComesBack) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::accepted);
  schedule.relayLost(1, now);
  pass(60);
  connect();
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, ASubscriptionThatIsGoneIsNotTriedAgainButANewOneIs) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::gone, "expired");
  pass(3600);
  EXPECT_EQ(due(), "");
  subscribe("s2");
  EXPECT_EQ(due(), "1");
  EXPECT_EQ(newest.subscriptionID, "s2");
}

TEST_F(PushScheduleTest, WhatPassesIsTriedAgainAfterPausesThatGrow) {
  wait({1});
  EXPECT_EQ(due(), "1");
  for (const double pause : {30.0, 60.0, 120.0, 240.0, 480.0, 600.0, 600.0}) {
    ended(PushStatus::refused, "tooMany");
    pass(pause - 0.1);
    EXPECT_EQ(due(), "") << pause;
    pass(0.1);
    EXPECT_EQ(due(), "1") << pause;
  }
  ended(PushStatus::accepted);
  wait({1, 2});
  pass(10);
  EXPECT_EQ(due(), "2");
}

TEST_F(PushScheduleTest, WhatWasRefusedForGoodWaitsLongerOrForANewSubscription) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::refused, "subscribeAnew");
  pass(599);
  EXPECT_EQ(due(), "");
  subscribe("s2");
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, AResultThatNeverComesIsAFailure) {
  wait({1});
  EXPECT_EQ(due(), "1");
  pass(PushSchedule::kResultTimeout.count());
  EXPECT_EQ(due(), "");
  pass(PushSchedule::kFirstPause.count());
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, PushesWithoutAResultKeepNothingNewWaiting) {
  for (std::size_t i = 0; i < PushSchedule::kMostUnderWay; ++i) {
    std::vector<WaitingPrompt> prompts;
    for (std::size_t number = 0; number <= i; ++number)
      prompts.push_back({.id = promptID(static_cast<int>(number) + 1)});
    schedule.promptsAre(prompts, now);
    EXPECT_EQ(due(), std::to_string(i + 1));
    pass(10);
  }
  EXPECT_EQ(due(), "");
  wait({1, 2, 3, 4, 5});
  EXPECT_EQ(schedule.nextDue(now), now);
  EXPECT_EQ(due(), "1 5") << "The oldest is given up, and told anew.";
  pass(60);
  EXPECT_EQ(due(), "") << "The others may still arrive.";
}

TEST_F(PushScheduleTest, WhatAPushThatWasReplacedToldGoesWithTheOneInItsPlace) {
  wait({1, 2});
  EXPECT_EQ(due(), "1 2");
  const auto replaced = newest;
  pass(10);
  wait({1, 2, 3, 4});
  EXPECT_EQ(due(), "3 4");
  schedule.pushEnded(1, {.pushID = replaced.pushID, .deviceID = "A", .status = PushStatus::replaced}, now, Date{});
  pass(10);
  EXPECT_EQ(due(), "");
  ended(PushStatus::unreachable, "tooLate");
  pass(PushSchedule::kFirstPause.count());
  EXPECT_EQ(due(), "1 2 3 4");
  ended(PushStatus::accepted);
  pass(10);
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, APushThatIsSaidToBeReplacedByNothingToldNothing) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::replaced);
  pass(10);
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, ATestThatFailsKeepsNoPromptWaiting) {
  for (const auto status : {PushStatus::refused, PushStatus::unreachable}) {
    const auto test = schedule.takeTest({1, "A"}, now);
    ASSERT_TRUE(test);
    schedule.pushEnded(1, {.pushID = test->pushID, .deviceID = "A", .status = status, .reason = "tooMany"}, now,
                       Date{});
    EXPECT_EQ(schedule.lastPushes(1).front().status, status);
    pass(10);
    wait({static_cast<int>(status) + 1});
    EXPECT_EQ(due(), std::to_string(static_cast<int>(status) + 1));
    ended(PushStatus::accepted);
    pass(10);
  }
}

TEST_F(PushScheduleTest, ATestThatArrivesEndsAPauseAfterFailures) {
  wait({1});
  EXPECT_EQ(due(), "1");
  ended(PushStatus::refused, "malformed");
  pass(10);
  const auto test = schedule.takeTest({1, "A"}, now);
  ASSERT_TRUE(test);
  EXPECT_EQ(due(), "");
  schedule.pushEnded(1, {.pushID = test->pushID, .deviceID = "A", .status = PushStatus::accepted}, now, Date{});
  pass(10);
  EXPECT_EQ(due(), "1");
}

TEST_F(PushScheduleTest, TestsWithoutAResultKeepNothingWaiting) {
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(schedule.takeTest({1, "A"}, now)) << i;
    pass(10);
  }
  wait({1});
  EXPECT_EQ(due(), "1");
  pass(PushSchedule::kResultTimeout.count());
  wait({1, 2});
  ended(PushStatus::accepted);
  EXPECT_EQ(due(), "2");
}

TEST_F(PushScheduleTest, IgnoresResultsThatItDidNotAskFor) {
  wait({1});
  EXPECT_EQ(due(), "1");
  schedule.pushEnded(1, {.pushID = "other", .deviceID = "A", .status = PushStatus::gone}, now, Date{});
  schedule.pushEnded(2, {.pushID = newest.pushID, .deviceID = "A", .status = PushStatus::gone}, now, Date{});
  EXPECT_EQ(schedule.subscriptionCount(), 1U);
}

TEST_F(PushScheduleTest, AQuestionIsToldForAsLongAsItWaits) {
  schedule.promptsAre({{.id = promptID(1), .endsAt = advanced(now, Seconds{90.5})}}, now);
  EXPECT_EQ(due(), "1");
  EXPECT_EQ(newest.ttl, Seconds{90});
  pass(20);
  schedule.promptsAre({{.id = promptID(2), .endsAt = advanced(now, Seconds{9.9})}}, now);
  EXPECT_EQ(due(), "");
}

TEST_F(PushScheduleTest, ATestGoesOutWhateverThePhoneDoesOnceInTenSeconds) {
  awake();
  const auto test = schedule.takeTest({1, "A"}, now);
  ASSERT_TRUE(test);
  EXPECT_TRUE(test->prompts.empty());
  EXPECT_FALSE(schedule.takeTest({1, "A"}, now));
  EXPECT_FALSE(schedule.takeTest({1, "B"}, now));
  schedule.pushEnded(1, {.pushID = test->pushID, .deviceID = "A", .status = PushStatus::accepted}, now, Date{});
  pass(10);
  EXPECT_TRUE(schedule.takeTest({1, "A"}, now));
  const auto last = schedule.lastPushes(1);
  ASSERT_EQ(last.size(), 1U);
  EXPECT_EQ(last.front().keyText, "key");
  EXPECT_EQ(last.front().acceptedAt, Date{});
}

TEST_F(PushScheduleTest, APairingThatIsGivenUpIsForgotten) {
  wait({1});
  schedule.forget(1);
  EXPECT_EQ(due(), "");
  EXPECT_EQ(schedule.subscriptionCount(), 0U);
}

TEST_F(PushScheduleTest, NobodyIsReachedWhenNoPhoneIsThereAndNoneCanBeWoken) {
  schedule.subscriptionsAre(1, {}, now);
  wait({1});
  pass(29.9);
  EXPECT_FALSE(schedule.isNobodyReached(now));
  pass(0.1);
  EXPECT_TRUE(schedule.isNobodyReached(now));
  awake();
  EXPECT_FALSE(schedule.isNobodyReached(now));
  pass(80);
  gone();
  pass(100);
  EXPECT_FALSE(schedule.isNobodyReached(now)) << "It was shown.";
}

TEST_F(PushScheduleTest, APromptIsKnownOnceAPushServiceHasTheWordAndAsLongAsItWaits) {
  wait({1});
  EXPECT_EQ(due(), "1");
  EXPECT_FALSE(schedule.isKnown(promptID(1))) << "It is under way.";
  ended(PushStatus::accepted);
  EXPECT_TRUE(schedule.isKnown(promptID(1)));
  EXPECT_FALSE(schedule.isKnown(promptID(2)));
  wait({});
  EXPECT_FALSE(schedule.isKnown(promptID(1)));
}

TEST_F(PushScheduleTest, NobodyIsReachedWhenThePushServiceDoesNotAnswer) {
  wait({1});
  EXPECT_EQ(due(), "1");
  pass(30);
  EXPECT_TRUE(schedule.isNobodyReached(now));
  ended(PushStatus::accepted);
  EXPECT_FALSE(schedule.isNobodyReached(now));
}

TEST_F(PushScheduleTest, APhoneThatShowedAPromptIsReachedThroughAShortBreakOfTheRelay) {
  schedule.subscriptionsAre(1, {}, now);
  awake();
  wait({1});
  pass(50);
  schedule.relayLost(1, now);
  EXPECT_FALSE(schedule.isNobodyReached(now));
  pass(3);
  schedule.phonesAre(1, {}, now);
  EXPECT_FALSE(schedule.isNobodyReached(now)) << "It has time to come back.";
  pass(PushSchedule::kReturnWithRelay.count() - 3);
  EXPECT_TRUE(schedule.isNobodyReached(now));
  awake();
  EXPECT_FALSE(schedule.isNobodyReached(now));
}

TEST_F(PushScheduleTest, ForgetsPhonesOfWhichNothingIsKnownWhereThereAreTooMany) {
  for (std::size_t i = 0; i < 3 * PushSchedule::kMostPhones; ++i) {
    schedule.phonesAre(2, {{.deviceID = std::to_string(i)}}, now);
  }
  wait({1});
  EXPECT_EQ(due(), "1");
}

}  // namespace
}  // namespace quillard
