#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/PromptDetection.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::AXRequest;
using platform::simulated::AXRequestKind;
using platform::simulated::DialogSpec;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Detection on a desktop, without relay, phone or window. Counts scans: each asks the application in front twice, first
// for its windows, last for the focus of the desktop.
struct PromptDetectionTest : testing::Test {
  PromptDetectionTest() {
    const auto editor =
        world.desktop().launch({.name = "Editor", .bundleIdentifier = "com.example.editor", .active = true});
    world.desktop().setRequestHook([this, editor](const AXRequest& request) {
      const bool isAskedItself = request.processIdentifier == editor.processIdentifier && !request.node;
      if (isAskedItself && request.kind == AXRequestKind::readAttributes) ++reads;
      scans = (reads + 1) / 2;
      if (onRequest) onRequest();
    });
  }
  std::unique_ptr<PromptDetection> makeDetection() {
    return std::make_unique<PromptDetection>(
        PromptDetectionDependencies{world.application().processIdentifier(), suppressionStore, installLocation,
                                    world.accessibility(), world.workspace(), world.windowList(), world.time(),
                                    world.random(), world.time(), world.environment(), world.console()},
        PromptDetectionCallbacks{.isRelayConfigured = [this] { return isRelayConfigured; },
                                 .publishScan =
                                     [this](const ScanOutcome& outcome) {
                                       found.clear();
                                       kinds.clear();
                                       for (const auto& approval : outcome.approvals) {
                                         found.push_back(approval.windowTitle);
                                         kinds.push_back(approval.suppressionID);
                                       }
                                       return std::optional<std::size_t>(0);
                                     }});
  }
  void start() {
    world.time().runOnMainThread([this] { detection->scheduleStartOfPromptDetection(); });
  }
  void advance(double seconds) { world.advance(Seconds{seconds}); }
  int scansOf(const std::function<void()>& act) {
    const int before = scans;
    world.time().runOnMainThread(act);
    return scans - before;
  }
  int scansAfter(double seconds) {
    const int before = scans;
    advance(seconds);
    return scans - before;
  }
  static DialogSpec erasePrompt() {
    return {.title = "Erase disk?", .lines = {"Erasing cannot be undone."}, .buttons = {"Cancel", "Erase"}};
  }

  SimulatedWorld world{Seed{1}};
  ApprovalSuppressionStore suppressionStore{world.userDefaults()};
  InstallLocation installLocation{world.bundle()};
  bool isRelayConfigured = true;
  int scans = 0;  // Begun so far.
  int reads = 0;
  std::vector<std::string> found;  // By the newest scan.
  std::vector<Uuid> kinds;         // What mutes these.
  std::function<void()> onRequest;
  std::unique_ptr<PromptDetection> detection = makeDetection();
};

TEST_F(PromptDetectionTest, ScansOnceItHasStartedThenForTheMonitorAndThenOnlyAtSweeps) {
  start();
  EXPECT_EQ(scansAfter(0.299), 0);
  EXPECT_EQ(scansAfter(0.002), 1);
  EXPECT_EQ(scansAfter(0.348), 0);
  EXPECT_EQ(scansAfter(0.002), 1) << "The monitor's own first request, 0.35 s after its start.";
  EXPECT_EQ(scansAfter(299.648), 0);
  EXPECT_EQ(scansAfter(0.002), 1) << "The safety sweep.";
  EXPECT_EQ(scansAfter(300), 1);
}

TEST_F(PromptDetectionTest, DebouncesWhatHappensOnTheDesktop) {
  start();
  advance(10);
  world.desktop().changeSpace();
  advance(0.1);
  world.desktop().changeSpace();
  EXPECT_EQ(scansAfter(0.349), 0);
  EXPECT_EQ(scansAfter(0.002), 1);
  EXPECT_EQ(scansAfter(10), 2) << "Two follow-ups.";
}

TEST_F(PromptDetectionTest, ReportsAPromptByTheSecondScanThatFindsIt) {
  start();
  advance(10);
  world.desktop().open(erasePrompt());
  advance(0.5);
  EXPECT_THAT(found, IsEmpty());
  advance(0.5);
  EXPECT_THAT(found, ElementsAre("Erase disk?"));
}

TEST_F(PromptDetectionTest, StartsOnlyWhereItIsInstalledAndARelayIsConfigured) {
  world.bundle().setPath("/Users/ann/Downloads/Quillard.app");
  start();
  EXPECT_EQ(scansAfter(700), 0);
  world.bundle().setPath("/Applications/Quillard.app");
  isRelayConfigured = false;
  start();
  EXPECT_EQ(scansAfter(700), 0);
  EXPECT_EQ(scansOf([this] { detection->scheduleScan("test"); }), 0) << "Nor does a request scan anything.";
  isRelayConfigured = true;
  start();
  EXPECT_EQ(scansAfter(0.301), 1);
}

