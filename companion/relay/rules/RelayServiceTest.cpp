#include <gtest/gtest.h>

#include "companion/relay/rules/RelayService.h"
#include "companion/relay/rules/RelayWorld.h"

namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

const std::string kPhone = "role=phone&pairing=" + kPairing + "&deviceID=A&deviceName=Ana";
const std::string kAgent = "role=mac&pairing=" + kPairing;

std::string headerOf(const HttpResponse& answer, const std::string& name) {
  for (const auto& [known, value] : answer.headers) {
    if (known == name) return value;
  }
  return "";
}

TEST(RelayService, TakesTheFirstTokenOfAPairingAndTheSameOneAgain) {
  RelayWorld world;
  EXPECT_EQ(world.registerToken().status, 204);
  EXPECT_EQ(world.registerToken().status, 204);
  EXPECT_EQ(world.registerToken(std::string(64, 'b')).status, 401);
  EXPECT_EQ(world.registerToken(kToken, "another").status, 204);
}

TEST(RelayService, LetsOnlyThePagesThatItKnowsAskFromElsewhere) {
  const std::string page = "https://phones.example:8443";
  RelayWorld world({}, nullptr, {"https://other.example", page});
  (void)world.registerToken();
  HttpRequest request{.method = "OPTIONS", .target = "/api/pairings/" + kPairing + "?deviceID=A", .origin = page};
  const auto leave = world.ask(request);
  EXPECT_EQ(leave.status, 204);
  EXPECT_EQ(headerOf(leave, "access-control-allow-origin"), page);
  EXPECT_EQ(headerOf(leave, "access-control-allow-methods"), "GET");
  EXPECT_EQ(headerOf(leave, "access-control-allow-headers"), "authorization");
  EXPECT_EQ(headerOf(leave, "vary"), "origin");
  request.method = "GET";
  EXPECT_EQ(world.ask(request).status, 401) << "What it asks is answered as ever,";
  EXPECT_EQ(headerOf(world.ask(request), "access-control-allow-origin"), page) << "and may be read.";
  request.authorization = {"Bearer " + kToken};
  EXPECT_EQ(world.ask(request).status, 200);
  for (const std::string& stranger :
       {std::string("https://phones.example"), page + "/", std::string("null"), std::string()}) {
    request.origin = stranger;
    EXPECT_EQ(headerOf(world.ask(request), "access-control-allow-origin"), "") << stranger;
    EXPECT_EQ(world.ask({.method = "OPTIONS", .target = request.target, .origin = stranger}).status, 405) << stranger;
  }
  EXPECT_EQ(headerOf(world.ask({.method = "GET", .target = "/healthz", .origin = page}), "access-control-allow-origin"),
            "");
}

TEST(RelayService, KeepsOnlyAHashOfTheToken) {
  RelayWorld world;
  (void)world.registerToken();
  EXPECT_EQ(world.store.entries.at(kPairing).token, hashOf(kToken));
}

TEST(RelayService, NeverLetsARevokedPairingComeBack) {
  RelayWorld world;
  (void)world.registerToken();
  world.pairings.revoke(kPairing, world.epochSeconds);
  EXPECT_EQ(world.registerToken().status, 410);
  EXPECT_EQ(world.registerToken(std::string(64, 'b')).status, 410);
  EXPECT_EQ(world.connect(kAgent), 410);
  EXPECT_EQ(world.connect(kPhone), 410);
  EXPECT_EQ(
      world.ask({.method = "GET", .target = "/api/pairings/" + kPairing, .authorization = {"Bearer " + kToken}}).status,
      410);
}

