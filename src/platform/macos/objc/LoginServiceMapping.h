#pragma once

#include <optional>
#include <string>

#include "platform/shell/LoginService.h"

// What the login service answers, in our words. Pure functions.
namespace quillard::macos {

[[nodiscard]] platform::LoginServiceStatus loginServiceStatusFrom(long number);

// What to report after an attempt to register. The system calls it an error when the application was
// registered before, which it is from its second start on: nothing is wrong then.
[[nodiscard]] std::optional<std::string> registrationProblem(bool hasSucceeded, platform::LoginServiceStatus afterwards,
                                                             std::optional<std::string> description);

}  // namespace quillard::macos
