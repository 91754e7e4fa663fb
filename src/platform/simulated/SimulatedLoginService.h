#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/shell/LoginService.h"

namespace quillard::platform::simulated {

// The agent is not registered at first, and is when it asks. What the user switched off (`requiresApproval`) stays off
// however often it asks.
class SimulatedLoginService final : public LoginService {
 public:
  void setStatus(LoginServiceStatus status) { itsStatus = status; }
  // What a registration that succeeds leads to. `enabled` at first.
  void setStatusAfterRegistration(LoginServiceStatus status) { afterRegistration = status; }
  // From now on registering fails, and changes nothing. Absent: it succeeds.
  void setRegistrationError(std::optional<std::string> description) { error = std::move(description); }
  [[nodiscard]] int registrationCount() const { return registrations; }

  [[nodiscard]] LoginServiceStatus status() override { return itsStatus; }
  [[nodiscard]] std::optional<std::string> registerMainApplication() override {
    ++registrations;
    if (!error && itsStatus != LoginServiceStatus::requiresApproval) itsStatus = afterRegistration;
    return error;
  }

 private:
  LoginServiceStatus itsStatus = LoginServiceStatus::notRegistered;
  LoginServiceStatus afterRegistration = LoginServiceStatus::enabled;
  std::optional<std::string> error;
  int registrations = 0;
};

}  // namespace quillard::platform::simulated
