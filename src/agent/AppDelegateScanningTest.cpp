#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::simulated::AXRequest;
using platform::simulated::AXRequestKind;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// Counts scans: each asks the application in front twice, first for its windows, last for the focus of the desktop.
struct ScanningAgent : AgentWorld {
  explicit ScanningAgent(std::uint64_t seed = 1) : AgentWorld(seed) {
    const auto editor = desktop().launch({.name = "Editor", .bundleIdentifier = "com.example.editor", .active = true});
    desktop().setRequestHook([this, editor](const AXRequest& request) {
      const bool isAskedItself = request.processIdentifier == editor.processIdentifier && !request.node;
      if (isAskedItself && request.kind == AXRequestKind::readAttributes) ++reads;
      scans = (reads + 1) / 2;
      if (onRequest) onRequest(request);
    });
  }
  int scansSince(int before) const { return scans - before; }

  int scans = 0;  // Begun so far.
  int reads = 0;
  std::function<void(const AXRequest&)> onRequest;
};

TEST(AppDelegateScanning, APromptIsAnnouncedOnceAsLongAsItStays) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(1000);
  const auto& posted = agent.world.userNotifications().posted();
  ASSERT_THAT(posted, SizeIs(1));
  EXPECT_EQ(posted[0].title, "Quillard");
  EXPECT_EQ(posted[0].body, "Your Mac needs approval.");
  EXPECT_TRUE(posted[0].playsDefaultSound);
  EXPECT_EQ(posted[0].identifier, agent.phone.shown().at(0).id.text());
}

TEST(AppDelegateScanning, APromptThatLeftAndCameBackIsAnnouncedAgain) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto spec = erasePrompt();
  const auto dialog = agent.desktop().open(spec);
  agent.advance(5);
  agent.desktop().close(dialog);
  agent.advance(30);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  agent.desktop().open(spec);
  agent.advance(5);
  EXPECT_THAT(agent.world.userNotifications().posted(), SizeIs(2));
}

TEST(AppDelegateScanning, PausedNothingIsAnnouncedAndThePhoneSeesNothing) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::indefinitely); });
  agent.desktop().open(erasePrompt());
  agent.advance(30);
  EXPECT_THAT(agent.world.userNotifications().posted(), IsEmpty());
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_TRUE(agent.phone.snapshots().back().accessibilityTrusted);
  EXPECT_EQ(agent.phone.snapshots().back().state, (ComputerState{.isPaused = true}));
  EXPECT_TRUE(agent.menuBarShowsPending()) << "The menu bar is not paused.";

  agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
  agent.advance(0);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_EQ(agent.phone.snapshots().back().state, ComputerState{});
  agent.advance(300);
  EXPECT_THAT(agent.world.userNotifications().posted(), SizeIs(1)) << "By the first scan after the pause.";
}

TEST(AppDelegateScanning, EveryPauseIsFollowedByFreshAnnouncements) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(5);
  EXPECT_THAT(agent.world.userNotifications().posted(), SizeIs(1));
  agent.onMainThread([](AppDelegate& delegate) {
    delegate.pauseNotifications(NotificationPauseOption::twoHours);
    delegate.resumeNotifications();
  });
  agent.advance(300);
  EXPECT_THAT(agent.world.userNotifications().posted(), SizeIs(2));
}

TEST(AppDelegatePauseOptions, LastAsLongAsTheySay) {
  const auto endOf = [](NotificationPauseOption option) {
    AgentWorld agent;
    agent.launch();
    agent.onMainThread([&](AppDelegate& delegate) { delegate.pauseNotifications(option); });
    const auto pause = agent.status().notificationPause;
    return pause.pausedUntil ? Seconds{*pause.pausedUntil - agent.world.time().now()}.count() : -1;
  };
  EXPECT_EQ(endOf(NotificationPauseOption::twoHours), 7200);
  EXPECT_EQ(endOf(NotificationPauseOption::fourHours), 14400);
  EXPECT_EQ(endOf(NotificationPauseOption::untilTomorrow), 86400) << "The world begins at nine in the morning.";
  EXPECT_EQ(endOf(NotificationPauseOption::indefinitely), -1);
}

