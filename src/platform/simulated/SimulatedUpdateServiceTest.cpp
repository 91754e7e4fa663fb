#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedUpdateService.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedUpdateServiceTest : public testing::Test {
 protected:
  std::unique_ptr<UpdateController> make() {
    return service.makeController({.willHandleShowingUpdate =
                                       [this](bool handles, const std::string& version) {
                                         events.push_back((handles ? "shows " : "found ") + version);
                                       },
                                   .didReceiveUserAttention = [this] { events.emplace_back("attention"); },
                                   .willFinishUpdateSession = [this] { events.emplace_back("finish"); }});
  }
  std::vector<std::string> takeEvents() {
    time.runUntilIdle();
    return std::exchange(events, {});
  }

  VirtualTime time{Seed{1}};
  SimulatedUpdateService service{time};
  std::vector<std::string> events;
};

TEST_F(SimulatedUpdateServiceTest, AScheduledCheckFindsWhatIsOfferedAndShowsNothing) {
  const auto controller = make();
  service.runScheduledCheck();
  EXPECT_THAT(takeEvents(), IsEmpty()) << "nothing is offered";
  service.setOffer("2.1");
  service.runScheduledCheck();
  service.giveUserAttention();
  service.finishSession();
  EXPECT_THAT(takeEvents(), ElementsAre("found 2.1", "attention", "finish"));
  EXPECT_FALSE(service.isShowingWindow());
}

TEST_F(SimulatedUpdateServiceTest, ACheckOfTheUsersShowsTheWindowUntilTheSessionIsFinished) {
  const auto controller = make();
  controller->checkForUpdates();
  EXPECT_TRUE(service.isShowingWindow()) << "also to say that there is nothing";
  EXPECT_THAT(takeEvents(), IsEmpty());
  service.setOffer("2.1");
  controller->checkForUpdates();
  EXPECT_THAT(takeEvents(), ElementsAre("shows 2.1"));
  EXPECT_EQ(service.userCheckCount(), 2);
  service.finishSession();
  EXPECT_FALSE(service.isShowingWindow());
  EXPECT_THAT(takeEvents(), ElementsAre("finish"));
}

TEST_F(SimulatedUpdateServiceTest, ADestroyedControllerIsToldNothing) {
  auto controller = make();
  service.setOffer("2.1");
  service.runScheduledCheck();
  controller.reset();
  service.finishSession();
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(SimulatedUpdateServiceTest, MayBeMissing) {
  service.setPresent(false);
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(service.controllerCount(), 0);
}

}  // namespace
}  // namespace quillard::platform::simulated
