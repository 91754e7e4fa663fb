#include "platform/simulated/SimulatedUserNotifications.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

void SimulatedUserNotifications::setAuthorizationError(std::optional<std::string> description) {
  authorizationError = std::move(description);
}

void SimulatedUserNotifications::requestAuthorization(std::function<void(std::optional<std::string>)> completion) {
  ++authorizationRequests;
  executors.mainThread().post([this, completion = std::move(completion), error = authorizationError] {
    isAuthorized = !error;
    completion(error);
  });
}

void SimulatedUserNotifications::post(const UserNotification& notification) {
  all.push_back(notification);
  const auto earlier = std::find_if(onScreen.begin(), onScreen.end(),
                                    [&](const auto& shown) { return shown.identifier == notification.identifier; });
  if (earlier != onScreen.end()) onScreen.erase(earlier);
  onScreen.push_back(notification);
}

}  // namespace quillard::platform::simulated
