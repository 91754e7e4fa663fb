#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "relay/PushMessages.h"

namespace quillard {
namespace {

const std::string kPoint = "BCVxsr7N_eNgVRqvHtD0zTZsEc6-VV-JvLexhqUzORcxaOzi6-AYWXvTBHm4bjyPjs7Vd8pZGH6SRpkNtoIAiw4";

Json json(const std::string& text) { return std::get<Json>(parseStrictJson(text)); }

Json subscription() { return {{"deviceID", "A"}, {"p256dh", kPoint}, {"auth", "BTBZMqHH6r4Tts7J_aSIgg"}}; }

// Why it is not taken; empty: it is.
std::string problem(const Json& json) {
  const auto read = readSubscription(*jsonText(json));
  const auto* error = std::get_if<JsonError>(&read);
  return error ? error->description() : "";
}

TEST(PushMessages, ReadsWhichPhonesCanBeWoken) {
  const auto read = readPushSubscriptions(json(
      R"({"type":"push.subscriptions","subscriptions":[{"deviceID":"A","subscriptionID":"0a","encryptedSubscription":)"
      R"({"version":1,"nonce":"n","ciphertext":"c"},"refused":true,"more":1}]})"));
  const auto& message = std::get<PushSubscriptionsRelayMessage>(read);
  const PushSubscriptionRecord expected{.deviceID = "A",
                                        .subscriptionID = "0a",
                                        .encryptedSubscription = {.version = 1, .nonce = "n", .ciphertext = "c"},
                                        .isRefused = true};
  EXPECT_EQ(message.subscriptions, std::vector{expected});
}

TEST(PushMessages, TakesNoMoreOfThemThanAPairingHas) {
  Json list = Json::array();
  for (int i = 0; i < 20; ++i) {
    list.push_back({{"deviceID", std::to_string(i)},
                    {"subscriptionID", "0a"},
                    {"encryptedSubscription", {{"version", 1}, {"nonce", ""}, {"ciphertext", ""}}}});
  }
  const auto read = readPushSubscriptions({{"subscriptions", list}});
  EXPECT_EQ(std::get<PushSubscriptionsRelayMessage>(read).subscriptions.size(), kMostSubscriptions);
}

TEST(PushMessages, RefusesListsThatAreNone) {
  for (
      const auto* text :
      {R"({})", R"({"subscriptions":{}})", R"({"subscriptions":[1]})", R"({"subscriptions":[{"deviceID":"A"}]})",
       R"({"subscriptions":[{"deviceID":"A b","subscriptionID":"0","encryptedSubscription":{"version":1,"nonce":"","ciphertext":""}}]})",
       R"({"subscriptions":[{"deviceID":"A","subscriptionID":"","encryptedSubscription":{"version":1,"nonce":"","ciphertext":""}}]})",
       R"({"subscriptions":null})",
       R"({"subscriptions":[{"deviceID":1,"subscriptionID":"0","encryptedSubscription":{}}]})",
       R"({"subscriptions":[{"deviceID":"A","subscriptionID":"0","encryptedSubscription":[]}]})",
       R"({"subscriptions":[{"deviceID":"A","subscriptionID":"0","encryptedSubscription":{"version":"1","nonce":"","ciphertext":""}}]})",
       R"({"subscriptions":[{"deviceID":"A","subscriptionID":"0","encryptedSubscription":{"version":1,"nonce":"","ciphertext":""},"refused":1}]})"}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(readPushSubscriptions(json(text)))) << text;
  }
}

TEST(PushMessages, ReadsWhatBecameOfAPush) {
  for (const auto* status : {"accepted", "replaced", "gone", "refused", "unreachable"}) {
    const auto read = readPushResult({{"pushID", "p"}, {"deviceID", "A"}, {"status", status}, {"reason", "tooMany"}});
    const auto& message = std::get<PushResultRelayMessage>(read);
    EXPECT_EQ(nameOf(message.status), status);
    EXPECT_EQ(message.reason, "tooMany");
  }
  EXPECT_EQ(std::get<PushResultRelayMessage>(
                readPushResult({{"pushID", "p"}, {"deviceID", "A"}, {"status", "gone"}, {"reason", "two words"}}))
                .reason,
            "");
  for (const auto* text :
       {R"({})", R"({"pushID":"p","deviceID":"A","status":"other"})",
        R"({"pushID":"p\n","deviceID":"A","status":"gone"})", R"({"pushID":"p","status":"gone"})",
        R"({"pushID":"","deviceID":"A","status":"gone"})", R"({"pushID":1,"deviceID":"A","status":"gone"})",
        R"({"pushID":"p","deviceID":"A","status":1})", R"({"pushID":"p","deviceID":"A","status":"gone","reason":1})"}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(readPushResult(json(text)))) << text;
  }
}

TEST(PushMessages, SendsWithTheMostUrgency) {
  const auto sent = toJson(PushSendRelayMessage{
      .pushID = "p", .deviceID = "A", .subscriptionID = "0a", .body = "AAAA", .ttl = 900, .topic = "00ff"});
  EXPECT_EQ(*jsonText(sent),
            R"({"type":"push.send","pushID":"p","deviceID":"A","subscriptionID":"0a","body":"AAAA","ttl":900,)"
            R"("urgency":"high","topic":"00ff"})");
}

