#include <cstdint>
#include <vector>

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

TEST_F(DialogFocusResolverTest, SendsNoRequestWhenTheApplicationHasEnded) {
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

// ---- Focus, then resolve

TEST_F(DialogFocusResolverTest, SearchesOnceTheApplicationHasHadTimeToComeToTheFront) {
  const auto approval = openPrompt();
  std::vector<Seconds> slept;
  const auto resolved = resolver.focusAndResolve(approval, "Erase", [&](Seconds duration) {
    slept.push_back(duration);
    return true;
  });
  EXPECT_TRUE(resolved.button.has_value());
  EXPECT_EQ(slept, std::vector<Seconds>{Seconds{0.2}});
}

TEST_F(DialogFocusResolverTest, SearchesASecondTimeForAButtonThatIsShownLate) {
  const auto approval = openPrompt();
  const auto button = *desktop().findButton(dialog, "Erase");
  const auto size = desktop().attribute(button, platform::ax::kSize).value();
  desktop().setAttribute(button, platform::ax::kSize, Size{0, 0});
  std::vector<Seconds> slept;
  const auto resolved = resolver.focusAndResolve(approval, "Erase", [&](Seconds duration) {
    slept.push_back(duration);
    if (slept.size() == 2) desktop().setAttribute(button, platform::ax::kSize, size);
    return true;
  });
  EXPECT_TRUE(resolved.button.has_value());
  EXPECT_EQ(slept, (std::vector<Seconds>{Seconds{0.2}, Seconds{0.25}}));
}

TEST_F(DialogFocusResolverTest, GivesUpAfterTheSecondSearch) {
  const auto approval = openPrompt();
  desktop().close(dialog);
  int sleeps = 0;
  EXPECT_FALSE(resolver.focusAndResolve(approval, "Erase", [&](Seconds) { return ++sleeps > 0; }).button.has_value());
  EXPECT_EQ(sleeps, 2);
}

TEST_F(DialogFocusResolverTest, SearchesNoMoreWhenItIsStoppedDuringEitherSleep) {
  const auto approval = openPrompt();
  desktop().close(dialog);
  for (const int lastSleep : {1, 2}) {
    int sleeps = 0;
    std::uint64_t requestsAtStop = 0;
    const auto resolved = resolver.focusAndResolve(approval, "Erase", [&](Seconds) {
      requestsAtStop = desktop().roundTrips();
      return ++sleeps < lastSleep;
    });
    EXPECT_FALSE(resolved.button.has_value());
    EXPECT_EQ(sleeps, lastSleep);
    EXPECT_EQ(desktop().roundTrips(), requestsAtStop);
  }
}

}  // namespace
}  // namespace quillard
