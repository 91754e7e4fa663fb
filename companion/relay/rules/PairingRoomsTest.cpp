#include <gtest/gtest.h>

#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/RelayWorld.h"

// What is passed on in a room, and to whom.
namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

TEST(PairingRooms, TellsAnAgentOfThePhonesWhenItJoinsAndWhenTheyChange) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  EXPECT_EQ(agent->newest().dump(), R"({"type":"phone.status","phoneConnected":false,"phoneCount":0,"phones":[]})");
  const auto phone = world.joinPhone("A");
  EXPECT_EQ(agent->newest().dump(), R"({"type":"phone.status","phoneConnected":true,"phoneCount":1,"phones":[)"
                                    R"({"deviceID":"A","deviceName":"A's name","connected":true}]})");
  world.rooms.leave(*phone, world.instant);
  EXPECT_EQ(agent->newest()["phoneCount"], 0);
  EXPECT_EQ(agent->texts.size(), 3U);
}

TEST(PairingRooms, ShowsThePlatformWhereThePhoneSaidOne) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  world.join({.role = Role::phone, .pairingID = kPairing, .deviceID = "A", .deviceName = "", .platform = "iOS"});
  EXPECT_EQ(agent->newest()["phones"][0]["platform"], "iOS");
}

TEST(PairingRooms, TellsAPhoneOfTheComputerFirstAndThenHandsItTheNewestSnapshot) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  world.rooms.didReceiveBytes(*agent, 1, world.instant);
  world.say(*agent, snapshot("ax1:1"));
  world.say(*agent, snapshot("ax1:2"));
  world.advance(4s + 900ms);
  const auto phone = world.joinPhone("A");
  ASSERT_EQ(phone->texts.size(), 2U);
  EXPECT_EQ(phone->texts[0], R"({"type":"mac.status","macConnected":true,"macConnection":1,"heardSecondsAgo":4})");
  EXPECT_EQ(phone->newest()["snapshotID"], "ax1:2");
}

TEST(PairingRooms, DoNotSayWhenTheyHeardFromAComputerThatNeverSpoke) {
  RelayWorld world;
  EXPECT_EQ(world.joinPhone("A")->texts, std::vector<std::string>{R"({"type":"mac.status","macConnected":false})"});
}

TEST(PairingRooms, KeepTheSnapshotAndTheTimeAfterTheComputerHasGone) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  world.rooms.didReceiveBytes(*agent, 1, world.instant);
  world.say(*agent, snapshot());
  world.rooms.leave(*agent, world.instant);
  world.advance(90s);
  const auto phone = world.joinPhone("A");
  EXPECT_EQ(phone->texts[0], R"({"type":"mac.status","macConnected":false,"heardSecondsAgo":90})");
  EXPECT_EQ(phone->texts.size(), 2U);
}

TEST(PairingRooms, TellPhonesWhenTheComputerComesAndGoes) {
  RelayWorld world;
  const auto phone = world.joinPhone("A");
  const auto agent = world.joinAgent();
  EXPECT_EQ(phone->newest()["macConnected"], true);
  world.rooms.leave(*agent, world.instant);
  EXPECT_EQ(phone->newest()["macConnected"], false);
  EXPECT_EQ(phone->texts.size(), 3U);
}

TEST(PairingRooms, TellPhonesThatTheComputerIsBackOnAnotherConnection) {
  RelayWorld world;
  const auto earlier = world.joinAgent();
  const auto phone = world.joinPhone("A");
  const auto before = phone->newest();
  const auto agent = world.joinAgent();
  EXPECT_EQ(phone->newest()["macConnected"], true);
  EXPECT_NE(phone->newest()["macConnection"], before["macConnection"]);
  const auto after = phone->newest();
  world.run(25s);
  EXPECT_EQ(phone->newest()["macConnection"], after["macConnection"]);
}

