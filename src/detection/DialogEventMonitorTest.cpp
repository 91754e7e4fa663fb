#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "detection/DialogEventMonitor.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

using Reasons = std::vector<std::string>;

class DialogEventMonitorTest : public testing::Test {
 protected:
  // Starts the monitor and lets its first request pass.
  void start() {
    monitor->start();
    world.advance(Seconds{0.5});
    reasons.clear();
  }
  Reasons after(double seconds) {
    reasons.clear();
    world.advance(Seconds{seconds});
    return reasons;
  }
  std::unique_ptr<DialogEventMonitor> makeMonitor(double debounce) {
    return std::make_unique<DialogEventMonitor>(
        99, Seconds{debounce}, [this](const std::string& reason) { reasons.push_back(reason); },
        MonitorDependencies{world.time().mainThread(), world.workspace(), world.windowList(), world.environment()});
  }
  platform::simulated::SimulatedDesktop& desktop() { return world.desktop(); }

  SimulatedWorld world{Seed{5}};
  Reasons reasons;
  std::unique_ptr<DialogEventMonitor> monitor = makeMonitor(0.35);
};

TEST_F(DialogEventMonitorTest, AsksForAFirstScanWhenItStarts) {
  monitor->start();
  EXPECT_TRUE(monitor->isRunning());
  EXPECT_EQ(after(0.349), Reasons{});
  EXPECT_EQ(after(0.001), Reasons{"prompt-monitor-started"});
  EXPECT_EQ(after(60), Reasons{});
}

TEST_F(DialogEventMonitorTest, StartsOnce) {
  monitor->start();
  world.advance(Seconds{1});
  monitor->start();
  EXPECT_EQ(after(10), Reasons{}) << "no second first request";
  desktop().launch({.name = "App"});
  EXPECT_EQ(after(10),
            (Reasons{"application-launched", "application-launched-settled", "application-launched-settled"}));
}

TEST_F(DialogEventMonitorTest, RequestsAScanSoonAfterEachKindOfEventAndTwoLaterOnes) {
  const auto application = desktop().launch({.name = "App"});
  const auto other = desktop().launch({.name = "Other"});
  world.advance(Seconds{1});
  start();
  const auto expectRequests = [&](const std::string& reason) {
    EXPECT_EQ(after(0.349), Reasons{}) << reason;
    EXPECT_EQ(after(0.001), Reasons{reason});
    EXPECT_EQ(after(0.449), Reasons{}) << reason;
    EXPECT_EQ(after(0.001), Reasons{reason + "-settled"});
    EXPECT_EQ(after(1.199), Reasons{}) << reason;
    EXPECT_EQ(after(0.001), Reasons{reason + "-settled"});
    EXPECT_EQ(after(10), Reasons{}) << reason;
  };
  desktop().launch({.name = "Third"});
  expectRequests("application-launched");
  desktop().activate(other);
  expectRequests("application-activated");
  desktop().hide(application);
  expectRequests("application-hidden");
  desktop().unhide(application);
  expectRequests("application-unhidden");
  desktop().changeSpace();
  expectRequests("active-space-changed");
  desktop().terminate(application);
  expectRequests("application-terminated");
}

TEST_F(DialogEventMonitorTest, TurnsABurstIntoOneRequestAndTwoLaterOnes) {
  start();
  desktop().launch({.name = "One"});
  world.advance(Seconds{0.1});
  desktop().launch({.name = "Two"});
  world.advance(Seconds{0.1});
  desktop().launch({.name = "Three"});
  EXPECT_EQ(after(0.349), Reasons{});
  EXPECT_EQ(after(60),
            (Reasons{"application-launched", "application-launched-settled", "application-launched-settled"}));
}

TEST_F(DialogEventMonitorTest, DeliversTheNewestReasonOfABurst) {
  const auto application = desktop().launch({.name = "App"});
  world.advance(Seconds{1});
  start();
  desktop().hide(application);
  world.advance(Seconds{0.3});
  desktop().changeSpace();
  EXPECT_EQ(after(60),
            (Reasons{"active-space-changed", "active-space-changed-settled", "active-space-changed-settled"}));
}

