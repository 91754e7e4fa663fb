#pragma once

#include "platform/shell/LoginService.h"

namespace quillard::macos {

// The application as a login item of its own, which the user can switch off in the settings. Main thread.
//
// The system says "not found" also of an application that was never registered. That is no trouble before the first
// attempt: until this has tried to register, it counts as not registered.
class MacLoginService final : public platform::LoginService {
 public:
  [[nodiscard]] platform::LoginServiceStatus status() override;
  // The system calls it an error when the application was registered before, which it is from its second start on:
  // nothing is wrong then.
  [[nodiscard]] std::optional<std::string> registerMainApplication() override;

 private:
  bool hasTried = false;
};

}  // namespace quillard::macos
