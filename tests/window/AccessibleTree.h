#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "private-desktop/DesktopBus.h"

namespace quillard::test {

// One object as an assistive program sees it.
struct AccessibleObject {
  std::string service;
  std::string path;
};

// With what is showing on it: hidden objects are passed over as screen readers do.
struct AccessibleNode {
  AccessibleObject object;
  std::string role;
  std::string name;
  std::string description;
  std::vector<AccessibleNode> children;
};

// Reads programs through the accessibility bus as a screen reader does, and presses their buttons so.
class AccessibleTree {
 public:
  explicit AccessibleTree(const std::string& accessibilityBusAddress) : bus(accessibilityBusAddress) {}

  // The first window of that name, of any program. Absent while there is none.
  [[nodiscard]] std::optional<AccessibleNode> window(const std::string& name);
  // False when it has no action.
  bool press(const AccessibleObject& object);

 private:
  [[nodiscard]] std::vector<AccessibleObject> children(const AccessibleObject& object);
  [[nodiscard]] std::string text(const AccessibleObject& object, const char* property);
  [[nodiscard]] std::string role(const AccessibleObject& object);
  [[nodiscard]] bool isShowing(const AccessibleObject& object);
  [[nodiscard]] AccessibleNode read(const AccessibleObject& object);

  privatedesktop::DesktopBus bus;
};

// All of `node` and below that satisfy `isWanted`, parents first.
template <typename Condition>
std::vector<AccessibleNode> findAll(const AccessibleNode& node, const Condition& isWanted) {
  std::vector<AccessibleNode> found;
  if (isWanted(node)) found.push_back(node);
  for (const auto& child : node.children) {
    for (auto& below : findAll(child, isWanted)) found.push_back(std::move(below));
  }
  return found;
}

// One line an object: role, name and description, children indented below.
[[nodiscard]] std::string described(const AccessibleNode& node, int depth = 0);

}  // namespace quillard::test
