#include <gtest/gtest.h>

#include "click/DialogFocusResolver.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using samples::DetectionWorld;
namespace ax = platform::ax;

class DialogFocusResolverTest : public testing::Test, protected DetectionWorld {
 protected:
  PendingApproval openPrompt() {
    dialog = desktop().open(application, {.title = "Erase?", .buttons = {"Cancel", "Erase"}});
    return scanTwice().at(0);
  }

  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
  platform::simulated::NodeHandle dialog;
  DialogFocusResolver resolver{detector, world.accessibility(), world.workspace()};
};

TEST_F(DialogFocusResolverTest, BringsTheApplicationToTheFront) {
  const auto approval = openPrompt();
  desktop().hide(application);
  desktop().activate(desktop().launch({.name = "Other"}));
  resolver.focusApplication(approval);
  world.time().runUntilIdle();
  const auto state = desktop().application(application);
  EXPECT_FALSE(state->isHidden);
  EXPECT_TRUE(state->isActive);
  EXPECT_EQ(world.workspace().frontmostApplication()->processIdentifier, application.processIdentifier);
}

TEST_F(DialogFocusResolverTest, AsksNobodyWhenTheApplicationHasGone) {
  const auto approval = openPrompt();
  desktop().terminate(application);
  desktop().resetRoundTrips();
  resolver.focusApplication(approval);
  EXPECT_EQ(desktop().roundTrips(), 0U);
}

TEST_F(DialogFocusResolverTest, WaitsForAHungApplicationNoLongerThanTheTimeOut) {
  const auto approval = openPrompt();
  desktop().hang(application);
  const auto before = world.time().monotonicNow();
  resolver.focusApplication(approval);
  EXPECT_EQ(world.time().monotonicNow() - before, std::chrono::milliseconds(200));
}

TEST_F(DialogFocusResolverTest, ResolvesTheButtonThatThePhoneChose) {
  const auto approval = openPrompt();
  const auto resolved = resolver.resolveCurrentButton(approval, "Cancel");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->element, desktop().element(*desktop().findButton(dialog, "Cancel")));
  EXPECT_FALSE(resolver.resolveCurrentButton(approval, "cancel").has_value());
}

}  // namespace
}  // namespace quillard
