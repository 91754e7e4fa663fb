#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// Answers questions about elements from a reading of the desktop.
class ElementAnswers {
 public:
  // Outlives this.
  explicit ElementAnswers(DesktopReading& reading) : reading(reading) {}

  [[nodiscard]] platform::AXResult<platform::AXValue> attribute(const platform::AXUIElement& element,
                                                                std::string_view name);
  [[nodiscard]] platform::AXResult<std::vector<std::string>> actionNames(const platform::AXUIElement& element);

  // Its role; an error when it is no living element.
  [[nodiscard]] platform::AXResult<platform::AXValue> role(Node& node) { return ofNode(node, platform::ax::kRole); }
  // The X window in which an element lies, or that it is. Absent: none is known.
  [[nodiscard]] const x11::Window* xWindow(Node& node);
  // Of the windows of the desktop, the active one. Null: none, or it is not on the bus.
  [[nodiscard]] Node* activeWindow();
  // The deepest element at `point` of the window, the window itself included.
  [[nodiscard]] Node& deepestAt(Node& window, Point point);
  // The number of the action that presses. Absent: it has none.
  [[nodiscard]] std::optional<std::int32_t> pressAction(const Node& node);
  // A window, a sheet, or a dialog inside a window.
  [[nodiscard]] bool isWindowLike(Node& node);

 private:
  using Value = platform::AXResult<platform::AXValue>;

  [[nodiscard]] Value ofDesktop(std::string_view name);
  [[nodiscard]] Value ofApplication(std::int32_t processIdentifier, std::string_view name);
  [[nodiscard]] Value ofNode(Node& node, std::string_view name);
  [[nodiscard]] Value ofWindow(Node& window, std::string_view name);
  [[nodiscard]] Value ofInner(Node& node, std::string_view name);
  [[nodiscard]] Value windowState(Node& window, std::string_view name);
  [[nodiscard]] Value place(Node& node, std::string_view name);
  [[nodiscard]] Value children(Node& node);
  [[nodiscard]] Value windowList(std::int32_t processIdentifier);
  [[nodiscard]] Value parent(Node& node);
  [[nodiscard]] Value title(Node& node);
  [[nodiscard]] Value valueOf(Node& node);
  [[nodiscard]] Value defaultButton(Node& window);
  [[nodiscard]] Value focusedElement(Node* window);
  [[nodiscard]] std::optional<Rect> frame(Node& node);
  [[nodiscard]] bool isDialogInside(Node& node);
  [[nodiscard]] std::string_view roleOf(Node& node);
  [[nodiscard]] Value elementOrNone(Node* node);

  DesktopReading& reading;
};

}  // namespace quillard::atspi
