#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "push/PushText.h"
#include "relay/RelayCrypto.h"
#include "support/AgentWorld.h"

// 10,000 events in the life of a whole agent whose phone sleeps, wakes and is away, and whose relay drops, forgets and
// refuses, in virtual time: none lost without a word, none invisible, none repeated.
namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;

constexpr int kTests = 10;
constexpr int kLivesInOneTest = 10;
constexpr int kEventsOfALife = 100;
constexpr const char* kPoint =
    "BCVxsr7N_eNgVRqvHtD0zTZsEc6-VV-JvLexhqUzORcxaOzi6-AYWXvTBHm4bjyPjs7Vd8pZGH6SRpkNtoIAiw4";

class SleepingPhone {
 public:
  explicit SleepingPhone(std::uint64_t seed) : agent(seed), dice(seed), random(platform::simulated::Seed{seed}) {
    agent.launchAndPair();
    secrets = *keptSecrets(agent.world);
    tellEverything();
  }

  void live() {
    for (int i = 0; i < kEventsOfALife && !testing::Test::HasFailure(); ++i) {
      happen();
      pass(roll(12));
    }
    settleDown();
  }
  [[nodiscard]] int acceptedPushes() const { return accepted; }

 private:
  enum class Place { awake, asleep, away };

  int roll(int sides) { return static_cast<int>(dice() % static_cast<unsigned>(sides)); }

  void happen() {
    look();
    switch (roll(14)) {
      case 0:
      case 1:
      case 2:
        return open();
      case 3:
      case 4:
        return close();
      case 5:
      case 6:
        place = static_cast<Place>(roll(3));
        return tellPresence();
      case 7:
        subscription = roll(3) == 0 ? 0 : ++subscriptions;
        underWay.clear();
        return tellSubscriptions();
      case 8:
        return roll(3) == 0 ? dropRelay() : void();
      case 9:
        return roll(3) == 0 ? pauseOrResume() : void();
      default:
        return answer(roll(10));
    }
  }

  // A push is about what waited before or after the time in which it was sent.
  void look() {
    auto around = std::exchange(waiting, {});
    for (const auto& one : agent.phone.shown()) waiting.insert(one.id);
    around.insert(waiting.begin(), waiting.end());
    readPushes(around);
  }

  // In slices, so that a push is compared with what waited when it was sent.
  void pass(int halves) {
    for (int i = 0; i < halves; ++i) {
      agent.advance(0.5);
      look();
      noteConnection();
      if (place == Place::awake && isTold && !isPaused) shown.insert(waiting.begin(), waiting.end());
    }
  }

  void open() {
    if (windows.size() >= 6) return close();
    windows.push_back(agent.desktop().open(erasePrompt("Erase " + std::to_string(++opened) + "?")));
  }
  void close() {
    if (windows.empty()) return;
    const auto at = windows.begin() + roll(static_cast<int>(windows.size()));
    agent.desktop().close(*at);
    windows.erase(at);
  }
  void pauseOrResume() {
    isPaused = !isPaused;
    agent.onMainThread([this](AppDelegate& delegate) {
      isPaused ? delegate.pauseNotifications(NotificationPauseOption::indefinitely) : delegate.resumeNotifications();
    });
  }

  // ---- As the relay

  void tell(const Json& json) {
    if (const auto socket = agent.relay.agentOf(secrets)) socket->sendText(*jsonText(json));
  }
  void tellPresence() {
    Json phones = Json::array();
    if (place != Place::away) {
      phones.push_back({{"deviceID", "phone-1"}, {"deviceName", "Ann's phone"}, {"connected", true}});
      if (place == Place::asleep) phones.back()["asleep"] = true;
    }
    const bool isThere = place != Place::away;
    tell({{"type", "phone.status"}, {"phoneConnected", isThere}, {"phoneCount", isThere ? 1 : 0}, {"phones", phones}});
    isTold = true;
    agent.advance(0.01);
  }
  void tellSubscriptions() {
    Json list = Json::array();
    if (subscription > 0) {
      const Json inside{{"deviceID", "phone-1"}, {"p256dh", kPoint}, {"auth", "BTBZMqHH6r4Tts7J_aSIgg"}};
      const auto box = std::get<EncryptedRelayPayload>(RelayCrypto::seal(inside, secrets.e2eSecret, random));
      list.push_back({{"deviceID", "phone-1"},
                      {"subscriptionID", std::to_string(subscription)},
                      {"encryptedSubscription", toJson(box)}});
    }
    tell({{"type", "push.subscriptions"}, {"subscriptions", list}});
    isNamed = subscription > 0 && isTold;
    agent.advance(0.01);
  }
  void tellEverything() {
    tellPresence();
    tellSubscriptions();
    connection = agent.relay.agentOf(secrets);
  }
  void dropRelay() {
    agent.relay.dropConnections();
    underWay.clear();
    isNamed = isTold = false;
    subscription = roll(2) == 0 ? subscription : ++subscriptions;
  }
  // Who is there comes with a connection; who can be woken, a little later.
  void noteConnection() {
    const auto now = agent.relay.agentOf(secrets);
    if (now && now != connection) {
      connection = now;
      return tellPresence();
    }
    if (isTold && !isNamed && subscription > 0 && now) tellSubscriptions();
  }
  void answer(int outcome) {
    if (underWay.empty()) return;
    const auto push = *underWay.begin();
    underWay.erase(underWay.begin());
    Json result{{"type", "push.result"}, {"pushID", push.first}, {"deviceID", "phone-1"}};
    if (outcome < 7) {
      result["status"] = "accepted";
      told.insert(push.second.begin(), push.second.end());
      if (push.second.size() == 1) named.insert(*push.second.begin());
      ++accepted;
    } else {
      result["status"] = outcome == 7 ? "unreachable" : outcome == 8 ? "replaced" : "refused";
      if (outcome == 9) result["reason"] = "tooMany";
    }
    tell(result);
    agent.advance(0.01);
  }

