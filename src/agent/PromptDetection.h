#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/ScanScheduler.h"
#include "agent/configuration/AgentConfiguration.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "approvals/ScanOutcome.h"
#include "detection/DialogDetector.h"
#include "detection/DialogEventMonitor.h"
#include "detection/DialogScanWorker.h"
#include "detection/StableIDs.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/PromptSupplement.h"
#include "platform/desktop/Translations.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/process/Random.h"
#include "system/InstallLocation.h"

namespace quillard {

// What detection is made over. All of it outlives the detection.
struct PromptDetectionDependencies {
  std::int32_t ownProcessIdentifier = 0;  // Whose windows are never read.
  const ApprovalSuppressionStore& suppressionStore;
  const InstallLocation& installLocation;
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  platform::Executors& executors;
  platform::Random& random;
  const platform::Clock& clock;
  AgentConfiguration::Sources tunables;
  platform::Console& console;
  platform::PromptSupplement supplement{};
  platform::Translations* translations = nullptr;  // As in `DetectorDependencies`.
};

// What detection asks of its owner, on the main thread. Neither is empty.
struct PromptDetectionCallbacks {
  // Whether there is a relay at all: without one nothing is scanned.
  std::function<bool()> isRelayConfigured;
  // As in `ScanSchedulerDependencies`.
  std::function<std::optional<std::size_t>(const ScanOutcome&)> publishScan;
};

// Everything that finds prompts on this desktop: the detector, the worker that scans with it, the monitor that notices
// when a scan is worthwhile, and the schedule between them. The detector and the worker are made on first use, since an
// agent without a relay needs neither.
//
// States: idle -> about to start -> running -> stopped. A scan can be requested in any of them but the last. Main
// thread; destroying it waits for the scan that is under way.
class PromptDetection {
 public:
  PromptDetection(const PromptDetectionDependencies& dependencies, PromptDetectionCallbacks callbacks);
  ~PromptDetection();
  PromptDetection(const PromptDetection&) = delete;
  PromptDetection& operator=(const PromptDetection&) = delete;

  // Detection starts 0.3 s later, when the agent is installed and a relay is configured by then.
  void scheduleStartOfPromptDetection();

  // Looks as often as the tunables say by now, if it has started. What was due soon by the older ones is asked anew.
  void takeOverTunables();

  void scheduleScan(std::string_view reason);
  // The same for what has just been changed here, as in `ScanScheduler`.
  void scheduleScanAfterChange(std::string_view reason, bool scansAnyway);

  // Nothing is read of the desktop afterwards, but by the scan that is under way.
  void stop();

  [[nodiscard]] DialogDetector& detector();

  // See StableIDs. The latter before anything is detected.
  [[nodiscard]] const StableIDs::Key& fingerprintKey() const { return stableIDs.ownKey(); }
  void setEarlierFingerprintKeys(std::vector<StableIDs::Key> keys) { stableIDs.setEarlierKeys(std::move(keys)); }

 private:
  void startPromptDetection();
  void startToWatch();
  DialogScanWorker& scanWorker();

  const PromptDetectionDependencies dependencies;
  const PromptDetectionCallbacks callbacks;
  StableIDs stableIDs;
  platform::TaskHandle startDetectionTask;
  std::unique_ptr<DialogDetector> madeDetector;
  std::unique_ptr<DialogScanWorker> madeScanWorker;
  ScanScheduler scheduler;
  std::unique_ptr<DialogEventMonitor> eventMonitor;  // Empty until detection has started.
};

}  // namespace quillard
