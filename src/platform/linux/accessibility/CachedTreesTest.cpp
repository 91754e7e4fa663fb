#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/KnownPrograms.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/FakeProgramWorld.h"

// Trees that come from the cache of a toolkit in one call, beside the walk, which is the truth.
namespace quillard::atspi {
namespace {

using test::FakeAccessibilityBus;
using test::FakeCachedObject;
using test::FakeObject;
using test::FakeProgram;
using test::object;
namespace ax = platform::ax;

constexpr Role kFiller{20};
constexpr Role kApplication{75};

// A program with a dialog, which two readings may see: this one walks, since it is new to it each time.
struct World {
  explicit World(Seconds timeout = Seconds{20}) : program(bus.start()), options{bus.address(), 0, true, timeout} {
    bus.registerPrograms({program->name()});
    program->set(FakeProgram::kRoot, object(kApplication, "example", {"/window"}));
    program->set("/window", object(Role::dialog, "Permission", {"/box", "/row"}));
    program->set("/box", object(kFiller, "", {"/text"}));
    program->set("/text", object(Role::label, "Allow it?"));
    program->set("/row", object(kFiller, "", {"/deny", "/allow"}));
    program->set("/deny", object(Role::pushButton, "Don't Allow"));
    program->set("/allow", object(Role::pushButton, "Allow"));
  }

  // Everything that a scan may learn of the program, a line an element.
  static std::string outline(LinuxAccessibility& by) {
    const auto application = by.createApplication(::getpid());
    const auto scope = by.beginScanScope();
    scope->prepareApplications({&application, 1}, 80);
    std::string text;
    for (const auto& window : AXHelpers::windows(*scope, application)) describe(*scope, window, 0, text);
    return text;
  }
  [[nodiscard]] std::string outline() { return outline(accessibility); }
  // By an agent that has met the program for the first time.
  [[nodiscard]] std::string walked() {
    LinuxAccessibility newcomer{options, windows, executors};
    return outline(newcomer);
  }

  static void describe(platform::AXReadScope& scope, const platform::AXUIElement& element, int depth,
                       std::string& text) {
    text += std::string(static_cast<std::size_t>(depth), ' ') + AXHelpers::role(scope, element);
    for (const auto name : {ax::kTitle, ax::kValue, ax::kDescription}) {
      const auto read = AXHelpers::readText(scope, element, name);
      text += " '" + (read.isUnreadable ? "unreadable" : read.text.value_or("")) + "'";
    }
    text += AXHelpers::frame(scope, element) ? " placed\n" : "\n";
    for (const auto& child : AXHelpers::children(scope, element)) describe(scope, child, depth + 1, text);
  }

  struct Cost {
    std::uint64_t calls = 0;
    std::uint64_t waits = 0;
  };
  // Of what is fetched before a scan looks at anything.
  Cost costOfAReading() {
    const auto& counters = accessibility.counters();
    const Cost before{counters.calls, counters.waits};
    const auto application = accessibility.createApplication(::getpid());
    accessibility.beginScanScope()->prepareApplications({&application, 1}, 80);
    return {counters.calls - before.calls, counters.waits - before.waits};
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<FakeProgram> program;
  desktop::NoDesktopWindows windows;
  qt::QtExecutors executors;
  const LinuxAccessibilityOptions options;
  LinuxAccessibility accessibility{options, windows, executors};
};

FakeCachedObject& listed(std::vector<FakeCachedObject>& list, const std::string& path) {
  return *std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.path == path; });
}

TEST(CachedTrees, AKnownProgramIsReadInThreeWaitsAndAsManyCallsAsThingsHavePlaces) {
  World world;
  world.program->offerCache();
  const auto walk = world.outline();
  EXPECT_EQ(world.program->timesAsked("GetItems"), 0) << "A program that nobody has walked yet may be large.";
  const auto cost = world.costOfAReading();
  // Who is there; their windows and caches; where the dialog, the text and the buttons are.
  EXPECT_EQ(cost.waits, 3U);
  EXPECT_EQ(cost.calls, 1U + 2U + 4U);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1);
  EXPECT_EQ(world.outline(), walk);
  EXPECT_NE(walk.find("Allow it?"), std::string::npos) << walk;
}

TEST(CachedTrees, TheWalkCostsAsManyWaitsAsTheTreeIsDeep) {
  World world;
  (void)world.outline();
  (void)world.outline();  // It turns out to have no cache.
  const auto cost = world.costOfAReading();
  EXPECT_EQ(cost.waits, 6U);
  // Who is there; three for each object; what is in the root and in each of them; and four places.
  EXPECT_EQ(cost.calls, 1U + 6 * 3U + 7U + 4U);
}

