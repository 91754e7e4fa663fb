#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/desktop/Workspace.h"
#include "platform/linux/processes/AgentProcesses.h"
#include "platform/linux/processes/RunningPrograms.h"
#include "platform/linux/system/DesktopOpener.h"
#include "platform/linux/windows/AccessibleProcesses.h"
#include "platform/linux/windows/ApplicationInfo.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/windows/Listeners.h"

namespace quillard::desktop {

// The applications of this user: processes that own a window of the desktop or are on the accessibility bus, and the
// agents of this program (see AgentProcesses). Processes of other users are none, whatever windows they show.
//
// What an application is on this system:
//   - The bundle identifier is the id of its desktop entry, else the path of its program; see `identify`. It is steady,
//     but it is what the program says of itself: another program of the same user can claim any.
//   - The activation policy follows from its windows; see `applicationInfos`. An agent without a window, and not on
//     the bus, is `prohibited`: it is found by its identifier, and not searched for prompts.
//   - Active is the owner of the active window; where the desktop does not tell, none is. Frontmost is, there, the
//     program that says so itself.
//   - Hidden means that all of its windows are minimised.
//   - It terminates when it ends, or gives up its last window without being on the bus. Agents without windows come and
//     go unnoticed.
//
// Answers about applications may be 20 ms old. An application that such an answer does not have is looked for anew,
// since one that has just shown its window would otherwise have no name.
class LinuxWorkspace final : public platform::Workspace {
 public:
  // Where the answers come from. All of them outlive the workspace.
  struct Sources {
    DesktopWindows& windows;
    WindowChanges& changes;
    AccessibleProcesses& accessible;
    const proc::ProcessTable& processes;
    proc::RunningPrograms& programs;
    DesktopOpener& opener;
    // Who is in front as programs say it, for desktops that do not know all windows. Does not wait. Absent: not known.
    std::function<std::optional<std::int32_t>()> activeProcess{};
  };
  // Made and destroyed on the main thread.
  explicit LinuxWorkspace(const Sources& sources);

  // By process number.
  [[nodiscard]] std::vector<platform::RunningApplication> runningApplications() override;
  [[nodiscard]] std::optional<platform::RunningApplication> frontmostApplication() override;
  [[nodiscard]] std::optional<platform::RunningApplication> runningApplication(std::int32_t processIdentifier) override;

  // Asks the window manager for each window that is shown on the present desktop, the topmost last; when there is none,
  // for the topmost window elsewhere, minimised ones included. False without a window or a window manager.
  bool activate(std::int32_t processIdentifier) override;
  // Asks for each minimised window, which also brings it to the front. True when none is minimised.
  bool unhide(std::int32_t processIdentifier) override;
  // Asks each window to close, as its own close button does. A program without windows, and any agent of this program,
  // whose windows are not its life, is sent SIGTERM.
  bool terminate(std::int32_t processIdentifier) override;

  bool openURL(std::string_view url) override { return sources.opener.openURL(url); }
  bool openFolder(std::string_view path) override { return sources.opener.openFolder(path); }

  [[nodiscard]] platform::SubscriptionHandle observe(
      std::function<void(const platform::WorkspaceEvent&)> onEvent) override;

 private:
  struct Reading {
    WindowsSnapshot snapshot;
    std::vector<ApplicationInfo> infos;
    std::chrono::steady_clock::time_point moment;
  };

  [[nodiscard]] Reading recentReading();
  [[nodiscard]] Reading newReading();
  void forgetReading();
  [[nodiscard]] Reading read(WindowsSnapshot snapshot);
  // Absent when the process is another user's or has gone.
  [[nodiscard]] std::optional<platform::RunningApplication> application(const ApplicationInfo& info);
  [[nodiscard]] std::vector<platform::RunningApplication> applications(const Reading& reading);
  // What the reading has of a process; absent when it has no application of it.
  [[nodiscard]] static std::optional<ApplicationInfo> infoOf(std::int32_t processIdentifier, const Reading& reading);
  [[nodiscard]] std::vector<Window> windowsOf(std::int32_t processIdentifier, const Reading& reading);
  void desktopChanged(const WindowsSnapshot& snapshot);
  void noteKnownFromWindows(const WorkspaceState& state);
  // Adds those that run still: while no windows are known, they cannot be said to have ended.
  void keepKnownFromWindows(WorkspaceState& state);

  const Sources sources;
  const proc::AgentProcesses agents;
  Mutex mutex;
  std::optional<Reading> lastReading QUILLARD_GUARDED_BY(mutex);
  WorkspaceState reported;                  // Main thread only, like all below.
  std::set<std::int32_t> knownFromWindows;  // Of those: which are not on the accessibility bus.
  Listeners<platform::WorkspaceEvent> listeners;
  platform::SubscriptionHandle windowSubscription;
  platform::SubscriptionHandle accessibleSubscription;
};

}  // namespace quillard::desktop
