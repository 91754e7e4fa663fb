#include <limits>

#include <gtest/gtest.h>

#include "recording/RecordedDesktop.h"

namespace quillard::recording {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

RecordedElement elementWith(RecordedValue value) { return {.attributes = {{"AXValue", std::move(value)}}}; }

TEST(RecordedDesktop, EqualsItselfWhenItHoldsNumbersThatAreNone) {
  EXPECT_EQ(elementWith(kNan), elementWith(kNan));
  EXPECT_EQ(elementWith(Point{kNan, 1}), elementWith(Point{kNan, 1}));
  EXPECT_EQ(elementWith(Rect{0, 1, kNan, 2}), elementWith(Rect{0, 1, kNan, 2}));
  EXPECT_NE(elementWith(Size{kNan, 1}), elementWith(Size{kNan, 2}));
  EXPECT_NE(elementWith(kNan), elementWith(0.0));
  const RecordedWindowListEntry entry{.entry = {.alpha = kNan, .bounds = Rect{kNan, 0, 0, 0}}};
  EXPECT_EQ(entry, entry);
}

TEST(RecordedDesktop, TellsKindsAndMembersApart) {
  EXPECT_NE(elementWith(std::int64_t{1}), elementWith(1.0));
  EXPECT_NE(elementWith(std::string{"a"}), elementWith(ElementReference{"a"}));
  EXPECT_NE(elementWith(platform::AXError::noValue), elementWith(platform::AXError::failure));
  EXPECT_NE(elementWith(true), RecordedElement{});
  EXPECT_NE((RecordedElement{.processIdentifier = 1}), RecordedElement{});
  EXPECT_NE((RecordedElement{.actionNames = std::vector<std::string>{"AXPress"}}), RecordedElement{});
  EXPECT_NE((RecordedWindowListEntry{.isOnScreen = false}), RecordedWindowListEntry{});
  EXPECT_NE((RecordedWindowListEntry{.entry = {.alpha = 1.0}}), RecordedWindowListEntry{});
}

}  // namespace
}  // namespace quillard::recording
