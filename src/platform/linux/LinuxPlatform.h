#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/UserTexts.h"
#include "platform/SystemPlatform.h"
#include "platform/linux/accessibility/AccessibleProcessList.h"
#include "platform/linux/accessibility/BusObservers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/LinuxDesktopCapabilities.h"
#include "platform/linux/accessibility/WindowEvents.h"
#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/processes/DesktopEntries.h"
#include "platform/linux/processes/ProcessTable.h"
#include "platform/linux/processes/RunningPrograms.h"
#include "platform/linux/shell/LinuxApplication.h"
#include "platform/linux/shell/LinuxStatusBar.h"
#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/linux/storage/SecretServiceStore.h"
#include "platform/linux/system/AutostartEntry.h"
#include "platform/linux/system/DesktopNotifications.h"
#include "platform/linux/system/EntryCopies.h"
#include "platform/linux/system/FileLocks.h"
#include "platform/linux/system/InstalledProgram.h"
#include "platform/linux/system/NoUpdateService.h"
#include "platform/linux/system/OwnFiles.h"
#include "platform/linux/system/SocketPeer.h"
#include "platform/linux/system/SystemRandom.h"
#include "platform/linux/system/XdgOpener.h"
#include "platform/linux/windows/LinuxWindowList.h"
#include "platform/linux/windows/LinuxWorkspace.h"
#include "platform/linux/windows/WhileUnknown.h"
#include "platform/linux/windows/WindowSource.h"
#include "platform/linux/x11/BubbleWatch.h"
#include "platform/linux/x11/XTestEvents.h"
#include "platform/linux/x11/XcbWindows.h"
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

namespace quillard::desktop {

// Everything that the core is handed on Linux: this computer and its desktop. See SystemPlatform.
struct LinuxPlatform final : platform::SystemPlatform {
  // Chooses how Qt reaches windows, which it settles for the life of the process when its application object is made:
  // call it before. The windows of this desktop are those of the X server, also where that is a guest of Wayland's;
  // without one, but within a Wayland session, the agent runs on, if need be without a window to be shown. Whoever has
  // chosen another one (QT_QPA_PLATFORM) gets that. Returns why windows cannot be had here, since Qt would stop the
  // process; absent: they can.
  [[nodiscard]] static std::optional<std::string> prepareWindows();

  // `consoleDescriptor`: where diagnostic lines go.
  explicit LinuxPlatform(int consoleDescriptor);

  [[nodiscard]] platform::Platform platform() override;
  // Ends the agents of this session that run already, and waits for that: the agent asks again itself, but does not
  // wait, so that whoever starts a second agent would be left with none. Prints what this desktop does not offer.
  void prepareForAgent() override;
  [[nodiscard]] std::unique_ptr<platform::UserDefaults> openSettings() override;
  [[nodiscard]] platform::OwnFiles* ownFiles() override { return &files; }

  // What people read on this computer, in their language: as other programs choose it.
  [[nodiscard]] UserTexts texts() const;

  // In the order in which they need one another.
  ProcessEnvironment environment;
  StandardOutput console;
  SystemRandom random;
  SystemCalendar calendar;
  qt::SystemClock clock;
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtHttpSessions httpSessions{network};
  qt::QtWebSockets webSockets{network};
  InstalledProgram bundle;
  qt::QtLocalSockets localSockets;
  FileLocks lockFiles;
  AutostartEntry loginService;
  NoUpdateService updateService;
  DesktopNotifications notifications;
  xdg::SecretServiceStore secretStore;
  xdg::FileUserDefaults userDefaults;
  desktop::PrivateLogFile auditFile;

  desktop::WindowSource windowSource;
  x11::XcbWindows xWindows;  // Those that take synthetic events. Not asked elsewhere.
  atspi::LinuxAccessibility accessibility;
  atspi::AccessibleProcessList accessibleProcesses;
  proc::ProcessTable processes;
  proc::DesktopEntries desktopEntries;
  proc::RunningPrograms programs;
  desktop::EntryCopies entryCopies;
  desktop::OwnFiles files{environment, entryCopies, processes};
  atspi::LinuxDesktopCapabilities capabilities;
  XdgOpener opener;
  desktop::LinuxWorkspace workspace;
  catalogues::LinuxTranslations translations;
  desktop::LinuxWindowList windowList;
  x11::XTestEvents syntheticEvents;
  LinuxStatusBar statusBar{texts()};
  LinuxApplication application;
  // What the window source does not report.
  x11::BubbleWatch bubbles;
  atspi::WindowEvents windowEvents;
  desktop::WhileUnknown eventsWhileUnknown;
  atspi::BusObservers shellSignals;
  platform::SubscriptionHandle shellSubscription;

 private:
  [[nodiscard]] catalogues::TranslationOptions translationOptions();
  [[nodiscard]] OpenerActions openerActions();
  [[nodiscard]] std::shared_ptr<void> additionalWindowEvents();
  // As programs say it. Asked for until one is found; from then on they announce it, until the bus is another one.
  [[nodiscard]] std::optional<std::int32_t> activeProcess();
  bool openAccessibilitySettings();
  bool openLoginItems();
  void announceAccessibility(atspi::SwitchOnOutcome outcome);

  std::atomic<bool> isAskingForActive{false};
  std::unique_ptr<platform::SerialExecutor> settingsQueue;  // Last: what it does uses the rest.
};

}  // namespace quillard::desktop
