#include <gtest/gtest.h>

#include "agent/ProgramWatch.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;

class ProgramWatchTest : public testing::Test {
 protected:
  ProgramWatchTest() {
    world.readableStarts().addEntry("chat", "Chat");
    world.desktop().addWindowEntry({.ownerProcessIdentifier = 900, .ownerName = "Chat"});
  }
  // As the window does, every two seconds; a copy, since what is known changes.
  ProgramReadability ask() {
    ProgramReadability read;
    world.time().runOnMainThread([&] { read = watch.newest(); });
    return read;
  }

  platform::simulated::SimulatedWorld world{Seed{3}};
  int changes = 0;
  ProgramWatch watch{{world.capabilities(), &world.readableStarts(), world.time(), world.time(), world.windowList()},
                     [this] {
                       EXPECT_TRUE(world.time().mainThread().isCurrent());
                       ++changes;
                     }};
};

TEST_F(ProgramWatchTest, AsksOnlyWhenSomebodyWantsToKnowAndNotOnTheirThread) {
  world.advance(Seconds{60});
  EXPECT_EQ(changes, 0);
  ProgramReadability first;
  world.time().mainThread().post([&] { first = watch.newest(); });
  world.time().runUntilIdle();
  EXPECT_EQ(first, ProgramReadability{}) << "It is not waited for.";
  EXPECT_EQ(changes, 1);
  ASSERT_EQ(ask().unreadable.size(), 1U);
  EXPECT_EQ(ask().unreadable.front().startEntry, "chat");
}

TEST_F(ProgramWatchTest, AsksAgainAfterTenSeconds) {
  (void)ask();
  world.desktop().addWindowEntry({.ownerProcessIdentifier = 901, .ownerName = "xterm"});
  world.advance(Seconds{9.9});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 1U);
  world.advance(Seconds{0.1});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 2U);
  EXPECT_EQ(changes, 2);
}

TEST_F(ProgramWatchTest, AsksOnceAMinuteWhileNoWindowComesOrGoes) {
  (void)ask();
  world.advance(Seconds{10});
  (void)ask();  // More might have followed what was found first.
  world.desktop().setTrusted(false);
  world.advance(Seconds{59.9});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 1U) << "Nothing new is known.";
  world.advance(Seconds{0.1});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 0U);
}

TEST_F(ProgramWatchTest, AsksEveryFiveMinutesWhileNoProgramIsKnownThatCannotBeRead) {
  world.desktop().setTrusted(false);
  (void)ask();
  world.desktop().setTrusted(true);
  world.advance(Seconds{299.9});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 0U);
  world.advance(Seconds{0.1});
  (void)ask();
  EXPECT_EQ(ask().unreadable.size(), 1U);
}

TEST_F(ProgramWatchTest, ChangesAStartAndUndoesThatAwayFromTheMainThread) {
  (void)ask();
  world.time().runOnMainThread([&] {
    watch.makeReadable("chat");
    EXPECT_FALSE(world.readableStarts().isReadable("chat"));
  });
  EXPECT_TRUE(world.readableStarts().isReadable("chat"));
  EXPECT_EQ(ask().changed.size(), 1U);
  EXPECT_EQ(ask().unreadable.front().startEntry, "") << "Nothing is left to change.";
  world.time().runOnMainThread([&] { watch.undo("chat"); });
  EXPECT_FALSE(world.readableStarts().isReadable("chat"));
  EXPECT_EQ(ask().changed.size(), 0U);
}

TEST_F(ProgramWatchTest, SaysForAWhileWhyAChangeFailed) {
  world.readableStarts().replaceByUser("chat");
  world.time().runOnMainThread([&] { watch.makeReadable("chat"); });
  EXPECT_EQ(ask().problem, "You have an entry of your own for Chat.");
  world.advance(Seconds{29});
  (void)ask();
  EXPECT_NE(ask().problem, "");
  world.advance(Seconds{11});
  (void)ask();
  EXPECT_EQ(ask().problem, "");
}

TEST_F(ProgramWatchTest, NeverAsksWhereNothingCanBeDoneOrAfterItsEnd) {
  ProgramWatch idle{{world.capabilities(), nullptr, world.time(), world.time(), world.windowList()},
                    [this] { ++changes; }};
  const auto turns = world.time().turnCount();
  world.time().runOnMainThread([&] {
    (void)idle.newest();
    idle.makeReadable("chat");
    watch.stop();
    (void)watch.newest();
    watch.makeReadable("chat");
  });
  EXPECT_EQ(world.time().turnCount(), turns + 1);
  EXPECT_FALSE(world.readableStarts().isReadable("chat"));
  EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace quillard
