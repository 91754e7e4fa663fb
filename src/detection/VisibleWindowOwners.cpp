#include "detection/VisibleWindowOwners.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

#include "detection/KnownPromptService.h"
#include "foundation/Numbers.h"

namespace quillard::VisibleWindowOwners {

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WindowList;
using platform::WindowListEntry;
using platform::WindowListOptions;
using platform::Workspace;

namespace {

constexpr double kInvisibleAlpha = 0.01;
constexpr double kSmallestWidth = 80;
constexpr double kSmallestHeight = 40;

std::vector<WindowListEntry> visibleEntries(WindowList& windowList, WindowListOptions options) {
  auto entries = windowList.copyWindowInfo(options);
  std::erase_if(entries, [](const WindowListEntry& entry) { return !isVisible(entry); });
  return entries;
}

std::string signature(const WindowListEntry& entry) {
  const auto number = [](double value) { return std::to_string(truncatedToInteger(value)); };
  std::string text = entry.ownerProcessIdentifier ? std::to_string(*entry.ownerProcessIdentifier) : "";
  text += "|" + entry.ownerName.value_or("") + "|" + entry.windowName.value_or("") + "|";
  if (entry.layer) text += std::to_string(*entry.layer);
  const auto& bounds = *entry.bounds;
  return text + "|" + number(bounds.x) + "," + number(bounds.y) + "," + number(bounds.width) + "," +
         number(bounds.height);
}

// Keeps the applications that satisfy `matches` and have not ended.
template <class Matches>
std::vector<RunningApplication> living(std::vector<RunningApplication> applications, Matches matches) {
  std::erase_if(applications, [&](const RunningApplication& application) {
    return application.isTerminated || !matches(application);
  });
  return applications;
}

bool hasWindows(const RunningApplication& application) {
  return application.activationPolicy == ActivationPolicy::regular ||
         application.activationPolicy == ActivationPolicy::accessory;
}

bool isPromptService(const RunningApplication& application) {
  return isKnownPromptService(application.bundleIdentifier, application.localizedName.value_or(""));
}

// Collects applications, each process once, in the order in which they first came.
class Candidates {
 public:
  void add(const RunningApplication& application) {
    if (known.insert(application.processIdentifier).second) list.push_back(application);
  }
  void add(const std::vector<RunningApplication>& applications) {
    for (const auto& application : applications) add(application);
  }
  [[nodiscard]] std::vector<RunningApplication> take() && { return std::move(list); }

 private:
  std::unordered_set<std::int32_t> known;
  std::vector<RunningApplication> list;
};

}  // namespace

bool isVisible(const WindowListEntry& entry) {
  if (entry.alpha && !(*entry.alpha > kInvisibleAlpha)) return false;
  if (entry.layer && *entry.layer < 0) return false;
  return entry.bounds && entry.bounds->width >= kSmallestWidth && entry.bounds->height >= kSmallestHeight;
}

std::set<std::string> visibleWindowSignatures(WindowList& windowList) {
  std::set<std::string> signatures;
  for (const auto& entry : visibleEntries(windowList, WindowListOptions::onScreenOnly)) {
    signatures.insert(signature(entry));
  }
  return signatures;
}

std::vector<std::int32_t> processIdentifiers(WindowList& windowList, bool includeAllSpaces) {
  std::vector<std::int32_t> owners;
  const auto options = includeAllSpaces ? WindowListOptions::all : WindowListOptions::onScreenOnly;
  for (const auto& entry : visibleEntries(windowList, options)) {
    if (entry.ownerProcessIdentifier.value_or(0) >= 1) owners.push_back(*entry.ownerProcessIdentifier);
  }
  return owners;
}

std::vector<RunningApplication> visibleRunningApplications(Workspace& workspace, WindowList& windowList) {
  Candidates candidates;
  std::unordered_set<std::int32_t> asked;
  for (const auto owner : processIdentifiers(windowList, /*includeAllSpaces=*/false)) {
    if (!asked.insert(owner).second) continue;
    if (const auto application = workspace.runningApplication(owner)) candidates.add(*application);
  }
  return std::move(candidates).take();
}

std::vector<RunningApplication> backgroundGUIApplications(Workspace& workspace) {
  return living(workspace.runningApplications(), hasWindows);
}

std::vector<RunningApplication> knownPromptServiceApplications(Workspace& workspace) {
  return living(workspace.runningApplications(), isPromptService);
}

std::vector<RunningApplication> promptScanApplications(Workspace& workspace, WindowList& windowList) {
  const auto running = workspace.runningApplications();
  Candidates candidates;
  if (const auto frontmost = workspace.frontmostApplication()) candidates.add(*frontmost);
  for (const auto& application : running) {
    if (application.isActive) candidates.add(application);
  }
  candidates.add(visibleRunningApplications(workspace, windowList));
  candidates.add(living(running, hasWindows));
  candidates.add(living(running, isPromptService));
  return std::move(candidates).take();
}

}  // namespace quillard::VisibleWindowOwners