TEST(CachedTrees, WhatChangesIsReadAnew) {
  World world;
  world.program->offerCache();
  (void)world.outline();
  world.program->set("/text", object(Role::label, "Allow something else?"));
  world.program->set("/row", object(kFiller, "", {"/deny"}));
  EXPECT_EQ(world.outline(), world.walked());
  EXPECT_NE(world.outline().find("something else"), std::string::npos);
  EXPECT_EQ(world.outline().find("'Allow'"), std::string::npos);
  EXPECT_GT(world.program->timesAsked("GetItems"), 0);
}

TEST(CachedTrees, OnlyTheCacheOfGtk3IsAsked) {
  for (const auto& [toolkit, version] :
       std::vector<std::pair<std::string, std::string>>{{"GTK", "4.8.3"}, {"Qt", "6.4.2"}, {"Chromium", "120"}}) {
    World world;
    world.program->offerCache();
    world.program->speakAs(toolkit, version);
    for (int i = 0; i < 3; ++i) (void)world.outline();
    EXPECT_EQ(world.program->timesAsked("GetItems"), 0) << toolkit;
  }
}

// How a list can be wrong, or can be right and not tell all.
struct Doubt {
  const char* name;
  std::function<void(std::vector<FakeCachedObject>&)> edit;
};

const std::vector<Doubt>& doubts() {
  static const std::vector<Doubt> table{
      {"an object is missing", [](auto& list) { std::erase_if(list, [](auto& o) { return o.path == "/allow"; }); }},
      {"a container is missing", [](auto& list) { std::erase_if(list, [](auto& o) { return o.path == "/row"; }); }},
      {"the window is missing", [](auto& list) { std::erase_if(list, [](auto& o) { return o.path == "/window"; }); }},
      {"it is empty", [](auto& list) { list.clear(); }},
      {"a count is too high", [](auto& list) { listed(list, "/row").childCount = 3; }},
      {"a count is too low", [](auto& list) { listed(list, "/row").childCount = 1; }},
      {"a count is not told", [](auto& list) { listed(list, "/row").childCount = -1; }},
      {"a place is taken twice", [](auto& list) { listed(list, "/allow").index = 0; }},
      {"a place is not told", [](auto& list) { listed(list, "/allow").index = -1; }},
      {"a place is beyond the end", [](auto& list) { listed(list, "/allow").index = 2'000'000'000; }},
      {"an object is listed twice", [](auto& list) { list.push_back(listed(list, "/text")); }},
      {"an object has another parent", [](auto& list) { listed(list, "/allow").parentPath = "/box"; }},
      {"a window lies in another object", [](auto& list) { listed(list, "/window").parentPath = "/row"; }},
      {"containers lie in each other",
       [](auto& list) {
         listed(list, "/box").parentPath = "/row";
         listed(list, "/row").parentPath = "/box";
       }},
      {"an object is another program's", [](auto& list) { listed(list, "/allow").bus = ":1.9999"; }},
      {"a parent is another program's", [](auto& list) { listed(list, "/allow").parentBus = ":1.9999"; }},
  };
  return table;
}

TEST(CachedTrees, WhateverIsInDoubtIsWalked) {
  for (const auto& doubt : doubts()) {
    World world;
    const auto truth = world.outline();
    world.program->offerCache(doubt.edit);
    EXPECT_EQ(world.outline(), truth) << doubt.name;
    EXPECT_EQ(world.program->timesAsked("GetItems"), 1) << doubt.name;
  }
}

TEST(CachedTrees, AnObjectThatListsItselfIsReadOnce) {
  World world;
  (void)world.outline();
  world.program->set("/box", object(kFiller, "", {"/box", "/window", "/text"}));
  world.program->offerCache([](auto& list) {
    for (auto& entry : list) {
      if (entry.path == "/box") entry.parentPath = "/box";
    }
  });
  EXPECT_EQ(world.outline(), world.walked());
  EXPECT_GT(world.program->timesAsked("GetItems"), 0);
}

TEST(CachedTrees, OneThatHasNoCacheIsAskedAgainMuchLater) {
  World world;
  (void)world.outline();
  const auto truth = world.outline();
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1);
  world.program->offerCache();
  EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 3);
}

TEST(CachedTrees, AListOfAnotherKindIsNone) {
  World world;
  const auto truth = world.outline();
  world.program->lieOn("GetItems");
  EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1);
}

TEST(CachedTrees, AListThatIsTooLongIsNotAskedForAgain) {
  World world;
  const auto truth = world.outline();
  world.program->offerCache([](auto& list) {
    for (int i = 0; i < 300; ++i) list.push_back({.bus = list[0].bus, .path = "/hidden" + std::to_string(i)});
    for (auto& entry : list) entry.parentBus = entry.parentPath = entry.path;
  });
  for (int i = 0; i < 25; ++i) EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1);
}

