#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "agent/configuration/AgentConfiguration.h"
#include "approvals/ScanOutcome.h"
#include "detection/DialogScanWorker.h"
#include "foundation/CallbackScope.h"
#include "platform/process/Executors.h"

namespace quillard {

// What the scheduler is made over. None of the functions is empty; all are called on the main thread.
struct ScanSchedulerDependencies {
  platform::SerialExecutor& mainThread;  // Outlives the scheduler.
  AgentConfiguration::Sources tunables;
  // Whether anything is to be scanned at all. Asked at each request.
  std::function<bool()> isScanWanted;
  // Begins one scan, away from the main thread, and calls back on it with the outcome. Never from inside this call.
  std::function<void(DialogScanWorker::Completion)> beginScan;
  // Takes what a scan found as the truth, and returns how many pending approvals it missed, which are kept for their
  // grace. Absent: the outcome does not count, since the permission is gone.
  std::function<std::optional<std::size_t>(const ScanOutcome&)> publishScan;
};

// Decides when the screen is scanned. It starts no scan of its own accord but those that follow from a scan's outcome
// and the safety sweep.
//
// - One scan runs at a time. Any number of requests while it runs are one more scan after it.
// - The sweep scans at a slow interval, for what no event reported.
// - When approvals are pending that the scan missed, one more scan follows after their grace, to let them go.
// - When a scan could not read a process, or the desktop, another look follows soon: after 2, 4, 8, 16 and 32 s, when
// no
//   other scan comes before. That is all for one that stays silent. The row begins anew with a scan that reads
//   everything, or that meets another silence than the one before it.
// - A prompt is reported by the second scan that finds it. When a scan held prompts back, and no other scan comes
//   first, one follows to confirm them: one that could be read only by the last scan after an event would otherwise
//   wait for the next sweep, minutes away. A prompt that changes from scan to scan is not chased: after three
//   confirmations in a row, none follows until a scan was requested for another reason.
//
// States: idle -> scanning -> idle or scanning again; and stopped. Main thread.
class ScanScheduler {
 public:
  explicit ScanScheduler(ScanSchedulerDependencies dependencies);
  // The outcome of a scan that is under way is dropped.
  ~ScanScheduler();
  ScanScheduler(const ScanScheduler&) = delete;
  ScanScheduler& operator=(const ScanScheduler&) = delete;

  // Scans soon: now, or once more after the scan that is under way. Never blocks. `reason`: who asks, for the reader of
  // the call; it changes nothing.
  void scheduleScan(std::string_view reason);

  // Scans at each safety-sweep interval from now on.
  void startSafetySweep();

  // The same for what has just been changed here: what the scan under way has read is of before, so its outcome is
  // dropped. Nothing more than that when none is under way and `scansAnyway` is false.
  void scheduleScanAfterChange(std::string_view reason, bool scansAnyway);

  // No scan begins afterwards, and the outcome of the one under way is dropped.
  void stop();

 private:
  void requestScan();
  // Not a request from outside: it does not end a row of confirmations.
  void confirmHeldBackPrompts();
  void finishScan(const ScanOutcome& outcome);
  void takeOutcome(const ScanOutcome& outcome);
  void scheduleStaleCleanupIfNeeded(std::size_t missedCount);
  void scheduleConfirmationIfNeeded(std::size_t heldBackCount);
  void scheduleAnotherLookIfNeeded(const ScanOutcome& outcome);

  const ScanSchedulerDependencies dependencies;
  bool scanInFlight = false;
  bool scanRequestedWhileInFlight = false;
  bool isScanInFlightVoid = false;
  bool isStopped = false;
  platform::TaskHandle safetySweepTimer;
  platform::TaskHandle staleCleanupTask;
  platform::TaskHandle confirmationTask;
  int confirmationsInARow = 0;
  platform::TaskHandle anotherLookTask;
  std::size_t looksInARow = 0;
  // What the newest scan could not read.
  std::vector<std::int32_t> unreadProcesses;
  std::optional<platform::DesktopReadFailure> failure;
  CallbackScope callbacks;  // Last.
};

}  // namespace quillard
