#include <gtest/gtest.h>

#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/RelayWorld.h"

// Who is in a room: who has a place there, how much each may send, and when somebody is dropped or all of it forgotten.
namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

TEST(PairingRooms, PutTheNewestAgentInThePlaceOfTheEarlierOne) {
  RelayWorld world;
  const auto phone = world.joinPhone("A");
  const auto earlier = world.joinAgent();
  const auto newer = world.joinAgent();
  EXPECT_EQ(earlier->closed, CloseCode::replaced);
  world.rooms.leave(*earlier, world.instant);  // Its socket has ended; nothing follows from it.
  EXPECT_EQ(phone->newest()["macConnected"], true);
  world.say(*earlier, snapshot());
  EXPECT_EQ(phone->ofType("mac.snapshot").size(), 0U);
  world.say(*phone, request("d1"));
  EXPECT_EQ(newer->ofType("approval.request").size(), 1U);
}

TEST(PairingRooms, PutAPhonesNewestConnectionInThePlaceOfItsEarlierOne) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto earlier = world.joinPhone("A");
  world.joinPhone("A");
  EXPECT_EQ(earlier->closed, CloseCode::replaced);
  EXPECT_EQ(agent->newest()["phoneCount"], 1);
}

TEST(PairingRooms, HavePlaceForEightPhonesAndForOneOfThemAgain) {
  RelayWorld world;
  for (int i = 0; i < 7; ++i) world.joinPhone(std::to_string(i));
  const PeerIntroduction ninth{.role = Role::phone, .pairingID = kPairing, .deviceID = "9"};
  EXPECT_TRUE(world.rooms.hasRoomFor(ninth));
  world.joinPhone("7");
  EXPECT_FALSE(world.rooms.hasRoomFor(ninth));
  EXPECT_TRUE(world.rooms.hasRoomFor({.role = Role::phone, .pairingID = kPairing, .deviceID = "3"}));
  EXPECT_TRUE(world.rooms.hasRoomFor({.role = Role::agent, .pairingID = kPairing}));
  EXPECT_TRUE(world.rooms.hasRoomFor({.role = Role::phone, .pairingID = "another", .deviceID = "9"}));
}

TEST(PairingRooms, GiveOneAddressNoMoreThanItsShareOfThePlaces) {
  RelayWorld world;
  const auto phone = [](const std::string& id) {
    return PeerIntroduction{.role = Role::phone, .pairingID = kPairing, .deviceID = id, .deviceName = id};
  };
  const RatePrefixes home{"192.0.2.1"};
  const RatePrefixes elsewhere{"198.51.100.7"};
  std::vector<std::shared_ptr<FakePeer>> hostile;
  for (int i = 0; i < 8; ++i) hostile.push_back(world.join(phone("M" + std::to_string(i)), elsewhere));
  ASSERT_TRUE(world.rooms.hasRoomFor(phone("A"), home));
  EXPECT_FALSE(world.rooms.hasRoomFor(phone("M9"), elsewhere));
  const auto ann = world.join(phone("A"), home);
  EXPECT_EQ(hostile.back()->closed, CloseCode::tooManyMessages);
  EXPECT_EQ(world.rooms.presenceOf(kPairing).phoneCount, 8U);
  EXPECT_FALSE(world.rooms.hasRoomFor(phone("M9"), elsewhere)) << "It does not get the place back.";
  for (const auto* name : {"B", "C", "D"}) {
    ASSERT_TRUE(world.rooms.hasRoomFor(phone(name), home));
    world.join(phone(name), home);
  }
  EXPECT_FALSE(world.rooms.hasRoomFor(phone("E"), home)) << "Four are half of them.";
  EXPECT_FALSE(ann->closed);
}

TEST(PairingRooms, CloseThoseWhoseFrameIsNoMessage) {
  for (const std::string text :
       {"", "{", "[]", "\"text\"", "{}", R"({"type":1})", R"({"type":"approval.request"})",
        R"({"type":"approval.request","type":"approval.request"})", "\xFF", "\xEF\xBB\xBF{}"}) {
    RelayWorld world;
    const auto agent = world.joinAgent();
    const auto phone = world.joinPhone("A");
    world.rooms.take(*phone, text, world.now());
    EXPECT_EQ(phone->closed, CloseCode::malformedMessage) << text;
    EXPECT_EQ(agent->newest()["phoneCount"], 0) << text;
  }
}

