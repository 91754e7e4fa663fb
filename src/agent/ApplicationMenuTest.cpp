#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/ApplicationMenu.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::ApplicationMenuAction;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kCheck = "Check for Updates...";

struct ApplicationMenuTest : testing::Test {
  void addFeed() {
    world.bundle().setInformationText("SUFeedURL", "https://example.com/feed");
    world.bundle().setInformationText("SUPublicEDKey", "key");
  }
  void configure() {
    world.time().runOnMainThread([this] { menu->configureApplicationMenu(); });
  }

  SimulatedWorld world{Seed{1}};
  int changes = 0;
  std::unique_ptr<ApplicationMenu> menu = std::make_unique<ApplicationMenu>(
      ApplicationMenuDependencies{world.application(), world.bundle(), world.updateService()}, [this] { ++changes; });
};

TEST_F(ApplicationMenuTest, HoldsAboutUpdatesAndQuit) {
  EXPECT_THAT(world.application().menuItems(), IsEmpty());
  configure();
  const auto& items = world.application().menuItems();
  EXPECT_EQ(world.application().menuTitle(), "Quillard");
  ASSERT_THAT(items, SizeIs(4));
  EXPECT_EQ(items[0].title, "About Quillard");
  EXPECT_EQ(items[0].action, ApplicationMenuAction::standardAboutPanel);
  EXPECT_EQ(items[1].title, kCheck);
  EXPECT_FALSE(items[1].isEnabled) << "There is nothing to update from.";
  EXPECT_EQ(items[2].title, "");
  EXPECT_EQ(items[3].title, "Quit Quillard");
  EXPECT_EQ(items[3].action, ApplicationMenuAction::terminate);
  EXPECT_EQ(items[3].keyEquivalent, "q");
}

TEST_F(ApplicationMenuTest, StartsTheUpdateServiceWhereThereIsAFeed) {
  addFeed();
  configure();
  EXPECT_EQ(world.updateService().controllerCount(), 1);
  EXPECT_TRUE(world.application().chooseMenuItem(kCheck));
  world.advance(Seconds{0});
  EXPECT_EQ(world.updateService().userCheckCount(), 1);
  EXPECT_EQ(world.updateService().controllerCount(), 1) << "It is the same one.";
}

TEST_F(ApplicationMenuTest, ReportsWhatTheUpdateServiceFinds) {
  addFeed();
  configure();
  EXPECT_FALSE(menu->updateAvailability().isUpdateAvailable);
  world.updateService().setOffer("2.1");
  world.updateService().runScheduledCheck();
  world.advance(Seconds{0});
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(menu->updateAvailability().displayVersion, "2.1");
}

TEST_F(ApplicationMenuTest, WithoutAFeedTheItemStaysDisabled) {
  configure();
  world.time().runOnMainThread([this] { menu->checkForUpdates(); });
  EXPECT_FALSE(world.application().chooseMenuItem(kCheck));
  EXPECT_EQ(world.updateService().controllerCount(), 0);
  EXPECT_EQ(menu->updateAvailability(), UpdateAvailabilitySnapshot{});
}

TEST_F(ApplicationMenuTest, ItsItemDoesNothingOnceItIsGone) {
  addFeed();
  configure();
  const auto item = world.application().menuItems().at(1);
  menu.reset();
  world.time().runOnMainThread([&] { item.onChoice(); });
  EXPECT_EQ(world.updateService().userCheckCount(), 0);
}

}  // namespace
}  // namespace quillard
