#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

namespace quillard::platform::simulated {

// Nothing is missing until a test says so. Unreadable are the owners of listed windows that are no applications of the
// simulated desktop (`SimulatedDesktop::addWindowEntry`).
class SimulatedDesktopCapabilities final : public DesktopCapabilities {
 public:
  // All outlive this.
  SimulatedDesktopCapabilities(Accessibility& accessibility, Workspace& workspace, WindowList& windowList)
      : accessibility(accessibility), workspace(workspace), windowList(windowList) {}

  // Absent: it can be had again. The window list itself stays as it is.
  void setLimitation(DesktopCapability capability, std::optional<Limitation> limitation);

  [[nodiscard]] std::optional<Limitation> limitation(DesktopCapability capability) override;
  [[nodiscard]] Finding<std::vector<UnreadableProgram>> unreadablePrograms() override;

 private:
  Accessibility& accessibility;
  Workspace& workspace;
  WindowList& windowList;
  std::map<DesktopCapability, Limitation> limitations;
};

}  // namespace quillard::platform::simulated