TEST(PairingRooms, IgnoreKindsThatTheyDoNotKnowOrThatAreNotForThisRole) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  const auto before = agent->texts.size();
  world.say(*phone, {{"type", "something.new"}});
  world.say(*phone, snapshot());
  world.say(*phone, unpair());
  world.say(*phone, {{"type", "Approval.Request"}});
  world.say(*agent, request("d1"));
  EXPECT_FALSE(phone->closed);
  EXPECT_FALSE(agent->closed);
  EXPECT_EQ(agent->texts.size(), before);
  EXPECT_EQ(world.metrics.messages["unknown"], 5U);
}

TEST(PairingRooms, TakeTwentyMessagesOfAPhoneAtOnceAndThenTwoASecond) {
  RelayWorld world;
  const auto phone = world.joinPhone("A");
  for (int i = 0; i < 20; ++i) world.say(*phone, {{"type", "x"}});
  world.advance(500ms);
  world.say(*phone, {{"type", "x"}});
  EXPECT_FALSE(phone->closed);
  world.advance(499ms);
  world.say(*phone, {{"type", "x"}});
  EXPECT_EQ(phone->closed, CloseCode::tooManyMessages);
}

TEST(PairingRooms, DoNotForgetAPhonesRateWhenItComesBack) {
  RelayWorld world;
  const auto phone = world.joinPhone("A");
  for (int i = 0; i < 20; ++i) world.say(*phone, {{"type", "x"}});
  world.rooms.leave(*phone, world.instant);
  const auto again = world.joinPhone("A");
  world.say(*again, {{"type", "x"}});
  EXPECT_EQ(again->closed, CloseCode::tooManyMessages);
}

TEST(PairingRooms, TakeSixtyMessagesOfAnAgentAtOnceAndThenTenASecond) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  for (int i = 0; i < 60; ++i) world.say(*agent, {{"type", "x"}});
  world.advance(100ms);
  world.say(*agent, {{"type", "x"}});
  EXPECT_FALSE(agent->closed);
  world.advance(99ms);
  world.say(*agent, {{"type", "x"}});
  EXPECT_EQ(agent->closed, CloseCode::tooManyMessages);
}

TEST(PairingRooms, TakeAMessageOfExactlyOneMebibyte) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  Json message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = "";
  const auto rest = world.limits.messageBytes - message.dump().size();
  message["encryptedApprovals"]["ciphertext"] = std::string(rest, 'A');
  world.say(*agent, message);
  EXPECT_FALSE(agent->closed);
  message["encryptedApprovals"]["ciphertext"] = std::string(rest + 1, 'A');
  world.say(*agent, message);
  EXPECT_EQ(agent->closed, CloseCode::tooBig);
}

TEST(PairingRooms, CloseASlowPhoneAndServeTheOthers) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto slow = world.joinPhone("A");
  const auto quick = world.joinPhone("B");
  slow->room = slow->texts.size();
  world.say(*agent, snapshot());
  EXPECT_EQ(slow->closed, CloseCode::tooSlow);
  EXPECT_EQ(quick->ofType("mac.snapshot").size(), 1U);
  EXPECT_EQ(agent->newest()["phoneCount"], 1);
}

TEST(PairingRooms, SurviveEverybodyBeingTooSlowAtOnce) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  std::vector<std::shared_ptr<FakePeer>> phones;
  for (int i = 0; i < 8; ++i) phones.push_back(world.joinPhone(std::to_string(i)));
  agent->room = 0;
  for (const auto& phone : phones) phone->room = 0;
  world.say(*phones[0], suppression("s1"));
  for (const auto& phone : phones) EXPECT_EQ(phone->closed, CloseCode::tooSlow);
  EXPECT_EQ(agent->closed, CloseCode::tooSlow);
  EXPECT_EQ(world.rooms.peerCount(), 0U);
}

TEST(PairingRooms, RevokeAPairingForGoodAndCloseAllOfIt) {
  RelayWorld world;
  (void)world.registerToken();
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.say(*agent, snapshot());
  world.say(*agent, unpair());
  EXPECT_EQ(agent->closed, CloseCode::revoked);
  EXPECT_EQ(phone->closed, CloseCode::revoked);
  EXPECT_EQ(world.pairings.membershipOf(kPairing, kToken, 0), Pairings::Membership::revoked);
  EXPECT_EQ(world.metrics.snapshotBytes, 0U);
}

TEST(PairingRooms, CloseTheOnePhoneThatAnAgentNamesAndRefuseItNothing) {
  RelayWorld world;
  (void)world.registerToken();
  const auto agent = world.joinAgent();
  const auto named = world.joinPhone("A");
  const auto other = world.joinPhone("B");
  world.say(*agent, unpair("A"));
  world.say(*agent, unpair("never-seen"));
  EXPECT_EQ(named->closed, CloseCode::removed);
  EXPECT_FALSE(other->closed);
  EXPECT_FALSE(agent->closed);
  // Its name was its own choice: only a revocation keeps it out.
  EXPECT_EQ(world.connect("role=phone&pairing=" + kPairing + "&deviceID=A&deviceName=A"), 101);
}

