#pragma once

#include <chrono>
#include <memory>

#include "platform/process/Environment.h"
#include "platform/process/Executors.h"
#include "platform/shell/UserNotifications.h"

namespace quillard::desktop {

// Notes by the desktop's notification server (org.freedesktop.Notifications), which the bus starts where it knows how.
// They need no permission: asking finds out whether there is such a server. Texts are shown as they are, whatever
// markup the server knows.
//
// Needs the Qt event loop. A server that is slow or gone never holds the caller up. Notes that are not yet sent when
// this object goes are dropped.
class DesktopNotifications final : public platform::UserNotifications {
 public:
  static constexpr std::chrono::milliseconds kTimeout{5000};
  // How many identifiers are remembered, to replace what was shown under them. The newest.
  static constexpr std::size_t kMostRemembered = 64;

  // `environment` says where the session bus is. Both outlive this.
  DesktopNotifications(const platform::Environment& environment, platform::SerialExecutor& mainThread,
                       std::chrono::milliseconds timeout = kTimeout);
  ~DesktopNotifications() override;

  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override;
  [[nodiscard]] std::optional<platform::NotificationServer> server() const override;
  void post(const platform::UserNotification& notification) override;

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation;
};

}  // namespace quillard::desktop
