#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/desktop/Workspace.h"

namespace quillard::platform {

enum class ApplicationMenuAction { standardAboutPanel, custom, terminate };

struct ApplicationMenuItem {
  std::string title;  // Empty: a separator.
  ApplicationMenuAction action = ApplicationMenuAction::custom;
  std::string keyEquivalent;  // With the system's command modifier. Empty: none.
  bool isEnabled = true;
  std::function<void()> onChoice;  // Of a custom item only.
};

// This process as an application of the desktop. Main thread.
class Application {
 public:
  virtual ~Application() = default;
  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  // Comes to the front in place of whatever is active.
  virtual void activateIgnoringOtherApplications() = 0;
  // Ends the loop after the present turn; `applicationWillTerminate` of the delegate comes first.
  virtual void terminate() = 0;
  // One menu, titled `title`. Replaces the one set before.
  virtual void setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) = 0;
};

}  // namespace quillard::platform
