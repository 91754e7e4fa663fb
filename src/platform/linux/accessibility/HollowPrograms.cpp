#include "platform/linux/accessibility/HollowPrograms.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

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

bool isUnclear(const Node& node) { return node.hasUnreadableList || node.hasRefused; }

// Null: it cannot be told. One that refuses to say whether it shows is not offered, and may be what was looked for.
std::optional<bool> holdsSomething(const Node& window) {
  if (isUnclear(window)) return std::nullopt;
  if (std::any_of(window.list.begin(), window.list.end(), [](const Node* node) { return node->hasRefused; })) {
    return std::nullopt;
  }
  const auto inside = walkOffered(window, kEnough);
  const bool isCut = inside.size() >= static_cast<std::size_t>(kEnough);
  const bool isMoreThanBoxes = std::any_of(
      inside.begin(), inside.end(), [](const Node* node) { return !node->hasRefused && !isBox(node->record.role); });
  if (isCut || isMoreThanBoxes) return true;
  if (std::any_of(inside.begin(), inside.end(), [](const Node* node) { return isUnclear(*node); })) return std::nullopt;
  return false;
}

bool wasFilled(const Node& window) {
  const auto& filled = window.program->filledWindows;
  return std::find(filled.begin(), filled.end(), window.name.path) != filled.end();
}

bool isHollow(const Node& window) { return !wasFilled(window) && holdsSomething(window) == false; }

// Of windows that have been looked into, or were found filled before.
void rememberFilled(const std::vector<Node*>& windows) {
  std::unordered_map<ProgramNode*, std::vector<std::string>> filled;
  for (const Node* window : windows) {
    auto& ofProgram = filled[window->program];
    if (wasFilled(*window) || holdsSomething(*window) == true) ofProgram.push_back(window->name.path);
  }
  for (auto& [program, paths] : filled) program->filledWindows = std::move(paths);
}

// Those none of whose windows is known to hold something.
std::vector<std::int32_t> notKnownFilled(DesktopReading& reading, const std::vector<std::int32_t>& processes) {
  std::vector<std::int32_t> left;
  for (const auto process : processes) {
    const auto& windows = reading.windows(process).present;
    if (std::none_of(windows.begin(), windows.end(), [](const Node* window) { return wasFilled(*window); })) {
      left.push_back(process);
    }
  }
  return left;
}

}  // namespace

HollowPrograms hollowProgramsOf(DesktopReading& reading) {
  const auto processes = reading.processIdentifiers();
  reading.prepare(processes, 0);
  reading.prepare(notKnownFilled(reading, processes), kEnough);
  HollowPrograms found;
  for (const auto process : processes) {
    const auto& windows = reading.windows(process).present;
    const bool allAreHollow =
        std::all_of(windows.begin(), windows.end(), [](const Node* window) { return isHollow(*window); });
    if (reading.hasMissedTimeout(process)) {
      found.silent.push_back(process);
      continue;
    }
    if (!windows.empty() && allAreHollow) found.hollow.push_back(process);
    rememberFilled(windows);
  }
  return found;
}

}  // namespace quillard::atspi
