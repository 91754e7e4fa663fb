#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/ScanScheduler.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::approval;
using testing::ElementsAre;
using testing::IsEmpty;

// A scheduler whose scans the test answers itself.
struct ScanSchedulerTest : testing::Test {
  std::unique_ptr<ScanScheduler> makeScheduler() {
    return std::make_unique<ScanScheduler>(
        ScanSchedulerDependencies{.mainThread = time.mainThread(),
                                  .tunables = environment,
                                  .isScanWanted = [this] { return isScanWanted; },
                                  .beginScan =
                                      [this](DialogScanWorker::Completion completion) {
                                        ++scans;
                                        underWay.push_back(std::move(completion));
                                        if (answersItself)
                                          time.mainThread().post([this] { answerOnThisThread(outcome); });
                                      },
                                  .publishScan = [this](const ScanOutcome& scanned) -> std::optional<std::size_t> {
                                    published.push_back(scanned.approvals.size());
                                    if (whenPublished) whenPublished();
                                    if (!isTrusted) return std::nullopt;
                                    return keptCount;
                                  }});
  }
  void request() {
    time.runOnMainThread([this] { scheduler->scheduleScan("test"); });
  }
  void answerOnThisThread(const ScanOutcome& with) {
    const auto completion = underWay.at(0);
    underWay.erase(underWay.begin());
    completion(with);
  }
  void answer(const ScanOutcome& with = {}) {
    time.runOnMainThread([&] { answerOnThisThread(with); });
  }
  static ScanOutcome found(std::size_t count, std::size_t heldBackCount = 0) {
    ScanOutcome outcome{.heldBackCount = heldBackCount};
    for (std::size_t i = 1; i <= count; ++i) outcome.approvals.push_back(approval(i));
    return outcome;
  }
  void advance(double seconds) { time.advance(Seconds{seconds}); }

  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  platform::simulated::SimulatedEnvironment environment;
  bool isScanWanted = true;
  bool isTrusted = true;
  std::size_t keptCount = 0;   // How many approvals stay pending that no scan finds.
  bool answersItself = false;  // With `outcome`, in a later turn.
  ScanOutcome outcome;
  int scans = 0;
  std::vector<DialogScanWorker::Completion> underWay;
  std::vector<std::size_t> published;  // How many approvals each outcome had that was published.
  std::function<void()> whenPublished;
  std::unique_ptr<ScanScheduler> scheduler = makeScheduler();
};

// ---- One scan at a time

TEST_F(ScanSchedulerTest, ScansWhenItIsAskedToAndPublishesTheOutcome) {
  request();
  EXPECT_EQ(scans, 1);
  EXPECT_THAT(published, IsEmpty());
  answer(found(2));
  EXPECT_THAT(published, ElementsAre(2));
  advance(1000);
  EXPECT_EQ(scans, 1) << "Nothing else follows.";
}

TEST_F(ScanSchedulerTest, ScansNothingWhenNoScanIsWanted) {
  isScanWanted = false;
  scheduler->startSafetySweep();
  request();
  advance(1000);
  EXPECT_EQ(scans, 0);
  isScanWanted = true;
  request();
  EXPECT_EQ(scans, 1) << "It is asked each time.";
}

TEST_F(ScanSchedulerTest, TenRequestsDuringAScanAreOneMore) {
  request();
  for (int i = 0; i < 10; ++i) request();
  EXPECT_EQ(scans, 1);
  answer();
  EXPECT_EQ(scans, 2);
  answer();
  advance(1000);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, ARequestWhileAnOutcomeIsPublishedBeginsAScanOfItsOwn) {
  request();
  whenPublished = [this] {
    whenPublished = nullptr;
    scheduler->scheduleScan("published");
  };
  answer();
  EXPECT_EQ(scans, 2);
  answer();
  EXPECT_EQ(scans, 2) << "It is not repeated: it came after the first scan had ended.";
}

TEST_F(ScanSchedulerTest, ARequestDuringAScanIsDroppedWhenNoScanIsWantedAfterIt) {
  request();
  request();
  isScanWanted = false;
  answer();
  EXPECT_EQ(scans, 1);
}

