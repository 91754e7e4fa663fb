#pragma once

#include "platform/desktop/Workspace.h"
#include "platform/process/Executors.h"

namespace quillard::macos {

// The shared workspace. What it says of applications is the system's own copy, which grows old while the main loop does
// not run.
//
// `activate` asks on behalf of this process. From macOS 14 on, the system may refuse while this process is not the one
// in front, and says so through `false` or through nothing at all.
class MacWorkspace final : public platform::Workspace {
 public:
  // `mainThread` outlives this and all that observe through it.
  explicit MacWorkspace(platform::SerialExecutor& mainThread) : mainThread(mainThread) {}

  [[nodiscard]] std::vector<platform::RunningApplication> runningApplications() override;
  [[nodiscard]] std::optional<platform::RunningApplication> frontmostApplication() override;
  [[nodiscard]] std::optional<platform::RunningApplication> runningApplication(std::int32_t processIdentifier) override;
  bool activate(std::int32_t processIdentifier) override;
  bool unhide(std::int32_t processIdentifier) override;
  bool terminate(std::int32_t processIdentifier) override;
  bool openURL(std::string_view url) override;
  // A package (an application, say) is no folder here: it would be started instead of shown.
  bool openFolder(std::string_view path) override;
  // Main thread.
  [[nodiscard]] platform::SubscriptionHandle observe(
      std::function<void(const platform::WorkspaceEvent&)> onEvent) override;

 private:
  platform::SerialExecutor& mainThread;
};

}  // namespace quillard::macos
