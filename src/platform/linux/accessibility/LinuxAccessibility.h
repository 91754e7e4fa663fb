#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/TrustAnswers.h"
#include "platform/linux/accessibility/AccessibilityCounters.h"
#include "platform/linux/accessibility/AccessibilityStatus.h"
#include "platform/linux/accessibility/AccessibilitySwitch.h"
#include "platform/linux/accessibility/AccessibleApplications.h"
#include "platform/linux/accessibility/BusConnections.h"
#include "platform/linux/accessibility/BusObservers.h"
#include "platform/linux/accessibility/DesktopReading.h"
#include "platform/linux/accessibility/KnownPrograms.h"
#include "platform/linux/accessibility/SessionLock.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/process/Executors.h"

namespace quillard::atspi {

// What a program says of itself. Empty: it does not say.
struct AccessibleLanguage {
  std::string locale;   // Such as "de_DE.UTF-8".
  std::string toolkit;  // Such as "gtk", "GTK" (of version 4), "Qt".
};

struct LinuxAccessibilityOptions {
  std::optional<std::string> sessionBusAddress;  // Absent outside a session: then there is no accessibility either.
  std::int32_t ownProcessIdentifier = 0;
  // Whether what the X server shows is all that there is. Under Wayland other windows may lie above those that it
  // knows, so it cannot be known what is at a point of the screen: hit tests then answer `notImplemented`.
  bool isXSession = true;
  // How long one request waits, for programs and for the accessibility bus's own services. Positive, a minute at most.
  Seconds messagingTimeout = platform::kMessagingTimeout;
  std::optional<std::string> systemBusAddress{};  // Absent: no login manager is asked whether the screen is locked.
  // How long a press in GNOME Shell waits for a shell that answers too slowly to be sent a key.
  Seconds slowShellTimeout{4};
};

// Elements of other programs, over the accessibility bus (AT-SPI 2), joined with what the desktop knows of their
// windows. Of a window that it knows, it says whether that is in front; any other says so itself. Trusted means: the
// bus is there, and switched on. Denied means that it is switched off, or that nothing takes care of it; a service or
// bus that gives no answer leaves it unknown.
//
// A scope cannot see the desktop when the accessibility bus cannot be reached or the registry does not list who is on
// it, and when an X server that was there has gone (in an X session: others start and end theirs as they like).
//
// Windows are raised, restored and focused through the desktop. Where it tells of no windows, elements are read and
// pressed all the same; their frames are then good for order and size only, and nothing can be raised.
//
// A process that is not on the bus answers `notImplemented`. This process itself is never asked, and has no windows.
//
// Of a container with more than 120 children, only the last 120 are given: no walk of the agent gets beyond them.
class LinuxAccessibility final : public platform::Accessibility,
                                 public AccessibleApplications,
                                 public AccessibilitySwitch {
 public:
  // Both outlive this. Nothing is asked yet.
  LinuxAccessibility(const LinuxAccessibilityOptions& options, desktop::DesktopWindows& windows,
                     platform::Executors& executors);
  LinuxAccessibility(const LinuxAccessibility&) = delete;
  LinuxAccessibility& operator=(const LinuxAccessibility&) = delete;

  [[nodiscard]] platform::AXResult<platform::AXValue> copyAttributeValue(const platform::AXUIElement& element,
                                                                         platform::AXAttribute name) override;
  [[nodiscard]] platform::AXResult<std::vector<std::string>> copyActionNames(
      const platform::AXUIElement& element) override;
  [[nodiscard]] platform::ProcessTrust isProcessTrusted() override { return trust.ask(); }
  [[nodiscard]] platform::ProcessTrust lastKnownProcessTrust() override { return trust.lastKnown(); }
  // Asks nobody while the bus is there and its service has not said anything since it last granted the permission;
  // after 30 s it is asked all the same.
  void refreshProcessTrust(std::function<void(platform::ProcessTrust)> onAnswer) override;
  [[nodiscard]] platform::SubscriptionHandle observeTrustChanges(std::function<void()> onChange) override;
  [[nodiscard]] platform::AXUIElement createApplication(std::int32_t processIdentifier) override;
  [[nodiscard]] platform::AXUIElement createSystemWide() override;
  [[nodiscard]] std::unique_ptr<platform::AXReadScope> beginReadScope() override;
  [[nodiscard]] std::unique_ptr<platform::AXReadScope> beginScanScope() override;
  [[nodiscard]] std::optional<std::int32_t> processIdentifier(const platform::AXUIElement& element) override;
  platform::AXError setAttributeValue(const platform::AXUIElement& element, platform::AXAttribute name,
                                      const platform::AXValue& value) override;
  platform::AXError performAction(const platform::AXUIElement& element, platform::AXAction action) override;
  [[nodiscard]] platform::AXResult<platform::AXUIElement> copyElementAtPosition(const platform::AXUIElement& within,
                                                                                Point point) override;

  [[nodiscard]] std::optional<std::vector<std::int32_t>> processIdentifiers() override;
  [[nodiscard]] std::vector<AccessibleApplication> accessibleApplications() override;

  // Waits for the program. Absent when the process is not on the bus, or does not answer.
  [[nodiscard]] std::optional<AccessibleLanguage> languageOf(std::int32_t processIdentifier);

  // See `isSessionLocked`. Waits.
  [[nodiscard]] bool isScreenLocked() { return isSessionLocked(options.systemBusAddress, counted); }

  // Whose window has the keyboard, as programs say it now: of a shell that has it for a dialog of its own, the shell.
  // Reads every window. Absent: none says so, or several do.
  [[nodiscard]] std::optional<std::int32_t> activeProcess();

  SwitchOnOutcome switchOn() override;
  [[nodiscard]] std::optional<std::vector<std::int32_t>> unseenProcesses() override;
  [[nodiscard]] std::optional<HollowPrograms> hollowPrograms() override;

  // Where the accessibility bus listens. Absent when there is none. Any thread.
  [[nodiscard]] std::optional<std::string> busAddress() { return status.busAddress(); }
  [[nodiscard]] const AccessibilityCounters& counters() const { return counted; }

 private:
  // Waits for the session's services, up to a few seconds where they hang.
  [[nodiscard]] platform::ProcessTrust askForTrust();
  [[nodiscard]] platform::ProcessTrust askServices();
  // Whether the permission is as it was granted last.
  [[nodiscard]] bool isStillGranted();
  // Null: the accessibility bus cannot be reached.
  [[nodiscard]] std::unique_ptr<DesktopReading> beginReading(bool mayAskCaches = false);

  const LinuxAccessibilityOptions options;
  desktop::DesktopWindows& windows;
  AccessibilityCounters counted;
  KnownPrograms knownPrograms;
  AccessibilityStatus status;
  BusConnections connections;
  std::atomic<bool> hadWindowServer{false};  // In this run, where an X server shows all that there is.
  // What was said of the permission, the coming and going of the session bus included. 0: nobody listens yet.
  std::atomic<std::uint64_t> trustNews{0};
  struct Grant {
    std::uint64_t news = 0;  // How many there were when it was asked for.
    std::chrono::steady_clock::time_point moment;
  };
  Mutex mutex;
  std::optional<Grant> lastGrant QUILLARD_GUARDED_BY(mutex);  // Absent: the last answer was another one.
  platform::SerialExecutor& mainThread;
  BusObservers trustObservers;
  platform::TrustAnswers trust;
  const std::shared_ptr<char> life = std::make_shared<char>();  // Of answers that are on their way.
};

}  // namespace quillard::atspi
