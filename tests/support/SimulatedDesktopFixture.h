#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {

// A desktop in memory, and what is told of its elements.
class SimulatedDesktopTest : public testing::Test {
 protected:
  // What a live read answers, as text: the text itself, or "error N" or "other".
  std::string read(NodeHandle node, std::string_view name) {
    const auto answer = desktop.attribute(node, name);
    if (!answer.hasValue()) return "error " + std::to_string(static_cast<int>(answer.error()));
    const auto* const text = std::get_if<std::string>(&answer.value());
    return text ? *text : "other";
  }
  std::optional<NodeHandle> readNode(const AXUIElement& from, std::string_view name) {
    const auto answer = world.accessibility().copyAttributeValue(from, name);
    if (!answer.hasValue()) return std::nullopt;
    const auto* const element = std::get_if<AXUIElement>(&answer.value());
    return element ? desktop.node(*element) : std::nullopt;
  }
  AXError perform(NodeHandle node, std::string_view action) {
    return world.accessibility().performAction(desktop.element(node), action);
  }
  AXError press(NodeHandle window, std::string_view label) {
    const auto button = desktop.findButton(window, label);
    return button ? perform(*button, ax::kPressAction) : AXError::failure;
  }

  SimulatedWorld world{Seed{7}};
  SimulatedDesktop& desktop = world.desktop();
};

}  // namespace quillard::platform::simulated