TEST(RelayService, RefusesAMalformedRegistration) {
  RelayWorld world({.registrations = {1000, 1}});
  EXPECT_EQ(world.registerToken(kToken, std::string(128, 'a')).status, 204);
  EXPECT_EQ(world.registerToken(kToken, std::string(129, 'a')).status, 400);
  EXPECT_EQ(world.registerToken(kToken, "UPPER").status, 400);
  EXPECT_EQ(world.registerToken(kToken, "a%00").status, 400);
  EXPECT_EQ(world.registerToken(std::string(31, 'a')).status, 400);
  EXPECT_EQ(world.registerToken(std::string(32, 'a'), "shortest").status, 204);
  EXPECT_EQ(world.registerToken(std::string(128, 'a'), "longest").status, 204);
  EXPECT_EQ(world.registerToken(std::string(129, 'a'), "too-long").status, 400);
  HttpRequest request{.method = "PUT", .target = "/api/pairings/new/relay-token", .body = "{}"};
  EXPECT_EQ(world.ask(request).status, 401);
  request.authorization = {"Basic abc"};
  EXPECT_EQ(world.ask(request).status, 401);
  request.authorization = {"bearer " + kToken};
  for (const std::string body :
       {"", "{}", "[]", R"({"client":"mac"})", R"({"client":"phone","version":1})", R"({"client":"mac","version":2})",
        R"({"client":"mac","version":1,"version":1})", R"({"client":"mac","version":1}x)"}) {
    request.body = body;
    EXPECT_EQ(world.ask(request).status, 400) << body;
  }
  request.body = R"( {"version":1, "client":"mac", "more":[]} )";
  EXPECT_EQ(world.ask(request).status, 204);
}

TEST(RelayService, TakesTwentyRegistrationsOfAnAddressAtOnceAndThenOneEveryThreeSeconds) {
  RelayWorld world;
  for (int i = 0; i < 20; ++i) EXPECT_EQ(world.registerToken().status, 204);
  const auto refused = world.registerToken();
  EXPECT_EQ(refused.status, 429);
  EXPECT_EQ(headerOf(refused, "retry-after"), "3");
  world.advance(2999ms);
  EXPECT_EQ(headerOf(world.registerToken(), "retry-after"), "1");
  world.advance(1ms);
  EXPECT_EQ(world.registerToken().status, 204);
  EXPECT_EQ(world.registerToken().status, 429);
  EXPECT_EQ(world.connect(kAgent), 101);  // Counted apart.
}

TEST(RelayService, HoldsAsManyPairingsAsItIsTold) {
  RelayWorld world({.pairings = 2});
  EXPECT_EQ(world.registerToken(kToken, "one").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "two").status, 204);
  for (const char* name : {"one", "two"}) EXPECT_EQ(world.connect("role=mac&pairing=" + std::string(name)), 101);
  EXPECT_EQ(world.registerToken(kToken, "three").status, 507);
  EXPECT_EQ(world.registerToken(kToken, "two").status, 204);
  world.pairings.revoke("one", world.epochSeconds);
  EXPECT_EQ(world.registerToken(kToken, "three").status, 204);
}

TEST(RelayService, TellsMembersWhoIsThere) {
  RelayWorld world;
  (void)world.registerToken();
  HttpRequest request{.method = "GET", .target = "/api/pairings/" + kPairing, .authorization = {"Bearer " + kToken}};
  EXPECT_EQ(*world.ask(request).body, R"({"macConnected":false,"phoneCount":0})");
  world.joinAgent();
  world.joinPhone("A");
  EXPECT_EQ(*world.ask(request).body, R"({"macConnected":true,"phoneCount":1})");
  request.authorization = {"Bearer " + std::string(64, 'b')};
  const auto wrong = world.ask(request);
  request.target = "/api/pairings/unknown";
  const auto unknown = world.ask(request);
  EXPECT_EQ(wrong.status, 401);
  EXPECT_EQ(unknown.status, 401);
  EXPECT_EQ(*wrong.body, *unknown.body);
  EXPECT_EQ(wrong.headers, unknown.headers);
  request.target = "/api/pairings/UPPER";
  EXPECT_EQ(world.ask(request).status, 400);
  request.authorization.clear();
  request.target = "/api/pairings/" + kPairing;
  EXPECT_EQ(world.ask(request).status, 401);
}

TEST(RelayService, AnswersAPhoneThatSaysItsNameAsAnyMember) {
  RelayWorld world;
  (void)world.registerToken();
  const auto status = [&](const std::string& query) {
    return world
        .ask({.method = "GET", .target = "/api/pairings/" + kPairing + query, .authorization = {"Bearer " + kToken}})
        .status;
  };
  EXPECT_EQ(status("?deviceID=A"), 200);
  EXPECT_EQ(status(""), 200);
  EXPECT_EQ(status("?deviceID="), 400);
  EXPECT_EQ(status("?deviceID=A&deviceID=B"), 400);
}

TEST(RelayService, GrantsWebSocketsToMembersOnly) {
  RelayWorld world;
  EXPECT_EQ(world.connect(kAgent), 401);
  (void)world.registerToken();
  EXPECT_EQ(world.connect(kAgent), 101);
  EXPECT_EQ(world.connect(kPhone), 101);
  EXPECT_EQ(world.connect(kAgent, std::string(64, 'b')), 401);
  EXPECT_EQ(world.connect(kAgent, "short"), 400);
}