TEST_F(ScanSchedulerTest, GoesOnAfterAnOutcomeThatDidNotCount) {
  isTrusted = false;
  keptCount = 1;
  request();
  request();
  answer(found(0, 1));
  EXPECT_EQ(scans, 2) << "What was requested meanwhile is still scanned.";
  answer(found(0, 1));
  advance(1000);
  EXPECT_EQ(scans, 2) << "Neither a clean-up nor a confirmation follows.";
  request();
  EXPECT_EQ(scans, 3);
}

// ---- The sweep

TEST_F(ScanSchedulerTest, SweepsEveryFiveMinutes) {
  answersItself = true;
  scheduler->startSafetySweep();
  EXPECT_EQ(scans, 0);
  advance(299.999);
  EXPECT_EQ(scans, 0);
  advance(0.002);
  EXPECT_EQ(scans, 1);
  advance(300);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, SweepsAsOftenAsTheEnvironmentSays) {
  answersItself = true;
  environment.set("QUILLARD_SCAN_INTERVAL_SECONDS", "60");
  scheduler->startSafetySweep();
  advance(59.999);
  EXPECT_EQ(scans, 0);
  advance(0.002);
  EXPECT_EQ(scans, 1);
}

// ---- The stale clean-up

TEST_F(ScanSchedulerTest, CleansUpEightAndAHalfSecondsAfterAScanThatMissedAPrompt) {
  keptCount = 1;
  request();
  answer(found(2));
  advance(8.499);
  EXPECT_EQ(scans, 1);
  advance(0.002);
  EXPECT_EQ(scans, 2);
  keptCount = 0;
  answer(found(2));
  advance(1000);
  EXPECT_EQ(scans, 2) << "Nothing is left to clean up.";
}

TEST_F(ScanSchedulerTest, EachScanThatMissesAPromptPutsTheCleanUpOff) {
  keptCount = 1;
  request();
  answer(found(1));
  advance(8);
  request();
  answer(found(1));
  advance(8.499);
  EXPECT_EQ(scans, 2);
  advance(0.002);
  EXPECT_EQ(scans, 3);
}

