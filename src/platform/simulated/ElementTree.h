#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopHandles.h"
#include "platform/simulated/DesktopSpecs.h"
#include "values/Geometry.h"

namespace quillard::platform::simulated {

// What attributes answer, where a test has set them.
using AttributeMap = std::map<std::string, AXResult<AXValue>, std::less<>>;

struct ElementNode {
  std::int32_t processIdentifier = 0;
  std::optional<NodeHandle> parent{};  // Absent: a window, or something that stands alone.
  std::vector<NodeHandle> children{};
  AttributeMap attributes{};
  std::vector<std::string> actions{};
  std::optional<AXError> actionsError{};  // What asking for the names of the actions answers instead.
  std::map<std::string, PressEffect, std::less<>> effects{};  // By action.
};

// The elements of all applications, and how they contain one another. Knows no focus, no stacking and no cost.
class ElementTree {
 public:
  // The new element is the last child.
  NodeHandle add(std::int32_t processIdentifier, std::optional<NodeHandle> parent, const ElementSpec& spec);
  // With everything below it.
  void remove(NodeHandle handle);
  void removeAllOf(std::int32_t processIdentifier);
  // A handle that names no element: for things in the window list that have none.
  [[nodiscard]] NodeHandle makeHandle() { return NodeHandle{++handlesMade}; }

  // Null when there is no such element, or no more.
  [[nodiscard]] const ElementNode* find(NodeHandle handle) const;
  [[nodiscard]] ElementNode* find(NodeHandle handle);

  // The process that the element belongs to, or did. Absent when there never was such an element.
  [[nodiscard]] std::optional<std::int32_t> ownerOf(NodeHandle handle) const;

  // Empty when the attribute is no text, or the element is gone.
  [[nodiscard]] std::string text(NodeHandle handle, std::string_view attribute) const;
  [[nodiscard]] bool isTrue(NodeHandle handle, std::string_view attribute) const;
  // Absent unless both AXPosition and AXSize are there.
  [[nodiscard]] std::optional<Rect> frame(NodeHandle handle) const;
  // The title, or else the description.
  [[nodiscard]] std::string label(NodeHandle handle) const;

  // The topmost of the node and its ancestors; absent when it is gone.
  [[nodiscard]] std::optional<NodeHandle> rootOf(NodeHandle handle) const;
  [[nodiscard]] std::optional<NodeHandle> promptOf(NodeHandle handle) const;
  // Whether `handle` is `ancestor` or below it.
  [[nodiscard]] bool isWithin(NodeHandle handle, NodeHandle ancestor) const;
  // Of `handle` and everything below it, in reading order.
  [[nodiscard]] std::optional<NodeHandle> findButton(NodeHandle handle, std::string_view label) const;
  // The deepest element at or below `handle` that contains the point; of siblings that overlap, the last.
  [[nodiscard]] std::optional<NodeHandle> deepestAt(NodeHandle handle, Point point) const;

 private:
  [[nodiscard]] const AXValue* value(NodeHandle handle, std::string_view attribute) const;

  std::map<NodeHandle, ElementNode> nodes;
  std::map<NodeHandle, std::int32_t> owners;  // Of all there ever were.
  std::uint64_t handlesMade = 0;
};

[[nodiscard]] bool contains(const Rect& frame, Point point);

}  // namespace quillard::platform::simulated
