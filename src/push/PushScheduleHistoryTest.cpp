#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "push/PushSchedule.h"

// 10,000 things that happen in any order, against what a person would say must come of them.
namespace quillard {
namespace {

constexpr int kEvents = 10'000;
constexpr int kPhones = 3;

class History {
 public:
  explicit History(unsigned seed) : dice(seed) {}

  void run() {
    for (int i = 0; i < kEvents && !testing::Test::HasFailure(); ++i) {
      happen();
      send();
      check();
    }
    settleDown();
  }

 private:
  struct Phone {
    bool isConnected = false;
    bool isAsleep = false;
    std::string subscription;  // Empty: none.
    bool isNamed = false;      // On this connection.
    std::optional<Instant> lastPush;
    std::set<Uuid> accepted;  // Told, by a result.
    std::set<Uuid> shown;     // While its page was there.
    std::map<std::string, std::vector<Uuid>> underWay;
  };

  int roll(int sides) { return static_cast<int>(dice() % static_cast<unsigned>(sides)); }
  Phone& phone(int number) { return phones[static_cast<std::size_t>(number)]; }
  static std::string name(int number) { return std::string(1, static_cast<char>('A' + number)); }

  void happen() {
    now = advanced(now, Seconds{roll(400) / 100.0});
    switch (roll(12)) {
      case 0:
      case 1:
        return appear();
      case 2:
        return settle();
      case 3:
        return changePresence();
      case 4:
        return changeSubscription();
      case 5:
        return loseRelay();
      case 6:
        return pause();
      default:
        return answer();
    }
  }

  void appear() {
    if (waiting.size() > 12) return settle();
    std::array<std::uint8_t, 16> bytes{};
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(roll(256));
    waiting.push_back(Uuid{bytes});
    tellPrompts();
  }
  void settle() {
    if (waiting.empty()) return;
    waiting.erase(waiting.begin() + roll(static_cast<int>(waiting.size())));
    tellPrompts();
  }
  void pause() {
    isPaused = !isPaused;
    schedule.setPaused(isPaused, now);
    noteShown();
  }
  void tellPrompts() {
    std::vector<WaitingPrompt> prompts;
    for (const auto& id : waiting) prompts.push_back({.id = id});
    schedule.promptsAre(prompts, now);
    noteShown();
  }
  void noteShown() {
    for (auto& one : phones) {
      if (isPaused || !one.isConnected || one.isAsleep || !isRelayConnected) continue;
      one.shown.insert(waiting.begin(), waiting.end());
    }
  }

  void tellPhones() {
    std::vector<PushSchedule::Presence> present;
    for (int i = 0; i < kPhones; ++i) {
      if (phone(i).isConnected) present.push_back({.deviceID = name(i), .isAsleep = phone(i).isAsleep});
    }
    schedule.phonesAre(1, present, now);
    noteShown();
  }
  void tellSubscriptions() {
    std::vector<PhoneSubscription> subscriptions;
    for (int i = 0; i < kPhones; ++i) {
      phone(i).isNamed = !phone(i).subscription.empty();
      if (!phone(i).isNamed) continue;
      subscriptions.push_back(
          {.subscriptionID = phone(i).subscription, .command = {.deviceID = name(i), .keyText = name(i)}});
    }
    schedule.subscriptionsAre(1, subscriptions, now);
  }
  void changePresence() {
    if (!isRelayConnected) return;
    Phone& one = phone(roll(kPhones));
    one.isConnected = roll(3) > 0;
    one.isAsleep = roll(2) == 0;
    tellPhones();
  }
  void changeSubscription() {
    if (!isRelayConnected) return;
    Phone& one = phone(roll(kPhones));
    one.subscription = roll(4) == 0 ? std::string() : "s" + std::to_string(++made);
    one.underWay.clear();
    tellSubscriptions();
  }
  void loseRelay() {
    if (isRelayConnected) {
      schedule.relayLost(1, now);
      for (auto& one : phones) {
        one.underWay.clear();
        one.isNamed = false;
      }
    }
    isRelayConnected = !isRelayConnected;
    if (!isRelayConnected) return;
    // Meanwhile one may have another subscription, or none. Its list comes later than who is there.
    Phone& one = phone(roll(kPhones));
    one.subscription = roll(2) == 0 ? std::string() : "s" + std::to_string(++made);
    tellPhones();
    send();
    tellSubscriptions();
  }
  void answer() {
    Phone& one = phone(roll(kPhones));
    if (one.underWay.empty()) return;
    const auto push = *one.underWay.begin();
    one.underWay.erase(one.underWay.begin());
    const int outcome = roll(10);
    PushResultRelayMessage result{.pushID = push.first, .deviceID = name(static_cast<int>(&one - phones.data()))};
    if (outcome == 0) {
      result.status = PushStatus::replaced;  // It told nothing.
    } else if (outcome < 7) {
      result.status = PushStatus::accepted;
      one.accepted.insert(push.second.begin(), push.second.end());
    } else if (outcome == 7) {
      result.status = PushStatus::unreachable;
    } else {
      result.status = PushStatus::refused;
      result.reason = outcome == 8 ? "tooMany" : "subscribeAnew";
    }
    schedule.pushEnded(1, result, now, Date{});
  }

