#include <gtest/gtest.h>

#include "detection/DialogScanWorker.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using samples::DetectionWorld;
using samples::titles;

class DialogScanWorkerTest : public testing::Test, protected DetectionWorld {
 protected:
  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
};

TEST_F(DialogScanWorkerTest, ScansAwayFromTheMainThreadAndReportsOnIt) {
  desktop().open(application, {.title = "Erase?", .buttons = {"Erase"}});
  DialogScanWorker worker{detector, world.time()};
  bool scannedOnMainThread = false;
  desktop().setRequestHook([&](const auto&) { scannedOnMainThread |= world.time().mainThread().isCurrent(); });
  std::vector<std::vector<std::string>> outcomes;
  std::vector<std::size_t> heldBack;
  bool reportedOnMainThread = true;
  for (int i = 0; i < 2; ++i) {
    worker.scan([&](const ScanOutcome& outcome) {
      outcomes.push_back(titles(outcome.approvals));
      heldBack.push_back(outcome.heldBackCount);
      reportedOnMainThread &= world.time().mainThread().isCurrent();
    });
  }
  EXPECT_TRUE(outcomes.empty()) << "asking never blocks";
  world.time().runUntilIdle();
  EXPECT_EQ(outcomes, (std::vector<std::vector<std::string>>{{}, {"Erase?"}}));
  EXPECT_EQ(heldBack, (std::vector<std::size_t>{1, 0})) << "The first scan keeps it until the second has met it.";
  EXPECT_FALSE(scannedOnMainThread);
  EXPECT_TRUE(reportedOnMainThread);
}

TEST_F(DialogScanWorkerTest, TheMainThreadGoesOnWhileAScanWaits) {
  desktop().open(application, {.title = "Erase?", .buttons = {"Erase"}});
  desktop().hang(application);
  DialogScanWorker worker{detector, world.time()};
  std::vector<std::string> events;
  worker.scan([&](const auto&) { events.emplace_back("scanned"); });
  const auto timer = world.time().mainThread().postAfter(Seconds{0.1}, [&] { events.emplace_back("timer"); });
  world.advance(Seconds{0.2});
  EXPECT_EQ(events, (std::vector<std::string>{"timer", "scanned"}));
}

TEST_F(DialogScanWorkerTest, DestroyingItWaitsForTheScanUnderWay) {
  desktop().open(application, {.title = "Erase?", .buttons = {"Erase"}});
  desktop().hang(application);
  auto worker = std::make_unique<DialogScanWorker>(detector, world.time());
  worker->scan([](const auto&) {});
  world.advance(Seconds{0.1});
  worker.reset();
  EXPECT_FALSE(desktop().roundTrips() == 0);
  EXPECT_EQ(titles(scanTwice()), std::vector<std::string>{}) << "no other scan uses the detector any more";
}

}  // namespace
}  // namespace quillard
