#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "approvals/SuppressionList.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using namespace platform::simulated;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Seconds kDay{86400};
const SuppressedKind kInstaller{.appName = "Installer", .windowTitle = "Install?"};

Uuid kind(std::uint8_t number) { return Uuid::fromRandomBytes({number}); }
FingerprintKey keyOf(std::uint8_t number) { return {number}; }

class SuppressionListTest : public testing::Test {
 protected:
  // The agent is started again, with fingerprints of its own.
  void start() {
    store.emplace(defaults);
    list.emplace(*store, defaults, time);
    list->open(keyOf(++run));
  }
  void SetUp() override { start(); }
  std::vector<std::string> titles() const {
    std::vector<std::string> texts;
    for (const auto& one : list->all()) texts.push_back(one.kind.windowTitle);
    return texts;
  }

  VirtualTime time{Seed{7}};
  SimulatedUserDefaults defaults;
  std::optional<ApprovalSuppressionStore> store;
  std::optional<SuppressionList> list;
  std::uint8_t run = 0;
};

TEST_F(SuppressionListTest, IsEmptyAndUnusedAtFirst) {
  EXPECT_THAT(list->all(), IsEmpty());
  EXPECT_FALSE(list->wasUsed());
  EXPECT_FALSE(list->unsuppress(kind(1)));
  EXPECT_FALSE(list->setEnd(kind(1), SuppressionEnd::never()));
  EXPECT_THAT(defaults.keys(), testing::Not(testing::Contains(SuppressionList::key)));
}

TEST_F(SuppressionListTest, ListsTheNewestFirst) {
  list->suppress(kind(1), {.appName = "A", .windowTitle = "1"}, SuppressionEnd::never());
  list->suppress(kind(2), {.appName = "A", .windowTitle = "2"}, SuppressionEnd::never());
  list->suppress(kind(1), {.appName = "A", .windowTitle = "1 again"}, SuppressionEnd::never());
  EXPECT_THAT(titles(), ElementsAre("1 again", "2"));
  EXPECT_TRUE(store->contains(kind(1)));
  EXPECT_TRUE(list->unsuppress(kind(1)));
  EXPECT_FALSE(store->contains(kind(1)));
  EXPECT_THAT(titles(), ElementsAre("2"));
}

TEST_F(SuppressionListTest, OneWithAnEndGoesByItself) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  EXPECT_EQ(list->all().front().until, time.now() + 24h);
  time.advance(kDay - Seconds{1});
  EXPECT_THAT(list->takeEnded(), IsEmpty());
  EXPECT_TRUE(store->contains(kind(1)));
  time.advance(Seconds{1});
  const auto ended = list->takeEnded();
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(ended.front().kind, kInstaller);
  EXPECT_FALSE(store->contains(kind(1)));
  EXPECT_THAT(list->all(), IsEmpty());
  EXPECT_TRUE(list->wasUsed()) << "Phones are to be told that it has gone.";
}

TEST_F(SuppressionListTest, EndsWhileTheAgentDoesNotRun) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  list->suppress(kind(2), kInstaller, SuppressionEnd::never());
  time.advance(kDay);
  start();
  EXPECT_FALSE(store->contains(kind(1)));
  EXPECT_TRUE(store->contains(kind(2)));
}

TEST_F(SuppressionListTest, AClockThatIsSetBackDoesNotProlongIt) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  time.setWallClock(time.now() - 24h * 365);
  time.advance(kDay);
  EXPECT_EQ(list->takeEnded().size(), 1U);
}

TEST_F(SuppressionListTest, NorOverARestart) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  time.setWallClock(time.now() - 24h * 365);
  start();
  ASSERT_EQ(list->all().size(), 1U);
  time.advance(kDay);
  EXPECT_EQ(list->takeEnded().size(), 1U);
}

TEST_F(SuppressionListTest, AClockThatIsSetForthShowsThePromptEarly) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(7 * kDay));
  list->suppress(kind(2), kInstaller, SuppressionEnd::never());
  time.setWallClock(time.now() + 24h * 365);
  EXPECT_EQ(list->takeEnded().size(), 1U);
  EXPECT_TRUE(store->contains(kind(2)));
}

TEST_F(SuppressionListTest, CountsTheSleepOfTheComputer) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  time.setWallClock(time.now() - 1h);
  time.suspend(kDay);
  EXPECT_EQ(list->takeEnded().size(), 1U);
}

TEST_F(SuppressionListTest, GetsAnotherEnd) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::afterTime(kDay));
  EXPECT_TRUE(list->setEnd(kind(1), SuppressionEnd::never()));
  time.advance(2 * kDay);
  EXPECT_THAT(list->takeEnded(), IsEmpty());
  EXPECT_TRUE(list->setEnd(kind(1), SuppressionEnd::afterTime(kDay)));
  time.advance(kDay);
  EXPECT_EQ(list->takeEnded().size(), 1U);
}

