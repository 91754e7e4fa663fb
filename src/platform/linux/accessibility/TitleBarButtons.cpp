#include "platform/linux/accessibility/TitleBarButtons.h"

#include <algorithm>
#include <cstddef>

namespace quillard::atspi {
namespace {

constexpr Role kSeparator{50};  // Asked for here only.
constexpr std::size_t kMostInTitleBar = 8;
constexpr int kPanelsAboveGtk4 = 5;  // Window controls, end of the bar, bar, and two around it.

const std::vector<Node*>& childrenOf(DesktopReading& reading, Node& node) {
  reading.fetch({{.node = &node, .descendants = static_cast<int>(kMostInTitleBar) + 1, .levels = 1}});
  return node.list;
}

// With what it is, which only a walk from above has read before. Null: it says none.
Node* parentOf(DesktopReading& reading, Node& node) {
  Node* const parent = reading.parent(node);
  if (parent && parent->attributes == Progress::notAsked) reading.fetch({{.node = parent}});
  return parent;
}

bool isHiddenSeparator(const Node* node) { return node->record.role == kSeparator && !node->record.is(State::showing); }

// Window, panel, box of these buttons behind a separator that the theme hides.
bool isOfGtk3(DesktopReading& reading, Node& button) {
  Node* const box = parentOf(reading, button);
  Node* const bar = box && box->record.role == Role::filler ? parentOf(reading, *box) : nullptr;
  Node* const window = bar && bar->record.role == Role::panel ? reading.parent(*bar) : nullptr;
  if (!window || !window->isTopLevel()) return false;
  const auto& inBox = childrenOf(reading, *box);
  const auto isButton = [](const Node* node) { return node->record.role == Role::pushButton; };
  return inBox.size() <= kMostInTitleBar && std::any_of(inBox.begin(), inBox.end(), isHiddenSeparator) &&
         std::all_of(inBox.begin(), inBox.end(),
                     [&](const Node* node) { return isButton(node) || isHiddenSeparator(node); });
}

// Window, and five panels one in the other. It shows a picture, where others hold their label.
bool isOfGtk4(DesktopReading& reading, Node& button) {
  if (!childrenOf(reading, button).empty()) return false;
  Node* above = parentOf(reading, button);
  for (int i = 0; i < kPanelsAboveGtk4; ++i) {
    if (!above || above->record.role != Role::panel) return false;
    above = parentOf(reading, *above);
  }
  return above && above->isTopLevel();
}

}  // namespace

bool isTitleBarButton(DesktopReading& reading, Node& button) {
  switch (button.program->toolkit) {
    case Toolkit::gtk3:
      return isOfGtk3(reading, button);
    case Toolkit::gtk4:
      return isOfGtk4(reading, button);
    case Toolkit::qt:
    case Toolkit::shell:
    case Toolkit::other:
      break;
  }
  return false;
}

// Window, and in it the title bar, which holds nothing else, above the content.
std::string messageTitle(DesktopReading& reading, Node& window) {
  const auto& parts = childrenOf(reading, window);
  if (parts.size() != 2 || parts.front()->record.role != Role::filler) return "";
  const auto& inBar = childrenOf(reading, *parts.front());
  const bool isTitle = inBar.size() == 1 && inBar.front()->record.role == Role::label;
  return isTitle ? inBar.front()->record.name.value_or("") : "";
}

}  // namespace quillard::atspi
