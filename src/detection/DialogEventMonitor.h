#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "agent/configuration/AgentConfiguration.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Executors.h"

namespace quillard {

// What a monitor is made over. All of it outlives the monitor.
struct MonitorDependencies {
  platform::SerialExecutor& mainThread;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  AgentConfiguration::Sources tunables;
};

// Asks for a scan soon after something happened on the desktop: an application came, went, was shown or hidden, the
// space changed, or the owners of visible windows are others than before. A burst leads to one request, once it has
// been quiet for the debounce interval.
//
// Two follow-up scans come 0.8 s and 2.0 s after an event, since many programs finish drawing a prompt only after the
// event that announces it, and since a prompt is published by the second scan that meets it. A newer event replaces
// what is left of them, so a lively desktop does not pile scans up.
//
// States: new -> started -> stopped, and started again if asked. Main thread only, `onChange` included.
class DialogEventMonitor {
 public:
  using OnChange = std::function<void(const std::string& reason)>;

  // An accessibility observer of one application. Nothing in the agent registers any; one that is handed in is taken
  // down with its application, or at the end.
  struct Observation {
    platform::AXUIElement applicationElement;
    std::unique_ptr<platform::AXObserver> observer;
  };

  // `debounceInterval`: how long it must be quiet before a request is delivered; at least 0.05 s.
  DialogEventMonitor(std::int32_t ownProcessIdentifier, Seconds debounceInterval, OnChange onChange,
                     const MonitorDependencies& dependencies);
  ~DialogEventMonitor();
  DialogEventMonitor(const DialogEventMonitor&) = delete;
  DialogEventMonitor& operator=(const DialogEventMonitor&) = delete;

  // Begins to watch and asks for a first scan. What is visible already is no change. A second call does nothing.
  void start();
  // After it, nothing is delivered.
  void stop();
  [[nodiscard]] bool isRunning() const { return isStarted; }

  // Delivers `reason` once it has been quiet for the debounce interval; a newer request takes the place of this one.
  void requestScan(const std::string& reason);
  // Delivers `reason` 0.8 s and 2.0 s from now; a newer follow-up takes the place of what is left of this one.
  void requestFollowUpScans(const std::string& reason);

  // Takes the place of an earlier one of that process. Nothing happens for the agent itself, which watches others only.
  void addObservation(std::int32_t processIdentifier, Observation observation);
  // Nothing happens when there is none.
  void removeObservation(std::int32_t processIdentifier);

 private:
  void handleWorkspaceEvent(const platform::WorkspaceEvent& event);
  void startVisibleOwnerPolling();
  // At each tick: any difference counts, a window that only moved included.
  void checkVisibleOwners();
  // When the system announces a change: windows that came, went or changed their names count immediately; mere moves
  // wait for the tick, and a request that is already waiting is not put off, so that a lively desktop cannot keep scans
  // away.
  void windowListMayHaveChanged();
  // When the system announces a window that it may not list. Waiting requests are not put off either.
  void unlistedWindowCame();

  const std::int32_t ownProcessIdentifier;
  const Seconds debounceInterval;
  const OnChange onChange;
  std::unordered_map<std::int32_t, Observation> observations;
  std::vector<platform::SubscriptionHandle> notificationTokens;
  platform::TaskHandle debounceTask;
  std::vector<platform::TaskHandle> followUpScanTask;  // One handle a delay.
  platform::TaskHandle announcementPause;              // Until the next announced window may start a scan.
  bool isAnnouncedAgain = false;                       // Meanwhile.
  platform::TaskHandle visibleOwnerPollTimer;
  std::set<std::string> visibleWindowSignature;
  bool isStarted = false;
  const MonitorDependencies dependencies;
};

}  // namespace quillard
