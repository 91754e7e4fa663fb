#pragma once

#include <cstdint>
#include <functional>
#include <memory>
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
  std::function<void()> onChoice;  // Of a custom item only; in a turn of its own.
};

// What an application is told of its life, by whatever binding runs it. Main thread; each call comes in a turn of its
// own. In this order: the first call once; the second one any number of times; the last one once, and none after it.
class ApplicationDelegate {
 public:
  ApplicationDelegate() = default;
  ApplicationDelegate(const ApplicationDelegate&) = delete;
  ApplicationDelegate& operator=(const ApplicationDelegate&) = delete;
  virtual ~ApplicationDelegate() = default;

  // The loop runs.
  virtual void applicationDidFinishLaunching() = 0;
  // The user starts the application that runs already. `hasVisibleWindows`: false also where the system does not know.
  // Returns whether the system's own answer to it (bringing back what is minimised) is wanted too. Does not come on
  // systems where a second start runs a second process.
  virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;
  // The loop ends after this call, whoever ends it: `terminate`, the user, a signal, the end of the session.
  virtual void applicationWillTerminate() = 0;
};

// This process as an application of the desktop. Main thread.
class Application {
 public:
  virtual ~Application() = default;
  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  // Call it once, before the loop runs or in one of its turns: `applicationDidFinishLaunching` comes in a later turn.
  // The delegate is held weakly: one that is gone is not called.
  virtual void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) = 0;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  // Comes to the front in place of whatever is active.
  virtual void activateIgnoringOtherApplications() = 0;
  // Ends the loop after the present turn; the delegate's `applicationWillTerminate` comes first. Asked again, nothing
  // happens.
  virtual void terminate() = 0;
  // One menu, titled `title`. Replaces the one set before.
  virtual void setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) = 0;
};

}  // namespace quillard::platform
