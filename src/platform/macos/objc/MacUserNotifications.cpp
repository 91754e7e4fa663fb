#include "platform/macos/objc/MacUserNotifications.h"

#include <utility>

#include "platform/macos/objc/NotificationGuard.h"

namespace quillard::macos {
namespace {

std::unique_ptr<appkit::NotificationCenter> centerOf(const platform::Bundle& bundle) {
  return mayUseNotificationCenter(bundle.identifier(), bundle.path()) ? appkit::notificationCenter() : nullptr;
}

}  // namespace

MacUserNotifications::MacUserNotifications(platform::SerialExecutor& mainThread, const platform::Bundle& bundle)
    : listening(mainThread), center(centerOf(bundle)) {}

void MacUserNotifications::requestAuthorization(std::function<void(std::optional<std::string>)> completion) {
  const auto answer = [link = listening.link(),
                       completion = std::move(completion)](std::optional<std::string> problem) {
    link->post([completion, problem = std::move(problem)] { completion(problem); });
  };
  if (center) {
    center->requestAuthorization(answer);
  } else {
    answer("This process is no application.");
  }
}

void MacUserNotifications::post(const platform::UserNotification& notification) {
  if (center) center->post(notification);
}

}  // namespace quillard::macos
