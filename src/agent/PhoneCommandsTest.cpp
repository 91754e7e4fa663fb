#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "channel/ChannelClient.h"
#include "support/AgentWorld.h"

// The phones, as other programs of the user list and unpair them over the channel.
namespace quillard {
namespace {

using platform::simulated::SimulatedLocalSockets;
using samples::AgentWorld;
using samples::keptSecrets;
using samples::SimulatedPhone;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kRefusal =
    R"({"version":1,"type":"error","code":"notFound","message":"No such phone is paired."})";
constexpr const char* kNone = R"({"version":1,"type":"phones","phones":[]})";

// An agent whose first pairing has Ann's phone, and whose second one may get Ben's.
struct PhoneCommandsTest : testing::Test {
  void pairBen() {
    world.onMainThread([](AppDelegate& agent) { agent.pairAnotherPhone(); });
    world.advance(1);
    ben.pair(2);
    ben.comeOnline("Ben");
    world.advance(1);
  }
  // Two phones that share the first pairing.
  void pairMallory() {
    world.phone.comeOnlineTogether({"Mallory"});
    world.advance(1);
  }
  // What was answered within three seconds.
  std::string request(const std::string& type, const Json& members = Json::object()) {
    std::string answer;
    ChannelClient client(sockets, {.onMessage =
                                       [&](const auto& message) {
                                         answer += message.json.dump();
                                         keptWhenAnswered = pairingID(2);
                                       },
                                   .onEnd = [] {}});
    (void)client.open();
    client.send(channelLine(type, members));
    world.advance(3);
    return answer;
  }
  [[nodiscard]] std::string pairingID(int number) const {
    const auto secrets = keptSecrets(world.world, number);
    return secrets ? secrets->pairingID : "";
  }