TEST_F(SuppressionListTest, AnotherEndIsNotProlongedByAClockThatIsSetBackEither) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::never());
  time.advance(10 * kDay);
  ASSERT_TRUE(list->setEnd(kind(1), SuppressionEnd::afterTime(kDay)));
  start();
  time.setWallClock(time.now() - 120h);
  start();
  ASSERT_EQ(list->all().size(), 1U);
  time.advance(kDay - Seconds{1});
  EXPECT_THAT(list->takeEnded(), IsEmpty());
  time.advance(Seconds{1});
  EXPECT_EQ(list->takeEnded().size(), 1U);
}

TEST_F(SuppressionListTest, OneThatEndsWithTheAgentIsForgottenAndTheOthersAreKept) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::whenTheAgentEnds());
  list->suppress(kind(2), kInstaller, SuppressionEnd::never());
  list->suppress(kind(3), {.appName = "backup", .windowTitle = "Go on?", .program = "/usr/bin/backup"},
                 SuppressionEnd::never());
  const auto before = list->all();
  start();
  EXPECT_FALSE(store->contains(kind(1)));
  EXPECT_TRUE(store->contains(kind(2)));
  ASSERT_EQ(list->all().size(), 2U);
  EXPECT_EQ(list->all().front(), before.front());
}

TEST_F(SuppressionListTest, KnowsUnderWhichFingerprintsItWasMade) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::never());
  EXPECT_THAT(list->earlierKeys(), IsEmpty());
  start();
  list->suppress(kind(2), kInstaller, SuppressionEnd::never());
  list->suppress(kind(3), {.appName = "a", .windowTitle = "b", .program = "/c"}, SuppressionEnd::never());
  start();
  EXPECT_THAT(list->earlierKeys(), ElementsAre(keyOf(2), keyOf(1)));
  list->unsuppress(kind(2));
  EXPECT_THAT(list->earlierKeys(), ElementsAre(keyOf(1)));
}

// A phone that was cut off says it again, or gives it another end.
TEST_F(SuppressionListTest, OneOfAnEarlierRunKeepsItsFingerprintsWhenItIsMadeAgain) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::never());
  start();
  list->suppress(kind(1), kInstaller, SuppressionEnd::never());
  start();
  EXPECT_THAT(list->earlierKeys(), ElementsAre(keyOf(1)));
}

TEST_F(SuppressionListTest, OfVeryManyRunsTheOldestAreForgotten) {
  for (std::uint8_t number = 1; number <= SuppressionList::kMostKeys + 5; ++number) {
    list->suppress(kind(number), kInstaller, SuppressionEnd::never());
    start();
  }
  EXPECT_EQ(list->all().size(), SuppressionList::kMostKeys);
  EXPECT_FALSE(store->contains(kind(1)));
  EXPECT_TRUE(store->contains(kind(6)));
}

TEST_F(SuppressionListTest, IsBoundedAsTheStoreIs) {
  const auto numbered = [](std::size_t number) {
    return Uuid::fromRandomBytes({static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8U), 1});
  };
  // Without the writes in between.
  for (std::size_t i = 0; i < ApprovalSuppressionStore::kMost; ++i) store->suppress(numbered(i));
  list->suppress(kind(1), kInstaller, SuppressionEnd::whenTheAgentEnds());
  EXPECT_EQ(list->all().size(), 1U);
  for (std::size_t i = 0; i < ApprovalSuppressionStore::kMost; ++i) store->suppress(numbered(i));
  list->suppress(kind(2), kInstaller, SuppressionEnd::whenTheAgentEnds());
  ASSERT_EQ(list->all().size(), 1U);
  EXPECT_EQ(list->all().front().id, kind(2));
}

TEST_F(SuppressionListTest, WhatIsStoredAndCannotBeReadIsPassedOver) {
  list->suppress(kind(1), kInstaller, SuppressionEnd::never());
  auto texts = std::get<std::vector<std::string>>(*defaults.object(SuppressionList::key));
  const auto good = texts.front();
  const auto with = [&](const std::string& from, const std::string& to) {
    auto text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  for (const auto& bad :
       {std::string(), std::string("{}"), std::string("[]"), good + "x", good.substr(1),
        with("\"since\":\"", "\"since\":\"x"), with("\"since\":\"", "\"endSince\":5,\"since\":\""),
        with("\"id\"", "\"ID\""), with(kind(1).text(), "1"), with("\"fingerprints\"", "\"prints\""),
        with("\"appName\":\"Installer\"", "\"appName\":1"), good, "{\"x\":" + std::string(100'000, '[') + "}"}) {
    texts.push_back(bad);
  }
  defaults.set(SuppressionList::key, texts);
  start();
  EXPECT_THAT(titles(), ElementsAre("Install?"));
  defaults.set(SuppressionList::key, 5.0);
  start();
  EXPECT_THAT(titles(), IsEmpty());
}

}  // namespace
}  // namespace quillard
