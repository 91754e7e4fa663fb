#include <gtest/gtest.h>

#include "companion/relay/push/PushQueue.h"

namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

// A queue in virtual time.
class Queue : public testing::Test {
 protected:
  static PushOrder order(const std::string& pushID, const std::string& device = "A",
                         const std::string& host = "push.example") {
    return {.pairingID = "office-1",
            .deviceID = device,
            .subscriptionID = device + "@" + host,
            .pushID = pushID,
            .endpoint = {.host = host, .port = 443, .target = "/" + device},
            .body = "body",
            .ttl = 300s,
            .urgency = "high",
            .topic = ""};
  }
  static PushOrder withTopic(PushOrder order, const std::string& topic) {
    order.topic = topic;
    return order;
  }
  static PushOrder of(PushOrder order, const std::string& pairingID) {
    order.pairingID = pairingID;
    order.subscriptionID += pairingID;
    return order;
  }
  // The name of the next one, which is posted now; empty: there is none. `number` is set.
  std::string post() {
    const auto start = queue.next(now);
    if (!start) return "";
    number = start->number;
    ttl = start->ttl;
    return start->order->pushID;
  }
  std::optional<PushOutcome> answer(int status, std::optional<std::chrono::seconds> retryAfter = std::nullopt) {
    return queue.finish(number, {.status = status, .retryAfter = retryAfter}, now);
  }
  // Posts the next one and has it answered: how it ended.
  std::string outcome(int status) {
    EXPECT_NE(post(), "");
    const auto ended = answer(status);
    if (!ended) return "waits";
    return std::string(pushStatusName(ended->status)) + (ended->reason.empty() ? "" : " ") + std::string(ended->reason);
  }

  PushLimits limits;
  Instant now{1h};
  PushQueue queue{limits};
  std::uint64_t number = 0;
  std::chrono::seconds ttl{0};
};

TEST_F(Queue, LetsThePushesOfOnePairingNotWaitForAllOfAnother) {
  for (const std::string device : {"A", "B", "C"}) (void)queue.add(order("p" + device, device), now);
  (void)queue.add(of(order("other", "D"), "office-2"), now);
  EXPECT_EQ(post(), "pA");
  EXPECT_EQ(post(), "other");
  EXPECT_EQ(post(), "pB");
}

TEST_F(Queue, LetsThePushesOfOneAddressNotWaitForAllOfAnother) {
  const auto from = [](PushOrder order, const std::string& address) {
    order.address = address;
    return order;
  };
  for (const std::string name : {"1", "2", "3"}) {
    (void)queue.add(from(of(order("p" + name, name), "office-" + name), "192.0.2.1"), now);
  }
  (void)queue.add(from(of(order("other", "D"), "office-9"), "192.0.2.2"), now);
  EXPECT_EQ(post(), "p1");
  EXPECT_EQ(post(), "other");
}

TEST_F(Queue, LetsHostsTakeTurns) {
  limits.connectionsOfPairing = 100;
  for (const std::string device : {"A", "B"}) {
    (void)queue.add(order("a" + device, device, "a.example"), now);
    (void)queue.add(order("b" + device, device, "b.example"), now);
  }
  EXPECT_EQ(post(), "aA");
  EXPECT_EQ(post(), "bA");
  EXPECT_EQ(post(), "aB");
  EXPECT_EQ(post(), "bB");
}

TEST_F(Queue, LeavesConnectionsForOthers) {
  for (int i = 0; i < 8; ++i) (void)queue.add(order("p" + std::to_string(i), "D" + std::to_string(i)), now);
  for (std::size_t i = 0; i < limits.connectionsOfPairing; ++i) EXPECT_NE(post(), "");
  EXPECT_EQ(post(), "");
  (void)answer(201);
  EXPECT_NE(post(), "");
}

TEST_F(Queue, LeavesRoomForOtherAddresses) {
  limits.queuedOfAddress = 3;
  const auto add = [&](const std::string& name, const std::string& address) {
    auto one = of(order(name, name), "office-" + name);
    one.address = address;
    return std::string(queue.add(one, now).refused);
  };
  for (const std::string name : {"1", "2", "3"}) EXPECT_EQ(add(name, "192.0.2.1"), "");
  EXPECT_EQ(add("4", "192.0.2.1"), "busy");
  EXPECT_EQ(add("5", "192.0.2.2"), "");
  EXPECT_EQ(outcome(201), "accepted");
  EXPECT_EQ(add("6", "192.0.2.1"), "");
}

