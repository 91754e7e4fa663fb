#pragma once

#include "platform/shell/LoginService.h"

namespace quillard::macos {

// The application as a login item of its own, which the user can switch off in the settings. Main thread.
class MacLoginService final : public platform::LoginService {
 public:
  [[nodiscard]] platform::LoginServiceStatus status() override;
  [[nodiscard]] std::optional<std::string> registerMainApplication() override;
};

}  // namespace quillard::macos