TEST(RelayService, RefusesMalformedIntroductions) {
  RelayWorld world({.handshakes = {1000, 1}});
  (void)world.registerToken();
  const std::string pairing = "pairing=" + kPairing;
  for (const std::string& query :
       std::vector<std::string>{"",
                                pairing,
                                "role=mac",
                                "role=tablet&" + pairing,
                                "role=mac&role=mac&" + pairing,
                                "role=mac&" + pairing + "&" + pairing,
                                "role=mac&pairing=UPPER",
                                "role=mac&pairing=",
                                "role=phone&" + pairing,
                                kPhone + "&deviceID=B",
                                "role=phone&" + pairing + "&deviceID=A",
                                "role=phone&" + pairing + "&deviceName=Ana",
                                "role=phone&" + pairing + "&deviceID=&deviceName=Ana",
                                "role=phone&" + pairing + "&deviceID=a_b&deviceName=Ana",
                                "role=phone&" + pairing + "&deviceID=" + std::string(65, 'a') + "&deviceName=Ana",
                                "role=phone&" + pairing + "&deviceID=A&deviceName=" + std::string(65, 'n'),
                                "role=phone&" + pairing + "&deviceID=A&deviceName=a%0Ab",
                                "role=phone&" + pairing + "&deviceID=A&deviceName=%C2%85",
                                "role=phone&" + pairing + "&deviceID=A&deviceName=%FF",
                                kPhone + "&platform=" + std::string(33, 'p'),
                                kPhone + "&platform=%7F",
                                kPhone + "&x=%",
                                kPhone + "&x=%4",
                                kPhone + "&x=%zz"}) {
    EXPECT_EQ(world.connect(query), 400) << query;
  }
  EXPECT_EQ(world.connect("x=1&x=2&token=abc&" + kPhone + "&platform=" + std::string(32, 'p')), 101);
  // 64 characters, not bytes.
  std::string name;
  for (int i = 0; i < 64; ++i) name += "%F0%9F%93%B1";
  EXPECT_EQ(world.connect("role=phone&" + pairing + "&deviceID=" + std::string(64, 'a') + "&deviceName=" + name), 101);
}

TEST(RelayService, RefusesOnePhoneTooMany) {
  RelayWorld world;
  (void)world.registerToken();
  for (int i = 0; i < 8; ++i) world.joinPhone(std::to_string(i));
  EXPECT_EQ(world.connect("role=phone&pairing=" + kPairing + "&deviceID=9&deviceName=x"), 503);
  EXPECT_EQ(world.connect("role=phone&pairing=" + kPairing + "&deviceID=3&deviceName=x"), 101);
}

TEST(RelayService, TakesSixtyHandshakesOfAnAddressAtOnceAndThenOneASecond) {
  RelayWorld world;
  for (int i = 0; i < 60; ++i) EXPECT_EQ(world.connect(kAgent), 401);
  EXPECT_EQ(world.connect(kAgent), 429);
  EXPECT_EQ(world.connect(kAgent, kToken, "192.0.2.2"), 401);
  world.advance(999ms);
  EXPECT_EQ(world.connect(kAgent), 429);
  world.advance(1ms);
  EXPECT_EQ(world.connect(kAgent), 401);
  EXPECT_EQ(world.connect(kAgent), 429);
}

TEST(RelayService, RefusesPeersOnceItIsStopping) {
  RelayWorld world;
  (void)world.registerToken();
  EXPECT_EQ(*world.ask({.method = "GET", .target = "/healthz"}).body, "ok");
  world.service.stop();
  EXPECT_EQ(world.ask({.method = "GET", .target = "/healthz"}).status, 503);
  EXPECT_EQ(world.connect(kAgent), 503);
}