TEST_F(DialogEventMonitorTest, ANewFollowUpTakesThePlaceOfWhatIsLeftOfTheOld) {
  start();
  monitor->requestFollowUpScans("old");
  EXPECT_EQ(after(1), Reasons{"old"});
  monitor->requestFollowUpScans("new");
  EXPECT_EQ(after(60), (Reasons{"new", "new"}));
}

TEST_F(DialogEventMonitorTest, AnImmediateRequestLeavesTheFollowUpsAlone) {
  start();
  monitor->requestFollowUpScans("settled");
  monitor->requestScan("now");
  EXPECT_EQ(after(60), (Reasons{"now", "settled", "settled"}));
}

TEST_F(DialogEventMonitorTest, WaitsFiftyMillisecondsAtLeast) {
  monitor = makeMonitor(0);
  monitor->requestScan("quick");
  EXPECT_EQ(after(0.0499), Reasons{});
  EXPECT_EQ(after(0.0001), Reasons{"quick"});
}

TEST_F(DialogEventMonitorTest, NeverDeliversAfterAnInfiniteDebounce) {
  monitor = makeMonitor(std::numeric_limits<double>::infinity());
  monitor->requestScan("never");
  EXPECT_EQ(after(1e6), Reasons{});
}

// ---- Visible owners

platform::WindowListEntry foreignWindow(double x) {
  return {.ownerProcessIdentifier = 4711, .ownerName = "Other program", .bounds = Rect{x, 0, 200, 100}};
}

TEST_F(DialogEventMonitorTest, SeesNewOwnersAtTheNextLook) {
  start();
  const auto window = desktop().addWindowEntry(foreignWindow(0));
  EXPECT_EQ(after(60), (Reasons{"visible-window-owners-changed", "visible-window-owners-settled",
                                "visible-window-owners-settled"}));
  desktop().close(window);
  EXPECT_EQ(after(60), (Reasons{"visible-window-owners-changed", "visible-window-owners-settled",
                                "visible-window-owners-settled"}));
}

TEST_F(DialogEventMonitorTest, SeesAWindowThatComesWithoutWaitingForTheTick) {
  start();
  desktop().addWindowEntry(foreignWindow(0));
  EXPECT_EQ(after(0.349), Reasons{});
  EXPECT_EQ(after(0.002), Reasons{"visible-window-owners-changed"});
}

TEST_F(DialogEventMonitorTest, LeavesAWindowThatOnlyMovedToTheTick) {
  const auto window = desktop().open({.title = "Document", .buttons = {"OK"}});
  world.advance(Seconds{1});
  start();  // Half a second of the two until the tick has passed.
  desktop().move(window, {300, 300, 400, 300});
  EXPECT_EQ(after(1.8), Reasons{});
  EXPECT_EQ(after(0.1), Reasons{"visible-window-owners-changed"});
}

TEST_F(DialogEventMonitorTest, WindowsThatKeepComingDoNotPutTheScanOff) {
  start();
  int scans = 0;
  for (int i = 0; i < 50; ++i) {
    desktop().addWindowEntry(foreignWindow(i));
    for (const auto& reason : after(0.1)) scans += reason == "visible-window-owners-changed" ? 1 : 0;
  }
  EXPECT_GE(scans, 5);
}

TEST_F(DialogEventMonitorTest, WhatIsVisibleAtTheStartIsNoChange) {
  desktop().addWindowEntry(foreignWindow(0));
  world.advance(Seconds{1});
  start();
  EXPECT_EQ(after(60), Reasons{});
}

TEST_F(DialogEventMonitorTest, AWindowThatIsAnnouncedButNotListedIsLookedForSoonAndTwiceMore) {
  const auto application = desktop().launch({.name = "App"});
  desktop().setListsWindows(false);
  start();
  after(10);
  desktop().open(application, {.title = "Camera", .buttons = {"Allow"}});
  EXPECT_EQ(after(0.349), Reasons{});
  EXPECT_EQ(after(10), (Reasons{"window-announced", "window-announced-settled", "window-announced-settled"}));
  EXPECT_EQ(after(600), Reasons{}) << "a still desktop asks for nothing";
}

