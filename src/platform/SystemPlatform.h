#pragma once

#include <memory>

#include "platform/Platform.h"
#include "platform/storage/OwnFiles.h"

namespace quillard::platform {

// The door of a binding to a real system: one object that makes everything that the core is handed there, and keeps it
// for as long as it lives. The simulated binding has one of its own (SimulatedWorld), which a test drives.
//
// Made and destroyed on the main thread, inside the life of the toolkit's application object. It costs no window: a
// tool that shows none makes one, too, and leaves alone what needs a display (the status bar, the menu). Nothing in it
// fails where there is no desktop; there is only less to be read.
class SystemPlatform {
 public:
  SystemPlatform() = default;
  SystemPlatform(const SystemPlatform&) = delete;
  SystemPlatform& operator=(const SystemPlatform&) = delete;
  virtual ~SystemPlatform() = default;

  // References into this object.
  [[nodiscard]] virtual Platform platform() = 0;
  // What this system wants done before an agent is made, which tools do not ask for.
  virtual void prepareForAgent() = 0;
  // The settings as they are kept now, whatever this object has read of them before. The result is destroyed
  // before this object.
  [[nodiscard]] virtual std::unique_ptr<UserDefaults> openSettings() = 0;
  // Null where people delete them by the system's own means.
  [[nodiscard]] virtual OwnFiles* ownFiles() { return nullptr; }
};

}  // namespace quillard::platform