TEST(RelayService, AnswersEverythingElseWithThePage) {
  RelayWorld world;
  world.page.add("index.html", "<p>");
  world.page.add("assets/index-B7f3x_Qa.js", "1");
  const auto status = [&](const std::string& target, const std::string& method = "GET") {
    return world.ask({.method = method, .target = target}).status;
  };
  EXPECT_EQ(status("/"), 200);
  EXPECT_EQ(status("/?x=1"), 200);
  EXPECT_EQ(status("/index.html", "HEAD"), 200);
  EXPECT_EQ(status("/assets/index-B7f3x_Qa.js"), 200);
  for (const char* target : {"/nothing", "/assets", "/assets/", "/..", "/assets/../index.html", "/%2e%2e/index.html",
                             "/assets%2Findex-B7f3x_Qa.js", "//index.html", "/healthz/x", "/api", "/api/pairings",
                             "/api/pairings/a/b", "/api/pairings/a/relay-token/x"}) {
    EXPECT_EQ(status(target), 404) << target;
  }
  for (const char* target : {"", "*", "http://x/", "/\x01", "/a b", "/%0", "/%00", "/#x"}) {
    EXPECT_EQ(status(target), 400) << target;
  }
  EXPECT_EQ(status("/", "POST"), 405);
  EXPECT_EQ(status("/api/pairings/a/relay-token", "GET"), 405);
  EXPECT_EQ(status("/api/pairings/a", "DELETE"), 405);
  EXPECT_EQ(status("/ws"), 426);
}

TEST(RelayService, SaysSoWhenItsDatabaseFails) {
  RelayWorld world;
  (void)world.registerToken();
  world.store.fails = true;
  EXPECT_EQ(world.registerToken().status, 500);
  EXPECT_EQ(world.connect(kAgent), 500);
  EXPECT_EQ(world.pairings.takeFailures().size(), 2U);
  EXPECT_TRUE(world.pairings.takeFailures().empty());
}

TEST(RelayService, WritesEveryErrorAsJsonThatIsNotKept) {
  RelayWorld world;
  const auto answer = world.ask({.method = "GET", .target = "/api"});
  EXPECT_EQ(*answer.body, R"({"error":"There is nothing at this address."})");
  EXPECT_EQ(headerOf(answer, "content-type"), "application/json");
  EXPECT_EQ(headerOf(answer, "cache-control"), "no-store");
}

TEST(RelayService, IsNotReadyWhileNothingCanBeWritten) {
  RelayWorld world;
  (void)world.registerToken();
  const auto ask = [&] { return world.ask({.method = "GET", .target = "/readyz"}).status; };
  world.store.failsToWrite = true;
  // What is known can still be read.
  EXPECT_EQ(world.registerToken().status, 204);
  EXPECT_EQ(ask(), 200);
  world.pairings.probe();
  EXPECT_EQ(ask(), 503);
  EXPECT_EQ(world.registerToken().status, 204);
  EXPECT_EQ(ask(), 503);
  world.store.failsToWrite = false;
  world.pairings.probe();
  EXPECT_EQ(ask(), 200);
}

TEST(RelayService, TellsReadinessFromHealth) {
  RelayWorld world;
  const auto ask = [&](const char* target) { return world.ask({.method = "GET", .target = target}).status; };
  EXPECT_EQ(ask("/readyz"), 200);
  world.store.fails = true;
  (void)world.registerToken();
  EXPECT_EQ(ask("/readyz"), 503);
  EXPECT_EQ(ask("/healthz"), 200);
  world.store.fails = false;
  world.pairings.probe();
  (void)world.registerToken();
  EXPECT_EQ(ask("/readyz"), 200);
  world.service.drain();
  EXPECT_EQ(ask("/readyz"), 503);
  EXPECT_EQ(ask("/healthz"), 200);
  EXPECT_EQ(world.connect(kAgent), 101);
  world.service.stop();
  EXPECT_EQ(ask("/healthz"), 503);
  EXPECT_EQ(world.connect(kAgent), 503);
}

TEST(Pairings, TellNobodyOfARevocationThatTheDatabaseDidNotTakeAndTryAgain) {
  RelayWorld world;
  (void)world.registerToken();
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.store.fails = true;
  world.say(*agent, unpair());
  EXPECT_EQ(agent->closed, CloseCode::stopping);
  EXPECT_EQ(phone->closed, CloseCode::stopping);
  EXPECT_EQ(world.registerToken().status, 500);
  EXPECT_EQ(world.connect(kAgent), 500);
  world.store.fails = false;
  EXPECT_EQ(world.connect(kAgent), 500);
  world.pairings.retryUnsaved(world.epochSeconds);
  EXPECT_EQ(world.connect(kAgent), 410);
  EXPECT_EQ(world.registerToken().status, 410);
  EXPECT_FALSE(world.store.entries.at(kPairing).token);
}