TEST(PairingRooms, SendANewSnapshotToAllPhonesOfThatPairingOnly) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto one = world.joinPhone("A");
  const auto two = world.joinPhone("B");
  const auto other = world.joinPhone("A", "another");
  world.say(*agent, snapshot());
  EXPECT_EQ(one->ofType("mac.snapshot").size(), 1U);
  EXPECT_EQ(two->ofType("mac.snapshot").size(), 1U);
  EXPECT_EQ(other->ofType("mac.snapshot").size(), 0U);
}

TEST(PairingRooms, PassOnHowTheComputerStandsWhereTheAgentSaysIt) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  Json paused = snapshot();
  paused["encryptedState"] = sealed();
  world.say(*agent, paused);
  const auto phone = world.joinPhone("A");
  EXPECT_EQ(phone->newest()["encryptedState"], sealed());
  world.say(*agent, snapshot());
  EXPECT_FALSE(phone->newest().contains("encryptedState"));
  paused["encryptedState"] = {{"version", 1}};
  world.say(*agent, paused);
  EXPECT_TRUE(agent->closed) << "What is there has to be whole.";
}

TEST(PairingRooms, PassTheAgentsClockOnToThePhonesThatAreThereAndKeepNone) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto one = world.joinPhone("A");
  const auto two = world.joinPhone("B");
  const auto other = world.joinPhone("A", "another");
  Json message = clock();
  message["more"] = 1;
  message["encryptedClock"]["more"] = 1;
  world.say(*agent, message);
  EXPECT_EQ(one->newest().dump(), clock().dump());
  EXPECT_EQ(two->newest().dump(), clock().dump());
  EXPECT_EQ(other->ofType("mac.clock").size(), 0U);
  EXPECT_EQ(world.joinPhone("C")->ofType("mac.clock").size(), 0U) << "It would be an old one.";
  EXPECT_FALSE(agent->closed);
}

TEST(PairingRooms, TakeNoClockFromAPhone) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto one = world.joinPhone("A");
  const auto two = world.joinPhone("B");
  world.say(*one, clock());
  EXPECT_EQ(agent->ofType("mac.clock").size(), 0U);
  EXPECT_EQ(two->ofType("mac.clock").size(), 0U);
  EXPECT_FALSE(one->closed);
}

TEST(PairingRooms, CloseAnAgentWhoseClockBreaksTheRules) {
  for (const Json& payload : {Json(), Json("QUJD"), Json{{"version", 1}, {"nonce", "AA=="}},
                              Json{{"version", -1}, {"nonce", "AA=="}, {"ciphertext", "QUJD"}},
                              Json{{"version", 1}, {"nonce", "AA=="}, {"ciphertext", "not base64!"}}}) {
    RelayWorld world;
    const auto agent = world.joinAgent();
    world.say(*agent, {{"type", "mac.clock"}, {"encryptedClock", payload}});
    EXPECT_EQ(agent->closed, CloseCode::malformedMessage) << payload.dump();
  }
}

TEST(PairingRooms, PassOnKnownMembersOnlyInTheirOrder) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.rooms.take(
      *phone,
      R"( {"x":{"type":"mac.snapshot"},"issuedAt":"2026-03-01T12:34:56.5Z","decisionID":"d1",)"
      R"("encryptedRequest":{"nonce":"AA==","more":1,"ciphertext":"QQ==","version":1},"type":"approval.request"})",
      world.now());
  EXPECT_EQ(agent->texts.back(),
            R"({"type":"approval.request","decisionID":"d1","encryptedRequest":{"version":1,"nonce":"AA==",)"
            R"("ciphertext":"QQ=="},"issuedAt":"2026-03-01T12:34:56.5Z"})");
}