// ---- Stale prompts

// Two prompts, both shown; the second of them then closes without any event.
struct StaleAgent : ScanningAgent {
  StaleAgent() {
    launchAndPair();
    desktop().open(erasePrompt("First"));
    second = desktop().open(erasePrompt("Second"));
    advance(2.1);  // The last scan that sees both is a tenth of a second ago.
    EXPECT_THAT(phone.shownTitles(), UnorderedElementsAre("First", "Second"));
  }
  platform::simulated::NodeHandle second;
};

TEST(AppDelegateStaleCleanup, APromptThatAScanMissedIsLetGoEightAndAHalfSecondsLater) {
  StaleAgent agent;
  agent.desktop().close(agent.second);
  // The window list tells of it: scans come after 0.35, 0.8 and 2.0 s, each of which arms the cleanup anew.
  agent.advance(2.001);
  EXPECT_THAT(agent.phone.shown(), SizeIs(2)) << "Kept for its grace.";
  const int before = agent.scans;
  agent.advance(8.498);
  EXPECT_EQ(agent.scansSince(before), 0);
  EXPECT_THAT(agent.phone.shown(), SizeIs(2));
  agent.advance(0.002);
  EXPECT_EQ(agent.scansSince(before), 1);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("First"));
  agent.advance(60);
  EXPECT_EQ(agent.scansSince(before), 1) << "Nothing is left to clean up.";
}

TEST(AppDelegateStaleCleanup, AScanThatSeesItAgainCancelsTheCleanup) {
  StaleAgent agent;
  agent.desktop().close(agent.second);
  agent.advance(3);
  auto spec = erasePrompt("Second");
  spec.frame = agent.phone.shown().size() == 2 ? std::optional(Rect{}) : std::nullopt;
  for (const auto& approval : agent.phone.shown()) {
    const auto& frame = approval.windowFrame;
    if (approval.windowTitle == "Second") spec.frame = Rect{frame.x, frame.y, frame.width, frame.height};
  }
  agent.desktop().open(spec);
  agent.advance(2.001);
  const int before = agent.scans;
  agent.advance(60);
  EXPECT_EQ(agent.scansSince(before), 0);
  EXPECT_THAT(agent.phone.shown(), SizeIs(2));
}

TEST(AppDelegateStaleCleanup, QuittingCancelsIt) {
  StaleAgent agent;
  agent.desktop().close(agent.second);
  agent.advance(2.001);
  const int before = agent.scans;
  agent.world.application().terminate();
  agent.advance(60);
  EXPECT_EQ(agent.scansSince(before), 0);
}

TEST(AppDelegateScanning, AScanThatEndsAfterTheEndChangesNothing) {
  ScanningAgent agent;
  const auto application = agent.desktop().launch({.name = "Slow", .bundleIdentifier = "com.example.slow"});
  agent.desktop().open(application, erasePrompt());
  agent.desktop().slow(application, Seconds{0.15});
  agent.launchAndPair();
  agent.desktop().open(erasePrompt("Another"));
  agent.advance(0.4);
  agent.world.application().terminate();
  agent.advance(0);
  const auto announced = agent.world.userNotifications().posted().size();
  agent.advance(30);
  EXPECT_EQ(agent.world.userNotifications().posted().size(), announced);
}

TEST(AppDelegateScanning, TrustLostDuringAScanEmptiesEverything) {
  ScanningAgent agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(4);
  ASSERT_TRUE(agent.menuBarShowsPending());
  agent.onRequest = [&](const AXRequest&) { agent.desktop().setTrusted(false, /*isNotified=*/false); };
  agent.desktop().changeSpace();
  agent.advance(0.4);
  EXPECT_FALSE(agent.menuBarShowsPending());
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
}

}  // namespace
}  // namespace quillard