TEST(Pairings, ForgetThoseUnusedForFourHundredDaysButNoRevocation) {
  RelayWorld world;
  (void)world.registerToken(kToken, "old");
  (void)world.registerToken(kToken, "used");
  (void)world.registerToken(kToken, "revoked");
  for (const char* name : {"old", "used"}) EXPECT_EQ(world.connect("role=mac&pairing=" + std::string(name)), 101);
  world.pairings.revoke("revoked", world.epochSeconds);
  world.advance(24h * 200);
  EXPECT_EQ(world.pairings.membershipOf("used", kToken, world.epochSeconds), Pairings::Membership::member);
  world.advance(24h * 200);
  EXPECT_TRUE(world.pairings.tidy(world.epochSeconds).empty());
  world.advance(1s);
  EXPECT_EQ(world.pairings.tidy(world.epochSeconds), std::vector<std::string>{"old"});
  EXPECT_EQ(world.pairings.count(), 1U);
  EXPECT_EQ(world.registerToken(std::string(64, 'b'), "old").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "revoked").status, 410);
}

// ---- Who is the computer

const std::string kKey(64, 'c');
const std::string kOtherKey(64, 'd');

TEST(ComputerKey, IsAskedForWhereTheAgentHasNoneYetAndRequiredFromThenOn) {
  RelayWorld world;
  EXPECT_EQ(world.registerComputer("new"), 428);
  EXPECT_FALSE(world.store.find(kPairing)) << "Nothing is kept before there is a key.";
  EXPECT_EQ(world.registerComputer(kKey), 204);
  EXPECT_EQ(world.connectAgent(kKey), 101);
  EXPECT_EQ(world.connectAgent(""), 401);
  EXPECT_EQ(world.connectAgent(kOtherKey), 401);
  EXPECT_EQ(world.registerComputer(kKey), 204);
}

TEST(ComputerKey, KeepsAPhoneThatHasTheTokenFromPosingAsTheComputer) {
  RelayWorld world;
  world.registerComputer(kKey);
  EXPECT_EQ(world.connect("role=mac&pairing=" + kPairing), 401) << "So it can revoke nothing and send no list.";
  EXPECT_EQ(world.registerComputer(kOtherKey), 409);
  EXPECT_EQ(world.registerComputer("new"), 409);
  EXPECT_EQ(world.registerComputer(""), 204) << "The token is right, and that changes nothing:";
  EXPECT_EQ(world.connectAgent(kOtherKey), 401);
  EXPECT_EQ(world.connect("role=phone&pairing=" + kPairing + "&deviceID=A&deviceName=A"), 101);
}

TEST(ComputerKey, IsNotAskedOfAnAgentThatKnowsNoneUntilOneWasShown) {
  RelayWorld world;
  EXPECT_EQ(world.registerComputer(""), 204);
  EXPECT_EQ(world.connectAgent(""), 101);
  EXPECT_EQ(world.registerComputer("new"), 428) << "A newer agent of the same pairing.";
  EXPECT_EQ(world.registerComputer(kKey), 204);
  EXPECT_EQ(world.connectAgent(""), 401);
}

TEST(ComputerKey, SaysNothingOfThePairingToWhoHasAnotherToken) {
  RelayWorld world;
  world.registerComputer(kKey);
  for (const std::string& key : {std::string("new"), kKey, kOtherKey}) {
    EXPECT_EQ(world.registerComputer(key, std::string(64, 'b')), 401);
  }
}

TEST(ComputerKey, IsMalformedWhereATokenWouldBe) {
  RelayWorld world;
  for (const std::string key : {"New", "short", "with space and more than thirty-two letters"}) {
    EXPECT_EQ(world.registerComputer(key), 400) << key;
    EXPECT_EQ(world.connectAgent(key), 400) << key;
  }
  EXPECT_EQ(world
                .ask({.method = "PUT",
                      .target = "/api/pairings/" + kPairing + "/relay-token",
                      .body = R"({"client":"mac","version":1})",
                      .authorization = {"Bearer " + kToken},
                      .computerKey = {kKey, kKey}})
                .status,
            400);
}

TEST(ComputerKey, LetsNobodyInWhileTheStoreFails) {
  RelayWorld world;
  world.registerComputer(kKey);
  world.store.fails = true;
  EXPECT_EQ(world.connectAgent(kKey), 500);
}

}  // namespace
}  // namespace quillard::relayserver
