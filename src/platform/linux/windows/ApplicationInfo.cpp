#include "platform/linux/windows/ApplicationInfo.h"

#include <algorithm>
#include <map>
#include <optional>

namespace quillard::desktop {
namespace {

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;

ActivationPolicy policyOf(const Window& window) {
  switch (window.type) {
    case WindowType::dock:
    case WindowType::desktop:
    case WindowType::notification:
      return ActivationPolicy::prohibited;
    case WindowType::normal:
      return window.skipsTaskbar ? ActivationPolicy::accessory : ActivationPolicy::regular;
    default:
      return ActivationPolicy::accessory;
  }
}

struct Draft {
  std::optional<ActivationPolicy> policy;  // Of the window that is most of an application.
  bool isActive = false;
  bool hasShownWindow = false;
  std::optional<WindowID> classBearer;
  std::string windowClass;
};

void addWindow(const Window& window, bool isActive, Draft& draft) {
  draft.policy = std::min(draft.policy.value_or(ActivationPolicy::prohibited), policyOf(window));
  draft.isActive = draft.isActive || isActive;
  draft.hasShownWindow = draft.hasShownWindow || !window.isHidden;
  // A program's windows are numbered in the order in which it made them.
  if (!window.className.empty() && (!draft.classBearer || window.id < *draft.classBearer)) {
    draft.classBearer = window.id;
    draft.windowClass = window.className;
  }
}

const RunningApplication* find(const std::vector<RunningApplication>& applications, std::int32_t process) {
  const auto found = std::find_if(applications.begin(), applications.end(),
                                  [&](const auto& each) { return each.processIdentifier == process; });
  return found == applications.end() ? nullptr : &*found;
}

}  // namespace

// Policies are compared by how much of an application they make.
static_assert(ActivationPolicy::regular < ActivationPolicy::accessory &&
              ActivationPolicy::accessory < ActivationPolicy::prohibited);

std::vector<ApplicationInfo> applicationInfos(const WindowsSnapshot& snapshot,
                                              const std::vector<std::int32_t>& accessible) {
  std::map<std::int32_t, Draft> drafts;
  for (const auto& window : snapshot.windows) {
    if (!window.processIdentifier) continue;
    addWindow(window, snapshot.active == window.id, drafts[*window.processIdentifier]);
  }
  for (const auto process : accessible) {
    if (process >= 1) drafts.try_emplace(process);
  }
  std::vector<ApplicationInfo> infos;
  for (const auto& [process, draft] : drafts) {
    infos.push_back({.processIdentifier = process,
                     .activationPolicy = draft.policy.value_or(ActivationPolicy::accessory),
                     .isActive = draft.isActive,
                     .isHidden = draft.policy && !draft.hasShownWindow,
                     .windowClass = draft.windowClass});
  }
  return infos;
}

std::vector<WorkspaceEvent> eventsBetween(const WorkspaceState& before, const WorkspaceState& after) {
  std::vector<WorkspaceEvent> events;
  if (before.currentDesktop && after.currentDesktop && before.currentDesktop != after.currentDesktop) {
    events.push_back({.kind = WorkspaceEventKind::activeSpaceDidChange});
  }
  // Tells of every application that is as `happened` says, seen before and after; null when it was or is not there.
  const auto tell = [&](WorkspaceEventKind kind, auto happened) {
    for (const auto& now : after.applications) {
      if (happened(find(before.applications, now.processIdentifier), now)) events.push_back({kind, now});
    }
  };
  using Was = const RunningApplication*;
  using Is = const RunningApplication&;
  tell(WorkspaceEventKind::didLaunchApplication, [](Was was, Is) { return was == nullptr; });
  tell(WorkspaceEventKind::didUnhideApplication, [](Was was, Is is) { return was && was->isHidden && !is.isHidden; });
  tell(WorkspaceEventKind::didActivateApplication,
       [](Was was, Is is) { return is.isActive && !(was && was->isActive); });
  tell(WorkspaceEventKind::didHideApplication, [](Was was, Is is) { return was && !was->isHidden && is.isHidden; });
  for (auto gone : before.applications) {
    if (find(after.applications, gone.processIdentifier)) continue;
    gone.isActive = false;
    gone.isTerminated = true;
    events.push_back({WorkspaceEventKind::didTerminateApplication, std::move(gone)});
  }
  return events;
}

}  // namespace quillard::desktop
