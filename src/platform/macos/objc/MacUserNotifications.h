#pragma once

#include <memory>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/NotificationCalls.h"
#include "platform/process/Bundle.h"
#include "platform/process/Executors.h"
#include "platform/shell/UserNotifications.h"

namespace quillard::macos {

// The system's notification centre, which only an application has: in a process that is none, asking fails and notes
// are dropped. Notes are shown while the agent itself is in front, too. Main thread.
class MacUserNotifications final : public platform::UserNotifications {
 public:
  // `mainThread` outlives this. `bundle`: whose process this is.
  MacUserNotifications(platform::SerialExecutor& mainThread, const platform::Bundle& bundle);

  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override;
  // The system itself.
  [[nodiscard]] std::optional<platform::NotificationServer> server() const override { return std::nullopt; }
  void post(const platform::UserNotification& notification) override;

 private:
  const MainThreadListening listening;
  const std::unique_ptr<appkit::NotificationCenter> center;  // Null where there is none.
};

}  // namespace quillard::macos
