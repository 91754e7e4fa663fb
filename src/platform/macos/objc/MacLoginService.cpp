#include "platform/macos/objc/MacLoginService.h"

#include "platform/macos/objc/LoginCalls.h"

namespace quillard::macos {

using platform::LoginServiceStatus;

LoginServiceStatus MacLoginService::status() {
  const auto status = appkit::loginItemStatus();
  return status == LoginServiceStatus::notFound && !hasTried ? LoginServiceStatus::notRegistered : status;
}

std::optional<std::string> MacLoginService::registerMainApplication() {
  hasTried = true;
  const auto attempt = appkit::registerLoginItem();
  if (attempt.hasSucceeded || status() == LoginServiceStatus::enabled) return std::nullopt;
  if (attempt.problem && !attempt.problem->empty()) return attempt.problem;
  return "The system gave no reason.";
}

}  // namespace quillard::macos