TEST_F(DialogEventMonitorTest, AnnouncementsWithoutEndDoNotPutTheScanOff) {
  const auto application = desktop().launch({.name = "App"});
  desktop().setListsWindows(false);
  start();
  after(10);
  for (int i = 0; i < 4; ++i) {
    desktop().open(application, {.title = "Camera", .buttons = {"Allow"}});
    world.advance(Seconds{0.1});
  }
  EXPECT_EQ(reasons, Reasons{"window-announced"});
}

TEST_F(DialogEventMonitorTest, AnnouncementsWithoutEndStartOneScanASecond) {
  const auto application = desktop().launch({.name = "App"});
  desktop().setListsWindows(false);
  start();
  after(10);
  for (int i = 0; i < 100; ++i) {
    desktop().open(application, {.title = "Camera", .buttons = {"Allow"}});
    world.advance(Seconds{0.1});
  }
  const auto scans = std::count(reasons.begin(), reasons.end(), "window-announced");
  EXPECT_GE(scans, 8);
  EXPECT_LE(scans, 11);
}

// A window list that changes without telling, as on systems that have no such events.
class SilentWindowList final : public platform::WindowList {
 public:
  platform::Finding<std::vector<platform::WindowListEntry>> readWindowInfo(platform::WindowListOptions) override {
    ++reads;
    return entries;
  }
  platform::SubscriptionHandle observeChanges(std::function<void()>) override {
    return std::make_unique<platform::Subscription>();
  }
  platform::SubscriptionHandle observeUnlistedWindows(std::function<void()>) override { return nullptr; }

  bool mayHaveChanged() override { return !isKnownToBeTheSame; }

  std::vector<platform::WindowListEntry> entries;
  bool isKnownToBeTheSame = false;
  int reads = 0;
};

class SilentPollTest : public DialogEventMonitorTest {
 protected:
  void startSilently() {
    monitor = std::make_unique<DialogEventMonitor>(
        99, Seconds{0.35}, [this](const std::string& reason) { reasons.push_back(reason); },
        MonitorDependencies{world.time().mainThread(), world.workspace(), windowList, world.environment()});
    monitor->start();
    world.advance(Seconds{1});
    windowList.reads = 0;
  }
  SilentWindowList windowList;
};

TEST_F(SilentPollTest, LooksEveryTwoSecondsAndRequestsNothingWhileNothingChanges) {
  startSilently();
  EXPECT_EQ(after(0.999), Reasons{});
  EXPECT_EQ(windowList.reads, 0);
  EXPECT_EQ(after(0.001), Reasons{});
  EXPECT_EQ(windowList.reads, 1);
  EXPECT_EQ(after(20), Reasons{});
  EXPECT_EQ(windowList.reads, 11);
}

TEST_F(SilentPollTest, ReadsNothingAtATickWhereTheSystemWouldHaveReportedAnyChange) {
  startSilently();
  windowList.isKnownToBeTheSame = true;
  EXPECT_EQ(after(60), Reasons{});
  EXPECT_EQ(windowList.reads, 0);
  windowList.entries = {foreignWindow(0)};
  windowList.isKnownToBeTheSame = false;
  EXPECT_EQ(after(1.35), Reasons{"visible-window-owners-changed"});
}

TEST_F(SilentPollTest, RequestsAScanWhenTheOwnersHaveChangedAtATick) {
  startSilently();
  windowList.entries = {foreignWindow(0)};
  EXPECT_EQ(after(1.349), Reasons{});
  EXPECT_EQ(after(0.001), Reasons{"visible-window-owners-changed"});
  EXPECT_EQ(after(60), (Reasons{"visible-window-owners-settled", "visible-window-owners-settled"}));
}

TEST_F(SilentPollTest, LooksAsOftenAsTheEnvironmentSays) {
  world.environment().set("FARROWLIGHT_VISIBLE_WINDOW_OWNER_POLL_SECONDS", "0.25");
  startSilently();
  world.advance(Seconds{10});
  EXPECT_EQ(windowList.reads, 40);
}

