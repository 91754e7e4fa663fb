#pragma once

#include "app/MacSystem.h"
#include "platform/Platform.h"
#include "platform/macos/objc/MacApplication.h"
#include "platform/macos/objc/MacStatusBar.h"
#include "platform/qt/window/QtStatusWindowViews.h"

namespace quillard::app {

// Everything that the agent is handed on a Mac. Made and destroyed on the main thread, inside the life of Qt's
// application object, which has windows.
struct MacPlatform {
  // `consoleDescriptor`: where diagnostic lines go.
  explicit MacPlatform(int consoleDescriptor);
  MacPlatform(const MacPlatform&) = delete;
  MacPlatform& operator=(const MacPlatform&) = delete;

  // References into this object.
  [[nodiscard]] platform::Platform platform();

  MacSystem system;
  macos::MacApplication application;
  macos::MacStatusBar statusBar;
  qt::QtStatusWindowViews statusWindowViews;
};

}  // namespace quillard::app
