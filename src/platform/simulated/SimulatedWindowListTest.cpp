#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedWindowList.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class SimulatedWindowListTest : public testing::Test {
 protected:
  std::vector<std::string> names(WindowListOptions options = WindowListOptions::onScreenOnly) {
    std::vector<std::string> names;
    for (const WindowListEntry& entry : world.windowList().copyWindowInfo(options)) {
      names.push_back(entry.windowName.value_or("?"));
    }
    return names;
  }

  SimulatedWorld world{Seed{7}};
  SimulatedDesktop& desktop = world.desktop();
  ApplicationHandle app = desktop.launch({.name = "App"});
  ApplicationHandle other = desktop.launch({.name = "Other"});
  NodeHandle back = desktop.open(app, {.title = "back", .frame = Rect{10, 20, 300, 200}});
  NodeHandle middle = desktop.open(other, {.title = "middle"});
  NodeHandle front = desktop.open(app, {.title = "front"});
};

TEST_F(SimulatedWindowListTest, ListsEveryWindowFrontToBack) {
  EXPECT_THAT(names(), ElementsAre("front", "middle", "back"));
  EXPECT_EQ(world.windowList().copyWindowInfo(WindowListOptions::onScreenOnly)[2],
            (WindowListEntry{.ownerProcessIdentifier = app.processIdentifier,
                             .ownerName = "App",
                             .windowName = "back",
                             .layer = 0,
                             .alpha = 1,
                             .bounds = Rect{10, 20, 300, 200},
                             .number = static_cast<std::int64_t>(back.id)}));
  EXPECT_EQ(desktop.roundTrips(), 0U);
}

TEST_F(SimulatedWindowListTest, AListThatCannotBeReadIsNotEmpty) {
  desktop.setWindowListReadable(false);
  const auto read = world.windowList().readWindowInfo(WindowListOptions::all);
  ASSERT_FALSE(read.isKnown());
  EXPECT_FALSE(read.limitation().reason.empty());
  EXPECT_TRUE(world.windowList().copyWindowInfo(WindowListOptions::all).empty());
  desktop.setWindowListReadable(true);
  EXPECT_EQ(world.windowList().readWindowInfo(WindowListOptions::all).value().size(), 3U);
}

TEST_F(SimulatedWindowListTest, RaisingAndActivatingRestack) {
  desktop.raise(back);
  EXPECT_THAT(names(), ElementsAre("back", "front", "middle"));
  desktop.activate(other);
  EXPECT_THAT(names(), ElementsAre("middle", "back", "front"));
  desktop.activate(app);
  EXPECT_THAT(names(), ElementsAre("back", "front", "middle")) << "all its windows, as they were stacked";
}

TEST_F(SimulatedWindowListTest, WhatCannotBeSeenIsListedAmongAllOnly) {
  desktop.setAttribute(front, "AXMinimized", true);
  desktop.setOffScreen(back, true);
  EXPECT_THAT(names(), ElementsAre("middle"));
  desktop.hide(other);
  EXPECT_THAT(names(), ElementsAre());
  EXPECT_THAT(names(WindowListOptions::all), ElementsAre("front", "middle", "back"));
  desktop.close(back);
  EXPECT_THAT(names(WindowListOptions::all), ElementsAre("front", "middle"));
}

TEST_F(SimulatedWindowListTest, EntriesCanBeMadeUp) {
  desktop.overrideWindowEntry(front, [](WindowListEntry& entry) {
    entry.layer = -1;
    entry.alpha = 0.02;
    entry.bounds = std::nullopt;
  });
  const auto entry = world.windowList().copyWindowInfo(WindowListOptions::onScreenOnly).front();
  EXPECT_EQ(entry.layer, -1);
  EXPECT_EQ(entry.alpha, 0.02);
  EXPECT_EQ(entry.bounds, std::nullopt);
  EXPECT_EQ(entry.windowName, "front");
}

TEST_F(SimulatedWindowListTest, WindowsWithoutElementsHaveTheirPlaceToo) {
  const auto entry = desktop.addWindowEntry({.ownerProcessIdentifier = 0, .windowName = "shield", .layer = 25});
  desktop.addWindowEntry({.windowName = "elsewhere"}, false);
  EXPECT_THAT(names(), ElementsAre("shield", "front", "middle", "back"));
  EXPECT_THAT(names(WindowListOptions::all), ElementsAre("elsewhere", "shield", "front", "middle", "back"));
  desktop.raise(back);
  EXPECT_THAT(names(), ElementsAre("back", "shield", "front", "middle"));
  desktop.close(entry);
  EXPECT_THAT(names(), ElementsAre("back", "front", "middle"));
}

TEST_F(SimulatedWindowListTest, ChangesAreHintedOnceATurnOnTheMainThread) {
  int hints = 0;
  const auto subscription = world.windowList().observeChanges([&] {
    EXPECT_TRUE(world.time().mainThread().isCurrent());
    ++hints;
  });
  world.advance(1s);
  EXPECT_EQ(hints, 0);
  const auto opened = desktop.open(app, {.title = "new"});
  desktop.raise(back);
  EXPECT_EQ(hints, 0);
  world.advance(0s);
  EXPECT_EQ(hints, 1) << "two changes, one hint";
  desktop.close(opened);
  world.advance(0s);
  EXPECT_EQ(hints, 2);
  desktop.activate(other);
  world.advance(0s);
  EXPECT_EQ(hints, 3);
}

}  // namespace
}  // namespace quillard::platform::simulated