TEST(CachedTrees, OneThatDoesNotAnswerInTimeIsWalkedInTheSameReading) {
  World world{Seconds{1}};
  world.program->offerCache();
  const auto truth = world.outline();
  world.program->hangOn("GetItems");
  const auto application = world.accessibility.createApplication(::getpid());
  {
    const auto scope = world.accessibility.beginScanScope();
    scope->prepareApplications({&application, 1}, 80);
    EXPECT_FALSE(scope->missedTimeout(application));
    std::string text;
    for (const auto& window : AXHelpers::windows(*scope, application)) World::describe(*scope, window, 0, text);
    EXPECT_EQ(text, truth);
  }
  for (int i = 0; i < 25; ++i) EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), 1) << "It would be late again.";
}

TEST(CachedTrees, AProgramThatAnswersNothingAtAllMissesItsTimeout) {
  World world{Seconds{0.3}};
  world.program->offerCache();
  (void)world.outline();
  for (const char* member : {"GetItems", "GetChildren", "GetRole", "GetState"}) world.program->hangOn(member);
  const auto application = world.accessibility.createApplication(::getpid());
  const auto scope = world.accessibility.beginScanScope();
  scope->prepareApplications({&application, 1}, 80);
  EXPECT_TRUE(scope->missedTimeout(application));
  EXPECT_EQ(scope->copyAttributeValue(application, ax::kWindows).error(), platform::AXError::cannotComplete);
}

// A cache that tells what its program was like once.
void keepListOf(FakeProgram& program) {
  program.offerCache([kept = std::optional<std::vector<FakeCachedObject>>{}](auto& list) mutable {
    if (!kept) kept = list;
    list = *kept;
  });
}

TEST(CachedTrees, WhatIsActedOnIsNeverTakenFromOne) {
  World world;
  keepListOf(*world.program);
  (void)world.outline();
  (void)world.outline();
  world.program->set("/text", object(Role::label, "Allow everything?"));
  world.program->set("/allow", object(Role::pushButton, "Allow always"));
  EXPECT_EQ(world.outline().find("everything"), std::string::npos) << "The cache has not noticed.";
  const int asked = world.program->timesAsked("GetItems");
  const auto application = world.accessibility.createApplication(::getpid());
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  std::string proof;
  for (const auto& window : AXHelpers::windows(*scope, application)) World::describe(*scope, window, 0, proof);
  EXPECT_EQ(proof, world.walked());
  EXPECT_NE(proof.find("Allow always"), std::string::npos);
  EXPECT_EQ(world.program->timesAsked("GetItems"), asked);
}

// Which reading, counted from the change, is the first that finds what a walk finds. 0: none of forty.
int firstTrueReading(World& world) {
  const auto truth = world.walked();
  for (int reading = 1; reading <= 40; ++reading) {
    if (world.outline() == truth) return reading;
  }
  return 0;
}

TEST(CachedTrees, OneThatHasNotNoticedAChangeHidesNothingForLong) {
  World world;
  keepListOf(*world.program);
  for (int i = 0; i < 3; ++i) (void)world.outline();
  world.program->set("/row", object(kFiller, "", {"/deny", "/allow", "/always"}));
  world.program->set("/always", object(Role::pushButton, "Always Allow"));
  const int reading = firstTrueReading(world);
  EXPECT_GT(reading, 1) << "It is old.";
  EXPECT_LE(reading, 8);
  const auto truth = world.walked();
  (void)world.outline();
  const int asked = world.program->timesAsked("GetItems");
  for (int i = 0; i < 40; ++i) EXPECT_EQ(world.outline(), truth);
  EXPECT_EQ(world.program->timesAsked("GetItems"), asked) << "It was found to be old twice.";
}

TEST(CachedTrees, OneThatKeepsAPromptThatHasGoneIsFoundOut) {
  World world;
  keepListOf(*world.program);
  for (int i = 0; i < 3; ++i) (void)world.outline();
  world.program->set("/window", object(Role::dialog, "Permission", {"/box"}));
  world.program->set("/text", object(Role::label, "Thank you."));
  const int reading = firstTrueReading(world);
  EXPECT_GE(reading, 1);
  EXPECT_LE(reading, 8);
}

TEST(CachedTrees, AChangeWithinOneComparisonIsNoReasonToGiveUpACache) {
  World world;
  int lists = 0;
  world.program->offerCache([&lists](auto& list) {
    // As if the text had changed between the list and the walk.
    if (++lists == 8) listed(list, "/text").name = "Before";
  });
  const auto truth = world.outline();
  for (int i = 0; i < 40; ++i) EXPECT_EQ(world.outline(), truth) << i;
  EXPECT_EQ(world.program->timesAsked("GetItems"), 40);
}

