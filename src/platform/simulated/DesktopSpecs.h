#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/Workspace.h"
#include "platform/simulated/PressEffect.h"
#include "values/Geometry.h"

namespace quillard::platform::simulated {

struct ApplicationSpec {
  std::optional<std::string> name{};
  std::optional<std::string> bundleIdentifier{};
  ActivationPolicy policy = ActivationPolicy::regular;
  bool active = false;
  bool hidden = false;
  std::optional<std::int32_t> processIdentifier{};  // Absent: the next free number.
  bool listed = true;  // False: a process with windows that the workspace knows nothing of.
};

// An element and everything below it. Absent members are attributes that the element does not have.
struct ElementSpec {
  std::string role{"AXGroup"};
  std::optional<std::string> subrole{};
  std::optional<std::string> title{};
  std::optional<std::string> description{};
  std::optional<AXValue> value{};
  std::optional<bool> modal{};
  std::optional<Rect> frame{};                   // Both AXPosition and AXSize.
  std::map<std::string, AXValue> attributes{};   // Further ones, or in place of the above.
  std::map<std::string, AXError> errors{};       // Attributes that answer with an error.
  std::vector<std::string> actions{};            // In the order in which they are listed.
  std::map<std::string, PressEffect> effects{};  // By action. Without one for AXPress, buttons close the window.
  std::vector<ElementSpec> children{};
};

// A window of texts above a row of buttons. Its texts and buttons are its children in reading order, so that a walk
// that takes the last child first meets the last button first.
struct DialogSpec {
  std::string title{};
  std::vector<std::string> lines{};
  std::vector<std::string> buttons{};
  std::string role{"AXWindow"};
  std::string subrole{"AXDialog"};  // Empty: none.
  bool modal = true;
  std::optional<Rect> frame{};                   // Absent: as large as its content, each a little below the last one.
  PressEffect effect{};                          // Of the buttons that `effects` does not name.
  std::map<std::string, PressEffect> effects{};  // By label.
  std::optional<std::string> defaultButton{};   // The label of what AXDefaultButton answers. Absent: no such attribute.
  std::optional<std::string> cancelButton{};    // Likewise AXCancelButton.
  std::vector<std::string> actions{"AXRaise"};  // Of the window. AXConfirm and AXCancel press the buttons above.
  std::vector<ElementSpec> extra{};             // Further children, after the buttons.
};

}  // namespace quillard::platform::simulated
