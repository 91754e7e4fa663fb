#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/relay/push/PushWorld.h"

namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A computer, and a phone that has subscribed and gone to sleep.
class WokenPhone : public testing::Test {
 protected:
  void SetUp() override {
    world.subscribe(*phone);
    world.relay.rooms.leave(*phone, world.relay.instant);
    agent->texts.clear();
  }
  void send(const Json& message) { world.relay.say(*agent, message); }
  [[nodiscard]] Json list() const {
    const auto all = agent->ofType("push.subscriptions");
    return all.empty() ? Json() : all.back()["subscriptions"];
  }
  // The phone opens its page again and subscribes as before.
  Json subscribeAgain(const std::string& endpoint = kEndpoint) {
    phone = world.relay.joinPhone("A");
    world.subscribe(*phone, endpoint);
    return phone->ofType("push.subscription").back();
  }

  PushWorld world;
  std::shared_ptr<FakePeer> agent = world.relay.joinAgent();
  std::shared_ptr<FakePeer> phone = world.relay.joinPhone("A");
};

// ---- Subscribing

TEST_F(WokenPhone, IsInTheAgentsListWithItsKeysAndWithoutItsEndpoint) {
  agent = world.relay.joinAgent();
  const Json expected{
      {{"deviceID", "A"}, {"subscriptionID", PushWorld::idOf("A")}, {"encryptedSubscription", sealed()}}};
  EXPECT_EQ(list(), expected);
  for (const auto& text : agent->texts) EXPECT_THAT(text, Not(HasSubstr("push.example")));
}

TEST(PushSubscriptions, AreToldAfterTheFirstPhoneStatusAndOnlyWhereThereAreAny) {
  PushWorld world;
  auto agent = world.relay.joinAgent();
  EXPECT_EQ(agent->texts.size(), 1U);
  auto phone = world.relay.joinPhone("A");
  world.subscribe(*phone);
  EXPECT_EQ(phone->newest(), (Json{{"type", "push.subscription"}, {"subscribed", true}}));
  EXPECT_EQ(agent->ofType("push.subscriptions").size(), 1U);
  agent = world.relay.joinAgent();
  ASSERT_EQ(agent->texts.size(), 2U);
  EXPECT_EQ(Json::parse(agent->texts[0])["type"], "phone.status");
  EXPECT_EQ(Json::parse(agent->texts[1])["type"], "push.subscriptions");
}

TEST_F(WokenPhone, WritesNothingWhenItSubscribesAsBefore) {
  const int before = world.store.writes;
  EXPECT_EQ(subscribeAgain()["subscribed"], true);
  EXPECT_EQ(world.store.writes, before);
  EXPECT_EQ(list(), Json());
}

TEST_F(WokenPhone, HasOneSubscriptionOfWhichTheNewestCounts) {
  EXPECT_EQ(subscribeAgain("https://push.example/send/secret-2")["subscribed"], true);
  ASSERT_EQ(list().size(), 1U);
  EXPECT_EQ(list()[0]["subscriptionID"], PushWorld::idOf("A", "https://push.example/send/secret-2"));
}

TEST_F(WokenPhone, TakesItsSubscriptionBack) {
  phone = world.relay.joinPhone("A");
  world.relay.say(*phone, {{"type", "push.unsubscribe"}});
  EXPECT_EQ(phone->newest()["reason"], "unsubscribed");
  EXPECT_THAT(list(), IsEmpty());
  EXPECT_TRUE(world.store.subscriptions[kPairing].empty());
}

TEST_F(WokenPhone, IsForgottenWhenItIsRemovedAndWhenThePairingIsRevoked) {
  send(PushWorld::push("p1"));
  send(unpair("A"));
  EXPECT_TRUE(world.store.subscriptions[kPairing].empty());
  EXPECT_THAT(list(), IsEmpty());
  world.transport.answer(201);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "");
  phone = world.relay.joinPhone("B");
  world.subscribe(*phone);
  EXPECT_EQ(world.store.subscriptions[kPairing].size(), 1U);
  send(unpair());
  EXPECT_TRUE(world.store.subscriptions[kPairing].empty());
}

