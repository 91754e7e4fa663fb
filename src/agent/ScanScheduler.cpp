#include "agent/ScanScheduler.h"

#include <algorithm>
#include <array>
#include <utility>

#include "agent/configuration/AgentConfiguration.h"
#include "values/Time.h"

namespace quillard {
namespace {

// Longer than the scans after an event are apart, so that a confirmation is needed only where none of those is left.
constexpr Seconds kConfirmationDelay{1.3};
constexpr int kMostConfirmationsInARow = 3;
constexpr std::array kLookDelays{Seconds{2}, Seconds{4}, Seconds{8}, Seconds{16}, Seconds{32}};

// Whether `now` holds some that `before` does not.
bool hasNew(const std::vector<std::int32_t>& now, const std::vector<std::int32_t>& before) {
  return std::any_of(now.begin(), now.end(), [&](std::int32_t process) {
    return std::find(before.begin(), before.end(), process) == before.end();
  });
}

}  // namespace

ScanScheduler::ScanScheduler(ScanSchedulerDependencies dependencies) : dependencies(std::move(dependencies)) {}

ScanScheduler::~ScanScheduler() = default;

void ScanScheduler::scheduleScan(std::string_view /*reason*/) {
  confirmationsInARow = 0;
  requestScan();
}

void ScanScheduler::requestScan() {
  if (isStopped || !dependencies.isScanWanted()) return;
  if (scanInFlight) {
    scanRequestedWhileInFlight = true;
    return;
  }
  scanInFlight = true;
  isScanInFlightVoid = false;
  confirmationTask.reset();
  anotherLookTask.reset();
  dependencies.beginScan(callbacks.bind([this](const ScanOutcome& outcome) { finishScan(outcome); }));
}

void ScanScheduler::finishScan(const ScanOutcome& outcome) {
  if (isStopped) return;
  scanInFlight = false;
  const bool isRequestedAgain = std::exchange(scanRequestedWhileInFlight, false);
  if (!isScanInFlightVoid) takeOutcome(outcome);
  if (isRequestedAgain) scheduleScan("requested-during-scan");
}

void ScanScheduler::takeOutcome(const ScanOutcome& outcome) {
  const auto missedCount = dependencies.publishScan(outcome);
  if (!missedCount) return;
  scheduleStaleCleanupIfNeeded(*missedCount);
  scheduleConfirmationIfNeeded(outcome.heldBackCount);
  scheduleAnotherLookIfNeeded(outcome);
}

void ScanScheduler::scheduleScanAfterChange(std::string_view reason, bool scansAnyway) {
  isScanInFlightVoid = scanInFlight;
  if (scanInFlight || scansAnyway) scheduleScan(reason);
}

void ScanScheduler::startSafetySweep() {
  safetySweepTimer = dependencies.mainThread.repeatEvery(AgentConfiguration::safetySweepInterval(dependencies.tunables),
                                                         [this] { scheduleScan("safety-sweep"); });
}

void ScanScheduler::scheduleStaleCleanupIfNeeded(std::size_t missedCount) {
  staleCleanupTask.reset();
  if (missedCount == 0) return;
  staleCleanupTask =
      dependencies.mainThread.postAfter(AgentConfiguration::staleCleanupDelay(dependencies.tunables), [this] {
        staleCleanupTask.reset();
        scheduleScan("stale-cleanup");
      });
}

void ScanScheduler::scheduleConfirmationIfNeeded(std::size_t heldBackCount) {
  confirmationTask.reset();
  if (heldBackCount == 0 || confirmationsInARow >= kMostConfirmationsInARow) return;
  confirmationTask = dependencies.mainThread.postAfter(kConfirmationDelay, [this] { confirmHeldBackPrompts(); });
}

void ScanScheduler::scheduleAnotherLookIfNeeded(const ScanOutcome& outcome) {
  anotherLookTask.reset();
  const auto processesBefore = std::exchange(unreadProcesses, outcome.unreadProcesses);
  const auto failureBefore = std::exchange(failure, outcome.failure);
  const bool isSame = failure == failureBefore && !hasNew(unreadProcesses, processesBefore);
  if (outcome.isWhole() || !isSame) looksInARow = 0;
  if (outcome.isWhole() || looksInARow >= kLookDelays.size()) return;
  anotherLookTask = dependencies.mainThread.postAfter(kLookDelays.at(looksInARow), [this] {
    anotherLookTask.reset();
    ++looksInARow;
    requestScan();
  });
}

void ScanScheduler::confirmHeldBackPrompts() {
  confirmationTask.reset();
  ++confirmationsInARow;
  requestScan();
}

void ScanScheduler::stop() {
  isStopped = true;
  safetySweepTimer.reset();
  staleCleanupTask.reset();
  confirmationTask.reset();
  anotherLookTask.reset();
}

}  // namespace quillard
