#pragma once

#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/DesktopReading.h"
#include "platform/linux/accessibility/ElementAnswers.h"

namespace quillard::atspi {

// Presses, raises, restores and focuses, going by a reading that was just begun. Of one request each.
class ElementActions {
 public:
  // All outlive this.
  ElementActions(DesktopReading& reading, desktop::DesktopWindows& windows,
                 const std::optional<std::string>& sessionBusAddress,
                 const std::optional<std::string>& systemBusAddress, Seconds slowShellTimeout)
      : reading(reading),
        answers(reading),
        windows(windows),
        sessionBusAddress(sessionBusAddress),
        systemBusAddress(systemBusAddress),
        slowShellTimeout(slowShellTimeout) {}

  [[nodiscard]] platform::AXError perform(const platform::AXUIElement& element, platform::AXAction action);
  // `actionUnsupported` for the focus of an element of the shell: only a press there may move it.
  [[nodiscard]] platform::AXError set(const platform::AXUIElement& element, platform::AXAttribute name,
                                      const platform::AXValue& value);
  [[nodiscard]] platform::AXResult<platform::AXUIElement> elementAt(const platform::AXUIElement& within, Point point);

 private:
  // The object that may be acted on, or why not.
  [[nodiscard]] platform::AXResult<Node*> living(const ElementReference& reference);
  [[nodiscard]] platform::AXError press(Node& node);
  // Whether it takes presses without doing anything: one that then goes by itself would count as answered.
  [[nodiscard]] bool isDeaf(Node& node);
  [[nodiscard]] platform::AXError grabFocus(Node& node);
  [[nodiscard]] platform::AXError askYesOrNo(BusCall call);
  [[nodiscard]] platform::AXError performKnown(Node& node, platform::AXKnownAction action);
  [[nodiscard]] platform::AXError setOfApplication(std::int32_t processIdentifier, platform::AXAttribute name,
                                                   const platform::AXValue& value);
  [[nodiscard]] platform::AXError setOfWindow(Node& window, platform::AXAttribute name, const platform::AXValue& value);
  // `always`: even when it is already active.
  [[nodiscard]] platform::AXError bringForward(const desktop::Window* window, bool always);
  [[nodiscard]] const desktop::Window* topmostAt(Point point);

  DesktopReading& reading;
  ElementAnswers answers;
  desktop::DesktopWindows& windows;
  const std::optional<std::string>& sessionBusAddress;
  const std::optional<std::string>& systemBusAddress;
  const Seconds slowShellTimeout;  // How long a press in the shell waits for one that answers too slowly.
};

}  // namespace quillard::atspi
