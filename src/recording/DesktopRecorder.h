#pragma once

#include <set>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "recording/RecordedDesktop.h"

namespace quillard::recording {

// What is beyond is left out, and the recording says so (`isCut`).
struct RecordingLimits {
  int elementsPerWindow = 2000;  // The window counts as one.
  int windowsPerApplication = 256;
  int depth = 100;  // Elements inside one another; a window is at depth one.
  // Only applications whose name holds it, in any letter case, as if no others were there. Empty: all.
  std::string program{};
};

// What a recording tells of the user. Texts of secure fields are never in it, masked or not.
struct RecordingPrivacy {
  // Every letter becomes x or X and every digit 0 in titles, values, descriptions and names of windows; white space,
  // punctuation and the number of characters stay, roles and the names of applications too.
  bool maskTexts = false;
  // Texts that are kept all the same, in the form of `text::normalized`: labels of buttons, for one. Never what stands
  // in a text field.
  std::set<std::string, std::less<>> knownTexts;
};

// Reads everything that can be read now, through one read scope. Waits for other processes: not for a thread that must
// stay responsive. An application that hangs is recorded as far as it answered. Never fails: where the interface may
// not be used, what is left is an application list without windows, and `failure` says so.
[[nodiscard]] RecordedDesktop recordDesktop(platform::Accessibility& accessibility, platform::Workspace& workspace,
                                            platform::WindowList& windowList, const RecordingLimits& limits = {},
                                            const RecordingPrivacy& privacy = {});

}  // namespace quillard::recording
