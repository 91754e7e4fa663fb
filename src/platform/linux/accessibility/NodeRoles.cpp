#include "platform/linux/accessibility/NodeRoles.h"

#include <algorithm>

#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {

namespace ax = platform::ax;

namespace {

// A dialog inside a window shows its buttons early, or is none.
constexpr int kInnerDialogLimit = 80;

// Qt Quick calls the row of buttons below a dialog a list of tabs, and Plasma's notifications put their name and their
// own buttons into a tool bar: neither leads around in a window.
bool isBoxOfButtons(DesktopReading& reading, Node& node) {
  if (node.program->toolkit != Toolkit::qt) return false;
  const auto readChildren = [&](Node& parent) {
    reading.fetch({{.node = &parent, .descendants = static_cast<int>(kLongList), .levels = 1}});
  };
  const auto has = [](Role role) { return [role](const Node* child) { return child->record.role == role; }; };
  if (node.record.role == Role::pageTabList) {
    readChildren(node);
    const bool isWhole = !node.hasUnreadableList && !node.list.empty() && node.list.size() < kLongList;
    return isWhole && std::all_of(node.list.begin(), node.list.end(), has(Role::pushButton));
  }
  if (node.record.role != Role::toolBar) return false;
  Node* const parent = reading.parent(node);
  if (!parent || !parent->isTopLevel()) return false;
  readChildren(*parent);
  return std::any_of(parent->list.begin(), parent->list.end(), has(Role::notification));
}

// A dialog that a program keeps inside its window. One without a button asks nothing: programs keep such empty shells
// beside the real one, and call passing remarks alerts.
bool isDialogInside(DesktopReading& reading, Node& node) {
  if (node.isTopLevel() || !mapping::isDialogRole(node.record.role)) return false;
  reading.fetch({{.node = &node, .descendants = kInnerDialogLimit}});
  const auto inside = walkOffered(node, kInnerDialogLimit);
  return std::any_of(inside.begin(), inside.end(),
                     [](const Node* inner) { return inner->record.role == Role::pushButton; });
}

}  // namespace

std::string_view roleOf(DesktopReading& reading, Node& node) {
  if (node.isTopLevel()) {
    const bool isSheet = reading.windows(node.program->processIdentifier).sheetParent(node) != nullptr;
    return isSheet ? ax::kSheetRole : ax::kWindowRole;
  }
  if (isDialogInside(reading, node)) return ax::kSheetRole;
  if (mapping::isSecret(node.record, node.program->toolkit)) return ax::kTextFieldRole;
  if (isBoxOfButtons(reading, node)) return ax::kGroupRole;
  if (descriptionAsText(reading, node)) return ax::kStaticTextRole;
  const bool dependsOnChildren = mapping::roleOf(node.record, true) != mapping::roleOf(node.record, false);
  if (dependsOnChildren) reading.fetch({{.node = &node, .descendants = 1, .levels = 1}});
  return mapping::roleOf(node.record, !node.list.empty());
}

// What a notification of Plasma says, beside its title.
std::optional<std::string> descriptionAsText(DesktopReading& reading, Node& node) {
  if (node.record.role != Role::notification || node.program->toolkit != Toolkit::qt) return std::nullopt;
  if (!isNotificationOfPlasma(node, reading.parent(node))) return std::nullopt;
  reading.fetch({{.node = &node, .more = {.description = true}}});
  const auto& description = node.record.description;
  return description && !description->empty() ? description : std::nullopt;
}

bool isWindowLike(DesktopReading& reading, Node& node) { return node.isTopLevel() || isDialogInside(reading, node); }

}  // namespace quillard::atspi
