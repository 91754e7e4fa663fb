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

bool isHollow(const Node& window) {
  const auto inside = walkOffered(window, kEnough);
  const bool isCut = inside.size() >= static_cast<std::size_t>(kEnough);
  return !isCut && std::all_of(inside.begin(), inside.end(), [](const Node* node) { return isBox(node->record.role); });
}

}  // namespace

std::vector<std::int32_t> hollowProcessesOf(DesktopReading& reading) {
  const auto processes = reading.processIdentifiers();
  reading.prepare(processes, kEnough);
  std::vector<std::int32_t> hollow;
  for (const auto process : processes) {
    const auto& windows = reading.windows(process).present;
    const bool isKnown = !reading.hasMissedTimeout(process) && !windows.empty();
    const bool allAreHollow =
        std::all_of(windows.begin(), windows.end(), [](const Node* window) { return isHollow(*window); });
    if (isKnown && allAreHollow) hollow.push_back(process);
  }
  return hollow;
}

}  // namespace quillard::atspi
