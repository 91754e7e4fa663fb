#include <utility>

#include "agent/AgentRules.h"
#include "agent/AppDelegate.h"
#include "agent/configuration/AgentConfiguration.h"
#include "foundation/PrintableText.h"

// When the screen is looked at, and what is done with what was seen.
namespace quillard {

DialogDetector& AppDelegate::detector() {
  if (!madeDetector) {
    madeDetector = std::make_unique<DialogDetector>(
        platform.application.processIdentifier(), suppressionStore,
        DetectorDependencies{platform.accessibility, platform.workspace, platform.windowList, platform.clock,
                             platform.environment, platform.console, stableIDs});
  }
  return *madeDetector;
}

DialogScanWorker& AppDelegate::scanWorker() {
  if (!madeScanWorker) madeScanWorker = std::make_unique<DialogScanWorker>(detector(), platform.executors);
  return *madeScanWorker;
}

namespace {

constexpr std::string_view kSeenOnce = "seen-once";
// Longer than the scans after an event are apart, so that this one is needed only where none of those is left.
constexpr Seconds kConfirmationDelay{1.3};
constexpr int kMostConfirmationsInARow = 3;

}  // namespace

void AppDelegate::scheduleScan(std::string_view reason) {
  if (reason != kSeenOnce) confirmationsInARow = 0;
  if (isTerminating || !isRelayConfigured()) return;
  if (scanInFlight) {
    scanRequestedWhileInFlight = true;
    return;
  }
  scanInFlight = true;
  confirmationTask.reset();
  scanWorker().scan([weak = weak_from_this()](const ScanOutcome& outcome) {
    if (const auto self = weak.lock()) self->finishScan(outcome);
  });
}

void AppDelegate::finishScan(const ScanOutcome& outcome) {
  if (isTerminating) return;
  scanInFlight = false;
  const bool isToBeRepeated = std::exchange(scanRequestedWhileInFlight, false);
  if (isAccessibilityTrusted()) {
    publishScan(outcome.approvals);
    scheduleConfirmationIfNeeded(outcome.heldBackCount);
  } else {
    forgetApprovals();
  }
  if (isToBeRepeated) scheduleScan("requested-during-scan");
}

void AppDelegate::publishScan(const std::vector<PendingApproval>& scanned) {
  store.replace(scanned);
  const auto current = store.all();
  pendingApprovalCount = static_cast<std::int64_t>(current.size());
  publishCurrentApprovalSnapshot(/*force=*/false);
  announce(current);
  updateStatus(pendingApprovalCount);
  scheduleStaleCleanupIfNeeded(scanned.size(), current.size());
}

void AppDelegate::announce(const std::vector<PendingApproval>& current) {
  if (!notificationPauseStore.snapshot().isPaused()) {
    for (const auto& approval : AgentRules::approvalsToAnnounce(current, lastNotifiedIDs)) {
      lastNotifiedIDs.insert(approval.id);
      notify(approval);
    }
  }
  lastNotifiedIDs = AgentRules::stillAnnounced(lastNotifiedIDs, current);
}

// Says nothing of what the prompt says: notes are seen by whoever passes by.
void AppDelegate::notify(const PendingApproval& approval) {
  if (!platform.bundle.identifier()) {
    platform.console.writeLine("Approval needed: " + printableText(approval.displayTitle()));
    return;
  }
  platform.userNotifications.post({.identifier = approval.id.text(),
                                   .title = "Quillard",
                                   .body = "Your Mac needs approval.",
                                   .playsDefaultSound = true});
}

// The store still shows prompts that this scan did not see: once their grace has run out, the next scan lets them go.
void AppDelegate::scheduleStaleCleanupIfNeeded(std::size_t scannedCount, std::size_t publishedCount) {
  staleCleanupTask.reset();
  if (scannedCount >= publishedCount) return;
  staleCleanupTask = platform.executors.mainThread().postAfter(
      AgentConfiguration::staleCleanupDelay(platform.environment), [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->staleCleanupTask.reset();
        self->scheduleScan("stale-cleanup");
      });
}

// A prompt is told of by the second scan that sees it. One that could be read only at the last scan after an event
// would wait for the next sweep, minutes away. What changes from scan to scan is not chased.
void AppDelegate::scheduleConfirmationIfNeeded(std::size_t heldBackCount) {
  confirmationTask.reset();
  if (heldBackCount == 0 || confirmationsInARow >= kMostConfirmationsInARow) return;
  confirmationTask = platform.executors.mainThread().postAfter(kConfirmationDelay, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->confirmationTask.reset();
    ++self->confirmationsInARow;
    self->scheduleScan(kSeenOnce);
  });
}

// Without the permission nothing is known of the screen any more.
void AppDelegate::forgetApprovals() {
  store.replace({});
  pendingApprovalCount = 0;
  lastNotifiedIDs.clear();
  updateStatus(0);
  publishCurrentApprovalSnapshot(/*force=*/false);
}

// Other than by a scan.
void AppDelegate::pendingApprovalsChanged() {
  pendingApprovalCount = static_cast<std::int64_t>(store.all().size());
  publishCurrentApprovalSnapshot(/*force=*/false);
  updateStatus(pendingApprovalCount);
}

void AppDelegate::pauseNotifications(NotificationPauseOption option) {
  notificationPauseStore.apply(option, platform.clock.now(), platform.calendar);
  lastNotifiedIDs.clear();
  publishCurrentApprovalSnapshot(/*force=*/false);
  scheduleNotificationPauseResumeTimer();
  refreshStatusWindow();
}

void AppDelegate::resumeNotifications() {
  notificationPauseStore.resume();
  publishCurrentApprovalSnapshot(/*force=*/false);
  scheduleNotificationPauseResumeTimer();
  refreshStatusWindow();
}

}  // namespace quillard
