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
                                                                platform::AXAttribute name);
  [[nodiscard]] platform::AXResult<std::vector<std::string>> actionNames(const platform::AXUIElement& element);

  // Its role; an error when it is no living element.
  [[nodiscard]] platform::AXResult<platform::AXValue> role(Node& node);

 private:
  using Value = platform::AXResult<platform::AXValue>;
  using Attribute = platform::AXKnownAttribute;

  // One switch for each kind of element: a new attribute does not compile before each has its answer.
  [[nodiscard]] Value ofDesktop(Attribute attribute);
  [[nodiscard]] Value ofApplication(std::int32_t processIdentifier, Attribute attribute);
  [[nodiscard]] Value ofNode(Node& node, Attribute attribute);
  // Absent: it is an element that can be asked.
  [[nodiscard]] std::optional<platform::AXError> whyNotAsked(Node& node);
  [[nodiscard]] Value applicationTitle(ProgramNode& program);
  [[nodiscard]] Value description(Node& node);
  [[nodiscard]] Value windowSubrole(Node& window);
  [[nodiscard]] Value innerSubrole(Node& node);
  [[nodiscard]] Value isModal(Node& window);
  [[nodiscard]] Value roleDescription(Node& window);
  [[nodiscard]] Value isMinimized(Node& window);
  [[nodiscard]] Value isActive(Node& window);
  [[nodiscard]] Value isFrontmost(std::int32_t processIdentifier);
  [[nodiscard]] Value position(Node& node);
  [[nodiscard]] Value size(Node& node);
  [[nodiscard]] Value children(Node& node);
  [[nodiscard]] Value windowList(std::int32_t processIdentifier);
  [[nodiscard]] Value parent(Node& node);
  [[nodiscard]] Value title(Node& node);
  [[nodiscard]] Value valueOf(Node& node);
  [[nodiscard]] Value defaultButton(Node& window);
  [[nodiscard]] Value focusedElement(Node* window);
  [[nodiscard]] Value elementOrNone(Node* node);

  DesktopReading& reading;
};

}  // namespace quillard::atspi