// A tree of some forty objects with things that are hidden, nameless, long and nested, which changes at every step.
TEST(CachedTrees, AreWhatAWalkFindsWhileTheTreeChanges) {
  std::mt19937 random{20261122};
  const auto upTo = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
  World world;
  world.program->offerCache([&](auto& list) {
    std::shuffle(list.begin(), list.end(), random);
    if (!list.empty() && random() % 2 == 0) list.pop_back();
  });
  constexpr std::array kRoles{kFiller, Role::label, Role::pushButton, Role::text, Role::entry, Role::dialog};
  for (int step = 0; step < 60; ++step) {
    std::map<std::string, FakeObject> objects{{"/window", object(Role::dialog, "Permission")}};
    std::vector<std::string> paths{"/window"};
    for (int i = 0; i < 40; ++i) {
      const auto path = "/o" + std::to_string(upTo(150));
      if (objects.contains(path)) continue;
      objects[paths[static_cast<std::size_t>(upTo(static_cast<int>(paths.size())))]].children.push_back(path);
      auto made = object(kRoles[static_cast<std::size_t>(upTo(kRoles.size()))], upTo(3) == 0 ? "" : "text");
      made.states = upTo(5) == 0 ? 0 : bit(State::showing);
      made.description = upTo(4) == 0 ? "said" : "";
      if (upTo(6) == 0) made.extents = Rect{0, 0, 0, 0};
      objects[path] = made;
      paths.push_back(path);
    }
    for (const auto& [path, made] : objects) world.program->set(path, made);
    ASSERT_EQ(world.outline(), world.walked()) << "step " << step;
  }
  EXPECT_GT(world.program->timesAsked("GetItems"), 20);
}

TEST(KnownPrograms, ACacheIsAskedOfSmallProgramsOfGtk3Only) {
  const KnownProgram small{.isSmall = true};
  EXPECT_EQ(cacheUseOf(small, Toolkit::gtk3), CacheUse::take);
  for (const auto toolkit : {Toolkit::gtk4, Toolkit::qt, Toolkit::shell, Toolkit::other}) {
    EXPECT_EQ(cacheUseOf(small, toolkit), CacheUse::none);
  }
  EXPECT_EQ(cacheUseOf({}, Toolkit::gtk3), CacheUse::none) << "Nobody knows yet how large it is.";
  EXPECT_EQ(cacheUseOf({.carefulReadings = 1, .isSmall = true}, Toolkit::gtk3), CacheUse::none);
  EXPECT_EQ(cacheUseOf({.isSmall = true, .readingsWithoutCache = 1}, Toolkit::gtk3), CacheUse::none);
}

TEST(KnownPrograms, EveryEighthReadingComparesTheCacheWithAWalk) {
  KnownProgram program{.isSmall = true};
  const TreeExperience taken{.wasRead = true, .isWhole = true, .askedCache = true, .cacheAnswer = CacheAnswer::listed};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(cacheUseOf(program, Toolkit::gtk3), CacheUse::take) << i;
    learn(program, taken);
  }
  EXPECT_EQ(cacheUseOf(program, Toolkit::gtk3), CacheUse::compare);
  auto compared = taken;
  compared.check = CacheCheck::confirmed;
  learn(program, compared);
  EXPECT_EQ(cacheUseOf(program, Toolkit::gtk3), CacheUse::take);
}

TEST(KnownPrograms, ACacheThatContradictsTwoWalksInARowIsNotAskedAnyMore) {
  KnownProgram program{.isSmall = true, .uncheckedReadings = 7};
  const TreeExperience contradicted{.wasRead = true,
                                    .isWhole = true,
                                    .askedCache = true,
                                    .cacheAnswer = CacheAnswer::listed,
                                    .check = CacheCheck::contradicted};
  learn(program, contradicted);
  EXPECT_EQ(cacheUseOf(program, Toolkit::gtk3), CacheUse::compare) << "Something may have changed in between.";
  learn(program, contradicted);
  EXPECT_EQ(cacheUseOf(program, Toolkit::gtk3), CacheUse::none);
}

TEST(KnownPrograms, AReadingThatAskedForNoTreesTeachesNothing) {
  KnownProgram program{.isSmall = true, .readingsWithoutCache = 3};
  learn(program, {.wasRead = false, .isWhole = false});
  EXPECT_TRUE(program.isSmall);
  EXPECT_EQ(program.readingsWithoutCache, 3);
  learn(program, {.wasRead = true, .isWhole = false});
  EXPECT_FALSE(program.isSmall);
  EXPECT_EQ(program.readingsWithoutCache, 2);
}

}  // namespace
}  // namespace quillard::atspi
