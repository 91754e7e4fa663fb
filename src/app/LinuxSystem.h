#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/accessibility/AccessibleProcessList.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/linux/storage/SecretServiceStore.h"
#include "platform/linux/system/AutostartEntry.h"
#include "platform/linux/system/DesktopNotifications.h"
#include "platform/linux/system/FileLocks.h"
#include "platform/linux/system/InstalledProgram.h"
#include "platform/linux/system/NoUpdateService.h"
#include "platform/linux/system/SystemRandom.h"
#include "platform/linux/system/XdgOpener.h"
#include "platform/linux/x11/DesktopEntries.h"
#include "platform/linux/x11/DesktopWatch.h"
#include "platform/linux/x11/LinuxWindowList.h"
#include "platform/linux/x11/LinuxWorkspace.h"
#include "platform/linux/x11/ProcessTable.h"
#include "platform/linux/x11/RunningPrograms.h"
#include "platform/linux/x11/XTestEvents.h"
#include "platform/linux/x11/XcbWindows.h"
#include "platform/posix/ProcessEnvironment.h"
#include "platform/posix/StandardOutput.h"
#include "platform/posix/SystemCalendar.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"

namespace quillard::app {

// This computer and its desktop, as far as neither needs a window of ours: all that the tools need, and most of what
// the agent does. Made and destroyed on the main thread, inside the life of Qt's application object. Nothing in it
// fails where there is no desktop: there is only less to see.
struct LinuxSystem {
  // `consoleDescriptor`: where diagnostic lines go.
  explicit LinuxSystem(int consoleDescriptor);
  LinuxSystem(const LinuxSystem&) = delete;
  LinuxSystem& operator=(const LinuxSystem&) = delete;

  // Programs that have windows and cannot be read, with their numbers, for people to read. Waits for the bus.
  [[nodiscard]] std::vector<std::string> unseenPrograms();

  // In the order in which they need one another.
  desktop::ProcessEnvironment environment;
  desktop::StandardOutput console;
  desktop::SystemRandom random;
  desktop::SystemCalendar calendar;
  qt::SystemClock clock;
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtHttpSessions httpSessions{network};
  qt::QtWebSockets webSockets{network};
  desktop::InstalledProgram bundle;
  desktop::FileLocks lockFiles;
  desktop::AutostartEntry loginService;
  desktop::NoUpdateService updateService;
  desktop::DesktopNotifications notifications;
  xdg::SecretServiceStore secretStore;
  xdg::FileUserDefaults userDefaults;

  x11::XcbWindows windows;
  x11::DesktopWatch watch;
  atspi::LinuxAccessibility accessibility;
  atspi::AccessibleProcessList accessibleProcesses;
  x11::ProcessTable processes;
  x11::DesktopEntries desktopEntries;
  x11::RunningPrograms programs;
  desktop::XdgOpener opener;
  x11::LinuxWorkspace workspace;
  x11::LinuxWindowList windowList;
  x11::XTestEvents syntheticEvents;

 private:
  [[nodiscard]] desktop::OpenerActions openerActions();
  bool openAccessibilitySettings();
  bool openLoginItems();
  void tellOfAccessibility(atspi::SwitchOnOutcome outcome);

  std::unique_ptr<platform::SerialExecutor> settingsQueue;  // Last: what it does uses the rest.
};

}  // namespace quillard::app
