#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Subscription.h"

namespace quillard::platform {

// How an application takes part in the desktop. `regular`: has windows and a place among the running applications.
// `accessory`: may have windows, but no such place. `prohibited`: has neither.
enum class ActivationPolicy { regular, accessory, prohibited };

// A running application as it was when asked.
struct RunningApplication {
  std::int32_t processIdentifier = 0;
  std::optional<std::string> localizedName;     // Absent when the system knows none.
  std::optional<std::string> bundleIdentifier;  // What tells this program from others, on systems without bundles too.
  ActivationPolicy activationPolicy = ActivationPolicy::regular;
  bool isActive = false;
  bool isHidden = false;
  bool isTerminated = false;
  bool operator==(const RunningApplication&) const = default;
};

enum class WorkspaceEventKind {
  didLaunchApplication,
  didTerminateApplication,
  didActivateApplication,
  didHideApplication,
  didUnhideApplication,
  activeSpaceDidChange,
};

struct WorkspaceEvent {
  WorkspaceEventKind kind = WorkspaceEventKind::didLaunchApplication;
  std::optional<RunningApplication> application;  // Absent for a change of the active space.
};

// The applications of this user's session. Any thread. Queries ask the system or a copy that it keeps up to date, never
// the applications themselves.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // In an order that stays the same while nothing changes.
  [[nodiscard]] virtual std::vector<RunningApplication> runningApplications() = 0;
  // Absent when no application is in front.
  [[nodiscard]] virtual std::optional<RunningApplication> frontmostApplication() = 0;
  // Absent when no such process is an application of this session.
  [[nodiscard]] virtual std::optional<RunningApplication> runningApplication(std::int32_t processIdentifier) = 0;

  // Brings the application and all of its windows to the front, in place of whatever is active. False when it could not
  // be asked. Asks only; look again to see what came of it.
  virtual bool activate(std::int32_t processIdentifier) = 0;
  virtual bool unhide(std::int32_t processIdentifier) = 0;
  // Asks the application to quit, as its own Quit does: it may save, or refuse.
  virtual bool terminate(std::int32_t processIdentifier) = 0;

  // Opens a web address, a settings page or a file address with whatever the user chose for it. False when the text is
  // no address or nothing opens it.
  virtual bool openURL(std::string_view url) = 0;
  // Shows the folder in the file browser. `path` is absolute.
  virtual bool openFolder(std::string_view path) = 0;

  // Events are delivered on the main thread, in the order in which they happened.
  [[nodiscard]] virtual SubscriptionHandle observe(std::function<void(const WorkspaceEvent&)> onEvent) = 0;
};

}  // namespace quillard::platform