TEST_F(SilentPollTest, StopsLooking) {
  startSilently();
  monitor->stop();
  windowList.entries = {foreignWindow(0)};
  EXPECT_EQ(after(60), Reasons{});
  EXPECT_EQ(windowList.reads, 0);
}

// ---- Stopping

TEST_F(DialogEventMonitorTest, DeliversNothingAfterStop) {
  start();
  desktop().launch({.name = "App"});
  world.time().runUntilIdle();
  monitor->stop();
  EXPECT_FALSE(monitor->isRunning());
  desktop().changeSpace();
  desktop().addWindowEntry(foreignWindow(0));
  EXPECT_EQ(after(60), Reasons{});
}

TEST_F(DialogEventMonitorTest, DeliversNothingOnceDestroyed) {
  start();
  desktop().launch({.name = "App"});
  world.time().runUntilIdle();
  monitor.reset();
  desktop().changeSpace();
  EXPECT_EQ(after(60), Reasons{});
}

TEST_F(DialogEventMonitorTest, CanBeStartedAgain) {
  start();
  monitor->stop();
  monitor->start();
  EXPECT_EQ(after(1), Reasons{"prompt-monitor-started"});
}

TEST_F(DialogEventMonitorTest, MayBeStoppedByTheOneItTells) {
  monitor = std::make_unique<DialogEventMonitor>(
      99, Seconds{0.35},
      [this](const std::string& reason) {
        reasons.push_back(reason);
        monitor->stop();
      },
      MonitorDependencies{world.time().mainThread(), world.workspace(), world.windowList(), world.environment()});
  monitor->start();
  EXPECT_EQ(after(60), Reasons{"prompt-monitor-started"});
}

// ---- Observers

class RecordingObserver final : public platform::AXObserver {
 public:
  explicit RecordingObserver(Reasons& calls) : calls(calls) {}
  void removeNotification(const platform::AXUIElement&, std::string_view notification) override {
    calls.emplace_back(notification);
  }
  void detachFromRunLoop() override { calls.emplace_back("detached"); }

 private:
  Reasons& calls;
};

const Reasons kTakenDown{"AXMainWindowChanged",
                         "AXFocusedWindowChanged",
                         "AXApplicationActivated",
                         "AXWindowMiniaturized",
                         "AXWindowDeminiaturized",
                         "AXUIElementDestroyed",
                         "detached"};

TEST_F(DialogEventMonitorTest, TakesAnObserverDownWithItsApplication) {
  const auto application = desktop().launch({.name = "App"});
  const auto other = desktop().launch({.name = "Other"});
  world.advance(Seconds{1});
  start();
  Reasons calls;
  monitor->addObservation(application.processIdentifier,
                          {desktop().element(application), std::make_unique<RecordingObserver>(calls)});
  desktop().terminate(other);
  world.time().runUntilIdle();
  EXPECT_EQ(calls, Reasons{});
  desktop().terminate(application);
  world.time().runUntilIdle();
  EXPECT_EQ(calls, kTakenDown);
  monitor->removeObservation(application.processIdentifier);
  EXPECT_EQ(calls, kTakenDown) << "once";
}

TEST_F(DialogEventMonitorTest, KeepsNoObserverOfTheAgentItself) {
  Reasons calls;
  monitor->addObservation(99,
                          {world.accessibility().createApplication(99), std::make_unique<RecordingObserver>(calls)});
  monitor->stop();
  EXPECT_EQ(calls, Reasons{});
}

TEST_F(DialogEventMonitorTest, TakesEveryObserverDownAtTheEnd) {
  start();
  Reasons calls;
  for (const std::int32_t process : {1, 2}) {
    monitor->addObservation(
        process, {world.accessibility().createApplication(process), std::make_unique<RecordingObserver>(calls)});
  }
  monitor->stop();
  EXPECT_EQ(calls.size(), 2 * kTakenDown.size());
}

}  // namespace
}  // namespace quillard
