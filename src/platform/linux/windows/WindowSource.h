#pragma once

#include <memory>
#include <string>

#include "platform/linux/accessibility/WindowEvents.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/process/Environment.h"
#include "platform/process/Executors.h"

namespace quillard::desktop {

// Who is asked for the windows of this session.
enum class WindowSourceKind {
  xServer,       // Of a session of its own: it knows every window.
  guestXServer,  // Within a Wayland session whose compositor tells nothing: it knows those of X programs.
  kwin,
  sway,
};

// By the variables of the session alone, so that it stays the same for as long as the session lives.
[[nodiscard]] WindowSourceKind windowSourceKind(const platform::Environment& environment);
// Whether the session calls itself so, among others: XDG_CURRENT_DESKTOP.
[[nodiscard]] bool isDesktop(const platform::Environment& environment, const std::string& name);
[[nodiscard]] bool isXSession(const platform::Environment& environment);

// What programs are asked to announce themselves, since nothing else reports it: of a compositor that reports nothing,
// everything; of one that reports its windows, only what programs draw on layers of their own. The X server reports
// all.
[[nodiscard]] atspi::WindowEventKinds windowEventKinds(const platform::Environment& environment);

// What programs are asked to announce in addition while the source knows nothing: one that has not answered yet, or
// that has gone. Nothing where these are announced anyway, or where no source comes without the session.
[[nodiscard]] atspi::WindowEventKinds windowEventKindsWhileUnknown(const platform::Environment& environment);

// One source for the life of the process; `changes` reads `windows`.
struct WindowSource {
  std::shared_ptr<DesktopWindows> windows;
  std::shared_ptr<WindowChanges> changes;
};
// Both parameters outlive the source, which is made and destroyed on the main thread.
[[nodiscard]] WindowSource makeWindowSource(const platform::Environment& environment,
                                            platform::SerialExecutor& mainThread);

}  // namespace quillard::desktop
