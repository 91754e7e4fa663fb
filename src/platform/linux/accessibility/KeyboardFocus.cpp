#include "platform/linux/accessibility/KeyboardFocus.h"

#include <algorithm>
#include <vector>

#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {
namespace {

// As deep into a window as the agent ever looks for a button.
constexpr int kSearchLimit = 120;

const desktop::Window* activeDesktopWindow(DesktopReading& reading) {
  const auto& known = reading.desktopWindows();
  const auto active = std::find_if(known.windows.begin(), known.windows.end(),
                                   [&](const desktop::Window& window) { return window.id == known.active; });
  return active == known.windows.end() ? nullptr : &*active;
}

}  // namespace

std::optional<bool> hasKeyboard(DesktopReading& reading, Node& window) {
  const auto* const outer = reading.desktopWindow(window);
  if (outer) return reading.desktopWindows().active == outer->id;
  const auto* const front = activeDesktopWindow(reading);
  if (front && front->processIdentifier != window.program->processIdentifier) return false;
  const auto& record = (window.window ? *window.window : window).record;
  if (record.is(State::active)) return true;
  if (mapping::tellsActivity(record, window.program->toolkit)) return false;
  return std::nullopt;
}

Node* activeWindow(DesktopReading& reading) {
  if (const auto* const active = activeDesktopWindow(reading)) {
    if (!active->processIdentifier) return nullptr;
    const auto& owner = reading.windows(*active->processIdentifier);
    for (Node* window : owner.present) {
      if (owner.desktopWindow(window) == active) return window;
    }
    return nullptr;
  }
  // A desktop that knows every window, and names none, has none in front.
  if (reading.desktopWindows().coverage == desktop::WindowCoverage::all) return nullptr;
  reading.prepare(reading.processIdentifiers(), 0);
  for (const auto process : reading.processIdentifiers()) {
    for (Node* window : reading.windows(process).present) {
      if (hasKeyboard(reading, *window).value_or(false)) return window;
    }
  }
  return nullptr;
}

Node* focusedIn(DesktopReading& reading, Node& window) {
  reading.fetch({{.node = &window, .descendants = kSearchLimit}});
  Node* deepest = nullptr;  // Qt says of the containers, too, that they have it.
  for (Node* node : walkOffered(window, kSearchLimit)) {
    if (node->record.is(State::focused) && (!deepest || node->depth > deepest->depth)) deepest = node;
  }
  return deepest;
}

Node* defaultButtonOf(DesktopReading& reading, Node& window) {
  reading.fetch({{.node = &window, .descendants = kSearchLimit}});
  std::vector<Node*> marked;
  Node* focused = nullptr;
  for (Node* node : walkOffered(window, kSearchLimit)) {
    if (node->record.role != Role::pushButton) continue;
    if (node->record.is(State::isDefault)) marked.push_back(node);
    if (node->record.is(State::focused)) focused = node;
  }
  if (marked.size() == 1) return marked.front();
  // GTK 4 marks none; there, Return presses the one with the keyboard.
  return marked.empty() && window.program->toolkit == Toolkit::gtk4 ? focused : nullptr;
}

}  // namespace quillard::atspi