TEST(PushSubscriptions, AreRefusedWithAReason) {
  PushWorld world;
  auto phone = world.relay.joinPhone("A");
  const auto reasonFor = [&](const Json& message) {
    world.relay.say(*phone, message);
    return phone->newest().value("reason", "");
  };
  const auto key = world.service.publicKey().value();
  for (const char* endpoint : {"https://other.example/a", "http://push.example/a", "https://127.0.0.1/a", "rubbish",
                               "https://push.example@other.example/a"}) {
    EXPECT_EQ(reasonFor(PushWorld::subscription(endpoint, key)), "endpointNotAllowed") << endpoint;
  }
  EXPECT_EQ(reasonFor(PushWorld::subscription(kEndpoint, "BN4G")), "otherKey");
  world.store.fails = true;
  EXPECT_EQ(reasonFor(PushWorld::subscription(kEndpoint, key)), "notNow");
  world.store.fails = false;
  EXPECT_TRUE(world.store.subscriptions[kPairing].empty());
  EXPECT_FALSE(phone->closed);
}

TEST(PushSubscriptions, ThatBreakTheRulesCloseTheConnection) {
  const auto good = PushWorld::subscription(kEndpoint, "k");
  const auto without = [&](const char* member) {
    Json broken = good;
    broken.erase(member);
    return broken;
  };
  const auto with = [&](const char* member, const Json& value) {
    Json broken = good;
    broken[member] = value;
    return broken;
  };
  Json longBox = sealed();
  longBox["ciphertext"] = std::string(2048, 'A');
  for (const Json& broken :
       {without("endpoint"), without("key"), without("encryptedSubscription"), with("endpoint", 1),
        with("endpoint", ""), with("endpoint", "https://push.example/a b"), with("endpoint", "https://push.example/\n"),
        with("endpoint", std::string(2049, 'a')), with("key", std::string(129, 'a')),
        with("encryptedSubscription", "x"), with("encryptedSubscription", longBox)}) {
    PushWorld world;
    auto phone = world.relay.joinPhone("A");
    world.relay.say(*phone, broken);
    EXPECT_EQ(phone->closed, CloseCode::malformedMessage) << broken.dump();
  }
}

TEST(PushSubscriptions, AreEightOfAPairing) {
  PushWorld world;
  auto agent = world.relay.joinAgent();
  for (int i = 0; i < 10; ++i) {
    auto phone = world.relay.joinPhone("D" + std::to_string(i));
    world.subscribe(*phone);
    world.relay.rooms.leave(*phone, world.relay.instant);
  }
  const auto newest = agent->ofType("push.subscriptions").back()["subscriptions"];
  ASSERT_EQ(newest.size(), 8U);
  EXPECT_EQ(newest[0]["deviceID"], "D2");
}

// ---- The key

TEST(PushKey, IsMadeOnceAndTold) {
  PushWorld world;
  ASSERT_EQ(world.relay.registerToken().status, 204);
  const auto ask = [&](const std::string& target, const std::string& token = kToken) {
    return world.relay.ask({.method = "GET", .target = target, .authorization = {"Bearer " + token}});
  };
  const std::string target = "/api/pairings/" + kPairing + "/push-key";
  const auto answer = ask(target + "?deviceID=A");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(Json::parse(*answer.body)["key"], VapidKey::fromSecret(kPushSecret)->publicText());
  EXPECT_EQ(world.store.secret, kPushSecret);
  EXPECT_EQ(ask(target, std::string(64, 'b')).status, 401);
  EXPECT_EQ(ask("/api/pairings/other/push-key").status, 401);
  EXPECT_EQ(ask(target + "?deviceID=").status, 400);
  EXPECT_EQ(world.relay.ask({.method = "PUT", .target = target}).status, 405);
}

TEST(PushKey, IsNotThereAtARelayThatWakesNoPhones) {
  RelayWorld world;
  ASSERT_EQ(world.registerToken().status, 204);
  const auto answer = world.ask(
      {.method = "GET", .target = "/api/pairings/" + kPairing + "/push-key", .authorization = {"Bearer " + kToken}});
  EXPECT_EQ(answer.status, 404);
  // Its messages are unknown ones.
  auto agent = world.joinAgent();
  auto phone = world.joinPhone("A");
  world.say(*phone, PushWorld::subscription(kEndpoint, "k"));
  world.say(*phone, {{"type", "push.unsubscribe"}});
  world.say(*agent, PushWorld::push("p1"));
  EXPECT_EQ(world.metrics.messages["unknown"], 3U);
  EXPECT_FALSE(phone->closed || agent->closed);
  EXPECT_TRUE(phone->ofType("push.subscription").empty());
  EXPECT_TRUE(agent->ofType("push.result").empty());
}

