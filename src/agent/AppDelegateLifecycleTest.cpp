#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedApplication.h"
#include "platform/simulated/SimulatedLockFiles.h"
#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::simulated::ApplicationHandle;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kLock = "com.quillard.agent.lock";

std::vector<std::int32_t> processesOf(const std::vector<ApplicationHandle>& applications) {
  std::vector<std::int32_t> processes;
  for (const auto& application : applications) processes.push_back(application.processIdentifier);
  return processes;
}

// ---- One agent a session

TEST(AppDelegateLaunch, HoldsTheLockUntilItQuits) {
  AgentWorld agent;
  agent.launch();
  EXPECT_TRUE(agent.world.lockFolder().isLocked(kLock));
  agent.quit();
  EXPECT_FALSE(agent.world.lockFolder().isLocked(kLock));
  EXPECT_EQ(agent.world.lockFiles().heldCount(), 0U);
}

TEST(AppDelegateLaunch, ASecondAgentAsksTheFirstToQuitAndEndsItself) {
  AgentWorld agent;
  platform::simulated::SimulatedLockFiles first{agent.world.lockFolder()};
  const auto held = first.acquire(kLock);
  ASSERT_EQ(held.outcome, platform::LockOutcome::acquired);
  agent.desktop().launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501});
  agent.launch();
  agent.advance(60);
  EXPECT_THAT(processesOf(agent.desktop().quitRequests()), ElementsAre(501));
  EXPECT_TRUE(agent.world.application().hasTerminated());
  EXPECT_THAT(agent.world.statusBar().items(), IsEmpty());
  EXPECT_THAT(agent.world.statusWindowViews().windows(), IsEmpty());
  EXPECT_THAT(agent.world.application().menuItems(), IsEmpty());
  EXPECT_EQ(agent.world.loginService().registrationCount(), 0);
  EXPECT_EQ(agent.world.userNotifications().authorizationRequestCount(), 0);
  EXPECT_THAT(agent.world.httpSessions().requests(), IsEmpty());
  EXPECT_THAT(agent.world.console().lines(), IsEmpty());
  EXPECT_TRUE(agent.world.lockFolder().isLocked(kLock)) << "It is the first one's.";
  EXPECT_EQ(agent.world.time().nextDue(), std::nullopt) << "Nothing was started.";
}

TEST(AppDelegateLaunch, ASecondAgentRunsOnceTheFirstHasLetGo) {
  AgentWorld agent;
  platform::simulated::SimulatedLockFiles first{agent.world.lockFolder()};
  auto held = first.acquire(kLock);
  agent.desktop().launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501});
  agent.launch();
  agent.world.application().reopen();
  agent.advance(0.45);
  EXPECT_THAT(agent.world.statusWindowViews().windows(), IsEmpty()) << "The first one is still there.";
  EXPECT_EQ(agent.world.loginService().registrationCount(), 0);
  held.lock.reset();
  agent.advance(0.2);
  EXPECT_FALSE(agent.world.application().hasTerminated());
  EXPECT_TRUE(agent.world.lockFolder().isLocked(kLock));
  EXPECT_TRUE(agent.world.statusWindowViews().window().isVisible());
  EXPECT_EQ(agent.world.loginService().registrationCount(), 1);
}

TEST(AppDelegateLaunch, ASecondAgentGoesByWhatTheFirstHasWrittenLast) {
  AgentWorld agent;
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  platform::simulated::SimulatedLockFiles first{agent.world.lockFolder()};
  auto held = first.acquire(kLock);
  agent.desktop().launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501});
  const auto settingsOfFirst = agent.world.userDefaults().openedByAnother();
  agent.launch();
  agent.advance(0.45);
  settingsOfFirst->set("quillard.relay-url", std::string("wss://chosen.example/ws"));
  ASSERT_EQ(settingsOfFirst->synchronize(), std::nullopt);
  held.lock.reset();
  agent.advance(5);
  EXPECT_TRUE(agent.status().relayConnected);
}

TEST(AppDelegateLaunch, ASecondAgentThatIsToldToQuitWhileItWaitsDoesSo) {
  AgentWorld agent;
  platform::simulated::SimulatedLockFiles first{agent.world.lockFolder()};
  auto held = first.acquire(kLock);
  agent.desktop().launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501});
  agent.launch();
  agent.advance(0.45);
  agent.world.application().terminate();
  agent.advance(0);
  held.lock.reset();
  agent.advance(60);
  EXPECT_TRUE(agent.world.application().hasTerminated());
  EXPECT_EQ(agent.world.lockFiles().heldCount(), 0U);
  EXPECT_EQ(agent.world.time().nextDue(), std::nullopt);
}