TEST(PairingRooms, GiveAReceiptForEveryDecision) {
  RelayWorld world;
  const auto phone = world.joinPhone("A");
  world.say(*phone, request("d1"));
  EXPECT_EQ(phone->texts.back(),
            R"({"type":"relay.receipt","decisionID":"d1","delivered":false,"reason":"macNotConnected"})");
  const auto agent = world.joinAgent();
  world.say(*phone, request("d1"));
  EXPECT_EQ(phone->texts.back(), R"({"type":"relay.receipt","decisionID":"d1","delivered":true})");
  EXPECT_EQ(agent->ofType("approval.request").size(), 1U);
  EXPECT_EQ(world.metrics.delivered, 1U);
  EXPECT_EQ(world.metrics.notDelivered, 1U);
}

TEST(PairingRooms, TellAPhoneThatTheComputerIsBusyAndKeepTheComputer) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  agent->room = agent->texts.size();
  world.say(*phone, request("d1"));
  EXPECT_EQ(phone->texts.back(), R"({"type":"relay.receipt","decisionID":"d1","delivered":false,"reason":"macBusy"})");
  EXPECT_FALSE(agent->closed);
}

TEST(PairingRooms, SayDeliveredOnceTheComputersConnectionTookIt) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  agent->isSlow = true;
  world.say(*phone, request("d1"));
  EXPECT_TRUE(phone->ofType("relay.receipt").empty());
  agent->writeAll(world.rooms, world.instant);
  EXPECT_EQ(phone->texts.back(), R"({"type":"relay.receipt","decisionID":"d1","delivered":true})");
  EXPECT_EQ(world.metrics.delivered, 1U);
}

TEST(PairingRooms, SayThatNothingWasDeliveredWhereTheComputerWentBeforeItWasWritten) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  agent->isSlow = true;
  world.say(*phone, request("d1"));
  world.rooms.leave(*agent, world.instant);
  agent->dropAll(world.rooms, world.instant);
  EXPECT_EQ(phone->texts.back(),
            R"({"type":"relay.receipt","decisionID":"d1","delivered":false,"reason":"macNotConnected"})");
  EXPECT_EQ(phone->ofType("relay.receipt").size(), 1U);
  EXPECT_EQ(world.metrics.delivered, 0U);
}

TEST(PairingRooms, HandTheComputersNextConnectionWhatTheEarlierOneDidNotTake) {
  RelayWorld world;
  const auto earlier = world.joinAgent();
  const auto phone = world.joinPhone("A");
  earlier->isSlow = true;
  world.say(*phone, request("d1"));
  world.say(*phone, suppression("s1"));
  const auto agent = world.joinAgent();
  EXPECT_EQ(earlier->closed, CloseCode::replaced);
  earlier->dropAll(world.rooms, world.instant);
  EXPECT_EQ(agent->ofType("approval.request"), std::vector<Json>{request("d1")});
  EXPECT_EQ(agent->ofType("approval.suppress"), std::vector<Json>{suppression("s1")});
  ASSERT_EQ(phone->ofType("relay.receipt").size(), 2U);
  EXPECT_EQ(phone->newest()["delivered"], true);
}

TEST(PairingRooms, SendNoReceiptToAPhoneThatHasGoneMeanwhile) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  agent->isSlow = true;
  world.say(*phone, request("d1"));
  world.say(*phone, request("d2"));
  world.rooms.leave(*phone, world.instant);
  const auto used = world.memory.used();
  const auto back = world.joinPhone("A");
  agent->underWay.resize(2);
  agent->writeAll(world.rooms, world.instant);
  EXPECT_TRUE(phone->ofType("relay.receipt").empty());
  EXPECT_TRUE(back->ofType("relay.receipt").empty());
  EXPECT_LT(world.memory.used(), used) << "What waited for a receipt is released.";
}

TEST(PairingRooms, SendAResultToAllPhonesAndSayWhoHadAsked) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto one = world.joinPhone("A");
  const auto two = world.joinPhone("B");
  world.say(*one, request("d1"));
  world.say(*two, request("d1"));  // Asks for the outcome; the first one had decided.
  world.say(*agent, result("d1"));
  EXPECT_EQ(one->newest()["phone"].dump(), R"({"deviceID":"A","deviceName":"A's name"})");
  EXPECT_EQ(two->newest()["phone"]["deviceName"], "A's name");
  world.say(*agent, result("unknown"));
  EXPECT_FALSE(one->newest().contains("phone"));
  EXPECT_EQ(one->ofType("approval.result").size(), 2U);
}

