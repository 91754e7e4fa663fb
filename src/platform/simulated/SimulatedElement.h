#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopHandles.h"

namespace quillard::platform::simulated {

enum class ElementKind { systemWide, application, node };

// What a handle of the simulated desktop points at.
struct ElementTarget {
  ElementKind kind = ElementKind::systemWide;
  std::int32_t processIdentifier = 0;  // Of the owner. 0 for the system-wide element.
  NodeHandle node{};                   // Of a node only.
  auto operator<=>(const ElementTarget&) const = default;
};

class SimulatedElement final : public AXElementReference {
 public:
  // `desktop` tells elements of different desktops apart; it is compared, never used.
  SimulatedElement(const void* desktop, ElementTarget target) : desktop(desktop), itsTarget(target) {}

  [[nodiscard]] const ElementTarget& target() const { return itsTarget; }
  [[nodiscard]] bool isOf(const void* otherDesktop) const { return desktop == otherDesktop; }

  [[nodiscard]] bool isEqual(const AXElementReference& other) const override {
    const auto* const simulated = dynamic_cast<const SimulatedElement*>(&other);
    return simulated && simulated->desktop == desktop && simulated->itsTarget == itsTarget;
  }
  [[nodiscard]] std::size_t hashValue() const override {
    return static_cast<std::size_t>(itsTarget.node.id) * 31 + static_cast<std::size_t>(itsTarget.processIdentifier);
  }

 private:
  const void* desktop;
  ElementTarget itsTarget;
};

}  // namespace quillard::platform::simulated