TEST(AppDelegateLaunch, RunsUnguardedWhereNoLockCanBeHad) {
  AgentWorld agent;
  agent.world.lockFolder().setUnavailable(true);
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(agent.world.console().lines(), ElementsAre("Quillard relay connected."));
  agent.quit();
}

// ---- What is set up

TEST(AppDelegateLaunch, SetsUpMenuMenuBarAndWindow) {
  AgentWorld agent;
  agent.launch();
  const auto& menu = agent.world.application().menuItems();
  EXPECT_EQ(agent.world.application().menuTitle(), "Quillard");
  ASSERT_THAT(menu, SizeIs(4));
  EXPECT_EQ(menu[0].title, "About Quillard");
  EXPECT_EQ(menu[0].action, platform::ApplicationMenuAction::standardAboutPanel);
  EXPECT_EQ(menu[1].title, "Check for Updates...");
  EXPECT_FALSE(menu[1].isEnabled) << "There is nothing to update from.";
  EXPECT_EQ(menu[2].title, "");
  EXPECT_EQ(menu[3].title, "Quit Quillard");
  EXPECT_EQ(menu[3].action, platform::ApplicationMenuAction::terminate);
  EXPECT_EQ(menu[3].keyEquivalent, "q");

  const auto items = agent.world.statusBar().items();
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_EQ(items[0]->length, 24);
  EXPECT_EQ(items[0]->toolTip, "Quillard");
  EXPECT_TRUE(items[0]->image.has_value());
  EXPECT_TRUE(agent.world.statusWindowViews().window().isVisible());
  EXPECT_EQ(agent.world.application().activationPolicy(), platform::ActivationPolicy::regular);
}

TEST(AppDelegateLaunch, RegistersTheLoginItemAndTheRelay) {
  AgentWorld agent;
  agent.launch();
  agent.advance(0);
  EXPECT_EQ(agent.world.loginService().registrationCount(), 1);
  EXPECT_THAT(agent.world.httpSessions().requests(), SizeIs(1));
  EXPECT_EQ(agent.world.userNotifications().authorizationRequestCount(), 1);
}

TEST(AppDelegateLaunch, OutsideApplicationsThereIsOnlyTheWindow) {
  AgentWorld agent;
  agent.world.bundle().setPath("/Users/ann/Downloads/Quillard.app");
  agent.launch();
  agent.desktop().open(erasePrompt());
  agent.advance(700);
  EXPECT_EQ(agent.world.loginService().registrationCount(), 0);
  EXPECT_THAT(agent.world.httpSessions().requests(), IsEmpty());
  EXPECT_THAT(agent.world.webSockets().connections(), IsEmpty());
  EXPECT_EQ(agent.desktop().roundTrips(), 0U) << "Nothing is looked at.";
  EXPECT_TRUE(agent.world.statusWindowViews().window().isVisible());
  EXPECT_FALSE(agent.status().installedInApplications);
}

TEST(AppDelegateLaunch, DetectionStartsThreeTenthsOfASecondLater) {
  AgentWorld agent;
  agent.desktop().open(erasePrompt());
  agent.launch();
  agent.advance(0.299);
  EXPECT_EQ(agent.desktop().roundTrips(), 0U);
  agent.advance(0.002);
  EXPECT_GT(agent.desktop().roundTrips(), 0U);
}

TEST(AppDelegateLaunch, WithoutARelayNothingIsDetected) {
  AgentWorld agent;
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.desktop().open(erasePrompt());
  agent.launch();
  agent.advance(1);
  // Each of these asks for a scan, whether detection has started or not.
  agent.desktop().setTrusted(false, /*isNotified=*/false);
  agent.advance(3);
  agent.desktop().setTrusted(true, /*isNotified=*/false);
  agent.advance(3);
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
  agent.advance(1000);
  EXPECT_EQ(agent.desktop().roundTrips(), 0U);
  EXPECT_FALSE(agent.status().relayConfigured);
}

TEST(AppDelegateLaunch, ARelayWithoutAnAddressIsNone) {
  AgentWorld agent;
  agent.world.environment().set("QUILLARD_RELAY_URL", "wss:///ws");
  agent.desktop().open(erasePrompt());
  agent.launch();
  agent.advance(1000);
  EXPECT_EQ(agent.desktop().roundTrips(), 0U);
}

