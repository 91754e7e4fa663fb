#include "detection/DialogEventMonitor.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "agent/AgentConfiguration.h"
#include "detection/VisibleWindowOwners.h"

namespace quillard {

using platform::Seconds;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;

namespace {

constexpr Seconds kShortestDebounce{0.05};
// Both from the request on.
constexpr std::array<Seconds, 2> kFollowUpDelays{Seconds{0.8}, Seconds{2.0}};

constexpr std::array<std::string_view, 6> kObservedNotifications{"AXMainWindowChanged",    "AXFocusedWindowChanged",
                                                                 "AXApplicationActivated", "AXWindowMiniaturized",
                                                                 "AXWindowDeminiaturized", "AXUIElementDestroyed"};

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
                                       const MonitorSurroundings& surroundings)
    : ownProcessIdentifier(ownProcessIdentifier),
      debounceInterval(debounceInterval),
      onChange(std::move(onChange)),
      surroundings(surroundings) {}

DialogEventMonitor::~DialogEventMonitor() { stop(); }

void DialogEventMonitor::start() {
  if (isStarted) return;
  isStarted = true;
  notificationTokens.push_back(
      surroundings.workspace.observe([this](const WorkspaceEvent& event) { handleWorkspaceEvent(event); }));
  startVisibleOwnerPolling();
  requestScan("prompt-monitor-started");
}

void DialogEventMonitor::stop() {
  debounceTask.reset();
  followUpScanTask.clear();
  visibleOwnerPollTimer.reset();
  notificationTokens.clear();
  while (!observations.empty()) removeObservation(observations.begin()->first);
  isStarted = false;
}

void DialogEventMonitor::requestScan(const std::string& reason) {
  const Seconds delay = std::max(debounceInterval, kShortestDebounce);
  debounceTask = surroundings.mainThread.postAfter(delay, [this, reason] { onChange(reason); });
}

void DialogEventMonitor::requestFollowUpScans(const std::string& reason) {
  followUpScanTask.clear();
  for (const Seconds delay : kFollowUpDelays) {
    followUpScanTask.push_back(surroundings.mainThread.postAfter(delay, [this, reason] { onChange(reason); }));
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
  visibleWindowSignature = VisibleWindowOwners::visibleWindowSignatures(surroundings.windowList);
  const auto interval = AgentConfiguration::visibleWindowOwnerPollInterval(surroundings.environment);
  visibleOwnerPollTimer = surroundings.mainThread.repeatEvery(interval, [this] { checkVisibleOwners(); });
  // Where the system tells of changes, the look need not wait for the next tick.
  notificationTokens.push_back(surroundings.windowList.observeChanges([this] { checkVisibleOwners(); }));
}

void DialogEventMonitor::checkVisibleOwners() {
  auto signature = VisibleWindowOwners::visibleWindowSignatures(surroundings.windowList);
  if (signature == visibleWindowSignature) return;
  visibleWindowSignature = std::move(signature);
  requestScan("visible-window-owners-changed");
  requestFollowUpScans("visible-window-owners-settled");
}

}  // namespace quillard
