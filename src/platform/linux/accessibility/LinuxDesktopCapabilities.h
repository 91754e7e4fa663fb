#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/DesktopCapabilities.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/system/EntryCopies.h"
#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::atspi {

// What the desktop and the accessibility bus leave open. Where nothing tells of windows, nothing but accessibility is
// left. In a Wayland session some compositors tell of every window; an X server there knows those of X programs only,
// and others may lie above these.
class LinuxDesktopCapabilities final : public platform::DesktopCapabilities {
 public:
  // What people call the program; absent: it is not known.
  using NameOf = std::function<std::optional<std::string>(std::int32_t processIdentifier)>;
  // How the program can be started so that it can be read. Absent: that cannot be changed safely.
  using StartOf = std::function<std::optional<desktop::StartOffer>(std::int32_t processIdentifier)>;

  // All outlive this. `isXSession`: as in the options of the accessibility.
  LinuxDesktopCapabilities(LinuxAccessibility& accessibility, desktop::DesktopWindows& windows, bool isXSession,
                           NameOf nameOf, StartOf startOf = {})
      : accessibility(accessibility),
        windows(windows),
        isXSession(isXSession),
        nameOf(std::move(nameOf)),
        startOf(std::move(startOf)) {}

  [[nodiscard]] std::optional<platform::Limitation> limitation(platform::DesktopCapability capability) override;
  // Of the programs that have windows, as far as the desktop knows these, those that are not on the bus; of those on
  // the bus, the hollow ones, but none that has no window on a desktop that knows all of them. Others may be missing
  // where programs did not answer, and where only some windows are known or none.
  [[nodiscard]] platform::Finding<std::vector<platform::UnreadableProgram>> unreadablePrograms() override;

 private:
  // Reads again where programs did not answer in time.
  [[nodiscard]] std::optional<HollowPrograms> hollowPrograms();
  [[nodiscard]] std::optional<platform::Limitation> whyOthersMayBeMissing(bool areWindowsKnown,
                                                                          std::size_t silent) const;
  [[nodiscard]] platform::UnreadableProgram unreadable(std::int32_t processIdentifier, bool isOnBus) const;

  LinuxAccessibility& accessibility;
  desktop::DesktopWindows& windows;
  const bool isXSession;
  const NameOf nameOf;
  const StartOf startOf;
};

}  // namespace quillard::atspi
