#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/simulated/SimulatedReadableStarts.h"

namespace quillard::platform::simulated {

// Nothing is missing until a test says so. Unreadable are the owners of listed windows that are no applications of the
// simulated desktop (`SimulatedDesktop::addWindowEntry`). A program is started by the entry that has its name.
class SimulatedDesktopCapabilities final : public DesktopCapabilities {
 public:
  // All outlive this.
  SimulatedDesktopCapabilities(Accessibility& accessibility, Workspace& workspace, WindowList& windowList,
                               const SimulatedReadableStarts& starts)
      : accessibility(accessibility), workspace(workspace), windowList(windowList), starts(starts) {}

  // Absent: it can be had again. The window list itself stays as it is.
  void setLimitation(DesktopCapability capability, std::optional<Limitation> limitation);

  [[nodiscard]] std::optional<Limitation> limitation(DesktopCapability capability) override;
  [[nodiscard]] Finding<std::vector<UnreadableProgram>> unreadablePrograms() override;

 private:
  Accessibility& accessibility;
  Workspace& workspace;
  WindowList& windowList;
  const SimulatedReadableStarts& starts;
  std::map<DesktopCapability, Limitation> limitations;
};

}  // namespace quillard::platform::simulated
