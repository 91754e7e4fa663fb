#pragma once

#include <memory>

#include "platform/process/Executors.h"
#include "platform/shell/UserNotifications.h"

namespace quillard::macos {

// The system's notification centre, which only an application has: in a process that is none, asking fails and notes
// are dropped. Notes are shown while the agent itself is in front, too. Main thread.
class MacUserNotifications final : public platform::UserNotifications {
 public:
  // `mainThread` outlives this.
  explicit MacUserNotifications(platform::SerialExecutor& mainThread);
  ~MacUserNotifications() override;

  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override;
  void post(const platform::UserNotification& notification) override;

 private:
  struct Centre;

  const std::unique_ptr<Centre> centre;
};

}  // namespace quillard::macos
