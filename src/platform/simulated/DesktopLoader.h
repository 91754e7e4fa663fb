#pragma once

#include <map>
#include <string>

#include "platform/simulated/DesktopHandles.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "recording/RecordedDesktop.h"

namespace quillard::platform::simulated {

// Where recorded elements stand now. Applications' own elements are not among them.
using LoadedNodes = std::map<recording::ElementId, NodeHandle, std::less<>>;

// Plays a recording back: adds its applications, elements, focus and window list to the desktop, which should have no
// processes of the same numbers. Every recorded request is answered as it was; what the desktop would answer itself
// from its windows and its focus is left to it, so that loaded prompts can be pressed and close as others do.
//
// Not played back: an application that is active without being in front, or in front although hidden; actions of an
// application's own element; what an application that had ended answered. An application that missed its time-out
// hangs.
LoadedNodes loadDesktop(const recording::RecordedDesktop& recorded, SimulatedDesktop& desktop);

}  // namespace quillard::platform::simulated