TEST(AppDelegateLaunch, ABundledRelayServesToo) {
  AgentWorld agent;
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.world.bundle().setPropertyList(
      "RelayConfig", platform::PropertyListTexts{{"relayURL", "wss://relay.example/ws"}, {"pairingID", "quillard"}});
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST(AppDelegateLaunch, ABrokenBundledRelayIsNotReportedAgainAndAgain) {
  AgentWorld agent;
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.world.bundle().setPropertyList("RelayConfig", platform::ResourceError{"The property list is malformed."});
  agent.launch();
  const auto atStart = agent.world.console().lines().size();
  EXPECT_GE(atStart, 1U);
  agent.advance(600);
  EXPECT_EQ(agent.world.console().lines().size(), atStart);
}

// ---- Menus, buttons and windows

TEST(AppDelegateWindow, ComesBackByMenuBarAndReopening) {
  AgentWorld agent;
  agent.launch();
  auto& window = agent.world.statusWindowViews().window();
  window.closeByUser();
  agent.advance(0);
  EXPECT_FALSE(window.isVisible());
  agent.world.statusBar().click();
  agent.advance(0);
  EXPECT_TRUE(window.isVisible());
  window.closeByUser();
  agent.advance(0);
  agent.world.application().reopen();
  agent.advance(0);
  EXPECT_EQ(agent.world.application().reopenAnswer(), true);
  EXPECT_TRUE(window.isVisible());
  EXPECT_THAT(agent.world.statusWindowViews().windows(), SizeIs(1)) << "It is the same one.";
}

TEST(AppDelegateWindow, AsksForThePermissionOrForTheMoveBeforeIt) {
  AgentWorld agent;
  agent.desktop().setTrusted(false);
  agent.launch();
  agent.onMainThread([](AppDelegate& delegate) { delegate.requestPermissions(); });
  EXPECT_THAT(agent.desktop().openedURLs(),
              ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
  EXPECT_THAT(agent.desktop().openedFolders(), IsEmpty());

  AgentWorld elsewhere;
  elsewhere.world.bundle().setPath("/Users/ann/Downloads/Quillard.app");
  elsewhere.launch();
  elsewhere.onMainThread([](AppDelegate& delegate) { delegate.requestPermissions(); });
  EXPECT_THAT(elsewhere.desktop().openedFolders(), ElementsAre("/Applications"));
  EXPECT_THAT(elsewhere.desktop().openedURLs(), IsEmpty());
}

TEST(AppDelegateWindow, QuitsByItsMenu) {
  AgentWorld agent;
  agent.launch();
  agent.world.application().chooseMenuItem("Quit Quillard");
  agent.advance(1);
  EXPECT_TRUE(agent.world.application().hasTerminated());
}

struct UpdatingAgent : AgentWorld {
  UpdatingAgent() {
    world.bundle().setInformationText("SUFeedURL", "https://example.com/feed");
    world.bundle().setInformationText("SUPublicEDKey", "key");
  }
};

TEST(AppDelegateUpdates, AFoundOneShowsInTheWindowAtOnce) {
  UpdatingAgent agent;
  agent.launch();
  agent.advance(0);
  agent.world.updateService().setOffer("2.1");
  agent.world.updateService().runScheduledCheck();
  agent.advance(0);
  EXPECT_EQ(agent.status().updateAvailability.displayVersion, "2.1");
  EXPECT_EQ(agent.world.statusWindowViews().window().content()->update.status, "Version 2.1");
}

// ---- The permission

struct TrustedAgent : AgentWorld {
  TrustedAgent() {
    launchAndPair();
    desktop().open(erasePrompt());
    advance(2.5);  // On the whole 3.5 s since the launch: the next poll is half a second away.
  }
  std::size_t snapshotCount() { return phone.snapshots().size(); }
};

TEST(AppDelegateTrust, ItsLossIsSeenAtTheNextPoll) {
  TrustedAgent agent;
  ASSERT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  ASSERT_TRUE(agent.menuBarShowsPending());
  agent.desktop().setTrusted(false, /*isNotified=*/false);
  agent.advance(0.499);
  EXPECT_TRUE(agent.menuBarShowsPending());
  agent.advance(0.002);
  EXPECT_FALSE(agent.menuBarShowsPending());
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_FALSE(agent.phone.snapshots().back().accessibilityTrusted);
  EXPECT_EQ(agent.status().pendingApprovalCount, 0);
  EXPECT_EQ(agent.status().pairingImage, std::nullopt);
}

TEST(AppDelegateTrust, OnceRegainedEverythingIsScannedAndAnnouncedAgain) {
  TrustedAgent agent;
  agent.desktop().setTrusted(false, /*isNotified=*/false);
  agent.advance(30);
  const auto announced = agent.world.userNotifications().posted().size();
  agent.desktop().setTrusted(true, /*isNotified=*/false);
  agent.advance(4);  // To the next poll, and from the scan there to its confirmation; the sweep is minutes away.
  EXPECT_TRUE(agent.phone.snapshots().back().accessibilityTrusted);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_EQ(agent.world.userNotifications().posted().size(), announced + 1);
}

TEST(AppDelegateTrust, AHintIsFollowedByThreeLooks) {
  TrustedAgent agent;
  agent.advance(0.6);  // Away from the polls.
  auto count = agent.snapshotCount();
  agent.desktop().setTrusted(false, /*isNotified=*/false);
  agent.desktop().setTrusted(true);  // By the time of the checks all is as before, and each check sends the list anew.
  for (const auto& [before, after] : {std::pair{0.149, 0.002}, {0.598, 0.002}, {1.248, 0.002}}) {
    agent.advance(before);
    EXPECT_EQ(agent.snapshotCount(), count);
    agent.advance(after);
    EXPECT_EQ(agent.snapshotCount(), ++count);
  }
  agent.advance(20);
  EXPECT_EQ(agent.snapshotCount(), count);
}

TEST(AppDelegateTrust, IsLookedAtAgainAfterTheUserWasSentToTheSettings) {
  TrustedAgent agent;
  agent.advance(0.6);
  const auto count = agent.snapshotCount();
  agent.onMainThread([](AppDelegate& delegate) { delegate.requestPermissions(); });
  agent.advance(0.149);
  EXPECT_EQ(agent.snapshotCount(), count);
  agent.advance(0.002);
  EXPECT_EQ(agent.snapshotCount(), count + 1);
}

// ---- The pause

TEST(AppDelegatePause, ATimedOneEndsByItself) {
  TrustedAgent agent;
  const Date end = advanced(agent.world.time().now(), Seconds{7200});
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::twoHours); });
  agent.advance(0);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_EQ(agent.phone.snapshots().back().state,
            (ComputerState{.isPaused = true, .pausedUntil = std::chrono::floor<std::chrono::seconds>(end)}));
  agent.advance(7199.999);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_TRUE(agent.status().notificationPause.isPaused());
  agent.advance(0.002);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_FALSE(agent.status().notificationPause.isPaused());
}

