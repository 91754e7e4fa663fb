#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

// Who has windows on the screen, from the window server's list alone: no application is asked. Any thread.
namespace quillard::VisibleWindowOwners {

// A window that a person could see: not transparent, not behind the ordinary windows, and of some size. What an entry
// does not say of its alpha or layer does not count against it; bounds it must have.
[[nodiscard]] bool isVisible(const platform::WindowListEntry& entry);

// One text per visible window on the screen: "owner|owner name|window name|layer|x,y,width,height". Two reads with
// equal sets have met the same windows in the same places.
[[nodiscard]] std::set<std::string> visibleWindowSignatures(platform::WindowList& windowList);

// The owners of visible windows, 1 and up, front to back, as often as they own one.
[[nodiscard]] std::vector<std::int32_t> processIdentifiers(platform::WindowList& windowList, bool includeAllSpaces);

// The owners of the windows on the screen, each once, front to back. Owners that are no applications are left out.
[[nodiscard]] std::vector<platform::RunningApplication> visibleRunningApplications(platform::Workspace& workspace,
                                                                                   platform::WindowList& windowList);
// Running applications that can have windows at all.
[[nodiscard]] std::vector<platform::RunningApplication> backgroundGUIApplications(platform::Workspace& workspace);
[[nodiscard]] std::vector<platform::RunningApplication> knownPromptServiceApplications(platform::Workspace& workspace);

// Every application that may show a prompt, each once: the frontmost, the active, the owners of visible windows, the
// others that can have windows, then the system's prompt services. Reads the window list once.
[[nodiscard]] std::vector<platform::RunningApplication> promptScanApplications(platform::Workspace& workspace,
                                                                               platform::WindowList& windowList);

}  // namespace quillard::VisibleWindowOwners
