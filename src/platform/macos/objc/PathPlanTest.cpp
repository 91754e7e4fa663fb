#include <gtest/gtest.h>

#include "platform/macos/objc/PathPlan.h"
#include "status/MenuBarIcon.h"

namespace quillard::macos {
namespace {

TemplateImage imageOf(decltype(TemplateImage::steps) steps) { return {.size = {22, 18}, .steps = std::move(steps)}; }

TEST(PathPlans, KeepTheOrderOfTheSteps) {
  const auto plans =
      pathPlans(imageOf({RoundedRectStep{{1, 2, 3, 4}, 0.5, 2.0}, OvalStep{{5, 6, 7, 8}, 1.5},
                         PolylineStep{{{0, 0}, {1, 1}}, 1.0, true}, ArcStep{{9, 9}, 3, -18, 45, 1.7, true}}));
  const std::vector<PathPlan> expected{
      {.shape = PathPlan::RoundedRect{{1, 2, 3, 4}, 0.5}, .lineWidth = 2.0},
      {.shape = PathPlan::Oval{{5, 6, 7, 8}}, .lineWidth = 1.5},
      {.shape = PathPlan::Lines{{{0, 0}, {1, 1}}}, .lineWidth = 1.0, .hasRoundCaps = true, .hasRoundJoins = true},
      {.shape = PathPlan::Arc{{9, 9}, 3, -18, 45}, .lineWidth = 1.7, .hasRoundCaps = true}};
  EXPECT_EQ(plans, expected);
}

TEST(PathPlans, FillAnOvalWithoutALine) {
  const auto plans = pathPlans(imageOf({OvalStep{{1, 1, 4, 4}, 0}}));
  ASSERT_EQ(plans.size(), 1U);
  EXPECT_EQ(plans.front().lineWidth, 0);
}

TEST(PathPlans, LeaveOutWhatLeavesNoMark) {
  EXPECT_TRUE(pathPlans(imageOf({PolylineStep{{}, 1.0, false}, PolylineStep{{{1, 1}}, 1.0, false},
                                 PolylineStep{{{1, 1}, {2, 2}}, 0, false}, RoundedRectStep{{1, 1, 2, 2}, 1, 0},
                                 OvalStep{{1, 1, 2, 2}, -1}, ArcStep{{1, 1}, 1, 0, 90, 0, false}}))
                  .empty());
}

TEST(PathPlans, DrawTheWholeIconAndItsDot) {
  const auto idle = MenuBarIcon::image(0);
  const auto pending = MenuBarIcon::image(1);
  const auto idlePlans = pathPlans(idle);
  const auto pendingPlans = pathPlans(pending);
  EXPECT_EQ(idlePlans.size(), idle.steps.size());
  ASSERT_EQ(pendingPlans.size(), idlePlans.size() + 1);
  EXPECT_EQ(pendingPlans.back(), (PathPlan{.shape = PathPlan::Oval{{20.5, 9.3, 8.2, 8.2}}, .lineWidth = 0}));
}

}  // namespace
}  // namespace quillard::macos
