#pragma once

#include <functional>
#include <memory>

#include "approvals/ScanOutcome.h"
#include "detection/DialogDetector.h"
#include "platform/process/Executors.h"

namespace quillard {

// Runs scans one at a time on a queue of its own, since each waits for other processes. Main thread. Destroying it
// waits for the scan under way; its completion may still come.
class DialogScanWorker {
 public:
  using Completion = std::function<void(const ScanOutcome&)>;

  // Both outlive the worker. `detector` scans for this worker only.
  DialogScanWorker(DialogDetector& detector, platform::Executors& executors);

  // Scans once, after every scan asked for before; `completion` is called with the outcome on the main thread. Never
  // blocks.
  void scan(Completion completion);

 private:
  DialogDetector& detector;
  platform::SerialExecutor& mainThread;
  std::unique_ptr<platform::SerialExecutor> queue;
};

}  // namespace quillard
