#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedApplication.h"
#include "platform/simulated/VirtualTime.h"
#include "support/RecordingDelegate.h"

namespace quillard::platform::simulated {
namespace {

using testing::ElementsAre;

class SimulatedApplicationTest : public testing::Test {
 protected:
  VirtualTime time{Seed{1}};
  SimulatedApplication application{time};
  std::vector<std::string> chosen;
};

TEST_F(SimulatedApplicationTest, EndsAfterThePresentTurnAndCallsTheDelegateOnce) {
  const auto delegate = std::make_shared<test::RecordingDelegate>();
  application.setDelegate(delegate);
  time.mainThread().post([&] {
    application.terminate();
    application.terminate();
    delegate->calls.emplace_back("the turn goes on");
  });
  time.runUntilIdle();
  EXPECT_THAT(delegate->calls, ElementsAre("did finish launching", "the turn goes on", "will terminate"));
  EXPECT_TRUE(application.isTerminationRequested());
  EXPECT_TRUE(application.hasTerminated());
  application.terminate();
  time.runUntilIdle();
  EXPECT_EQ(delegate->calls.size(), 3U);
}

TEST_F(SimulatedApplicationTest, RemembersPoliciesAndActivations) {
  EXPECT_EQ(application.activationPolicy(), ActivationPolicy::accessory);
  application.setActivationPolicy(ActivationPolicy::regular);
  application.activateIgnoringOtherApplications();
  application.setActivationPolicy(ActivationPolicy::accessory);
  EXPECT_THAT(application.activationPolicies(), ElementsAre(ActivationPolicy::regular, ActivationPolicy::accessory));
  EXPECT_EQ(application.activationCount(), 1);
}

TEST_F(SimulatedApplicationTest, OnlyEnabledItemsOfTheNewestMenuCanBeChosen) {
  application.setApplicationMenu("Old", {{.title = "Gone"}});
  application.setApplicationMenu(
      "New", {{.title = "About", .action = ApplicationMenuAction::standardAboutPanel},
              {.title = "Do", .onChoice = [this] { chosen.emplace_back("done"); }},
              {.title = ""},
              {.title = "Not now", .isEnabled = false, .onChoice = [this] { chosen.emplace_back("wrong"); }},
              {.title = "Quit", .action = ApplicationMenuAction::terminate, .keyEquivalent = "q"}});
  EXPECT_EQ(application.menuTitle(), "New");
  EXPECT_EQ(application.menuItems().size(), 5U);
  EXPECT_FALSE(application.chooseMenuItem("Gone"));
  EXPECT_FALSE(application.chooseMenuItem("")) << "a separator";
  EXPECT_FALSE(application.chooseMenuItem("Not now"));
  EXPECT_TRUE(application.chooseMenuItem("About"));
  EXPECT_TRUE(application.chooseMenuItem("Do"));
  EXPECT_TRUE(chosen.empty()) << "in a later turn";
  time.runUntilIdle();
  EXPECT_THAT(chosen, ElementsAre("done"));
  EXPECT_EQ(application.aboutPanelCount(), 1);
  EXPECT_FALSE(application.hasTerminated());
  EXPECT_TRUE(application.chooseMenuItem("Quit"));
  time.runUntilIdle();
  EXPECT_TRUE(application.hasTerminated());
}

}  // namespace
}  // namespace quillard::platform::simulated