TEST(PushKey, IsTriedAgainWhileTheDatabaseFails) {
  MemoryPushStore store;
  store.fails = true;
  FakePushTransport transport;
  PushLimits limits;
  RelayMetrics metrics;
  KeptLog log;
  PushService service({store, transport, limits, metrics, log, [] { return Moment{}; }, [] { return kPushSecret; }}, {},
                      "mailto:operator@relay.example");
  Moment now{.instant = Instant{1h}};
  service.tick(now);
  EXPECT_FALSE(service.publicKey());
  store.fails = false;
  now.instant += 1s;
  service.tick(now);
  EXPECT_TRUE(service.publicKey());
}

// ---- Pushes

TEST_F(WokenPhone, IsPostedWhatTheComputerAsksFor) {
  send(PushWorld::push("p1"));
  ASSERT_EQ(world.transport.requests.size(), 1U);
  const auto& request = world.transport.requests[0];
  EXPECT_EQ(request.endpoint, PushEndpoint::parse(kEndpoint));
  EXPECT_EQ(request.body, std::string(103, '\0'));
  EXPECT_EQ(request.ttl, 300s);
  EXPECT_EQ(request.urgency, "high");
  EXPECT_EQ(request.topic, "abc");
  EXPECT_THAT(request.authorization, HasSubstr(world.service.publicKey().value()));
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "");
  world.transport.answer(201);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "accepted");
  EXPECT_EQ(list(), Json());
}

TEST_F(WokenPhone, WhoseSubscriptionIsDeadIsDroppedAndToldWhenItComesBack) {
  send(PushWorld::push("p1"));
  auto later = PushWorld::push("p2");
  later["topic"] = "def";
  send(later);
  world.transport.answer(410);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "gone expired");
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "gone expired");
  EXPECT_TRUE(world.transport.waiting.empty());
  EXPECT_THAT(list(), IsEmpty());
  EXPECT_EQ(world.store.subscriptions[kPairing][0].endpoint, "");
  send(PushWorld::push("p3"));
  EXPECT_EQ(PushWorld::resultOf(*agent, "p3"), "gone expired");
  EXPECT_EQ(subscribeAgain()["reason"], "expired");
  EXPECT_EQ(subscribeAgain("https://push.example/send/secret-2")["subscribed"], true);
}

TEST_F(WokenPhone, IsToldAtOnceThatItsSubscriptionIsDeadWhileItIsConnected) {
  phone = world.relay.joinPhone("A");
  send(PushWorld::push("p1"));
  world.transport.answer(404);
  EXPECT_EQ(phone->newest()["reason"], "expired");
}

TEST_F(WokenPhone, HasToSubscribeAnewWhenTheRelayIsRefusedTwice) {
  send(PushWorld::push("p1"));
  world.transport.answer(403);
  world.run(1s);
  ASSERT_EQ(world.transport.requests.size(), 2U);
  EXPECT_NE(world.transport.requests[1].authorization, world.transport.requests[0].authorization);
  world.transport.answer(403);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "refused subscribeAnew");
  ASSERT_EQ(list().size(), 1U);
  EXPECT_EQ(list()[0]["refused"], true);
  EXPECT_EQ(subscribeAgain()["reason"], "subscribeAnew");
  // It may be tried all the same, and that may help.
  send(PushWorld::push("p2"));
  world.transport.answer(201);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "accepted");
  EXPECT_FALSE(list()[0].contains("refused"));
}

TEST_F(WokenPhone, IsNotPostedWhatWasEncryptedForAnotherSubscription) {
  subscribeAgain("https://push.example/send/secret-2");
  send(PushWorld::push("p1"));
  send(PushWorld::push("p2", "B"));
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "gone unknown");
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "gone unknown");
  EXPECT_TRUE(world.transport.requests.empty());
}

TEST_F(WokenPhone, IsReachedByAnAgentOfItsOwnPairingOnly) {
  auto other = world.relay.joinAgent("other-pairing");
  world.relay.say(*other, PushWorld::push("p1"));
  EXPECT_EQ(PushWorld::resultOf(*other, "p1"), "gone unknown");
  EXPECT_TRUE(world.transport.requests.empty());
}

TEST_F(WokenPhone, SaysOfEachPushHowItEndedOnceAndNeverTwice) {
  send(PushWorld::push("p1"));
  send(PushWorld::push("p2"));  // The same topic as the next one.
  send(PushWorld::push("p3"));
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "replaced");
  world.transport.answer(201);
  world.transport.answer(503);
  world.run(301s);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p1"), "accepted");
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "replaced");
}

