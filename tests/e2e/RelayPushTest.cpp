#include <chrono>
#include <map>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "e2e/PushServiceProgram.h"
#include "e2e/RelayServerFixture.h"

// The real relay and a strict push service over TLS: phones that sleep are woken.
namespace quillard::test {
namespace {

using relayserver::sealed;
using testing::HasSubstr;
using testing::Not;

// A body with the header of RFC 8188, and nothing that anybody could open.
std::string bodyText(std::size_t groups = 40) {
  // 18 bytes of zero, the size of a record, the length of the key, and the first byte of that.
  return std::string(24, 'A') + "EABBBAAA" + std::string(4 * groups, 'A');
}

class RelayPush : public RelayServer {
 protected:
  void startWith(const std::vector<std::string>& options) {
    ASSERT_NO_FATAL_FAILURE(start(options));
    agent = join(agentQuery());
    auto answer = wire()->ask("GET", "/api/pairings/" + kName + "/push-key?deviceID=A", kBearer);
    // Several relays agree on a key first.
    for (int i = 0; i < 100 && answer.status == 503; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      answer = wire()->ask("GET", "/api/pairings/" + kName + "/push-key?deviceID=A", kBearer);
    }
    ASSERT_EQ(answer.status, 200) << answer.body;
    key = Json::parse(answer.body)["key"];
    service.setKey(key);
  }
  // A phone that has subscribed and sleeps.
  void subscribe(const std::string& device, const std::string& endpoint) {
    auto phone = join(phoneQuery(device));
    phone->say({{"type", "push.subscribe"}, {"endpoint", endpoint}, {"key", key}, {"encryptedSubscription", sealed()}});
    ASSERT_EQ(phone->read("push.subscription")["subscribed"], true);
    // What other pushes have changed may come first.
    while (!ids.contains(device)) {
      const auto list = agent->read("push.subscriptions");
      ASSERT_TRUE(list.is_object());
      for (const auto& one : list["subscriptions"]) ids[one["deviceID"]] = one["subscriptionID"];
    }
  }
  void push(const std::string& device, const std::string& name, int ttl = 60) {
    agent->say({{"type", "push.send"},
                {"pushID", name},
                {"deviceID", device},
                {"subscriptionID", ids.at(device)},
                {"body", bodyText()},
                {"ttl", ttl},
                {"urgency", "high"},
                {"topic", "abc"}});
  }
  // "accepted", "gone expired".
  std::string result() {
    const auto message = agent->read("push.result");
    return message.value("status", "none") + (message.contains("reason") ? " " + message.value("reason", "") : "");
  }
  std::string resultFor(const std::string& answer, int ttl = 60) {
    const std::string device = "D" + std::to_string(++devices);
    subscribe(device, service.endpoint(answer, device));
    push(device, "p" + device, ttl);
    return result();
  }

