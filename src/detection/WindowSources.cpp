#include "detection/WindowSources.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "approvals/PendingApproval.h"
#include "detection/VisibleWindowOwners.h"
#include "detection/elements/AXHelpers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXError;
using platform::AXUIElement;
using platform::RunningApplication;
namespace ax = platform::ax;

namespace {

constexpr std::string_view kUnknownApp = "Unknown app";
constexpr std::size_t kMostWindowsPerApplication = 1000;

// An application that has no windows, or is gone, says so. Anything else is not known.
bool isUnanswered(AXError error) {
  constexpr std::array kAnswers{AXError::success, AXError::noValue, AXError::attributeUnsupported,
                                AXError::invalidUIElement, AXError::notImplemented};
  return std::find(kAnswers.begin(), kAnswers.end(), error) == kAnswers.end();
}

std::optional<std::string> usableText(const std::optional<std::string>& text) {
  return text && !text->empty() && text::isValidUtf8(*text) ? text : std::nullopt;
}

WindowSource sourceFor(AXUIElement window, std::int32_t processIdentifier,
                       const std::optional<RunningApplication>& application) {
  const auto name = application ? usableText(application->localizedName) : std::nullopt;
  return {.window = std::move(window),
          .appName = name.value_or(std::string(kUnknownApp)),
          .bundleIdentifier = application ? usableText(application->bundleIdentifier) : std::nullopt,
          .processIdentifier = processIdentifier};
}

}  // namespace

WindowSources::WindowSources(std::int32_t ownProcessIdentifier, int descendantsPerWindow,
                             platform::Accessibility& accessibility, platform::Workspace& workspace,
                             platform::WindowList& windowList, platform::AXReadScope& scope)
    : ownProcessIdentifier(ownProcessIdentifier),
      descendantsPerWindow(descendantsPerWindow),
      accessibility(accessibility),
      workspace(workspace),
      windowList(windowList),
      scope(scope) {}

std::vector<WindowSource> WindowSources::windowSourcesForApplication(std::int32_t processIdentifier) {
  std::vector<WindowSource> sources;
  if (const auto application = workspace.runningApplication(processIdentifier)) {
    appendApplications({*application}, sources);
  }
  return unique(std::move(sources));
}

std::vector<WindowSource> WindowSources::allWindowSources() {
  std::vector<WindowSource> sources;
  appendApplications(VisibleWindowOwners::promptScanApplications(workspace, windowList), sources);
  appendSystemWide(sources);
  return unique(std::move(sources));
}

void WindowSources::appendApplications(const std::vector<RunningApplication>& applications,
                                       std::vector<WindowSource>& sources) {
  std::vector<RunningApplication> candidates;
  std::vector<AXUIElement> elements;
  for (const auto& application : applications) {
    if (application.isTerminated || application.processIdentifier == ownProcessIdentifier) continue;
    if (!askedProcesses.insert(application.processIdentifier).second) continue;
    candidates.push_back(application);
    processes.push_back(application.processIdentifier);
    elements.push_back(accessibility.createApplication(application.processIdentifier));
  }
  scope.prepareApplications(elements, descendantsPerWindow);
  for (std::size_t i = 0; i < candidates.size(); ++i) appendWindowsOf(candidates[i], elements[i], sources);
}

void WindowSources::appendWindowsOf(const RunningApplication& application, const AXUIElement& element,
                                    std::vector<WindowSource>& sources) {
  if (isUnanswered(scope.copyAttributeValue(element, ax::kWindows).error())) {
    refusingProcesses.insert(application.processIdentifier);
  }
  auto windows = AXHelpers::windows(scope, element);
  if (windows.size() > kMostWindowsPerApplication) {
    windows.erase(windows.begin() + kMostWindowsPerApplication, windows.end());
  }
  for (const auto name : {ax::kMainWindow, ax::kFocusedWindow}) {
    if (auto window = AXHelpers::elementAttribute(scope, element, name)) windows.push_back(*std::move(window));
  }
  for (auto& window : windows) {
    sources.push_back(sourceFor(std::move(window), application.processIdentifier, application));
  }
}

void WindowSources::appendSystemWide(std::vector<WindowSource>& sources) {
  if (const auto window = AXHelpers::focusedWindow(accessibility, scope)) appendOwnedWindow(*window, sources);
  const auto focusedElement = AXHelpers::focusedElement(accessibility, scope);
  if (!focusedElement) return;
  if (const auto window = AXHelpers::nearestWindow(scope, *focusedElement, AXHelpers::kWindowAncestorLimit)) {
    appendOwnedWindow(*window, sources);
  }
}

void WindowSources::appendOwnedWindow(const AXUIElement& window, std::vector<WindowSource>& sources) {
  const auto owner = accessibility.processIdentifier(window);
  if (!owner || *owner == ownProcessIdentifier) return;
  if (std::find(processes.begin(), processes.end(), *owner) == processes.end()) processes.push_back(*owner);
  sources.push_back(sourceFor(window, *owner, workspace.runningApplication(*owner)));
}

std::vector<WindowSource> WindowSources::unique(std::vector<WindowSource> sources) {
  std::erase_if(sources, [&](const WindowSource& source) { return !givenWindows.insert(source.window).second; });
  return sources;
}

std::string WindowSources::windowSignature(const WindowSource& source) const {
  const auto frame = AXHelpers::frame(scope, source.window).value_or(Rect{});
  return std::to_string(source.processIdentifier) + "|" + AXHelpers::role(scope, source.window) + "|" +
         AXHelpers::stringAttribute(scope, source.window, ax::kTitle).value_or("") + "|" +
         DialogFrame::of(frame).identity();
}

std::vector<WindowSource> WindowSources::withoutRepeatedSignatures(std::vector<WindowSource> sources) const {
  std::unordered_set<std::string> signatures;
  std::erase_if(sources, [&](const auto& source) { return !signatures.insert(windowSignature(source)).second; });
  return sources;
}

std::vector<std::int32_t> WindowSources::unreadProcesses() const {
  std::vector<std::int32_t> unread;
  for (const auto process : processes) {
    const bool isUnread =
        refusingProcesses.contains(process) || scope.missedTimeout(accessibility.createApplication(process));
    if (isUnread) unread.push_back(process);
  }
  return unread;
}

}  // namespace quillard