  void send() {
    for (const auto& plan : schedule.takeDue(now)) {
      Phone& one = phone(plan.phone.deviceID[0] - 'A');
      EXPECT_TRUE(isRelayConnected);
      EXPECT_FALSE(isPaused);
      EXPECT_TRUE(!one.isConnected || one.isAsleep) << "It was there.";
      EXPECT_EQ(plan.subscriptionID, one.subscription);
      EXPECT_TRUE(one.isNamed) << "It may be gone.";
      EXPECT_FALSE(plan.prompts.empty()) << "It would show nothing.";
      if (one.lastPush) {
        EXPECT_GE(now - *one.lastPush, std::chrono::seconds(10));
      }
      EXPECT_TRUE(names.insert(plan.pushID).second);
      one.lastPush = now;
      for (const auto& id : plan.prompts) {
        EXPECT_NE(std::find(waiting.begin(), waiting.end(), id), waiting.end()) << "It was settled.";
        EXPECT_FALSE(one.accepted.contains(id)) << "It was told before.";
      }
      one.underWay[plan.pushID] = plan.prompts;
      ++pushes;
    }
  }

  void check() {
    const auto next = schedule.nextDue(now);
    if (next) {
      EXPECT_GE(*next, now) << "What was due was taken.";
    }
  }

  // Left alone, every phone that can be woken is told of everything that waits and that it was not shown.
  void settleDown() {
    if (isPaused) pause();
    if (!isRelayConnected) loseRelay();
    for (auto& one : phones) one.isConnected = false;
    tellPhones();
    for (auto& one : phones) one.subscription = "s" + std::to_string(++made);
    for (auto& one : phones) one.underWay.clear();
    tellSubscriptions();
    for (int i = 0; i < 200; ++i) {
      now = advanced(now, Seconds{10});
      send();
      for (int number = 0; number < kPhones; ++number) {
        for (const auto& [pushID, told] : std::exchange(phone(number).underWay, {})) {
          phone(number).accepted.insert(told.begin(), told.end());
          schedule.pushEnded(1, {.pushID = pushID, .deviceID = name(number), .status = PushStatus::accepted}, now,
                             Date{});
        }
      }
    }
    for (const auto& one : phones) {
      for (const auto& id : waiting) EXPECT_TRUE(one.accepted.contains(id) || one.shown.contains(id)) << "It was lost.";
    }
    EXPECT_FALSE(schedule.isNobodyReached(now));
    EXPECT_GT(pushes, 100);
  }

  std::mt19937 dice;
  Instant now{};
  PushSchedule schedule{"run"};
  std::array<Phone, kPhones> phones;
  std::vector<Uuid> waiting;
  std::set<std::string> names;
  bool isRelayConnected = false;
  bool isPaused = false;
  int made = 0;
  int pushes = 0;
};

class PushScheduleHistory : public testing::TestWithParam<unsigned> {};

TEST_P(PushScheduleHistory, LosesNothingRepeatsNothingAndShowsNothingEmpty) { History{GetParam()}.run(); }

INSTANTIATE_TEST_SUITE_P(Seeds, PushScheduleHistory, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace quillard
