#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "desktop/PrivateDesktop.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/x11/XcbWindows.h"
#include "platform/qt/QtExecutors.h"

namespace quillard::test {

// A private desktop, and the binding looking at it.
struct LinuxAccessibilityWorld {
  using Element = platform::AXUIElement;
  static constexpr Seconds kMessagingTimeout{2};  // For a busy machine.

  explicit LinuxAccessibilityWorld(const PrivateDesktop::Options& options = {})
      : LinuxAccessibilityWorld(std::make_unique<PrivateDesktop>(options), nullptr) {}
  // On a desktop of another owner, which outlives this object.
  explicit LinuxAccessibilityWorld(PrivateDesktop& shared) : LinuxAccessibilityWorld(nullptr, &shared) {}
  LinuxAccessibilityWorld(std::unique_ptr<PrivateDesktop> made, PrivateDesktop* shared)
      : own(std::move(made)),
        desktop(shared ? *shared : *own),
        windows(desktop.display().empty() ? std::nullopt : std::optional{desktop.display()}),
        accessibility({.sessionBusAddress = desktop.sessionBusAddress(),
                       .ownProcessIdentifier = ::getpid(),
                       .messagingTimeout = kMessagingTimeout},
                      windows, executors) {}

  // All elements of a tree, the root first, in the order of the agent's walk.
  [[nodiscard]] std::vector<Element> walk(platform::AXAttributeReader& reader, const Element& root) {
    auto elements = AXHelpers::deeplyNestedChildren(reader, root, 120);
    elements.insert(elements.begin(), root);
    return elements;
  }

  [[nodiscard]] std::optional<Element> find(platform::AXAttributeReader& reader, const Element& root,
                                            std::string_view role, std::string_view text) {
    for (const auto& element : walk(reader, root)) {
      if (AXHelpers::role(reader, element) != role) continue;
      for (const auto name : {platform::ax::kTitle, platform::ax::kValue, platform::ax::kDescription}) {
        if (AXHelpers::stringAttribute(reader, element, name) == text) return element;
      }
    }
    return std::nullopt;
  }

  // The window of the process with that title, once it is there and shows a button with an extent.
  [[nodiscard]] std::optional<Element> window(std::int32_t process, std::string_view title) {
    std::optional<Element> found;
    const bool isThere = waitFor([&] {
      const auto scope = accessibility.beginReadScope();
      for (const auto& window : AXHelpers::windows(*scope, accessibility.createApplication(process))) {
        if (AXHelpers::stringAttribute(*scope, window, platform::ax::kTitle) != title) continue;
        if (isLaidOut(*scope, window)) found = window;
      }
      return found.has_value();
    });
    return isThere ? found : std::nullopt;
  }

  [[nodiscard]] bool isLaidOut(platform::AXAttributeReader& reader, const Element& window) {
    for (const auto& element : walk(reader, window)) {
      if (AXHelpers::role(reader, element) != platform::ax::kButtonRole) continue;
      const auto frame = AXHelpers::frame(reader, element);
      if (frame && frame->width > 1 && frame->height > 1) return true;
    }
    return false;
  }

  // One element a line, indented by its depth: role, subrole, what it says. Frames only where they are asked for.
  [[nodiscard]] std::string outline(platform::AXAttributeReader& reader, const Element& root, bool withFrames = false,
                                    int depth = 0) {
    std::string line(static_cast<std::size_t>(depth) * 2, ' ');
    line += AXHelpers::role(reader, root);
    const auto subrole = AXHelpers::subrole(reader, root);
    if (!subrole.empty()) line += "/" + subrole;
    for (const auto name : {platform::ax::kTitle, platform::ax::kValue, platform::ax::kDescription}) {
      const auto text = AXHelpers::stringAttribute(reader, root, name).value_or("");
      if (!text.empty()) line += " '" + text + "'";
    }
    const auto frame = withFrames ? AXHelpers::frame(reader, root) : std::nullopt;
    if (frame) {
      line += " [" + std::to_string(static_cast<int>(frame->x)) + "," + std::to_string(static_cast<int>(frame->y)) +
              " " + std::to_string(static_cast<int>(frame->width)) + "x" +
              std::to_string(static_cast<int>(frame->height)) + "]";
    }
    line += "\n";
    if (depth > 20) return line;
    for (const auto& child : AXHelpers::children(reader, root)) line += outline(reader, child, withFrames, depth + 1);
    return line;
  }

  const std::unique_ptr<PrivateDesktop> own;  // Null for a shared one.
  PrivateDesktop& desktop;
  x11::XcbWindows windows;
  qt::QtExecutors executors;
  atspi::LinuxAccessibility accessibility;
};

}  // namespace quillard::test