TEST_F(Queue, TakesBackWhatIsNotToBePosted) {
  (void)queue.add(order("p1"), now);
  ASSERT_EQ(post(), "p1");
  const auto ended = queue.cancel(number, "unknown", now);
  ASSERT_TRUE(ended);
  EXPECT_EQ(ended->status, PushStatus::gone);
  EXPECT_EQ(ended->reason, "unknown");
  EXPECT_EQ(queue.size(), 0U);
  EXPECT_EQ(queue.posted(), 0U);
  EXPECT_EQ(queue.cancel(number, "unknown", now), std::nullopt);
}

TEST_F(Queue, EndsAPushByWhatThePushServiceAnswers) {
  const std::vector<std::pair<int, std::string>> table{
      {200, "accepted"},          {201, "accepted"},          {202, "accepted"},           {204, "accepted"},
      {404, "gone expired"},      {410, "gone expired"},      {413, "refused tooLarge"},   {400, "refused malformed"},
      {405, "refused malformed"}, {100, "refused malformed"}, {301, "refused notAllowed"}, {308, "refused notAllowed"}};
  int device = 0;
  for (const auto& [status, expected] : table) {
    EXPECT_TRUE(queue.add(of(order("p"), "pairing-" + std::to_string(++device)), now).refused.empty());
    EXPECT_EQ(outcome(status), expected) << status;
  }
  EXPECT_EQ(queue.size(), 0U);
}

TEST_F(Queue, SaysHowLongAPushTook) {
  queue.add(order("p"), now);
  EXPECT_EQ(post(), "p");
  now += 2s;
  const auto ended = answer(201);
  ASSERT_TRUE(ended);
  EXPECT_EQ(ended->took, 2s);
  EXPECT_EQ(ended->deviceID, "A");
}

TEST_F(Queue, TriesOnceMoreWithANewTokenBeforeAPhoneHasToSubscribeAnew) {
  queue.add(order("p"), now);
  EXPECT_EQ(outcome(403), "waits");
  EXPECT_EQ(outcome(401), "refused subscribeAnew");
  queue.add(order("q"), now);
  EXPECT_EQ(outcome(401), "waits");
  EXPECT_EQ(outcome(201), "accepted");
}

TEST_F(Queue, WaitsTwiceAsLongEachTimeUntilTheTtlEnds) {
  queue.add(order("p"), now);
  std::vector<std::chrono::seconds> tries;
  const Instant begin = now;
  std::string ended;
  for (; ended.empty() && now < begin + 400s; now += 1s) {
    if (queue.next(now)) {
      tries.push_back(std::chrono::duration_cast<std::chrono::seconds>(now - begin));
      number = 1;
      if (const auto outcome = answer(429)) ended = outcome->reason;
    }
  }
  EXPECT_EQ(ended, "tooLate");
  const std::vector<std::chrono::seconds> expected{0s, 2s, 6s, 14s, 30s, 62s, 122s, 182s, 242s, 299s};
  EXPECT_EQ(tries, expected);
}

TEST_F(Queue, WaitsAsRetryAfterSays) {
  queue.add(order("p"), now);
  EXPECT_EQ(post(), "p");
  EXPECT_FALSE(answer(429, 100s));
  now += 99s;
  EXPECT_EQ(post(), "");
  now += 1s;
  EXPECT_EQ(post(), "p");
  EXPECT_EQ(ttl, 200s);
  const auto ended = answer(429, 200s);
  ASSERT_TRUE(ended);
  EXPECT_EQ(ended->status, PushStatus::unreachable);
}

TEST_F(Queue, EndsWhatWaitsWhenItsTtlDoes) {
  queue.add(order("p"), now);
  EXPECT_EQ(outcome(503), "waits");
  now += 299s;
  EXPECT_TRUE(queue.expire(now).empty());
  now += 1s;
  EXPECT_EQ(post(), "");
  const auto ended = queue.expire(now);
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(ended[0].status, PushStatus::unreachable);
  EXPECT_EQ(ended[0].reason, "tooLate");
}

