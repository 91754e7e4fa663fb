#pragma once

#include <string>

#include "platform/desktop/Workspace.h"
#include "platform/process/Bundle.h"
#include "platform/process/Console.h"
#include "platform/shell/LoginService.h"

namespace quillard {

enum class LoginItemState { unavailable, enabled, disabled, requiresApproval };

// Whether the agent starts when its user logs in.
struct LoginItemStatus {
  LoginItemState state = LoginItemState::disabled;
  std::string reason;  // Of `unavailable` only: shown to the user.

  static LoginItemStatus unavailable(std::string reason) { return {LoginItemState::unavailable, std::move(reason)}; }
  bool operator==(const LoginItemStatus&) const = default;
};

// Main thread. All that it is made over outlives it.
class LoginItemManager {
 public:
  LoginItemManager(const platform::Bundle& bundle, platform::LoginService& service, platform::Workspace& workspace,
                   platform::Console& console);

  [[nodiscard]] LoginItemStatus status();
  // Asks for it, and tells what came of it. Nothing is asked when the agent is no installed application. A failure is
  // printed.
  LoginItemStatus registerApplication();
  // The system's page of login items.
  void openSettings();

 private:
  const platform::Bundle& bundle;
  platform::LoginService& service;
  platform::Workspace& workspace;
  platform::Console& console;
};

}  // namespace quillard
