#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/SystemPlatform.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacBundle.h"
#include "platform/macos/MacDesktopCapabilities.h"
#include "platform/macos/MacRandom.h"
#include "platform/macos/MacSecretStore.h"
#include "platform/macos/MacSyntheticEvents.h"
#include "platform/macos/MacTranslations.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacWindowList.h"
#include "platform/macos/objc/EnclosedExecutors.h"
#include "platform/macos/objc/MacApplication.h"
#include "platform/macos/objc/MacLoginService.h"
#include "platform/macos/objc/MacStatusBar.h"
#include "platform/macos/objc/MacUpdateService.h"
#include "platform/macos/objc/MacUserNotifications.h"
#include "platform/macos/objc/MacWorkspace.h"
#include "platform/macos/objc/UninterruptedWork.h"
#include "platform/macos/process/MacLockFiles.h"
#include "platform/macos/process/MacSocketPeer.h"
#include "platform/posix/PrivateLogFile.h"
#include "platform/posix/ProcessEnvironment.h"
#include "platform/posix/StandardOutput.h"
#include "platform/posix/SystemCalendar.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtLocalSockets.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"

namespace quillard::macos {

// Everything that the core is handed on a Mac. See SystemPlatform.
//
// Requests to other programs' elements are made on a queue of their own, one after another, so that the main thread
// waits for them only where it asks itself. Every turn has an autorelease pool.
struct MacPlatform final : platform::SystemPlatform {
  // Keeps Qt from taking the focus: call it before its application object is made. Always absent: where there is no
  // session with a screen, Qt itself prints an error and stops the process.
  [[nodiscard]] static std::optional<std::string> prepareWindows();

  // `consoleDescriptor`: where diagnostic lines go.
  explicit MacPlatform(int consoleDescriptor);

  [[nodiscard]] platform::Platform platform() override;
  // From now on the process is an accessory, which the system does not let nap.
  void prepareForAgent() override;
  [[nodiscard]] std::unique_ptr<platform::UserDefaults> openSettings() override;

  // In the order in which they need one another.
  desktop::ProcessEnvironment environment;
  desktop::StandardOutput console;
  MacRandom random;
  desktop::SystemCalendar calendar;
  qt::SystemClock clock;
  qt::QtExecutors threads;
  EnclosedExecutors executors;
  qt::QtNetworkThread network;
  qt::QtHttpSessions httpSessions{network};
  qt::QtWebSockets webSockets{network};
  MacBundle bundle;
  qt::QtLocalSockets localSockets;
  MacLockFiles lockFiles;
  MacLoginService loginService;
  MacUpdateService updateService;
  MacUserNotifications notifications;
  MacSecretStore secretStore;
  MacUserDefaults userDefaults;
  desktop::PrivateLogFile auditFile;

  const std::unique_ptr<platform::SerialExecutor> accessibilityQueue;
  MacAccessibility accessibility;
  MacDesktopCapabilities capabilities;
  MacWorkspace workspace;
  MacWindowList windowList;
  MacSyntheticEvents syntheticEvents;
  MacTranslations translations;
  MacApplication application;
  MacStatusBar statusBar;

 private:
  std::optional<UninterruptedWork> work;
};

}  // namespace quillard::macos
