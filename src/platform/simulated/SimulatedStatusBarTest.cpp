#include <gtest/gtest.h>

#include "platform/simulated/SimulatedStatusBar.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

TEST(SimulatedStatusBar, AnItemIsThereForAsLongAsItsObjectLives) {
  VirtualTime time{Seed{1}};
  SimulatedStatusBar bar{time};
  int clicks = 0;
  auto item = bar.makeStatusItem(24, [&] {
    EXPECT_TRUE(time.mainThread().isCurrent());
    ++clicks;
  });
  ASSERT_EQ(bar.items().size(), 1U);
  const auto shown = bar.items().front();
  EXPECT_EQ(shown->image, std::nullopt);
  item->setLength(30);
  item->setImage({.size = {30, 18}, .steps = {}});
  item->setToolTip("Tip");
  EXPECT_EQ(shown->length, 30);
  EXPECT_EQ(shown->image, (TemplateImage{.size = {30, 18}, .steps = {}}));
  EXPECT_EQ(shown->imageChanges, 1);
  EXPECT_EQ(shown->toolTip, "Tip");

  EXPECT_TRUE(bar.click());
  EXPECT_EQ(clicks, 0) << "in a later turn";
  time.runUntilIdle();
  EXPECT_EQ(clicks, 1);

  EXPECT_TRUE(bar.click());
  item.reset();
  time.runUntilIdle();
  EXPECT_EQ(clicks, 1) << "the item went before its turn came";
  EXPECT_FALSE(bar.click());
  EXPECT_TRUE(bar.items().empty());
}

TEST(SimulatedStatusBar, AClickMayTakeTheItemAway) {
  VirtualTime time{Seed{1}};
  SimulatedStatusBar bar{time};
  std::unique_ptr<StatusItem> item;
  item = bar.makeStatusItem(24, [&] { item.reset(); });
  EXPECT_TRUE(bar.click());
  time.runUntilIdle();
  EXPECT_TRUE(bar.items().empty());
}

}  // namespace
}  // namespace quillard::platform::simulated
