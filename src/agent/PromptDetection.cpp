#include "agent/PromptDetection.h"

#include <string>
#include <utility>

#include "agent/configuration/AgentConfiguration.h"
#include "values/Time.h"

namespace quillard {
namespace {

constexpr Seconds kDetectionStartDelay{0.3};

}  // namespace

PromptDetection::PromptDetection(const PromptDetectionDependencies& dependencies, PromptDetectionCallbacks callbacks)
    : dependencies(dependencies),
      callbacks(std::move(callbacks)),
      stableIDs(dependencies.random),
      scheduler(
          {.mainThread = dependencies.executors.mainThread(),
           .tunables = dependencies.tunables,
           .isScanWanted = this->callbacks.isRelayConfigured,
           .beginScan = [this](DialogScanWorker::Completion completion) { scanWorker().scan(std::move(completion)); },
           .publishScan = this->callbacks.publishScan}) {}

// The worker ends first, while all that its scan uses is still there.
PromptDetection::~PromptDetection() {
  stop();
  madeScanWorker.reset();
}

void PromptDetection::scheduleStartOfPromptDetection() {
  startDetectionTask = dependencies.executors.mainThread().postAfter(kDetectionStartDelay, [this] {
    startDetectionTask.reset();
    if (dependencies.installLocation.isRunningFromApplications()) startPromptDetection();
  });
}

void PromptDetection::startPromptDetection() {
  if (!callbacks.isRelayConfigured()) return;
  startToWatch();
  scheduler.scheduleScan("prompt-detection-started");
}

void PromptDetection::startToWatch() {
  eventMonitor = std::make_unique<DialogEventMonitor>(
      dependencies.ownProcessIdentifier, AgentConfiguration::eventScanDebounce(dependencies.tunables),
      [this](const std::string& reason) { scheduler.scheduleScan(reason); },
      MonitorDependencies{dependencies.executors.mainThread(), dependencies.workspace, dependencies.windowList,
                          dependencies.tunables});
  eventMonitor->start();
  scheduler.startSafetySweep();
}

// A new monitor asks for a scan of its own accord: what the older one had announced is not lost.
void PromptDetection::takeOverTunables() {
  if (eventMonitor && eventMonitor->isRunning()) startToWatch();
}

void PromptDetection::scheduleScan(std::string_view reason) { scheduler.scheduleScan(reason); }

void PromptDetection::scheduleScanAfterChange(std::string_view reason, bool scansAnyway) {
  scheduler.scheduleScanAfterChange(reason, scansAnyway);
}

void PromptDetection::stop() {
  startDetectionTask.reset();
  scheduler.stop();
  if (eventMonitor) eventMonitor->stop();
}

DialogDetector& PromptDetection::detector() {
  if (!madeDetector) {
    madeDetector = std::make_unique<DialogDetector>(
        dependencies.ownProcessIdentifier, dependencies.suppressionStore,
        DetectorDependencies{dependencies.accessibility, dependencies.workspace, dependencies.windowList,
                             dependencies.clock, dependencies.tunables, dependencies.console, stableIDs,
                             dependencies.supplement, dependencies.translations});
  }
  return *madeDetector;
}

DialogScanWorker& PromptDetection::scanWorker() {
  if (!madeScanWorker) madeScanWorker = std::make_unique<DialogScanWorker>(detector(), dependencies.executors);
  return *madeScanWorker;
}

}  // namespace quillard
