#include <limits>

#include <gtest/gtest.h>

#include "status/AppBrand.h"
#include "status/MenuBarIcon.h"

namespace quillard {
namespace {

TEST(MenuBarIcon, IsWiderAndHasADotWhileApprovalsArePending) {
  const auto idle = MenuBarIcon::image(0);
  const auto pending = MenuBarIcon::image(1);
  EXPECT_EQ(idle.size, (Size{22, 18}));
  EXPECT_EQ(pending.size, (Size{30, 18}));
  ASSERT_EQ(pending.steps.size(), idle.steps.size() + 1);
  for (std::size_t i = 0; i < idle.steps.size(); ++i) EXPECT_EQ(idle.steps[i], pending.steps[i]) << i;
  EXPECT_EQ(std::get<OvalStep>(pending.steps.back()), (OvalStep{{20.5, 9.3, 8.2, 8.2}, 0})) << "filled";
}

TEST(MenuBarIcon, DoesNotShowHowManyArePending) {
  EXPECT_EQ(MenuBarIcon::image(-3), MenuBarIcon::image(0));
  EXPECT_EQ(MenuBarIcon::image(std::numeric_limits<std::int64_t>::min()), MenuBarIcon::image(0));
  EXPECT_EQ(MenuBarIcon::image(40), MenuBarIcon::image(1));
  EXPECT_EQ(MenuBarIcon::image(std::numeric_limits<std::int64_t>::max()), MenuBarIcon::image(1));
}

TEST(MenuBarIcon, ShowsAScreenOnAStandAndACheckMarkInARing) {
  const std::vector<std::variant<RoundedRectStep, OvalStep, PolylineStep, ArcStep>> expected{
      RoundedRectStep{{1.5, 4.5, 12.5, 9.5}, 2.2, 2.1},
      PolylineStep{{{6.5, 4.5}, {5.5, 2.3}}, 1.8, false},
      PolylineStep{{{9.0, 4.5}, {10.0, 2.3}}, 1.8, false},
      PolylineStep{{{4.5, 2.2}, {11.1, 2.2}}, 1.8, false},
      OvalStep{{11.2, 8.3, 6.6, 6.6}, 1.8},
      PolylineStep{{{13.0, 11.6}, {14.4, 10.2}, {16.2, 12.7}}, 1.8, true},
      ArcStep{{17.3, 11.7}, 3.0, -18, 45, 1.7, true}};
  EXPECT_EQ(MenuBarIcon::image(0).steps, expected);
}

// What is drawn past an edge is cut off.
TEST(MenuBarIcon, FitsItsImage) {
  for (const auto count : {0, 1}) {
    const auto image = MenuBarIcon::image(count);
    for (const auto& step : image.steps) {
      const auto* const oval = std::get_if<OvalStep>(&step);
      if (!oval) continue;
      EXPECT_LE(oval->rect.x + oval->rect.width + oval->lineWidth / 2, image.size.width);
      EXPECT_LE(oval->rect.y + oval->rect.height + oval->lineWidth / 2, image.size.height);
    }
  }
}

TEST(AppBrand, HasItsColours) {
  EXPECT_EQ(AppBrand::ink, (Color{0.09, 0.12, 0.14, 1}));
  EXPECT_EQ(AppBrand::green, (Color{0.16, 0.78, 0.34, 1}));
  EXPECT_EQ(AppBrand::amber, (Color{0.95, 0.58, 0.16, 1}));
  EXPECT_EQ(AppBrand::successPill, (Color{0.04, 0.36, 0.18, 1}));
  EXPECT_EQ(AppBrand::warningPill, (Color{0.58, 0.30, 0.06, 1}));
}

}  // namespace
}  // namespace quillard
