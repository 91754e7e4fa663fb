#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "detection/WindowSource.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

namespace quillard {

// The windows to read in one scope, each given once. For one use: it remembers what it has given, so that a caller can
// ask for the windows of one application first and for the rest of the desktop only when those were not enough.
//
// Two windows are the same when their handles are equal, which bindings promise of the application's window list, its
// main and focused window and the desktop's focused window. Windows that merely look the same, by process, role, title
// and place, have one signature: a person sees the first of them, and the others are twins of it or hidden behind it.
// The agent's own windows are never among them.
//
// At most 1,000 windows of an application's list are taken, its main and focused windows besides. No desktop shows as
// many, and a broken or hostile application that lists a hundred thousand must not keep a scan from ending.
//
// Reads other processes and may wait for them. One thread at a time.
class WindowSources {
 public:
  // All outlive this. `descendantsPerWindow`: how much of each window's tree the caller is about to read, a hint for
  // the scope.
  WindowSources(std::int32_t ownProcessIdentifier, int descendantsPerWindow, platform::Accessibility& accessibility,
                platform::Workspace& workspace, platform::WindowList& windowList, platform::AXReadScope& scope);

  // The windows of one application: its list, then its main and its focused window. No other process is asked. Empty
  // when no such application is running, or when it does not answer.
  [[nodiscard]] std::vector<WindowSource> windowSourcesForApplication(std::int32_t processIdentifier);

  // All windows that were not given before: those of every application that may show a prompt, in the order of
  // `VisibleWindowOwners::promptScanApplications`, then the desktop's focused window and the window of its focused
  // element. An application that was asked by itself before is not asked for its windows again.
  [[nodiscard]] std::vector<WindowSource> allWindowSources();

  // Process, role, title and place as one text, as they are read now.
  [[nodiscard]] std::string windowSignature(const WindowSource& source) const;
  // Without those whose signature an earlier one has.
  [[nodiscard]] std::vector<WindowSource> withoutRepeatedSignatures(std::vector<WindowSource> sources) const;

  // Those of the processes asked here that have missed their time-out by now, or answered with an error instead of
  // their windows, in the order in which they were asked: some of their windows, or parts of them, are missing from
  // what was read.
  [[nodiscard]] std::vector<std::int32_t> unreadProcesses() const;

 private:
  void appendApplications(const std::vector<platform::RunningApplication>& applications,
                          std::vector<WindowSource>& sources);
  void appendWindowsOf(const platform::RunningApplication& application, const platform::AXUIElement& element,
                       std::vector<WindowSource>& sources);
  void appendSystemWide(std::vector<WindowSource>& sources);
  void appendOwnedWindow(const platform::AXUIElement& window, std::vector<WindowSource>& sources);
  [[nodiscard]] std::vector<WindowSource> unique(std::vector<WindowSource> sources);

  const std::int32_t ownProcessIdentifier;
  const int descendantsPerWindow;
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  platform::AXReadScope& scope;
  std::unordered_set<std::int32_t> askedProcesses;
  std::vector<std::int32_t> processes;                 // All that were met, each once.
  std::unordered_set<std::int32_t> refusingProcesses;  // Those that did not name their windows.
  std::unordered_set<platform::AXUIElement> givenWindows;
};

}  // namespace quillard