  // ---- What is true

  std::string tagOf(PushContents::Kind kind, const Uuid& id = {}) {
    PushContents contents{.kind = kind};
    if (kind == PushContents::Kind::prompt) {
      contents.prompt.emplace();
      contents.prompt->id = id;
    }
    return pushTag(secrets.e2eSecret, contents);
  }

  void readPushes(const std::set<Uuid>& around) {
    const auto& all = agent.relay.conversations();
    for (std::size_t i = all.size() - std::min<std::size_t>(all.size(), 2); i < all.size(); ++i) {
      const auto frames = all[i].socket->receivedTexts();
      for (auto& next = framesRead[i]; next < frames.size(); ++next) {
        const auto json = std::get<Json>(parseStrictJson(frames[next]));
        if (json["type"] == "push.send") check(json, around);
      }
    }
  }

  void check(const Json& push, const std::set<Uuid>& around) {
    const auto now = agent.world.time().monotonicNow();
    EXPECT_FALSE(isPaused);
    EXPECT_TRUE(isNamed || !isTold) << "The relay has named no subscription on this connection.";
    EXPECT_NE(place, Place::awake) << "It shows its page.";
    EXPECT_EQ(push["subscriptionID"], std::to_string(subscription));
    if (lastPush) {
      EXPECT_GE((now - *lastPush).count(), 9.4);
    }
    lastPush = now;
    const std::string topic = push["topic"];
    std::set<Uuid> about;
    for (const auto& id : around) {
      if (tagOf(PushContents::Kind::prompt, id) == topic) about.insert(id);
    }
    if (about.empty()) {
      EXPECT_EQ(topic, tagOf(PushContents::Kind::several)) << "It tells of nothing that waits.";
      EXPECT_GE(around.size(), 2U);
      about = around;
    } else {
      EXPECT_FALSE(named.contains(*about.begin())) << "It was told before.";
    }
    underWay[push["pushID"]] = about;
  }

  void settleDown() {
    if (isPaused) pauseOrResume();
    pass(10);
    agent.advance(40);
    pass(2);
    place = Place::away;
    tellPresence();
    subscription = ++subscriptions;
    underWay.clear();
    tellSubscriptions();
    for (int i = 0; i < 10; ++i) {
      agent.advance(11);
      look();
      while (!underWay.empty()) answer(0);
    }
    for (const auto& id : waiting) {
      EXPECT_TRUE(told.contains(id) || shown.contains(id)) << id.text() << " was lost.";
    }
    EXPECT_FALSE(agent.status().isNobodyReached);
  }

  AgentWorld agent;
  std::mt19937_64 dice;
  platform::simulated::SimulatedRandom random;
  InstallationSecrets secrets;
  samples::SocketHandle connection;
  std::vector<platform::simulated::NodeHandle> windows;
  Place place = Place::away;
  bool isTold = true;    // Who is there, on this connection.
  bool isNamed = false;  // The subscription, on this connection.
  bool isPaused = false;
  int subscription = 1;
  int subscriptions = 1;
  int opened = 0;
  int accepted = 0;
  std::map<std::size_t, std::size_t> framesRead;  // By conversation.
  std::optional<Instant> lastPush;
  std::map<std::string, std::set<Uuid>> underWay;
  std::set<Uuid> waiting;  // By the list that phones get.
  std::set<Uuid> named;    // Told by a push about it alone.
  std::set<Uuid> told;     // By a push that was accepted.
  std::set<Uuid> shown;    // On its page.
};

class SleepingPhoneHistory : public testing::TestWithParam<int> {};

TEST_P(SleepingPhoneHistory, LosesNothingRepeatsNothingAndShowsNothingEmpty) {
  int accepted = 0;
  for (int i = 0; i < kLivesInOneTest && !HasFailure(); ++i) {
    const int seed = GetParam() * kLivesInOneTest + i;
    SCOPED_TRACE("seed " + std::to_string(seed));
    SleepingPhone phone{static_cast<std::uint64_t>(seed)};
    phone.live();
    accepted += phone.acceptedPushes();
  }
  EXPECT_GT(accepted, 2 * kLivesInOneTest) << "Too little happens.";
  RecordProperty("accepted", accepted);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SleepingPhoneHistory, testing::Range(0, kTests));

}  // namespace
}  // namespace quillard