TEST_F(WokenPhone, IsNotPostedMoreThanItsRateAllows) {
  for (int i = 0; i < 12; ++i) {
    auto message = PushWorld::push("p" + std::to_string(i));
    message["topic"] = std::to_string(i);
    send(message);
  }
  EXPECT_EQ(PushWorld::resultOf(*agent, "p9"), "");
  EXPECT_EQ(PushWorld::resultOf(*agent, "p10"), "refused tooMany");
}

TEST_F(WokenPhone, GetsNothingOfAMessageThatBreaksTheRules) {
  const auto with = [](const char* member, const Json& value) {
    Json broken = PushWorld::push("p1");
    broken[member] = value;
    return broken;
  };
  const std::string tooLong = std::string(5464, 'A');  // 4,098 bytes.
  for (const Json& broken : {with("pushID", "a b"),
                             with("pushID", 12),
                             with("deviceID", 12),
                             with("deviceID", ""),
                             with("subscriptionID", "x"),
                             with("subscriptionID", std::string(32, 'A')),
                             with("body", "AAAA"),
                             with("body", tooLong),
                             with("body", std::string(136, 'A') + "AB=="),
                             with("body", 1),
                             with("ttl", -1),
                             with("ttl", 86'401),
                             with("ttl", "300"),
                             with("ttl", 1.5),
                             with("urgency", "urgent"),
                             with("urgency", "high\r\nTopic: x"),
                             with("topic", ""),
                             with("topic", std::string(33, 'a')),
                             with("topic", "a\r\nb"),
                             with("topic", 1)}) {
    auto own = world.relay.joinAgent();
    world.relay.say(*own, broken);
    EXPECT_EQ(own->closed, CloseCode::malformedMessage) << broken.dump();
  }
  EXPECT_TRUE(world.transport.requests.empty());
}

TEST_F(WokenPhone, LeavesNothingOfItsEndpointInTheLogAndInTheMetrics) {
  for (const int status : {201, 400, 403, 403, 413, 301, 410}) {
    auto message = PushWorld::push("p" + std::to_string(status));
    send(message);
    if (!world.transport.waiting.empty()) world.transport.answer(status);
    world.run(1s);
  }
  while (!world.transport.waiting.empty()) world.transport.answer(410);
  ASSERT_FALSE(world.log.lines.empty());
  for (const auto& line : world.log.lines) {
    EXPECT_THAT(line, Not(HasSubstr("secret-1")));
    EXPECT_THAT(line, Not(HasSubstr("push.example")));
    EXPECT_THAT(line, Not(HasSubstr(kPairing)));
  }
  const auto page = prometheusText(world.metrics);
  EXPECT_THAT(page, Not(HasSubstr("push.example")));
  EXPECT_THAT(page, HasSubstr("quillard_relay_pushes_total{result=\"accepted\"} 1"));
  EXPECT_THAT(page, HasSubstr("quillard_relay_push_seconds_bucket{le=\"0.1\"} 1"));
  EXPECT_THAT(page, HasSubstr("quillard_relay_push_seconds_count 1"));
}

TEST_F(WokenPhone, IsWokenBesideAThousandOthers) {
  std::vector<std::shared_ptr<FakePeer>> agents;
  for (int i = 0; i < 1000; ++i) {
    const std::string name = "pairing-" + std::to_string(i);
    auto other = world.relay.joinPhone("A", name);
    world.relay.say(*other, PushWorld::subscription(kEndpoint + name, world.service.publicKey().value()));
    world.relay.rooms.leave(*other, world.relay.instant);
    agents.push_back(world.relay.joinAgent(name));
  }
  for (std::size_t i = 0; i < agents.size(); ++i) {
    const std::string name = "pairing-" + std::to_string(i);
    auto message = PushWorld::push("p1");
    message["subscriptionID"] = pushSubscriptionID(name, "A", kEndpoint + name);
    world.relay.say(*agents[i], message);
  }
  for (int i = 0; i < 1000; ++i) {
    ASSERT_LE(world.transport.waiting.size(), world.limits.connectionsOfHost);
    ASSERT_FALSE(world.transport.waiting.empty());
    world.transport.answer(201);
  }
  for (const auto& one : agents) EXPECT_EQ(PushWorld::resultOf(*one, "p1"), "accepted");
  EXPECT_EQ(world.service.queued(), 0U);
}

// ---- Shares

TEST_F(WokenPhone, IsSentNothingMoreOnceAnotherRelayHasTakenItsSubscriptionAway) {
  send(PushWorld::push("p1"));
  send(PushWorld::push("p2"));
  ASSERT_EQ(world.transport.requests.size(), 1U);
  world.store.subscriptions[kPairing].clear();
  world.transport.answer(201);
  EXPECT_EQ(world.transport.requests.size(), 1U);
  EXPECT_EQ(PushWorld::resultOf(*agent, "p2"), "gone unknown");
}

TEST_F(WokenPhone, WritesNoSubscriptionsWithoutEnd) {
  int written = 0;
  std::string reason;
  for (int i = 0; i < 40; ++i) {
    const auto answer = subscribeAgain(kEndpoint + std::to_string(i));
    if (answer["subscribed"] == true) ++written;
    reason = answer.value("reason", "");
    world.run(std::chrono::seconds(1));
  }
  EXPECT_LT(written, 30);
  EXPECT_EQ(reason, "notNow");
}

// ---- A database that takes time

TEST_F(WokenPhone, IsNotKeptWhereTheSubscriptionsOfAllTakeTooMuchMemory) {
  const std::string another = "https://push.example/send/another";
  world.limits.subscriptionBytes = world.store.subscriptionBytes() + 100;
  EXPECT_EQ(subscribeAgain(another).value("reason", ""), "notNow");
  EXPECT_EQ(world.store.subscriptions.at(kPairing).front().endpoint, kEndpoint) << "The earlier one stays.";
  EXPECT_EQ(world.log.lines.size(), 1U);
  world.relay.say(*phone, {{"type", "push.unsubscribe"}});
  EXPECT_EQ(subscribeAgain(another).value("subscribed", false), true);
}

TEST_F(WokenPhone, IsToldThatItIsSubscribedOnceThatIsKept) {
  world.store.takesTime = true;
  phone = world.relay.joinPhone("A");
  world.subscribe(*phone, kEndpoint + "-2");
  EXPECT_THAT(phone->ofType("push.subscription"), IsEmpty());
  ASSERT_EQ(world.store.waiting.size(), 1U);
  world.store.waiting.front()(true);
  ASSERT_EQ(phone->ofType("push.subscription").size(), 1U);
  EXPECT_EQ(phone->newest()["subscribed"], true);
  EXPECT_EQ(list()[0]["subscriptionID"], PushWorld::idOf("A", kEndpoint + "-2"));
}

TEST_F(WokenPhone, IsToldToTryAgainWhereItCouldNotBeKept) {
  world.store.takesTime = true;
  phone = world.relay.joinPhone("A");
  world.subscribe(*phone, kEndpoint + "-2");
  world.store.waiting.front()(false);
  EXPECT_EQ(phone->ofType("push.subscription").back().value("reason", ""), "notNow");
}

TEST_F(WokenPhone, IsToldThatItIsUnsubscribedOnceThatIsKept) {
  world.store.takesTime = true;
  phone = world.relay.joinPhone("A");
  world.relay.say(*phone, {{"type", "push.unsubscribe"}});
  EXPECT_THAT(phone->ofType("push.subscription"), IsEmpty());
  world.store.waiting.front()(true);
  EXPECT_EQ(phone->ofType("push.subscription").back().value("reason", ""), "unsubscribed");
}

TEST_F(WokenPhone, IsToldNothingOfWhatWasKeptAfterItHasLeft) {
  world.store.takesTime = true;
  phone = world.relay.joinPhone("A");
  world.subscribe(*phone, kEndpoint + "-2");
  world.relay.rooms.leave(*phone, world.relay.instant);
  world.store.waiting.front()(true);
  EXPECT_THAT(phone->ofType("push.subscription"), IsEmpty());
  EXPECT_EQ(list()[0]["subscriptionID"], PushWorld::idOf("A", kEndpoint + "-2")) << "The computer is.";
}

TEST(PushSubscriptions, AreNobodysBusinessOnceTheServiceHasEnded) {
  std::vector<std::function<void(bool)>> waiting;
  {
    PushWorld world;
    const auto phone = world.relay.joinPhone("A");
    world.store.takesTime = true;
    world.subscribe(*phone);
    waiting = world.store.waiting;
  }
  ASSERT_EQ(waiting.size(), 1U);
  // Nothing that has ended is touched: the address sanitizer would say so.
  waiting.front()(true);
}

}  // namespace
}  // namespace quillard::relayserver
