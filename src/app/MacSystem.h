#pragma once

#include <memory>

#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacBundle.h"
#include "platform/macos/MacRandom.h"
#include "platform/macos/MacSecretStore.h"
#include "platform/macos/MacSyntheticEvents.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacWindowList.h"
#include "platform/macos/objc/EnclosedExecutors.h"
#include "platform/macos/objc/MacLoginService.h"
#include "platform/macos/objc/MacUpdateService.h"
#include "platform/macos/objc/MacUserNotifications.h"
#include "platform/macos/objc/MacWorkspace.h"
#include "platform/macos/process/MacLockFiles.h"
#include "platform/posix/ProcessEnvironment.h"
#include "platform/posix/StandardOutput.h"
#include "platform/posix/SystemCalendar.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"

namespace quillard::app {

// This Mac and its desktop, as far as neither needs a window of ours: all that the tools need, and most of what the
// agent does. Made and destroyed on the main thread, inside the life of Qt's application object.
//
// Requests to other programs' elements are made on a queue of their own, one after another, so that the main thread
// waits for them only where it asks itself. Every turn has an autorelease pool.
struct MacSystem {
  // `consoleDescriptor`: where diagnostic lines go.
  explicit MacSystem(int consoleDescriptor);
  MacSystem(const MacSystem&) = delete;
  MacSystem& operator=(const MacSystem&) = delete;

  // In the order in which they need one another.
  desktop::ProcessEnvironment environment;
  desktop::StandardOutput console;
  macos::MacRandom random;
  desktop::SystemCalendar calendar;
  qt::SystemClock clock;
  qt::QtExecutors threads;
  macos::EnclosedExecutors executors;
  qt::QtNetworkThread network;
  qt::QtHttpSessions httpSessions{network};
  qt::QtWebSockets webSockets{network};
  macos::MacBundle bundle;
  macos::MacLockFiles lockFiles;
  macos::MacLoginService loginService;
  macos::MacUpdateService updateService;
  macos::MacUserNotifications notifications;
  macos::MacSecretStore secretStore;
  macos::MacUserDefaults userDefaults;

  const std::unique_ptr<platform::SerialExecutor> accessibilityQueue;
  macos::MacAccessibility accessibility;
  macos::MacWorkspace workspace;
  macos::MacWindowList windowList;
  macos::MacSyntheticEvents syntheticEvents;
};

}  // namespace quillard::app
