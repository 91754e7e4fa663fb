#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SimulatedRandom, GivesTheSameBytesForTheSameSeed) {
  SimulatedRandom one{Seed{3}};
  SimulatedRandom same{Seed{3}};
  SimulatedRandom other{Seed{4}};
  const auto bytes = one.identityBytes();
  EXPECT_EQ(bytes, same.identityBytes());
  EXPECT_NE(bytes, other.identityBytes());
  EXPECT_NE(bytes, one.identityBytes());
}

TEST(SimulatedRandom, FailsAsOftenAsItIsTold) {
  SimulatedRandom random{Seed{3}};
  std::array<std::uint8_t, 32> bytes{};
  random.failNextFills(2);
  EXPECT_FALSE(random.fillSecurely(bytes));
  EXPECT_FALSE(random.fillSecurely(bytes));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 32>{}));
  EXPECT_TRUE(random.fillSecurely(bytes));
  EXPECT_NE(bytes, (std::array<std::uint8_t, 32>{}));
}

TEST(SimulatedRandom, UsesEveryValueOfAByte) {
  SimulatedRandom random{Seed{3}};
  std::vector<std::uint8_t> bytes(20'000);
  ASSERT_TRUE(random.fillSecurely(bytes));
  std::array<int, 256> counts{};
  for (const std::uint8_t byte : bytes) ++counts.at(byte);
  EXPECT_GT(*std::min_element(counts.begin(), counts.end()), 30);
  EXPECT_LT(*std::max_element(counts.begin(), counts.end()), 160);
}

TEST(SimulatedEnvironment, TellsUnsetFromEmpty) {
  SimulatedEnvironment environment;
  EXPECT_EQ(environment.value("A"), std::nullopt);
  environment.set("A", "");
  EXPECT_EQ(environment.value("A"), "");
  environment.set("A", "1");
  EXPECT_EQ(environment.value("A"), "1");
  environment.unset("A");
  environment.unset("never set");
  EXPECT_EQ(environment.value("A"), std::nullopt);
}

TEST(SimulatedConsole, KeepsLinesUntilTheyAreTaken) {
  SimulatedConsole console;
  console.writeLine("one");
  console.writeLine("");
  EXPECT_THAT(console.lines(), ElementsAre("one", ""));
  EXPECT_THAT(console.takeLines(), ElementsAre("one", ""));
  console.writeLine("two");
  EXPECT_THAT(console.lines(), ElementsAre("two"));
}

TEST(SimulatedUserDefaults, ReadsBackWhatWasSet) {
  SimulatedUserDefaults defaults;
  EXPECT_EQ(defaults.object("b"), std::nullopt);
  defaults.set("b", true);
  defaults.set("a", std::string("text"));
  EXPECT_EQ(defaults.object("b"), UserDefaultsValue{true});
  EXPECT_THAT(defaults.keys(), ElementsAre("a", "b"));
  defaults.set("b", 2.5);
  EXPECT_EQ(defaults.object("b"), UserDefaultsValue{2.5});
  defaults.remove("b");
  defaults.remove("never set");
  EXPECT_THAT(defaults.keys(), ElementsAre("a"));
}

TEST(SimulatedUserDefaults, ServesRealThreads) {
  SimulatedUserDefaults defaults;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&defaults, i] {
      for (int step = 0; step < 200; ++step) {
        defaults.set("key " + std::to_string(i), static_cast<double>(step));
        static_cast<void>(defaults.object("key 0"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < 4; ++i) EXPECT_EQ(defaults.object("key " + std::to_string(i)), UserDefaultsValue{199.0});
}

// ---- The world

// What a small agent sees in this world: everything that chance has a part in.
std::vector<std::string> storyOf(Seed seed) {
  SimulatedWorld world{seed};
  std::vector<std::string> story;
  const auto app = world.desktop().launch({.name = "App", .active = true});
  const auto events = world.workspace().observe([&](const WorkspaceEvent&) { story.emplace_back("event"); });
  const auto changes = world.windowList().observeChanges([&] { story.emplace_back("change"); });
  const auto worker = world.time().makeSerialQueue("worker", QualityOfService::standard);
  std::vector<TaskHandle> tasks;
  tasks.push_back(worker->repeatEvery(1s, [&] {
    const auto windows = world.accessibility().copyAttributeValue(world.desktop().element(app), "AXWindows");
    story.push_back("windows " + std::to_string(std::get<std::vector<AXUIElement>>(windows.value()).size()));
  }));
  tasks.push_back(world.time().mainThread().repeatEvery(1s, [&] {
    world.desktop().open(app, {.title = "x"});
    story.push_back("open " + std::to_string(world.random().identityBytes()[0]));
  }));
  world.advance(4s);
  return story;
}

TEST(SimulatedWorld, TellsTheSameStoryForTheSameSeed) {
  for (std::uint64_t seed = 0; seed < 10; ++seed) EXPECT_EQ(storyOf(Seed{seed}), storyOf(Seed{seed})) << seed;
  EXPECT_NE(storyOf(Seed{1}), storyOf(Seed{2}));
}

TEST(SimulatedWorld, EndsWhileATurnWaitsForAHungApplication) {
  bool unwound = false;
  struct SetsAtItsEnd {
    bool& flag;
    ~SetsAtItsEnd() { flag = true; }
  };
  {
    SimulatedWorld world{Seed{7}};
    world.desktop().setMessagingTimeout(Seconds{60});
    const auto dialog = world.desktop().open({.buttons = {"OK"}});
    world.desktop().hang(*world.desktop().owner(dialog));
    world.time().mainThread().post([&] {
      const SetsAtItsEnd end{unwound};
      const auto scope = world.accessibility().beginReadScope();
      static_cast<void>(scope->copyAttributeValue(world.desktop().element(dialog), "AXRole"));
      ADD_FAILURE() << "no application answers before the end";
    });
    world.advance(1s);
    EXPECT_FALSE(unwound);
  }
  EXPECT_TRUE(unwound);
}

TEST(SimulatedWorld, StartsEmptyAndTrusted) {
  SimulatedWorld world{Seed{7}};
  EXPECT_EQ(world.accessibility().isProcessTrusted(), ProcessTrust::granted);
  EXPECT_THAT(world.workspace().runningApplications(), IsEmpty());
  EXPECT_THAT(world.windowList().copyWindowInfo(WindowListOptions::all), IsEmpty());
  EXPECT_THAT(world.console().lines(), IsEmpty());
  EXPECT_THAT(world.userDefaults().keys(), IsEmpty());
  EXPECT_EQ(world.environment().value("PATH"), std::nullopt);
  EXPECT_EQ(world.calendar().startOfDay(Date{}), Date{});
  EXPECT_FALSE(world.time().nextDue().has_value());
}

}  // namespace
}  // namespace quillard::platform::simulated
