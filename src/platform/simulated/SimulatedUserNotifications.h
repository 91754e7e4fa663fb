#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/process/Executors.h"
#include "platform/shell/UserNotifications.h"

namespace quillard::platform::simulated {

// A desktop that shows every note. The answer to a request for authorization comes in a later turn of the main thread.
class SimulatedUserNotifications final : public UserNotifications {
 public:
  // `executors` outlives this.
  explicit SimulatedUserNotifications(Executors& executors) : executors(executors) {}

  // From now on asking fails. Absent: it succeeds.
  void setAuthorizationError(std::optional<std::string> description);
  // Absent, as at first: the system shows notes itself.
  void setServer(std::optional<NotificationServer> server) { itsServer = std::move(server); }
  [[nodiscard]] int authorizationRequestCount() const { return authorizationRequests; }
  // Everything that was posted, oldest first.
  [[nodiscard]] const std::vector<UserNotification>& posted() const { return all; }
  // What is on screen: of those with one identifier only the newest.
  [[nodiscard]] const std::vector<UserNotification>& shown() const { return onScreen; }

  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override;
  [[nodiscard]] std::optional<NotificationServer> server() const override {
    return isAuthorized ? itsServer : std::nullopt;
  }
  void post(const UserNotification& notification) override;

 private:
  Executors& executors;
  std::optional<std::string> authorizationError;
  std::optional<NotificationServer> itsServer;
  bool isAuthorized = false;  // A request has succeeded.
  int authorizationRequests = 0;
  std::vector<UserNotification> all;
  std::vector<UserNotification> onScreen;
};

}  // namespace quillard::platform::simulated
