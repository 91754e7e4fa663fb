#include "platform/macos/objc/LoginServiceMapping.h"

#include <utility>

namespace quillard::macos {

using platform::LoginServiceStatus;

LoginServiceStatus loginServiceStatusFrom(long number) {
  switch (number) {
    case 0:
      return LoginServiceStatus::notRegistered;
    case 1:
      return LoginServiceStatus::enabled;
    case 2:
      return LoginServiceStatus::requiresApproval;
    case 3:
      return LoginServiceStatus::notFound;
    default:
      return LoginServiceStatus::unknown;
  }
}

std::optional<std::string> registrationProblem(bool hasSucceeded, LoginServiceStatus afterwards,
                                               std::optional<std::string> description) {
  if (hasSucceeded || afterwards == LoginServiceStatus::enabled) return std::nullopt;
  if (description && !description->empty()) return description;
  return "The system gave no reason.";
}

}  // namespace quillard::macos
