#pragma once

#include <optional>
#include <string>

#include "platform/shell/LoginService.h"

// The system's service of login items, one call each; see WorkspaceCalls.h. Main thread.
namespace quillard::macos::appkit {

[[nodiscard]] platform::LoginServiceStatus loginItemStatus();

struct LoginRegistration {
  bool hasSucceeded = false;
  std::optional<std::string> problem;  // In the system's words, where it has some.
};
[[nodiscard]] LoginRegistration registerLoginItem();

}  // namespace quillard::macos::appkit
