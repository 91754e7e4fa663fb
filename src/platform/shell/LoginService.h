#pragma once

#include <optional>
#include <string>

namespace quillard::platform {

// `unknown`: an answer that is none of the others.
enum class LoginServiceStatus { notRegistered, enabled, requiresApproval, notFound, unknown };

// Starts the installed program when its user logs in. Main thread.
class LoginService {
 public:
  virtual ~LoginService() = default;
  [[nodiscard]] virtual LoginServiceStatus status() = 0;
  // The error's description when registering failed; absent when it did not.
  [[nodiscard]] virtual std::optional<std::string> registerMainApplication() = 0;
};

}  // namespace quillard::platform