TEST(PushMessages, ReadsHowAPhoneIsWoken) {
  auto given = subscription();
  given["page"] = "https://relay.example/page/";
  given["shows"] = "computer";
  given["language"] = "de-AT";
  given["sequence"] = 9'007'199'254'740'991;
  given["computer"] = "Studio";
  const auto command = std::get<SubscriptionCommand>(readSubscription(*jsonText(given)));
  EXPECT_EQ(command.deviceID, "A");
  EXPECT_EQ(command.keyText, kPoint);
  EXPECT_EQ(command.keys.p256dh[0], 4);
  EXPECT_EQ(command.keys.auth.view().size(), PushKeys::kAuth);
  EXPECT_EQ(command.keys.auth.view().front(), 5);
  EXPECT_EQ(command.page, "https://relay.example/page/");
  EXPECT_EQ(command.content, PushContent::computer);
  EXPECT_EQ(command.computer, "Studio");
  EXPECT_EQ(command.language, Language::german);
  EXPECT_EQ(command.sequence, 9'007'199'254'740'991);
}

TEST(PushMessages, APhoneThatSaysNoMoreIsShownEverything) {
  const auto command = std::get<SubscriptionCommand>(readSubscription(*jsonText(subscription())));
  EXPECT_EQ(command.content, PushContent::prompt);
  EXPECT_EQ(command.page, "");
  EXPECT_EQ(command.computer, "");
  EXPECT_EQ(command.language, Language::english);
  EXPECT_EQ(command.sequence, 0);
}

TEST(PushMessages, ALanguageWithoutTextsIsEnglish) {
  for (const auto* language : {"", "fr", "den", "x-de"}) {
    auto given = subscription();
    given["language"] = language;
    EXPECT_EQ(std::get<SubscriptionCommand>(readSubscription(*jsonText(given))).language, Language::english)
        << language;
  }
}

TEST(PushMessages, RefusesSubscriptionsThatAreNone) {
  struct Bad {
    const char* name;
    Json value;
  };
  const Bad table[] = {{"deviceID", nullptr},
                       {"deviceID", "two words"},
                       {"deviceID", std::string(65, 'a')},
                       {"p256dh", nullptr},
                       {"p256dh", 4},
                       {"auth", nullptr},
                       {"auth", Json::array()},
                       {"page", 1},
                       {"shows", true},
                       {"language", 1},
                       {"language", std::string(36, 'a')},
                       {"computer", Json::object()},
                       {"computer", std::string(101, 'a')},
                       {"sequence", 0},
                       {"sequence", -1},
                       {"sequence", 1.5},
                       {"sequence", 9'007'199'254'740'992},
                       {"sequence", "5"}};
  for (const auto& [name, value] : table) {
    auto given = subscription();
    given[name] = value;
    EXPECT_NE(problem(given), "") << name << " " << value.dump();
  }
  for (const auto* text : {"", "[]", "null", "{", R"({"deviceID":"A","deviceID":"A"})"}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(readSubscription(text))) << text;
  }
}

TEST(PushMessages, WhatIsNotKnownOfTheLockScreenShowsLess) {
  auto given = subscription();
  given["shows"] = "something";
  EXPECT_EQ(std::get<SubscriptionCommand>(readSubscription(*jsonText(given))).content, PushContent::computer);
}

TEST(PushMessages, RefusesKeysThatAreNone) {
  const auto with = [](const char* name, const std::string& value) {
    auto given = subscription();
    given[name] = value;
    return given;
  };
  EXPECT_EQ(problem(subscription()), "");
  EXPECT_NE(problem(with("p256dh", "")), "");
  EXPECT_NE(problem(with("p256dh", "AA")), "") << "The point at infinity.";
  EXPECT_NE(problem(with("p256dh", "A" + kPoint.substr(1))), "") << "Another form.";
  EXPECT_NE(problem(with("p256dh", kPoint + "=")), "");
  EXPECT_NE(problem(with("auth", "BTBZMqHH6r4Tts7J_aSIgh")), "") << "Bits beyond the last byte.";
  EXPECT_NE(problem(with("auth", "BTBZMqHH6r4Tts7J/aSIgg")), "") << "The other alphabet.";
  EXPECT_NE(problem(with("auth", "BTBZMqHH6r4Tts7J_aSI")), "") << "15 bytes.";
  EXPECT_NE(problem(with("deviceID", "")), "");
}

TEST(PushMessages, RefusesPagesThatNoNotificationMayLeadTo) {
  for (const std::string page :
       {"http://relay.example/", "javascript:alert(1)", "https://relay.example/#x", "https://user@relay.example/",
        "https://", "relay.example", "https://relay.example/a b", "data:text/html,x"}) {
    auto given = subscription();
    given["page"] = page;
    EXPECT_NE(problem(given), "") << page;
  }
  for (const std::string page :
       {"https://relay.example/", "https://relay.example:8443/x?y", "http://127.0.0.1:8080/"}) {
    auto given = subscription();
    given["page"] = page;
    EXPECT_EQ(problem(given), "") << page;
  }
  auto given = subscription();
  given["page"] = "https://relay.example/" + std::string(600, 'a');
  EXPECT_NE(problem(given), "");
}

}  // namespace
}  // namespace quillard
