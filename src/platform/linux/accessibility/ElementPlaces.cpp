#include "platform/linux/accessibility/ElementPlaces.h"

#include <algorithm>

#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {
namespace {

constexpr int kHitTestLimit = 500;

bool contains(const Rect& rect, Point point) {
  return point.x >= rect.x && point.y >= rect.y && point.x < rect.x + rect.width && point.y < rect.y + rect.height;
}

}  // namespace

std::optional<Rect> frameOf(DesktopReading& reading, Node& node) {
  if (node.isTopLevel()) return mapping::windowFrame(node.record, reading.desktopWindow(node));
  reading.fetch({{.node = &node, .more = {.extents = true}}});
  const Toolkit toolkit = node.program->toolkit;
  const auto& known = reading.desktopWindows().windows;
  const bool hasWaylandClients =
      std::any_of(known.begin(), known.end(), [](const desktop::Window& window) { return window.hasRelativePlaces; });
  // The others say themselves where they are.
  const bool isRelative = toolkit == Toolkit::gtk4 || hasWaylandClients;
  const auto& record = (node.window ? *node.window : node).record;
  return mapping::frameOf(node.record, record, toolkit, isRelative ? reading.desktopWindow(node) : nullptr);
}

Node& deepestAt(DesktopReading& reading, Node& window, Point point) {
  reading.fetch({{.node = &window, .descendants = kHitTestLimit, .more = {.extents = true}}});
  Node* best = &window;
  double bestArea = 0;
  for (Node* node : walkOffered(window, kHitTestLimit)) {
    const auto rect = frameOf(reading, *node);
    if (!rect || !contains(*rect, point)) continue;
    const double area = rect->width * rect->height;
    const bool isDeeper = best == &window || node->depth > best->depth;
    if (isDeeper || (node->depth == best->depth && area < bestArea)) {
      best = node;
      bestArea = area;
    }
  }
  return *best;
}

}  // namespace quillard::atspi
