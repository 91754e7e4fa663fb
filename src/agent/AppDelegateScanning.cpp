#include <utility>

#include "agent/AgentConfiguration.h"
#include "agent/AgentRules.h"
#include "agent/AppDelegate.h"
#include "foundation/PrintableText.h"

// When the screen is looked at, and what is done with what was seen.
namespace quillard {

DialogDetector& AppDelegate::detector() {
  if (!madeDetector) {
    madeDetector = std::make_unique<DialogDetector>(
        platform.application.processIdentifier(), suppressionStore,
        DetectorSurroundings{platform.accessibility, platform.workspace, platform.windowList, platform.clock,
                             platform.environment, platform.console, stableIDs});
  }
  return *madeDetector;
}

DialogScanWorker& AppDelegate::scanWorker() {
  if (!madeScanWorker) madeScanWorker = std::make_unique<DialogScanWorker>(detector(), platform.executors);
  return *madeScanWorker;
}

void AppDelegate::scheduleScan(std::string_view /*reason*/) {
  if (isTerminating || !isRelayConfigured()) return;
  if (scanInFlight) {
    scanRequestedWhileInFlight = true;
    return;
  }
  scanInFlight = true;
  scanWorker().scan([weak = weak_from_this()](const std::vector<PendingApproval>& scanned) {
    if (const auto self = weak.lock()) self->finishScan(scanned);
  });
}

void AppDelegate::finishScan(const std::vector<PendingApproval>& scanned) {
  if (isTerminating) return;
  scanInFlight = false;
  const bool isToBeRepeated = std::exchange(scanRequestedWhileInFlight, false);
  if (isAccessibilityTrusted()) {
    publishScan(scanned);
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
