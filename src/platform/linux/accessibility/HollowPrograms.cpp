#include "platform/linux/accessibility/HollowPrograms.h"

#include <algorithm>

namespace quillard::atspi {
namespace {

// A window that holds something shows it among so many of its objects.
constexpr int kEnough = 24;

// What only holds other things, and says nothing itself.
bool isBox(Role role) {
  switch (role) {
    case Role::filler:
    case Role::frame:
    case Role::panel:
    case Role::scrollPane:
    case Role::unknown:
      return true;
    default:
      return false;
  }
}

bool isKnownBox(const Node& node) { return !node.hasUnreadableList && !node.hasRefused && isBox(node.record.role); }

bool isHollow(const Node& window) {
  if (window.hasUnreadableList || window.hasRefused) return false;
  // One that refuses to say whether it shows is not offered, and may be what was looked for.
  const bool isOneUnknown =
      std::any_of(window.list.begin(), window.list.end(), [](const Node* node) { return node->hasRefused; });
  const auto inside = walkOffered(window, kEnough);
  const bool isCut = inside.size() >= static_cast<std::size_t>(kEnough);
  return !isOneUnknown && !isCut &&
         std::all_of(inside.begin(), inside.end(), [](const Node* node) { return isKnownBox(*node); });
}

}  // namespace

HollowPrograms hollowProgramsOf(DesktopReading& reading) {
  const auto processes = reading.processIdentifiers();
  reading.prepare(processes, kEnough);
  HollowPrograms found;
  for (const auto process : processes) {
    const auto& windows = reading.windows(process).present;
    const bool allAreHollow =
        std::all_of(windows.begin(), windows.end(), [](const Node* window) { return isHollow(*window); });
    if (reading.hasMissedTimeout(process)) {
      found.silent.push_back(process);
    } else if (!windows.empty() && allAreHollow) {
      found.hollow.push_back(process);
    }
  }
  return found;
}

}  // namespace quillard::atspi
