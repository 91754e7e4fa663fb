#include "detection/DialogEventMonitor.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "agent/configuration/AgentConfiguration.h"
#include "detection/VisibleWindowOwners.h"

namespace quillard {

using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;

namespace {

constexpr Seconds kShortestDebounce{0.05};
// What is announced meanwhile is found by the first follow-up scan, or by the scan at the end.
constexpr Seconds kAnnouncementInterval{1};
// Both from the request on.
constexpr std::array<Seconds, 2> kFollowUpDelays{Seconds{0.8}, Seconds{2.0}};

constexpr std::array<std::string_view, 6> kObservedNotifications{"AXMainWindowChanged",    "AXFocusedWindowChanged",
                                                                 "AXApplicationActivated", "AXWindowMiniaturized",
                                                                 "AXWindowDeminiaturized", "AXUIElementDestroyed"};

constexpr const char* kOwnersChanged = "visible-window-owners-changed";
constexpr const char* kOwnersSettled = "visible-window-owners-settled";
constexpr const char* kWindowAnnounced = "window-announced";
constexpr const char* kWindowSettled = "window-announced-settled";

// The signatures without where the windows are, which is their last part.
std::multiset<std::string> withoutPlaces(const std::set<std::string>& signatures) {
  std::multiset<std::string> windows;
  for (const auto& signature : signatures) windows.insert(signature.substr(0, signature.rfind('|')));
  return windows;
}

std::string reasonOf(WorkspaceEventKind kind) {
  switch (kind) {
    case WorkspaceEventKind::didLaunchApplication:
      return "application-launched";
    case WorkspaceEventKind::didTerminateApplication:
      return "application-terminated";
    case WorkspaceEventKind::didActivateApplication:
      return "application-activated";
    case WorkspaceEventKind::didHideApplication:
      return "application-hidden";
    case WorkspaceEventKind::didUnhideApplication:
      return "application-unhidden";
    case WorkspaceEventKind::activeSpaceDidChange:
      return "active-space-changed";
  }
  return "application-changed";
}

}  // namespace

DialogEventMonitor::DialogEventMonitor(std::int32_t ownProcessIdentifier, Seconds debounceInterval, OnChange onChange,
                                       const MonitorDependencies& dependencies)
    : ownProcessIdentifier(ownProcessIdentifier),
      debounceInterval(debounceInterval),
      onChange(std::move(onChange)),
      dependencies(dependencies) {}

DialogEventMonitor::~DialogEventMonitor() { stop(); }

void DialogEventMonitor::start() {
  if (isStarted) return;
  isStarted = true;
  notificationTokens.push_back(
      dependencies.workspace.observe([this](const WorkspaceEvent& event) { handleWorkspaceEvent(event); }));
  startVisibleOwnerPolling();
  requestScan("prompt-monitor-started");
}

void DialogEventMonitor::stop() {
  debounceTask.reset();
  followUpScanTask.clear();
  announcementPause.reset();
  isAnnouncedAgain = false;
  visibleOwnerPollTimer.reset();
  notificationTokens.clear();
  while (!observations.empty()) removeObservation(observations.begin()->first);
  isStarted = false;
}

void DialogEventMonitor::requestScan(const std::string& reason) {
  const Seconds delay = std::max(debounceInterval, kShortestDebounce);
  debounceTask = dependencies.mainThread.postAfter(delay, [this, reason] {
    debounceTask.reset();
    onChange(reason);
  });
}

void DialogEventMonitor::requestFollowUpScans(const std::string& reason) {
  followUpScanTask.clear();
  for (const Seconds delay : kFollowUpDelays) {
    followUpScanTask.push_back(dependencies.mainThread.postAfter(delay, [this, reason] { onChange(reason); }));
  }
}

void DialogEventMonitor::addObservation(std::int32_t processIdentifier, Observation observation) {
  if (processIdentifier == ownProcessIdentifier) return;
  removeObservation(processIdentifier);
  observations.emplace(processIdentifier, std::move(observation));
}

void DialogEventMonitor::removeObservation(std::int32_t processIdentifier) {
  auto node = observations.extract(processIdentifier);
  if (node.empty()) return;
  const auto& [applicationElement, observer] = node.mapped();
  for (const auto notification : kObservedNotifications) observer->removeNotification(applicationElement, notification);
  observer->detachFromRunLoop();
}

void DialogEventMonitor::handleWorkspaceEvent(const WorkspaceEvent& event) {
  if (event.kind == WorkspaceEventKind::didTerminateApplication && event.application) {
    removeObservation(event.application->processIdentifier);
  }
  const std::string reason = reasonOf(event.kind);
  requestScan(reason);
  requestFollowUpScans(reason + "-settled");
}

void DialogEventMonitor::startVisibleOwnerPolling() {
  visibleWindowSignature = VisibleWindowOwners::visibleWindowSignatures(dependencies.windowList);
  const auto interval = AgentConfiguration::visibleWindowOwnerPollInterval(dependencies.tunables);
  visibleOwnerPollTimer = dependencies.mainThread.repeatEvery(interval, [this] { checkVisibleOwners(); });
  notificationTokens.push_back(dependencies.windowList.observeChanges([this] { windowListMayHaveChanged(); }));
  notificationTokens.push_back(dependencies.windowList.observeUnlistedWindows([this] { unlistedWindowCame(); }));
}

void DialogEventMonitor::checkVisibleOwners() {
  if (!dependencies.windowList.mayHaveChanged()) return;
  auto signature = VisibleWindowOwners::visibleWindowSignatures(dependencies.windowList);
  if (signature == visibleWindowSignature) return;
  visibleWindowSignature = std::move(signature);
  requestScan(kOwnersChanged);
  requestFollowUpScans(kOwnersSettled);
}

void DialogEventMonitor::windowListMayHaveChanged() {
  auto signature = VisibleWindowOwners::visibleWindowSignatures(dependencies.windowList);
  if (withoutPlaces(signature) == withoutPlaces(visibleWindowSignature)) return;
  visibleWindowSignature = std::move(signature);
  if (!debounceTask) requestScan(kOwnersChanged);
  requestFollowUpScans(kOwnersSettled);
}

void DialogEventMonitor::unlistedWindowCame() {
  if (announcementPause) {
    isAnnouncedAgain = true;
    return;
  }
  if (!debounceTask) requestScan(kWindowAnnounced);
  requestFollowUpScans(kWindowSettled);
  announcementPause = dependencies.mainThread.postAfter(kAnnouncementInterval, [this] {
    announcementPause.reset();
    if (std::exchange(isAnnouncedAgain, false)) unlistedWindowCame();
  });
}

}  // namespace quillard
