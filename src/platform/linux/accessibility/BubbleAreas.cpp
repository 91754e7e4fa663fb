#include "platform/linux/accessibility/BubbleAreas.h"

#include <algorithm>

namespace quillard::atspi::bubbles {
namespace {

constexpr const char* kProgram = "lxqt-notificationd";

// The window holds what scrolls, that the column, and that the notifications.
constexpr int kLevels = 3;
constexpr int kMostNodes = 400;

bool isBox(const Node& node) { return node.record.role == Role::filler; }

bool isRead(const Node& node) {
  return node.attributes == Progress::known && !node.hasRefused && !node.hasUnreadableList;
}

// Null: there are others, or none.
Node* onlyBox(const Node& node) {
  const auto inner = offeredChildren(node);
  return inner.size() == 1 && isBox(*inner.front()) ? inner.front() : nullptr;
}

}  // namespace

bool mayBeArea(const Node& window) {
  return window.program->toolkit == Toolkit::qt && isBox(window) && window.record.name.value_or("").empty();
}

std::vector<FetchGoal> areaGoals(Node& window) {
  return {{.node = window.program->root, .isRootItself = true},
          {.node = &window, .descendants = kMostNodes, .levels = kLevels}};
}

std::optional<Area> areaOf(Node& window) {
  if (window.program->root->record.name != kProgram) return std::nullopt;
  const Node* const content = onlyBox(window);
  const Node* const column = content ? onlyBox(*content) : nullptr;
  if (!column) return std::nullopt;
  Area area{.bubbles = offeredChildren(*column)};
  const bool areBubbles =
      std::all_of(area.bubbles.begin(), area.bubbles.end(), [](Node* node) { return isBox(*node); });
  if (area.bubbles.empty() || !areBubbles) return std::nullopt;
  const auto& listed = column->list;
  area.isWhole = isRead(window) && isRead(*content) && isRead(*column) && listed.size() < kLongList &&
                 std::all_of(listed.begin(), listed.end(), [](const Node* node) { return isRead(*node); });
  for (Node* bubble : area.bubbles) becomeWindow(*bubble);
  return area;
}

}  // namespace quillard::atspi::bubbles