TEST(AppDelegatePause, OneFromTheLastRunGoesOn) {
  AgentWorld agent;
  agent.world.userDefaults().set(NotificationPauseStore::untilKey, advanced(agent.world.time().now(), Seconds{100}));
  agent.launch();
  agent.advance(99.999);
  EXPECT_TRUE(agent.status().notificationPause.isPaused());
  agent.advance(0.002);
  EXPECT_FALSE(agent.status().notificationPause.isPaused());
}

TEST(AppDelegatePause, OneThatTheComputerSleptThroughEndsAtTheNextPoll) {
  TrustedAgent agent;
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::fourHours); });
  agent.advance(60);
  agent.world.time().setWallClock(advanced(agent.world.time().now(), Seconds{36'000}));
  agent.advance(2);
  EXPECT_FALSE(agent.status().notificationPause.isPaused());
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST(AppDelegatePause, OneWithoutEndLastsUntilItIsResumed) {
  TrustedAgent agent;
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::indefinitely); });
  agent.advance(20'000);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
  agent.advance(0);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

// ---- The end

TEST(AppDelegateEnd, StopsEverythingAndClosesTheConnection) {
  TrustedAgent agent;
  const auto socket = agent.world.webSockets().newest();
  agent.world.application().terminate();
  agent.advance(1);
  EXPECT_EQ(socket->sentCloseCode(), 1001);
  EXPECT_FALSE(agent.world.lockFolder().isLocked(kLock));
  agent.desktop().resetRoundTrips();
  agent.desktop().open(erasePrompt("Another"));
  agent.desktop().setTrusted(false);
  agent.advance(1000);
  EXPECT_EQ(agent.desktop().roundTrips(), 0U);
  EXPECT_THAT(agent.world.webSockets().connections(), SizeIs(1));
}

TEST(AppDelegateEnd, LeavesNothingBehind) {
  TrustedAgent agent;
  agent.world.statusWindowViews().window().closeByUser();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::twoHours); });
  agent.quit();
  agent.advance(0);
  EXPECT_EQ(agent.world.time().nextDue(), std::nullopt);
  EXPECT_THAT(agent.world.statusBar().items(), IsEmpty());
}

TEST(AppDelegateEnd, QuittingBeforeDetectionStartsItNever) {
  AgentWorld agent;
  agent.desktop().open(erasePrompt());
  agent.launch();
  agent.advance(0.1);
  agent.world.application().terminate();
  agent.advance(100);
  EXPECT_EQ(agent.desktop().roundTrips(), 0U);
}

TEST(AppDelegateEnd, MayComeTwice) {
  TrustedAgent agent;
  agent.onMainThread([](AppDelegate& delegate) {
    delegate.applicationWillTerminate();
    delegate.applicationWillTerminate();
  });
  agent.advance(10);
  EXPECT_EQ(agent.world.lockFiles().heldCount(), 0U);
}

TEST(AppDelegateEnd, AnAgentThatIsJustDroppedLeavesNothingBehindEither) {
  TrustedAgent agent;
  agent.destroyAgent();
  agent.advance(1);
  EXPECT_EQ(agent.world.time().nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