TEST_F(Queue, GivesAPushWithoutTtlOneTry) {
  auto immediate = order("p");
  immediate.ttl = 0s;
  queue.add(immediate, now);
  now += 5s;
  EXPECT_EQ(post(), "p");
  EXPECT_EQ(ttl, 0s);
  EXPECT_TRUE(answer(201));
  queue.add(immediate, now);
  EXPECT_EQ(outcome(503), "unreachable tooLate");
  now += 2s;
  queue.add(immediate, now);
  now += 10s;
  EXPECT_EQ(post(), "");
  EXPECT_EQ(queue.expire(now).size(), 1U);
}

TEST_F(Queue, ReplacesWhatWaitsWithTheSameTopic) {
  queue.add(withTopic(order("first"), "t"), now);
  EXPECT_EQ(post(), "first");
  EXPECT_FALSE(queue.add(withTopic(order("second"), "t"), now).replaced);
  EXPECT_FALSE(queue.add(withTopic(order("other"), "u"), now).replaced);
  EXPECT_FALSE(queue.add(withTopic(order("elsewhere", "B"), "t"), now).replaced);
  const auto replaced = queue.add(withTopic(order("third"), "t"), now).replaced;
  ASSERT_TRUE(replaced);
  EXPECT_EQ(replaced->pushID, "second");
  EXPECT_EQ(replaced->status, PushStatus::replaced);
  EXPECT_EQ(queue.size(), 4U);
}

TEST_F(Queue, PostsOneAtATimeToAPhoneAndInTheirOrder) {
  queue.add(order("first"), now);
  queue.add(order("second"), now);
  queue.add(order("other", "B"), now);
  EXPECT_EQ(post(), "first");
  const auto first = number;
  EXPECT_EQ(post(), "other");
  EXPECT_EQ(post(), "");
  number = first;
  EXPECT_FALSE(answer(429, 1s));
  now += 1s;
  EXPECT_EQ(post(), "first");
  EXPECT_FALSE(answer(429, 10s));
  now += 9s;
  EXPECT_EQ(post(), "");  // The push service asks for time, whatever waits for that phone.
  now += 1s;
  EXPECT_EQ(outcome(201), "accepted");
  EXPECT_EQ(post(), "second");
}

TEST_F(Queue, BoundsHowManyAreUnderWayAtAHostAndInAll) {
  limits.connectionsOfHost = 2;
  limits.connections = 3;
  for (const std::string device : {"A", "B", "C"}) queue.add(order(device, device, "one.example"), now);
  queue.add(order("D", "D", "two.example"), now);
  queue.add(order("E", "E", "two.example"), now);
  EXPECT_EQ(post(), "A");
  EXPECT_EQ(post(), "D");
  EXPECT_EQ(post(), "B");
  EXPECT_EQ(post(), "");
  EXPECT_TRUE(answer(201));
  EXPECT_EQ(post(), "E");
}

TEST_F(Queue, TriesAHostThatDoesNotAnswerWithOneAtATime) {
  for (const std::string device : {"A", "B", "C", "D"}) queue.add(order(device, device), now);
  queue.add(order("other", "A", "other.example"), now);
  EXPECT_EQ(post(), "other");  // By their names; it is answered in between.
  EXPECT_TRUE(answer(201));
  EXPECT_EQ(post(), "A");
  EXPECT_FALSE(answer(0));
  EXPECT_EQ(post(), "");
  now += 2s;
  EXPECT_EQ(post(), "A");
  EXPECT_EQ(post(), "");
  EXPECT_TRUE(answer(201));
  EXPECT_EQ(post(), "B");
  EXPECT_EQ(post(), "C");
  EXPECT_EQ(post(), "D");
}

TEST_F(Queue, LetsOneHostThatFailsStopNoOther) {
  for (const std::string device : {"A", "B"}) queue.add(order(device, device, "dead.example"), now);
  EXPECT_EQ(post(), "A");
  EXPECT_FALSE(answer(500, 60s));
  EXPECT_EQ(post(), "");
  queue.add(order("C", "C", "fine.example"), now);
  EXPECT_EQ(outcome(201), "accepted");
}