TEST_F(PromptDetectionTest, APromptThatIsWantedAgainIsConfirmedByASecondLook) {
  start();
  advance(10);
  world.desktop().open(erasePrompt());
  advance(10);
  ASSERT_THAT(kinds, SizeIs(1));
  const Uuid id = kinds.front();
  suppressionStore.suppress(id);
  EXPECT_EQ(scansOf([this] { detection->scheduleScan("suppressed"); }), 1);
  advance(10);
  EXPECT_THAT(found, IsEmpty());
  suppressionStore.unsuppress(id);
  EXPECT_EQ(scansOf([this] { detection->scheduleScan("unsuppressed"); }), 1);
  EXPECT_THAT(found, IsEmpty());
  EXPECT_EQ(scansAfter(1.299), 0);
  EXPECT_EQ(scansAfter(0.002), 1);
  EXPECT_THAT(found, ElementsAre("Erase disk?"));
  EXPECT_EQ(scansAfter(100), 0) << "Nothing else follows.";
}

TEST_F(PromptDetectionTest, TakesOverTunablesThatChangeWhileItRuns) {
  start();
  advance(10);
  world.environment().set("QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "5");
  EXPECT_EQ(scansAfter(60), 0) << "nobody has said so yet";
  world.time().runOnMainThread([this] { detection->takeOverTunables(); });
  advance(4);
  EXPECT_EQ(scansAfter(60), 12);
}

TEST_F(PromptDetectionTest, TunablesThatChangeBeforeItRunsStartNothing) {
  const auto takeOver = [this] { world.time().runOnMainThread([this] { detection->takeOverTunables(); }); };
  takeOver();
  EXPECT_EQ(scansAfter(400), 0);
  start();
  advance(1);
  world.time().runOnMainThread([this] { detection->stop(); });
  takeOver();
  EXPECT_EQ(scansAfter(400), 0);
}

TEST_F(PromptDetectionTest, BeforeItsStartOnlyRequestsScan) {
  world.desktop().changeSpace();
  EXPECT_EQ(scansAfter(10), 0);
  EXPECT_EQ(scansOf([this] { detection->scheduleScan("unsuppressed"); }), 1);
  EXPECT_EQ(scansAfter(100), 0);
}

// A dialog whose buttons cannot be read, so that it is none, and of which all scans after its coming have passed.
struct UnreadableDialogTest : PromptDetectionTest {
  UnreadableDialogTest() {
    start();
    advance(1);
    parts = world.desktop().children(world.desktop().open(erasePrompt()));
    for (const auto part : parts) world.desktop().setAttributeError(part, "AXRole", platform::AXError::noValue);
    advance(10);
  }
  void becomeReadable() {
    world.desktop().setAttribute(parts.at(0), "AXRole", std::string("AXStaticText"));
    for (std::size_t i = 1; i < parts.size(); ++i) {
      world.desktop().setAttribute(parts[i], "AXRole", std::string("AXButton"));
    }
  }

  std::vector<platform::simulated::NodeHandle> parts;  // A text and two buttons.
};

TEST_F(UnreadableDialogTest, WhatOnlyTheLastScanAfterAnEventCouldReadIsConfirmedSoon) {
  world.desktop().changeSpace();
  advance(1.9);
  becomeReadable();
  advance(0.2);
  EXPECT_EQ(scansAfter(1.1), 0);
  EXPECT_THAT(found, IsEmpty()) << "Found once, 2.0 s after the event.";
  EXPECT_EQ(scansAfter(0.2), 1);
  EXPECT_THAT(found, ElementsAre("Erase disk?"));
  EXPECT_EQ(scansAfter(200), 0);
}

TEST_F(UnreadableDialogTest, ThatIsNotNeededWhereAnotherScanAfterTheEventComes) {
  world.desktop().changeSpace();
  advance(0.7);
  becomeReadable();
  EXPECT_EQ(scansAfter(200), 2) << "The two follow-ups.";
}

TEST_F(UnreadableDialogTest, APromptThatIsAnotherOneAtEachScanIsNotChased) {
  becomeReadable();
  int scansBefore = 0;
  onRequest = [&] {
    if (scansBefore == scans) return;
    scansBefore = scans;
    world.desktop().setAttribute(parts.at(0), "AXValue", "Text " + std::to_string(scans));
  };
  world.desktop().changeSpace();
  advance(3);
  EXPECT_EQ(scansAfter(200), 3);
  EXPECT_THAT(found, IsEmpty());
}

// ---- The end

TEST_F(PromptDetectionTest, StoppingBeforeTheStartStartsItNever) {
  start();
  advance(0.1);
  world.time().runOnMainThread([this] { detection->stop(); });
  EXPECT_EQ(scansAfter(700), 0);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

TEST_F(PromptDetectionTest, StoppingEndsEverything) {
  start();
  advance(10);
  world.desktop().changeSpace();
  advance(0.1);
  world.time().runOnMainThread([this] { detection->stop(); });
  world.desktop().changeSpace();
  EXPECT_EQ(scansAfter(700), 0);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

TEST_F(PromptDetectionTest, DestroyingItWaitsForTheScanUnderWayAndDropsItsOutcome) {
  const auto slow = world.desktop().launch({.name = "Slow", .bundleIdentifier = "com.example.slow"});
  world.desktop().open(slow, erasePrompt());
  start();
  advance(10);
  EXPECT_THAT(found, ElementsAre("Erase disk?"));
  found.clear();
  world.desktop().slow(slow, Seconds{0.15});
  world.time().runOnMainThread([this] { detection->scheduleScan("test"); });
  advance(0.05);
  detection.reset();
  advance(10);
  EXPECT_THAT(found, IsEmpty());
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