TEST_F(ScanSchedulerTest, AScanThatFindsEverythingCancelsTheCleanUp) {
  keptCount = 1;
  request();
  answer(found(2));
  keptCount = 0;
  request();
  answer(found(3));
  advance(1000);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, ReadsTheGraceForEachCleanUp) {
  keptCount = 1;
  environment.set("QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "20");
  request();
  answer(found(1));
  advance(20.499);
  EXPECT_EQ(scans, 1);
  advance(0.002);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, AnOutcomeThatDoesNotCountLeavesTheCleanUpAlone) {
  keptCount = 1;
  request();
  answer(found(1));
  isTrusted = false;
  request();
  answer(found(0));
  advance(8.501);
  EXPECT_EQ(scans, 3);
}

// ---- Confirmations

TEST_F(ScanSchedulerTest, ConfirmsWhatAScanHeldBack) {
  request();
  answer(found(0, 1));
  advance(1.299);
  EXPECT_EQ(scans, 1);
  advance(0.002);
  EXPECT_EQ(scans, 2);
  answer(found(1));
  advance(1000);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, AScanThatComesFirstTakesThePlaceOfTheConfirmation) {
  request();
  answer(found(0, 1));
  advance(1);
  request();
  answer(found(1));
  advance(1000);
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanSchedulerTest, ConfirmsThreeTimesInARowAtMost) {
  answersItself = true;
  outcome = found(0, 1);
  request();
  advance(1000);
  EXPECT_EQ(scans, 4);
  request();
  advance(1000);
  EXPECT_EQ(scans, 8) << "A request from outside begins a new row.";
}

TEST_F(ScanSchedulerTest, NoWordOfARequestIsTakenForAConfirmation) {
  answersItself = true;
  outcome = found(0, 1);
  for (const auto* reason : {"seen-once", "confirmation", "", "held-back"}) {
    const int before = scans;
    time.runOnMainThread([&] { scheduler->scheduleScan(reason); });
    advance(100);
    EXPECT_EQ(scans - before, 4) << reason;
  }
}

// ---- What could not be read

struct UnreadScanTest : ScanSchedulerTest {
  static ScanOutcome unread(std::vector<std::int32_t> processes) {
    ScanOutcome outcome;
    outcome.unreadProcesses = std::move(processes);
    return outcome;
  }
  static ScanOutcome blind() {
    ScanOutcome outcome;
    outcome.failure = platform::DesktopReadFailure::applicationList;
    return outcome;
  }
};

TEST_F(UnreadScanTest, IsLookedAtAgainAtGrowingIntervalsFiveTimes) {
  answersItself = true;
  for (const auto& silent : {unread({7}), blind()}) {
    outcome = silent;
    request();
    advance(0.01);
    for (const double delay : {2.0, 4.0, 8.0, 16.0, 32.0}) {
      const int before = scans;
      advance(delay - 0.02);  // The scan before was a hundredth of a second ago.
      EXPECT_EQ(scans, before) << delay;
      advance(0.02);
      EXPECT_EQ(scans, before + 1) << delay;
    }
    const int before = scans;
    advance(1000);
    EXPECT_EQ(scans, before);
  }
}

TEST_F(UnreadScanTest, ARequestBeginsNoNewRowAndAnotherSilenceDoes) {
  answersItself = true;
  outcome = unread({7});
  request();
  advance(1000);
  ASSERT_EQ(scans, 6);
  request();
  advance(1000);
  EXPECT_EQ(scans, 7) << "It is as silent as before.";
  outcome = unread({7, 8});
  request();
  advance(1000);
  EXPECT_EQ(scans, 13);
  outcome = unread({8});
  request();
  advance(1000);
  EXPECT_EQ(scans, 14) << "Fewer are no other ones.";
}

TEST_F(UnreadScanTest, OnceEverythingWasReadNothingFollows) {
  request();
  answer(unread({7}));
  advance(2);
  EXPECT_EQ(scans, 2);
  answer(found(1));
  advance(1000);
  EXPECT_EQ(scans, 2);
  request();
  answer(unread({7}));
  advance(2);
  EXPECT_EQ(scans, 4) << "A new row.";
}

TEST_F(UnreadScanTest, AScanThatComesFirstTakesThePlaceOfTheOtherLook) {
  request();
  answer(blind());
  advance(1);
  request();
  answer(found(1));
  advance(1000);
  EXPECT_EQ(scans, 2);
}

// ---- Changes during a scan

TEST_F(ScanSchedulerTest, AnOutcomeFromBeforeAChangeIsDroppedAndAnotherScanFollows) {
  request();
  time.runOnMainThread([this] { scheduler->scheduleScanAfterChange("answered", /*scansAnyway=*/true); });
  answer(found(1));
  EXPECT_THAT(published, IsEmpty());
  EXPECT_EQ(scans, 2);
  answer(found(2));
  EXPECT_THAT(published, ElementsAre(2));
}

TEST_F(ScanSchedulerTest, AChangeWithoutAScanUnderWayScansWhereThatIsWanted) {
  time.runOnMainThread([this] { scheduler->scheduleScanAfterChange("muted", /*scansAnyway=*/false); });
  EXPECT_EQ(scans, 0);
  time.runOnMainThread([this] { scheduler->scheduleScanAfterChange("answered", /*scansAnyway=*/true); });
  EXPECT_EQ(scans, 1);
  answer(found(1));
  EXPECT_THAT(published, ElementsAre(1)) << "That scan has begun after the change.";
}

// ---- The end

TEST_F(ScanSchedulerTest, StoppingCancelsEverythingThatIsAhead) {
  scheduler->startSafetySweep();
  keptCount = 1;
  request();
  ScanOutcome silent = found(1, 1);
  silent.unreadProcesses = {7};
  answer(silent);
  scheduler->stop();
  EXPECT_EQ(time.nextDue(), std::nullopt);
  request();
  advance(1000);
  EXPECT_EQ(scans, 1);
}

TEST_F(ScanSchedulerTest, TheOutcomeOfAScanThatEndsAfterTheStopIsDropped) {
  request();
  request();
  scheduler->stop();
  answer(found(1, 1));
  advance(1000);
  EXPECT_THAT(published, IsEmpty());
  EXPECT_EQ(scans, 1);
}

TEST_F(ScanSchedulerTest, TheOutcomeOfAScanThatOutlivesItIsDropped) {
  scheduler->startSafetySweep();
  request();
  scheduler.reset();
  answer(found(1, 1));
  EXPECT_THAT(published, IsEmpty());
  EXPECT_EQ(time.nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
