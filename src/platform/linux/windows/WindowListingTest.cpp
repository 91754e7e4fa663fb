#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/windows/WindowListing.h"

namespace quillard::desktop {
namespace {

using platform::WindowListEntry;
using platform::WindowListOptions;

Window shown(WindowID id) { return {.id = id, .isMapped = true, .clientBounds = {100, 100, 300, 200}}; }

WindowsSnapshot desktop(std::vector<Window> windows) {
  return {.windows = std::move(windows), .currentDesktop = 0, .screen = Size{1280, 1024}};
}

std::vector<WindowListEntry> list(const WindowsSnapshot& snapshot, WindowListOptions options) {
  return listWindows(snapshot, options, [](const Window& window) -> std::optional<std::string> {
    return window.processIdentifier ? std::optional<std::string>{"Owner"} : std::nullopt;
  });
}

TEST(WindowListing, GoesFromFrontToBack) {
  auto back = shown(1);
  back.name = "back";
  auto front = shown(2);
  front.name = "front";
  const auto entries = list(desktop({back, front}), WindowListOptions::onScreenOnly);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].windowName, "front");
  EXPECT_EQ(entries[1].windowName, "back");
}

TEST(WindowListing, SaysAllThatIsKnown) {
  auto window = shown(1);
  window.processIdentifier = 42;
  window.name = "Title";
  window.frame = {.left = 1, .right = 2, .top = 20, .bottom = 3};
  window.opacity = 0.5;
  const auto entries = list(desktop({window}), WindowListOptions::onScreenOnly);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0], (WindowListEntry{.ownerProcessIdentifier = 42,
                                         .ownerName = "Owner",
                                         .windowName = "Title",
                                         .layer = 0,
                                         .alpha = 0.5,
                                         .bounds = Rect{99, 80, 303, 223},
                                         .number = 1}));
}

TEST(WindowListing, WindowsThatTheirDesktopNumbersHaveTheTitleOfTheirProgram) {
  auto first = shown(1);
  first.name = "Permission";
  auto second = shown(2);
  second.name = "Permission <2>";
  auto alone = shown(3);
  alone.name = "Vector <3>";
  first.mayBeNumbered = second.mayBeNumbered = alone.mayBeNumbered = true;
  auto entries = list(desktop({first, second, alone}), WindowListOptions::all);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].windowName, "Vector <3>");
  EXPECT_EQ(entries[1].windowName, "Permission");
  EXPECT_EQ(entries[2].windowName, "Permission");
  second.mayBeNumbered = false;
  entries = list(desktop({first, second}), WindowListOptions::all);
  EXPECT_EQ(entries[0].windowName, "Permission <2>") << "Other desktops number nothing.";
}

TEST(WindowListing, WhatIsNotKnownIsAbsent) {
  const auto entries = list(desktop({shown(1)}), WindowListOptions::onScreenOnly);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].ownerProcessIdentifier, std::nullopt);
  EXPECT_EQ(entries[0].ownerName, std::nullopt);
  EXPECT_EQ(entries[0].windowName, std::nullopt);
}

TEST(WindowListing, BoundsEndWhereTheWindowEndsToTheEye) {
  auto window = shown(1);
  EXPECT_EQ(visibleBounds(window), (Rect{100, 100, 300, 200}));
  window.gtkFrame = Extents{.left = 14, .right = 14, .top = 12, .bottom = 17};
  EXPECT_EQ(visibleBounds(window), (Rect{114, 112, 272, 171}));
  window.gtkFrame = Extents{.left = 500, .right = 500, .top = 500, .bottom = 500};
  EXPECT_EQ(visibleBounds(window).width, 0);
  EXPECT_EQ(visibleBounds(window).height, 0);
}

struct LayerCase {
  const char* what;
  Window window;
  std::int64_t layer;
};

TEST(WindowListing, LayersSayWhatIsKeptAboveAndBelow) {
  const std::vector<LayerCase> cases{
      {"ordinary", {}, 0},
      {"a dialog", {.type = WindowType::dialog}, 0},
      {"kept above", {.isAbove = true}, kAboveLayer},
      {"kept below", {.isBelow = true}, kBelowLayer},
      {"a panel", {.type = WindowType::dock}, kDockLayer},
      {"a panel below", {.type = WindowType::dock, .isBelow = true}, kBelowLayer},
      {"a notification", {.type = WindowType::notification}, kNotificationLayer},
  };
  for (const auto& entry : cases) {
    const auto entries = list(desktop({entry.window}), WindowListOptions::all);
    ASSERT_EQ(entries.size(), 1U) << entry.what;
    EXPECT_EQ(entries[0].layer, entry.layer) << entry.what;
  }
}

TEST(WindowListing, TheDesktopItselfIsNeverListed) {
  auto background = shown(1);
  background.type = WindowType::desktop;
  EXPECT_TRUE(list(desktop({background}), WindowListOptions::all).empty());
}

struct ScreenCase {
  const char* what;
  bool isMapped;
  std::optional<std::uint32_t> desktop;
  Rect bounds;
  bool isOnScreen;
};

TEST(WindowListing, OnScreenMeansThatSomePartCanBeSeen) {
  const Rect inside{100, 100, 300, 200};
  const std::vector<ScreenCase> cases{
      {"shown", true, 0, inside, true},
      {"on all desktops", true, std::nullopt, inside, true},
      {"on another desktop", true, 1, inside, false},
      {"minimised", false, 0, inside, false},
      {"a pixel at the right edge", true, 0, {1279, 0, 300, 200}, true},
      {"right of the screen", true, 0, {1280, 0, 300, 200}, false},
      {"below the screen", true, 0, {0, 1024, 300, 200}, false},
      {"a pixel at the left edge", true, 0, {-299, 0, 300, 200}, true},
      {"left of the screen", true, 0, {-300, 0, 300, 200}, false},
      {"above the screen", true, 0, {0, -200, 300, 200}, false},
  };
  for (const auto& entry : cases) {
    const auto snapshot =
        desktop({{.id = 1, .isMapped = entry.isMapped, .desktop = entry.desktop, .clientBounds = entry.bounds}});
    EXPECT_EQ(list(snapshot, WindowListOptions::onScreenOnly).size(), entry.isOnScreen ? 1U : 0U) << entry.what;
    EXPECT_EQ(list(snapshot, WindowListOptions::all).size(), 1U) << entry.what;
  }
}

}  // namespace
}  // namespace quillard::desktop