  PushServiceProgram service;
  std::unique_ptr<RelayWire> agent;
  std::string key;
  std::map<std::string, std::string> ids;
  int devices = 0;
};

TEST_F(RelayPush, PostsWhatAStrictPushServiceTakesAndKeepsItsKey) {
  ASSERT_NO_FATAL_FAILURE(startWith(service.options()));
  subscribe("A", service.endpoint("201"));
  push("A", "p1");
  EXPECT_EQ(result(), "accepted");
  const auto first = service.request();
  EXPECT_FALSE(first.contains("wrong")) << first;
  EXPECT_EQ(first["path"], "/201/secret-endpoint");
  EXPECT_EQ(first["ttl"], "60");
  EXPECT_EQ(first["urgency"], "high");
  EXPECT_EQ(first["topic"], "abc");
  EXPECT_EQ(first["size"], 144);
  push("A", "p2");
  EXPECT_EQ(result(), "accepted");
  EXPECT_EQ(service.request()["connection"], first["connection"]);
  // The key and the subscription outlive the relay's process.
  relay->killAndRestart();
  agent = join(agentQuery());
  EXPECT_EQ(agent->read("push.subscriptions")["subscriptions"].size(), 1U);
  push("A", "p3");
  EXPECT_EQ(result(), "accepted");
  EXPECT_FALSE(service.request().contains("wrong"));
}

TEST_F(RelayPush, SaysWhatBecameOfEach) {
  ASSERT_NO_FATAL_FAILURE(startWith(service.options()));
  const std::vector<std::pair<std::string, std::string>> table{
      {"200", "accepted"},          {"202", "accepted"},
      {"400", "refused malformed"}, {"403", "refused subscribeAnew"},
      {"404", "gone expired"},      {"410", "gone expired"},
      {"413", "refused tooLarge"},  {"redirect", "refused notAllowed"},
      {"huge", "accepted"},         {"endless", "accepted"},
      {"hints", "accepted"},        {"last", "accepted"},
      {"later", "accepted"},        {"forgetful", "accepted"}};
  for (const auto& [answer, expected] : table) EXPECT_EQ(resultFor(answer), expected) << answer;
  // A push without time is tried once.
  for (const char* answer : {"429", "503", "headers"}) {
    EXPECT_EQ(resultFor(answer, 0), "unreachable tooLate") << answer;
  }
  // What it was asked: nothing that it found wrong, what may help twice, and no address that it led to.
  std::map<std::string, int> times;
  for (std::string answer; answer != "headers";) {
    const auto line = service.request();
    ASSERT_TRUE(line.is_object());
    EXPECT_FALSE(line.contains("wrong")) << line;
    const std::string path = line["path"];
    answer = path.substr(1, path.find('/', 1) - 1);
    EXPECT_EQ(path.find("redirected"), std::string::npos);
    ++times[answer];
  }
  const std::map<std::string, int> expected{
      {"200", 1},   {"202", 1},       {"400", 1},  {"403", 2},     {"404", 1},    {"410", 1},
      {"413", 1},   {"redirect", 1},  {"huge", 1}, {"endless", 1}, {"hints", 1},  {"last", 1},
      {"later", 2}, {"forgetful", 2}, {"429", 1},  {"503", 1},     {"headers", 1}};
  EXPECT_EQ(times, expected);
}

TEST_F(RelayPush, PrintsNothingOfAnEndpoint) {
  ASSERT_NO_FATAL_FAILURE(startWith(service.options()));
  for (const char* answer : {"201", "403", "410", "redirect"}) (void)resultFor(answer);
  subscribe("planted", service.endpoint("201"));
  push("planted", "p1");
  EXPECT_EQ(result(), "accepted");
  relay->signal(SIGTERM);
  EXPECT_EQ(relay->wait(), 0);
  const auto said = relay->output();
  EXPECT_THAT(said, HasSubstr("A push service answered 403"));
  for (const auto& part :
       {std::string("secret-endpoint"), std::string("/201/"), service.host(), key, ids.at("planted")}) {
    EXPECT_THAT(said, Not(HasSubstr(part)));
  }
}

TEST_F(RelayPush, LetsAPushServiceThatHangsStopNeitherMessagesNorOtherPushes) {
  ASSERT_NO_FATAL_FAILURE(startWith(service.options()));
  for (int i = 0; i < 4; ++i) {
    const std::string device = "H" + std::to_string(i);
    subscribe(device, service.endpoint("hang", device));
    push(device, device);
    EXPECT_EQ(service.request()["path"], "/hang/" + device);
  }
  EXPECT_EQ(resultFor("201"), "accepted");
  const auto phone = join(phoneQuery("A"));
  const auto before = std::chrono::steady_clock::now();
  for (int i = 0; i < 15; ++i) {
    const std::string decision = "d" + std::to_string(i);
    phone->say(relayserver::request(decision));
    EXPECT_EQ(agent->read("approval.request")["decisionID"], decision);
  }
  // None of them waited for the push service, which has fifteen seconds.
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

TEST_F(RelayPush, PostsToNoPrivateAddressUnlessToldTo) {
  auto options = service.options();
  options.pop_back();
  ASSERT_NO_FATAL_FAILURE(startWith(options));
  subscribe("A", service.endpoint("201"));
  push("A", "p1");
  EXPECT_EQ(result(), "refused notAllowed");
}

TEST_F(RelayPush, PostsToNobodyWhoseCertificateIsNotSignedByTheAuthority) {
  const PushServiceProgram other;
  auto options = other.options();
  options[3] = service.host();
  ASSERT_NO_FATAL_FAILURE(startWith(options));
  subscribe("A", service.endpoint("201"));
  push("A", "p1", 0);
  EXPECT_EQ(result(), "unreachable tooLate");
}

TEST_F(RelayPush, PostsToNobodyWhoseCertificateIsForAnotherHost) {
  const PushServiceProgram other({.names = "IP:127.0.0.2,DNS:push.example"});
  ASSERT_NO_FATAL_FAILURE(startWith(other.options()));
  subscribe("A", other.endpoint("201"));
  push("A", "p1", 0);
  EXPECT_EQ(result(), "unreachable tooLate");
}

TEST_F(RelayPush, IsSwitchedOffByDefault) {
  ASSERT_NO_FATAL_FAILURE(start());
  EXPECT_EQ(wire()->ask("GET", "/api/pairings/" + kName + "/push-key", kBearer).status, 404);
}

}  // namespace
}  // namespace quillard::test