TEST_F(Queue, LimitsAPhoneAPairingAndAll) {
  limits.queuedOfPairing = 12;
  limits.queued = 13;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(queue.add(order("p"), now).refused, "");
  EXPECT_EQ(queue.add(order("p"), now).refused, "tooMany");
  EXPECT_EQ(queue.add(order("p", "B"), now).refused, "");
  EXPECT_EQ(queue.add(order("p", "B"), now).refused, "");
  EXPECT_EQ(queue.add(order("p", "B"), now).refused, "busy");
  EXPECT_EQ(queue.add(of(order("p"), "office-2"), now).refused, "");
  EXPECT_EQ(queue.add(of(order("p"), "office-2"), now).refused, "busy");
  now += 5s;
  EXPECT_EQ(queue.add(order("p"), now).refused, "busy");  // There is room in its rate again, and none in the queue.
}

TEST_F(Queue, LimitsAPairingWithManyPhones) {
  limits.queuedOfPairing = 1000;
  int taken = 0;
  for (int i = 0; i < 100; ++i) taken += queue.add(order("p", "D" + std::to_string(i)), now).refused.empty() ? 1 : 0;
  EXPECT_EQ(taken, 32);
}

TEST_F(Queue, EndsWhatWaitsForAPhoneThatHasNoSubscription) {
  queue.add(order("A"), now);
  queue.add(order("second"), now);
  queue.add(order("B", "B"), now);
  EXPECT_EQ(post(), "A");
  const auto ended = queue.endWaiting("office-1", "A", "expired", now);
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(ended[0].pushID, "second");
  EXPECT_EQ(ended[0].status, PushStatus::gone);
  EXPECT_TRUE(answer(410));
  EXPECT_EQ(queue.size(), 1U);
}

TEST_F(Queue, SaysNothingOfWhatWasForgotten) {
  queue.add(order("A"), now);
  queue.add(order("second"), now);
  queue.add(of(order("other"), "office-2"), now);
  EXPECT_EQ(post(), "A");
  queue.forget("office-1", "");
  EXPECT_FALSE(answer(201));
  EXPECT_EQ(queue.size(), 1U);
  EXPECT_EQ(post(), "other");
}

TEST_F(Queue, TakesAnAnswerOnce) {
  queue.add(order("A"), now);
  EXPECT_EQ(post(), "A");
  EXPECT_TRUE(answer(201));
  EXPECT_FALSE(answer(201));
}

TEST(PushRequest, IsWhatRfc8030Asks) {
  PushRequest request{.endpoint = {.host = "push.example", .port = 8443, .target = "/send/1?x=2"},
                      .authorization = "vapid t=a.b.c, k=d",
                      .ttl = 300s,
                      .urgency = "high",
                      .topic = "abc",
                      .body = "sealed"};
  EXPECT_EQ(pushRequestText(request),
            "POST /send/1?x=2 HTTP/1.1\r\nHost: push.example:8443\r\nAuthorization: vapid t=a.b.c, k=d\r\nTTL: 300\r\n"
            "Urgency: high\r\nTopic: abc\r\nContent-Encoding: aes128gcm\r\nContent-Type: application/octet-stream\r\n"
            "Content-Length: 6\r\n\r\nsealed");
  request.topic = "";
  EXPECT_EQ(pushRequestText(request).find("Topic"), std::string::npos);
}

TEST(RetryAfter, IsWholeSeconds) {
  EXPECT_EQ(readRetryAfter("120"), 120s);
  EXPECT_EQ(readRetryAfter("0"), 0s);
  EXPECT_EQ(readRetryAfter("9999999999"), 1'000'000'000s);
  for (const char* text : {"", "-1", "1.5", "12 ", "Sun, 01 Mar 2026 12:34:56 GMT", "99999999999999999999999"}) {
    EXPECT_FALSE(readRetryAfter(text)) << text;
  }
}

}  // namespace
}  // namespace quillard::relayserver
