#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/process/Clock.h"
#include "platform/simulated/AXRequest.h"
#include "platform/simulated/DesktopState.h"

namespace quillard::platform::simulated {

// What applications do when they are asked to act, and a record of the presses.
class DesktopActions {
 public:
  // `desktop` is what effects are given.
  DesktopActions(SimulatedDesktop& desktop, Clock& clock, DesktopState& state)
      : desktop(desktop), clock(clock), state(state) {}

  AXError perform(const ElementTarget& target, AXAction action);
  AXError set(const ElementTarget& target, AXAttribute name, const AXValue& value);
  // `invalidUIElement` when the button is gone.
  AXError press(NodeHandle button);

  [[nodiscard]] const std::vector<Press>& presses() const { return allPresses; }
  [[nodiscard]] std::optional<std::string> pressed(NodeHandle window) const;

 private:
  AXError performItself(NodeHandle node, AXAction action);
  AXError pressNamedButton(NodeHandle window, AXAttribute attribute);
  AXError setOfApplication(ApplicationState& application, AXAttribute name, const AXValue& value);
  AXError setOfNode(NodeHandle node, AXAttribute name, const AXValue& value);

  SimulatedDesktop& desktop;
  Clock& clock;
  DesktopState& state;
  std::vector<Press> allPresses;
};

}  // namespace quillard::platform::simulated
