#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/Appearances.h"

namespace quillard::simulation {
namespace {

using testing::ElementsAre;

struct AppearancesTest : testing::Test {
  std::size_t add(platform::simulated::NodeHandle window) {
    return appearances.add({.window = window, .application = application, .content = {.title = "Erase?"}}).number;
  }
  platform::simulated::NodeHandle openWindow() {
    return stage.desktop().open(application, {.title = "Erase?", .buttons = {"Cancel"}});
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  Stage stage{world, {}};
  platform::simulated::ApplicationHandle application = stage.desktop().launch();
  Appearances appearances{stage};
};

TEST_F(AppearancesTest, AreNumberedAndOpenUntilTheyEnd) {
  const auto first = add(openWindow());
  const auto second = add(openWindow());
  EXPECT_THAT(appearances.open(), ElementsAre(first, second));
  world.advance(Seconds{3});
  appearances.end(appearances[first]);
  world.advance(Seconds{1});
  appearances.end(appearances[first]);
  EXPECT_THAT(appearances.open(), ElementsAre(second));
  EXPECT_EQ(appearances[first].to, Seconds{3}) << "It ends once.";
  appearances.endAllOf(application);
  EXPECT_TRUE(appearances.open().empty());
  EXPECT_EQ(appearances.count(), 2U) << "None is forgotten.";
}

TEST_F(AppearancesTest, FollowEachOtherInOneWindow) {
  const auto window = openWindow();
  const auto first = add(window);
  world.advance(Seconds{3});
  appearances.end(appearances[first]);
  const auto second = add(window);
  const auto elsewhere = add(openWindow());
  EXPECT_EQ(appearances.predecessorOf(second), first);
  EXPECT_EQ(appearances.predecessorOf(first), std::nullopt);
  EXPECT_EQ(appearances.predecessorOf(elsewhere), std::nullopt);
  EXPECT_FALSE(appearances.tookItsWindowAlong(first));
  EXPECT_EQ(appearances.at(window, Seconds{2}), first);
  EXPECT_EQ(appearances.at(window, Seconds{3}), first) << "At that moment, the earlier one.";
  EXPECT_EQ(appearances.at(window, Seconds{4}), second);
  ASSERT_NE(appearances.current(window), nullptr);
  EXPECT_EQ(appearances.current(window)->number, second);
  appearances.end(appearances[second]);
  EXPECT_TRUE(appearances.tookItsWindowAlong(second));
  EXPECT_EQ(appearances.current(window), nullptr);
}

}  // namespace
}  // namespace quillard::simulation