TEST(PairingRooms, PingEveryTwentySecondsAndDropWhomTheyDidNotHearForSixty) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.run(19s + 750ms);
  EXPECT_EQ(agent->pings, 0);
  world.run(250ms);
  EXPECT_EQ(agent->pings, 1);
  world.rooms.didReceiveBytes(*agent, 1, world.instant);
  world.run(39s + 750ms);
  EXPECT_FALSE(phone->isAborted);
  world.run(250ms);
  EXPECT_TRUE(phone->isAborted);
  EXPECT_FALSE(agent->isAborted);
  EXPECT_EQ(agent->newest()["phoneCount"], 0);
  world.run(20s);
  EXPECT_TRUE(agent->isAborted);
}

// A world in virtual time stays the same from run to run only if nothing goes by where peers stand in memory.
TEST(PairingRooms, DropTheSilentInTheOrderInWhichTheyJoined) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  std::vector<std::string> joined;
  std::vector<std::shared_ptr<FakePeer>> phones;
  for (const char* name : {"F", "B", "H", "A", "D", "G", "C", "E"}) {
    joined.emplace_back(name);
    phones.push_back(world.joinPhone(name));
  }
  agent->texts.clear();
  while (!phones.front()->isAborted) {
    world.rooms.didReceiveBytes(*agent, 1, world.instant);
    world.run(250ms);
  }
  // After each phone that goes, the agent is told who stays.
  const auto statuses = agent->ofType("phone.status");
  ASSERT_EQ(statuses.size(), joined.size());
  for (const Json& status : statuses) {
    joined.erase(joined.begin());
    std::vector<std::string> stay;
    for (const Json& phone : status["phones"]) stay.push_back(phone["deviceID"]);
    EXPECT_EQ(stay, joined);
  }
}

TEST(PairingRooms, TellPhonesOfTheirComputerEveryTwentySeconds) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.rooms.didReceiveBytes(*agent, 1, world.instant);
  world.run(19s + 750ms);
  EXPECT_EQ(phone->texts.size(), 1U);
  world.run(250ms);
  ASSERT_EQ(phone->texts.size(), 2U);
  EXPECT_EQ(phone->newest()["heardSecondsAgo"], 20);
}

TEST(PairingRooms, ForgetTheOldestSnapshotsWhereMemoryIsShort) {
  RelayWorld world({.snapshotBytes = 2 * snapshot().dump().size()});
  for (const std::string pairing : {"one", "two", "three"}) world.say(*world.joinAgent(pairing), snapshot());
  EXPECT_EQ(world.joinPhone("A", "one")->ofType("mac.snapshot").size(), 0U);
  EXPECT_EQ(world.joinPhone("A", "two")->ofType("mac.snapshot").size(), 1U);
  EXPECT_EQ(world.joinPhone("A", "three")->ofType("mac.snapshot").size(), 1U);
}

TEST(PairingRooms, ForgetPurgedPairingsUnlessAPeerIsConnected) {
  RelayWorld world;
  const auto gone = world.joinAgent("gone");
  const auto there = world.joinAgent("there");
  world.say(*gone, snapshot());
  world.say(*there, snapshot());
  world.rooms.leave(*gone, world.instant);
  world.rooms.forget({"gone", "there", "unknown"});
  EXPECT_EQ(world.joinPhone("A", "gone")->texts.size(), 1U);
  EXPECT_EQ(world.joinPhone("A", "there")->texts.size(), 2U);
}

TEST(PairingRooms, CloseAllOneAfterAnother) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  EXPECT_TRUE(world.rooms.closeNext(CloseCode::stopping));
  EXPECT_EQ(agent->closed.has_value() + phone->closed.has_value(), 1);
  EXPECT_TRUE(world.rooms.closeNext(CloseCode::stopping));
  EXPECT_FALSE(world.rooms.closeNext(CloseCode::stopping));
  EXPECT_EQ(agent->closed, CloseCode::stopping);
  EXPECT_EQ(phone->closed, CloseCode::stopping);
}

TEST(PairingRooms, WriteNoNameOfADeviceAndNoWholePairingToTheLog) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  const auto phone = world.joinPhone("A");
  world.say(*phone, request("d1"));
  world.say(*agent, unpair());
  ASSERT_FALSE(world.log.lines.empty());
  for (const auto& line : world.log.lines) {
    EXPECT_EQ(line.find("name"), std::string::npos) << line;
    EXPECT_EQ(line.find(kPairing), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace quillard::relayserver
