#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/shell/UserNotifications.h"

// The system's notification centre, one call each; see WorkspaceCalls.h. Main thread.
namespace quillard::macos::appkit {

class NotificationCenter {
 public:
  NotificationCenter() = default;
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;
  virtual ~NotificationCenter() = default;

  // Asks for alerts and sounds. `completion` comes once, on any thread, with the error's description if there was one.
  virtual void requestAuthorization(std::function<void(std::optional<std::string>)> completion) = 0;
  virtual void post(const platform::UserNotification& notification) = 0;
};

// Shows notes also while the agent is in front. Ends a process that is no application (see NotificationGuard.h); null
// where the system says so in another way.
[[nodiscard]] std::unique_ptr<NotificationCenter> notificationCenter();

}  // namespace quillard::macos::appkit