TEST(PairingRooms, TellNoPhoneTheNameByWhichAnotherJoins) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto ann = world.joinPhone("A");
  const auto mallory = world.joinPhone("M");
  world.say(*ann, request("d1"));
  world.say(*agent, result("d1"));
  const std::string known = mallory->newest()["phone"]["deviceID"];
  EXPECT_EQ(known.size(), 32U);
  world.joinPhone(known);
  EXPECT_FALSE(ann->closed) << "With the name that it was told, nobody takes Ann's place.";
  world.say(*ann, request("d2"));
  world.say(*agent, result("d2"));
  EXPECT_EQ(mallory->newest()["phone"]["deviceID"], known) << "It is the same each time.";
}

TEST(PairingRooms, KnowWhoHadAskedOfTheNewestDecisions) {
  RelayWorld world({.phoneMessages = {1000, 0}});
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  for (int i = 0; i < 257; ++i) world.say(*phone, request("d" + std::to_string(i)));
  world.say(*agent, result("d0"));
  EXPECT_FALSE(phone->newest().contains("phone"));
  world.say(*agent, result("d1"));
  EXPECT_TRUE(phone->newest().contains("phone"));
}

TEST(PairingRooms, PassASuppressionToTheComputerAndToTheOtherPhones) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto one = world.joinPhone("A");
  const auto two = world.joinPhone("B");
  for (const std::string type : {"approval.suppress", "approval.unsuppress"}) {
    world.say(*one, suppression("s1", type));
    EXPECT_EQ(agent->ofType(type).size(), 1U);
    EXPECT_EQ(two->ofType(type).size(), 1U);
    EXPECT_EQ(two->newest()["decisionID"], "s1");
    EXPECT_EQ(one->ofType(type).size(), 0U);
    EXPECT_EQ(one->newest()["delivered"], true);
  }
}

TEST(PairingRooms, TellAComputerWhichPhonesSleepByTheirOwnWord) {
  RelayWorld relay;
  auto agent = relay.joinAgent();
  auto phone = relay.joinPhone("A");
  EXPECT_FALSE(agent->newest()["phones"][0].contains("asleep"));
  relay.say(*phone, {{"type", "phone.asleep"}, {"asleep", true}});
  EXPECT_EQ(agent->newest()["phones"][0]["asleep"], true);
  EXPECT_EQ(agent->newest()["phoneConnected"], true);
  const auto before = agent->texts.size();
  relay.say(*phone, {{"type", "phone.asleep"}, {"asleep", true}});
  EXPECT_EQ(agent->texts.size(), before);
  relay.say(*phone, {{"type", "phone.asleep"}, {"asleep", false}});
  EXPECT_FALSE(agent->newest()["phones"][0].contains("asleep"));
}

TEST(PairingRooms, TakeAPhoneThatConnectsAnewForAwake) {
  RelayWorld relay;
  auto agent = relay.joinAgent();
  auto phone = relay.joinPhone("A");
  relay.say(*phone, {{"type", "phone.asleep"}, {"asleep", true}});
  phone = relay.joinPhone("A");
  EXPECT_FALSE(agent->newest()["phones"][0].contains("asleep"));
}

TEST(PairingRooms, CloseAPhoneThatDoesNotSayWhetherItSleeps) {
  for (const Json& message : {Json{{"type", "phone.asleep"}}, Json{{"type", "phone.asleep"}, {"asleep", 1}},
                              Json{{"type", "phone.asleep"}, {"asleep", "true"}}}) {
    RelayWorld relay;
    auto phone = relay.joinPhone("A");
    relay.say(*phone, message);
    EXPECT_EQ(phone->closed, CloseCode::malformedMessage) << message.dump();
  }
}

}  // namespace
}  // namespace quillard::relayserver
