#include <gtest/gtest.h>

#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedUpdateService.h"
#include "platform/simulated/VirtualTime.h"
#include "system/UpdateManager.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedBundle;
using platform::simulated::SimulatedUpdateService;
using platform::simulated::VirtualTime;

class UpdateManagerTest : public testing::Test {
 protected:
  void expectKnown(const std::optional<std::string>& version, int changesSoFar) {
    time.runUntilIdle();
    EXPECT_EQ(manager.availability().isUpdateAvailable, version.has_value());
    EXPECT_EQ(manager.availability().displayVersion, version);
    EXPECT_EQ(changes, changesSoFar);
  }

  VirtualTime time{Seed{1}};
  SimulatedUpdateService service{time};
  int changes = 0;
  UpdateManager manager{service, [this] { ++changes; }};
};

TEST_F(UpdateManagerTest, StartsTheFrameworkAndKnowsOfNothing) {
  EXPECT_EQ(service.controllerCount(), 1);
  expectKnown(std::nullopt, 0);
}

TEST_F(UpdateManagerTest, KeepsWhatAScheduledCheckFoundAndTellsOnce) {
  service.setOffer("2.1");
  service.runScheduledCheck();
  expectKnown("2.1", 1);
  service.setOffer("2.2");
  service.runScheduledCheck();
  expectKnown("2.2", 2);
}

TEST_F(UpdateManagerTest, ForgetsItOnceTheUserHasLooked) {
  service.setOffer("2.1");
  service.runScheduledCheck();
  expectKnown("2.1", 1);
  service.giveUserAttention();
  expectKnown(std::nullopt, 2);
  service.finishSession();
  expectKnown(std::nullopt, 2);
}

TEST_F(UpdateManagerTest, ForgetsItWhenTheSessionEnds) {
  service.setOffer("2.1");
  service.runScheduledCheck();
  service.finishSession();
  expectKnown(std::nullopt, 2);
}

TEST_F(UpdateManagerTest, SaysNothingWhenASessionEndsThatFoundNothing) {
  service.giveUserAttention();
  service.finishSession();
  expectKnown(std::nullopt, 0);
}

TEST_F(UpdateManagerTest, LeavesWhatItKnowsAloneDuringACheckOfTheUsers) {
  service.setOffer("2.1");
  service.runScheduledCheck();
  expectKnown("2.1", 1);
  service.setOffer("2.2");
  manager.checkForUpdates();
  EXPECT_TRUE(service.isShowingWindow());
  EXPECT_EQ(service.userCheckCount(), 1);
  expectKnown("2.1", 1);
  service.finishSession();
  expectKnown(std::nullopt, 2);
}

TEST(UpdateManager, FindsNothingOnASystemWithoutAFramework) {
  VirtualTime time{Seed{1}};
  SimulatedUpdateService service{time};
  service.setPresent(false);
  UpdateManager manager{service, [] { FAIL(); }};
  manager.checkForUpdates();
  time.runUntilIdle();
  EXPECT_EQ(manager.availability(), UpdateAvailabilitySnapshot{});
}

TEST(UpdateManager, NeedsAnApplicationThatNamesAFeedAndItsKey) {
  const auto isSupported = [](const std::string& path, const std::optional<std::string>& feed,
                              const std::optional<std::string>& key) {
    SimulatedBundle bundle;
    bundle.setPath(path);
    if (feed) bundle.setInformationText("SUFeedURL", *feed);
    if (key) bundle.setInformationText("SUPublicEDKey", *key);
    return UpdateManager::isSupported(bundle);
  };
  const std::string application = "/Applications/Quillard.app";
  EXPECT_TRUE(isSupported(application, "https://example.com/feed", "key"));
  EXPECT_FALSE(isSupported("/build/quillard", "https://example.com/feed", "key"));
  EXPECT_FALSE(isSupported(application, std::nullopt, "key"));
  EXPECT_FALSE(isSupported(application, "", "key"));
  EXPECT_FALSE(isSupported(application, "https://example.com/feed", std::nullopt));
  EXPECT_FALSE(isSupported(application, "https://example.com/feed", ""));
}

}  // namespace
}  // namespace quillard
