#pragma once

#include <string_view>

#include "platform/desktop/Workspace.h"

namespace quillard {

// Opens the system's page on which the user grants the agent a permission. Main thread.
class PermissionManager {
 public:
  static constexpr std::string_view accessibilityAnchor = "Privacy_Accessibility";

  // `workspace` outlives this.
  explicit PermissionManager(platform::Workspace& workspace) : workspace(workspace) {}

  // Nothing happens when `anchor` makes no address.
  void openPrivacySettings(std::string_view anchor);

 private:
  platform::Workspace& workspace;
};

}  // namespace quillard
