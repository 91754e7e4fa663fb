#pragma once

#include <functional>
#include <optional>
#include <string>

namespace quillard::platform {

struct UserNotification {
  std::string identifier;  // A later one with the same identifier takes the place of an earlier one.
  std::string title;
  std::string body;
  bool playsDefaultSound = false;
};

// The program that shows notes, as it calls itself: text of a foreign program.
struct NotificationServer {
  std::string name;
  std::string vendor;
  bool operator==(const NotificationServer&) const = default;
};

// Notes that the desktop shows to its user. Main thread.
class UserNotifications {
 public:
  virtual ~UserNotifications() = default;
  // Asks the user, where the system wants that, for alerts and sounds. `completion` comes once on the main thread, with
  // the error's description when asking failed; being refused is no error.
  virtual void requestAuthorization(std::function<void(std::optional<std::string>)> completion) = 0;
  // Who shows them. Absent: the system itself does, or it is not known, as before a first request has succeeded.
  [[nodiscard]] virtual std::optional<NotificationServer> server() const = 0;
  // Delivers now. Failures are not reported.
  virtual void post(const UserNotification& notification) = 0;
};

}  // namespace quillard::platform
