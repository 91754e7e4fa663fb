#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"

// How many pairings there may be, and how long they are kept: those that no client has joined, and rooms that no peer
// is in.
namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

TEST(Pairings, ForgetInAnHourWhatNoClientHasJoined) {
  RelayWorld world;
  (void)world.registerToken(kToken, "joined");
  (void)world.registerToken(kToken, "idle");
  EXPECT_EQ(world.connect("role=mac&pairing=joined"), 101);
  world.advance(50min);
  EXPECT_TRUE(world.pairings.tidy(world.epochSeconds).empty());
  world.advance(1s);
  EXPECT_EQ(world.pairings.tidy(world.epochSeconds), std::vector<std::string>{"idle"});
  EXPECT_EQ(world.connect("role=mac&pairing=joined"), 101);
}

TEST(Pairings, TakeNewcomersHoweverManyRegisterAndNeverJoin) {
  RelayWorld world({.registrations = {1e6, 1},
                    .addressNewPairings = {1e6, 1},
                    .newPairings = {1e6, 1},
                    .pairings = 100,
                    .unjoinedPairings = 10});
  EXPECT_EQ(world.registerToken(kToken, "honest").status, 204);
  EXPECT_EQ(world.connect("role=mac&pairing=honest"), 101);
  for (int i = 0; i < 1000; ++i) {
    world.advance(1s);
    ASSERT_EQ(world.registerToken(kToken, "s" + std::to_string(i)).status, 204);
  }
  EXPECT_EQ(world.pairings.count(), 11U);
  EXPECT_EQ(world.registerToken(kToken, "newcomer").status, 204);
  EXPECT_EQ(world.connect("role=mac&pairing=newcomer"), 101);
  EXPECT_EQ(world.connect("role=mac&pairing=honest"), 101);
}

TEST(Pairings, MakeRoomForNewcomersWhereAllWereJoined) {
  RelayWorld world(
      {.registrations = {1e6, 1}, .addressNewPairings = {1e6, 1}, .newPairings = {1e6, 1}, .pairings = 10});
  const auto registerAndJoin = [&](const std::string& name) {
    const int status = world.registerToken(kToken, name).status;
    return status == 204 ? world.connect("role=mac&pairing=" + name) : status;
  };
  EXPECT_EQ(registerAndJoin("honest"), 101);
  const auto agent = world.joinAgent("honest");
  world.say(*agent, snapshot());
  for (int i = 0; i < 9; ++i) EXPECT_EQ(registerAndJoin("hostile-" + std::to_string(i)), 101);
  // All were used within a day.
  EXPECT_EQ(registerAndJoin("newcomer"), 507);
  // The one that is connected all the time counts as used.
  for (int hour = 0; hour < 25; ++hour) {
    world.run(10s);
    world.advance(1h);
    world.rooms.didReceiveBytes(*agent, 1, world.instant);
    for (const auto& name : world.rooms.takePairingsInUse()) world.pairings.noteUsed(name, world.epochSeconds);
  }
  EXPECT_EQ(registerAndJoin("newcomer"), 101);
  EXPECT_EQ(world.pairings.count(), 10U);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(registerAndJoin("newcomer-" + std::to_string(i)), 101);
  EXPECT_EQ(registerAndJoin("one-too-many"), 507);
  EXPECT_EQ(world.connect("role=mac&pairing=honest"), 101);
}

TEST(Pairings, TakeNothingOverFromThoseThatMadeRoom) {
  RelayWorld world({.registrations = {1e6, 1}, .pairings = 1});
  (void)world.registerToken(kToken, "old");
  EXPECT_EQ(world.connect("role=mac&pairing=old"), 101);
  const auto agent = world.joinAgent("old");
  world.say(*agent, snapshot());
  world.rooms.leave(*agent, world.instant);
  world.advance(25h);
  EXPECT_EQ(world.registerToken(kToken, "new").status, 204);
  EXPECT_EQ(world.metrics.snapshotBytes, 0U);
  EXPECT_EQ(world.rooms.roomCount(), 0U);
}

TEST(Pairings, AreNewFromOneAddressOnlySoOften) {
  RelayWorld world({.registrations = {1e6, 1}, .addressNewPairings = {2, 1.0 / 60}});
  EXPECT_EQ(world.registerToken(kToken, "a").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "b").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "c").status, 429);
  EXPECT_EQ(world.registerToken(kToken, "a").status, 204);
  world.advance(60s);
  EXPECT_EQ(world.registerToken(kToken, "c").status, 204);
}

TEST(Pairings, AreNewOnlySoOften) {
  RelayWorld world({.registrations = {1e6, 1}, .newPairings = {2, 1}});
  EXPECT_EQ(world.registerToken(kToken, "a").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "b").status, 204);
  EXPECT_EQ(world.registerToken(kToken, "c").status, 429);
  EXPECT_EQ(world.registerToken(kToken, "a").status, 204);
  world.advance(1s);
  EXPECT_EQ(world.registerToken(kToken, "c").status, 204);
}

TEST(RelayService, WantsTheOperatorsKeyForNewPairingsOnly) {
  RelayWorld world;
  (void)world.registerToken(kToken, "old");
  RelayService service({world.pairings, world.rooms, world.page, world.limits, "0123456789abcdef"});
  const auto put = [&](const std::string& name, const std::string& key) {
    return service
        .answer({.method = "PUT",
                 .target = "/api/pairings/" + name + "/relay-token",
                 .body = R"({"client":"mac","version":1})",
                 .authorization = {"Bearer " + kToken},
                 .registrationKey = key,
                 .from = {"192.0.2.1"}},
                world.now())
        .status;
  };
  EXPECT_EQ(put("new", ""), 403);
  EXPECT_EQ(put("new", "0123456789abcdeF"), 403);
  EXPECT_EQ(put("old", ""), 204);
  EXPECT_EQ(put("new", "0123456789abcdef"), 204);
}

TEST(PairingRooms, KeepNothingOfARoomThatIsEmptyForLong) {
  RelayWorld world;
  auto phone = world.joinPhone("A");
  world.rooms.leave(*phone, world.instant);
  world.run(9min);
  EXPECT_EQ(world.rooms.roomCount(), 1U);
  world.run(2min);
  EXPECT_EQ(world.rooms.roomCount(), 0U);
}

TEST(PairingRooms, KeepASnapshotForADayAfterAllHaveLeft) {
  RelayWorld world;
  const auto agent = world.joinAgent();
  world.say(*agent, snapshot());
  world.rooms.leave(*agent, world.instant);
  const auto later = [&](Duration by) {
    world.run(10s);  // Notices who has left.
    world.advance(by);
    world.rooms.tick(world.instant);
  };
  later(23h);
  EXPECT_EQ(world.joinPhone("A")->ofType("mac.snapshot").size(), 1U);
  const auto phone = world.joinPhone("A");
  world.rooms.leave(*phone, world.instant);
  later(23h);
  EXPECT_EQ(world.rooms.roomCount(), 1U);
  later(2h);
  EXPECT_EQ(world.rooms.roomCount(), 0U);
  EXPECT_EQ(world.metrics.snapshotBytes, 0U);
}

}  // namespace
}  // namespace quillard::relayserver