  AgentWorld world;
  SimulatedLocalSockets sockets{world.world.socketFolder(), world.world.time().mainThread(), {}};
  SimulatedPhone ben{world.world, world.relay};
  std::string keptWhenAnswered;
};

TEST_F(PhoneCommandsTest, EveryPhoneIsListedWithItsPairing) {
  world.launch();
  world.advance(1);
  EXPECT_EQ(request("phones"), kNone);
  world.phone.pair();
  world.phone.comeOnline();
  pairMallory();
  pairBen();
  EXPECT_EQ(request("phones"),
            R"({"version":1,"type":"phones","phones":[)"
            R"({"name":"Ann's phone","pairing":1,"since":"2026-01-15T09:00:04Z","lastHeard":"2026-01-15T09:00:04Z",)"
            R"("connected":false,"decisions":0,"isUnexpected":false},)"
            R"({"name":"Mallory","pairing":1,"since":"2026-01-15T09:00:04Z","lastHeard":"2026-01-15T09:00:04Z",)"
            R"("connected":true,"decisions":0,"isUnexpected":true},)"
            R"({"name":"Ben","pairing":2,"since":"2026-01-15T09:00:06Z","lastHeard":"2026-01-15T09:00:06Z",)"
            R"("connected":true,"decisions":0,"isUnexpected":false}]})");
}

TEST_F(PhoneCommandsTest, OneIsUnpairedAndTheOthersStay) {
  world.launchAndPair();
  pairBen();
  const auto first = pairingID(1);
  const auto second = pairingID(2);
  EXPECT_EQ(request("unpair", {{"pairing", 2}}), R"({"version":1,"type":"unpaired","phones":["Ben"]})");
  EXPECT_EQ(keptWhenAnswered, "") << "The answer comes when its secrets are gone.";
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(second));
  EXPECT_EQ(pairingID(1), first);
  EXPECT_THAT(request("phones"), AllOf(HasSubstr("Ann's phone"), Not(HasSubstr("Ben"))));
  EXPECT_EQ(request("unpair", {{"pairing", 2}}), kRefusal) << "Nothing is unpaired twice.";
}

TEST_F(PhoneCommandsTest, ThoseThatShareAPairingGoTogether) {
  world.launchAndPair();
  pairMallory();
  const auto first = pairingID(1);
  EXPECT_EQ(request("unpair", {{"pairing", 1}}),
            R"({"version":1,"type":"unpaired","phones":["Ann's phone","Mallory"]})");
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(first));
  EXPECT_NE(pairingID(1), first);
  EXPECT_EQ(request("phones"), kNone);
}

TEST_F(PhoneCommandsTest, AllAreUnpairedAlsoWhileTheRelayIsAway) {
  world.launchAndPair();
  pairBen();
  const auto first = pairingID(1);
  world.relay.goDown();
  world.advance(1);
  EXPECT_EQ(request("unpair", {{"all", true}}), R"({"version":1,"type":"unpaired","phones":["Ann's phone","Ben"]})");
  EXPECT_NE(pairingID(1), first);
  EXPECT_EQ(pairingID(2), "");
  EXPECT_EQ(request("phones"), kNone);
}

TEST_F(PhoneCommandsTest, AllAreUnpairedAlsoWhereNoneIsKnown) {
  world.launchAndPair();
  const auto first = pairingID(1);
  world.onMainThread([](AppDelegate& agent) { agent.applicationWillTerminate(); });
  world.destroyAgent();
  world.world.userDefaults().remove("quillard.paired-phones");
  world.launch();
  world.advance(3);
  EXPECT_EQ(request("phones"), kNone);
  EXPECT_EQ(request("unpair", {{"pairing", 1}}), kRefusal);
  EXPECT_EQ(pairingID(1), first);
  EXPECT_EQ(request("unpair", {{"all", true}}), R"({"version":1,"type":"unpaired","phones":[]})");
  EXPECT_NE(pairingID(1), first);
  EXPECT_THAT(world.relay.revokedByAgents(), ElementsAre(first));
}

TEST_F(PhoneCommandsTest, WithoutARelayThereIsNothingToUnpair) {
  world.world.environment().unset("QUILLARD_RELAY_URL");
  world.launch();
  world.advance(1);
  EXPECT_EQ(request("unpair", {{"all", true}}), kRefusal);
}

TEST_F(PhoneCommandsTest, APhoneThatTookTheNumberMeanwhileIsNotMeant) {
  world.launchAndPair();
  pairBen();
  const auto bens = Json::parse(request("phones"))["phones"][1]["since"].get<std::string>();
  EXPECT_EQ(request("unpair", {{"pairing", 2}, {"since", "2026-01-14T09:00:00Z"}}), kRefusal);
  EXPECT_NE(pairingID(2), "");
  EXPECT_THAT(request("unpair", {{"pairing", 2}, {"since", bens}}), HasSubstr("unpaired"));
  EXPECT_EQ(pairingID(2), "");
}

TEST_F(PhoneCommandsTest, EverybodyWhoWaitsIsAnswered) {
  world.launchAndPair();
  pairBen();
  int answers = 0;
  const ChannelClientEvents events{.onMessage = [&](const auto& message) { answers += message.type == "unpaired"; },
                                   .onEnd = [] {}};
  ChannelClient one(sockets, events);
  ChannelClient other(sockets, events);
  for (auto* const client : {&one, &other}) {
    (void)client->open();
    client->send(channelLine("unpair", {{"pairing", 2}}));
  }
  world.advance(3);
  EXPECT_EQ(answers, 2);
}

TEST_F(PhoneCommandsTest, ACodeForOneMorePhoneIsMadeWhenItIsAskedForAndTheSameWhileItLasts) {
  world.launchAndPair();
  const auto code = request("pairAnother");
  EXPECT_THAT(code, AllOf(HasSubstr(R"("type":"code")"), HasSubstr(R"(quillard.pairing)"), HasSubstr(pairingID(2))));
  EXPECT_THAT(code, Not(HasSubstr(pairingID(1))));
  EXPECT_TRUE(world.status().isPairingOffered);
  EXPECT_EQ(request("pairAnother"), code);
  world.advance(601);
  EXPECT_FALSE(world.status().isPairingOffered) << "It ends after ten minutes.";
}

TEST_F(PhoneCommandsTest, NoCodeIsMadeForWhatTheWindowWouldNotOffer) {
  world.desktop().setTrusted(false);
  world.launch();
  world.advance(1);
  EXPECT_THAT(request("pairAnother"), HasSubstr("No code can be offered now."));
}

TEST_F(PhoneCommandsTest, WhatMakesNoSenseUnpairsNothing) {
  world.launchAndPair();
  const auto first = pairingID(1);
  for (const char* const members :
       {R"({})", R"({"all":false})", R"({"pairing":1,"all":true})", R"({"pairing":0})", R"({"pairing":9})",
        R"({"pairing":"1"})", R"({"pairing":1.5})", R"({"pairing":1,"since":"now"})", R"({"all":"true"})"}) {
    EXPECT_THAT(request("unpair", Json::parse(members)), HasSubstr(R"("code":"malformed")")) << members;
  }
  EXPECT_EQ(request("unpair", {{"pairing", 3}}), kRefusal);
  EXPECT_EQ(pairingID(1), first);
}

}  // namespace
}  // namespace quillard
