#include <gtest/gtest.h>

#include "platform/linux/accessibility/WindowMatching.h"
#include "platform/linux/windows/WindowTitles.h"

namespace quillard::atspi {
namespace {

using Matches = std::vector<std::optional<std::size_t>>;

desktop::Window window(desktop::WindowID id, const std::string& name, Rect bounds) {
  return {.id = id, .name = name, .isMapped = true, .clientBounds = bounds};
}

Matches match(const std::vector<AccessibleWindow>& accessible, const std::vector<desktop::Window>& windows,
              bool areAll = true) {
  return matchWindows(accessible, windows, areAll);
}

TEST(WindowMatching, GoesByTitleFirst) {
  EXPECT_EQ(match({{.name = "B", .extents = Rect{0, 0, 10, 10}}, {.name = "A", .extents = Rect{500, 0, 900, 900}}},
                  {window(1, "A", {0, 0, 10, 10}), window(2, "B", {500, 0, 900, 900})}),
            (Matches{1, 0}));
}

TEST(WindowMatching, GoesByPlaceAmongEqualTitles) {
  EXPECT_EQ(match({{.name = "A", .extents = Rect{500, 0, 300, 200}}, {.name = "A", .extents = Rect{0, 0, 300, 200}}},
                  {window(1, "A", {0, 0, 300, 200}), window(2, "A", {500, 0, 300, 200})}),
            (Matches{1, 0}));
}

TEST(WindowMatching, CountsTheFrameOfTheWindowManagerIn) {
  auto framed = window(1, "A", {10, 30, 300, 200});
  framed.frame = {.left = 1, .right = 1, .top = 20, .bottom = 4};
  const auto other = window(2, "A", {10, 90, 300, 200});
  EXPECT_EQ(match({{.name = "A", .extents = Rect{9, 10, 302, 224}}}, {other, framed}), (Matches{1}));
}

TEST(WindowMatching, ADialogNamedByItsKindIsFoundByItsPlace) {
  EXPECT_EQ(match({{.name = "Main", .extents = Rect{0, 0, 800, 600}},
                   {.name = "Question", .extents = Rect{200, 200, 300, 100}}},
                  {window(1, "Main", {0, 0, 800, 600}), window(2, "Permission", {200, 200, 300, 100})}),
            (Matches{0, 1}));
}

TEST(WindowMatching, Gtk4WindowsGoBySizeWhichIsNotExact) {
  EXPECT_EQ(match({{.extents = Rect{0, 0, 390, 190}, .tellsPlace = false},
                   {.extents = Rect{0, 0, 790, 590}, .tellsPlace = false}},
                  {window(1, "", {700, 500, 800, 600}), window(2, "", {100, 100, 400, 200})}),
            (Matches{1, 0}));
}

TEST(WindowMatching, WhatIsLeftOverOnBothSidesBelongsTogether) {
  EXPECT_EQ(match({{.name = "The text of a minimised box"}}, {window(1, "Permission", {0, 0, 10, 10})}), (Matches{0}));
  EXPECT_EQ(match({{.name = "x"}, {.name = "y"}}, {window(1, "Permission", {0, 0, 10, 10})}),
            (Matches{std::nullopt, std::nullopt}));
}

TEST(WindowMatching, WhatIsLeftOverNeedNotBelongTogetherWhereWindowsAreMissing) {
  const std::vector<AccessibleWindow> accessible{{.name = "A"}, {.name = "Dialog"}};
  const std::vector<desktop::Window> windows{window(1, "A", {0, 0, 10, 10}), window(2, "Other", {0, 0, 10, 10})};
  EXPECT_EQ(match({accessible[1]}, {windows[1]}), (Matches{0}));
  EXPECT_EQ(match({accessible[1]}, {windows[1]}, /*areAll=*/false), (Matches{std::nullopt}));
  EXPECT_EQ(match(accessible, windows, /*areAll=*/false), (Matches{0, std::nullopt})) << "A title is a title.";
}

TEST(WindowMatching, AHiddenWindowTakesNoVisibleOne) {
  auto minimised = window(2, "A", {0, 0, 10, 10});
  minimised.isHidden = true;
  EXPECT_EQ(match({{.name = "A", .isShowing = false}}, {window(1, "A", {0, 0, 10, 10})}), (Matches{std::nullopt}));
  EXPECT_EQ(match({{.name = "B", .isShowing = false}}, {minimised}), (Matches{std::nullopt}));
  EXPECT_EQ(match({{.name = "A", .isShowing = false}}, {minimised}), (Matches{0}));
}

TEST(WindowMatching, NoXWindowIsTakenTwice) {
  const auto matches = match({{.name = "A", .extents = Rect{0, 0, 9, 9}}, {.name = "A", .extents = Rect{0, 0, 9, 9}}},
                             {window(1, "A", {0, 0, 9, 9})});
  EXPECT_EQ(matches, (Matches{0, std::nullopt}));
}

TEST(WindowMatching, WindowsThatCannotBeToldApartAreMatchedByAge) {
  EXPECT_EQ(match({{.name = "A", .extents = Rect{0, 0, 9, 9}}, {.name = "A", .extents = Rect{0, 0, 9, 9}}},
                  {window(8, "A", {0, 0, 9, 9}), window(3, "A", {0, 0, 9, 9})}),
            (Matches{1, 0}));
}

TEST(WindowMatching, NothingFitsNothing) {
  EXPECT_EQ(match({}, {window(1, "A", {})}), Matches{});
  EXPECT_EQ(match({{.name = "A"}}, {}), Matches{std::nullopt});
}

// A client of Wayland is at the origin of its own coordinates, wherever it is.
TEST(WindowMatching, ClientsOfWaylandGoByTitleAndSize) {
  auto small = window(1, "Question", {500, 300, 300, 100});
  auto large = window(2, "Question", {0, 0, 700, 500});
  small.hasRelativePlaces = large.hasRelativePlaces = true;
  EXPECT_EQ(match({{.name = "Question", .extents = Rect{0, 0, 700, 500}},
                   {.name = "Question", .extents = Rect{0, 0, 300, 100}}},
                  {small, large}),
            (Matches{1, 0}));
}

desktop::Window numberedWindow(desktop::WindowID id, const std::string& title, Rect bounds = {}) {
  auto numbered = window(id, title, bounds);
  numbered.mayBeNumbered = true;
  return numbered;
}

TEST(WindowMatching, ANumberBehindTheTitleIsTheDesktopsWhereItNumbersWindows) {
  const auto isNumbered = [](const char* title, const char* of) {
    return desktop::isNumbered(numberedWindow(1, title), of);
  };
  EXPECT_TRUE(isNumbered("Permission <2>", "Permission"));
  EXPECT_TRUE(isNumbered("Permission <12>\u200E", "Permission"));
  for (const char* title :
       {"Permission", "Permission 2", "Permission <>", "Permission <a>", "Other <2>", "Permission <2"})
    EXPECT_FALSE(isNumbered(title, "Permission")) << title;
  EXPECT_FALSE(isNumbered(" <2>", ""));
  EXPECT_FALSE(desktop::isNumbered(window(1, "Permission <2>", {}), "Permission")) << "no window of KWin";
}

TEST(WindowMatching, ANumberedTitleFitsLessThanTheSameOne) {
  EXPECT_EQ(match({{.name = "A"}, {.name = "A"}}, {numberedWindow(1, "A"), numberedWindow(2, "A <2>")}),
            (Matches{0, 1}));
  EXPECT_EQ(match({{.name = "A"}, {.name = "A <2>"}}, {numberedWindow(1, "A <2>"), numberedWindow(2, "A")}),
            (Matches{1, 0}));
}

}  // namespace
}  // namespace quillard::atspi
