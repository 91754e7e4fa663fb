#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Workspace.h"
#include "platform/simulated/DesktopState.h"

namespace quillard::platform::simulated {

// The workspace of the simulated desktop. What it is asked to open is recorded, not opened.
class SimulatedWorkspace final : public Workspace {
 public:
  // `desktop`: where applications quit.
  SimulatedWorkspace(SimulatedDesktop& desktop, DesktopState& state) : desktop(desktop), state(state) {}

  [[nodiscard]] const std::vector<ApplicationHandle>& quitRequests() const { return askedToQuit; }
  [[nodiscard]] const std::vector<std::string>& openedURLs() const { return urls; }
  [[nodiscard]] const std::vector<std::string>& openedFolders() const { return folders; }
  void setRefusesToOpen(bool refuses) { refusesToOpen = refuses; }

  // In the order of launch.
  std::vector<RunningApplication> runningApplications() override;
  std::optional<RunningApplication> frontmostApplication() override;
  std::optional<RunningApplication> runningApplication(std::int32_t processIdentifier) override;
  bool activate(std::int32_t processIdentifier) override { return state.activate(processIdentifier); }
  bool unhide(std::int32_t processIdentifier) override { return state.setHidden(processIdentifier, false); }
  bool terminate(std::int32_t processIdentifier) override;
  bool openURL(std::string_view url) override;
  bool openFolder(std::string_view path) override;
  SubscriptionHandle observe(std::function<void(const WorkspaceEvent&)> onEvent) override;

 private:
  SimulatedDesktop& desktop;
  DesktopState& state;
  std::vector<ApplicationHandle> askedToQuit;
  std::vector<std::string> urls;
  std::vector<std::string> folders;
  bool refusesToOpen = false;
};

}  // namespace quillard::platform::simulated
