#include "platform/linux/accessibility/LinuxDesktopCapabilities.h"

#include <algorithm>
#include <utility>

#include "foundation/TextCatalogue.h"
#include "platform/linux/accessibility/UnreadableRemedy.h"
#include "platform/linux/catalogues/ProcessFolder.h"

namespace quillard::atspi {
namespace {

using platform::DesktopCapability;
using platform::Limitation;

constexpr const char* kNoServer =
    "No X server can be reached: windows are not listed, and no click or key can be sent.";
constexpr const char* kWaylandAlone =
    "This is a Wayland session without an X server. Prompts are read and answered through accessibility alone; windows "
    "cannot be brought to the front or clicked.";
constexpr const char* kWaylandWithServer =
    "This is a Wayland session. Windows of Wayland programs cannot be brought to the front or clicked, and some are "
    "not seen; those of X programs are.";
constexpr const char* kWaylandInput = "This is a Wayland session. Clicks and keys can be sent to X programs only.";
constexpr const char* kWaylandPoints =
    "This is a Wayland session. It cannot be told what lies at a point of the screen, so nothing is clicked there.";
constexpr const char* kWindowsNotKnown = "Not known: it cannot be told which programs have windows.";

constexpr const char* kStartAgain =
    catalogued("End it and start it again from the menu: its entry there has the switch by now.");

// A program that was slow once is read in smaller pieces the next time.
constexpr int kReadings = 3;

std::string silence(std::size_t programs) {
  return "Not known: " + std::to_string(programs) + (programs == 1 ? " program" : " programs") + " did not answer.";
}

// Window managers and the like have windows on the bus that nobody is meant to see.
bool mayShowWindow(std::int32_t process, const desktop::WindowsSnapshot& snapshot) {
  return snapshot.coverage != desktop::WindowCoverage::all ||
         std::any_of(snapshot.windows.begin(), snapshot.windows.end(),
                     [&](const desktop::Window& window) { return window.processIdentifier == process; });
}

}  // namespace

std::optional<Limitation> LinuxDesktopCapabilities::limitation(DesktopCapability capability) {
  using desktop::WindowCoverage;
  const auto coverage = windows.coverage();
  if (isXSession) return coverage == WindowCoverage::none ? std::optional(Limitation{kNoServer}) : std::nullopt;
  if (coverage == WindowCoverage::none) return Limitation{kWaylandAlone};
  switch (capability) {
    case DesktopCapability::windowList:
    case DesktopCapability::frontmostApplication:
      if (coverage == WindowCoverage::all) return std::nullopt;
      return Limitation{.reason = kWaylandWithServer, .isPartial = true};
    case DesktopCapability::syntheticInput:
      return Limitation{.reason = coverage == WindowCoverage::all ? kWaylandInput : kWaylandWithServer,
                        .isPartial = true};
    case DesktopCapability::screenCoordinates:
      break;
  }
  return Limitation{kWaylandPoints};
}

platform::Finding<std::vector<platform::UnreadableProgram>> LinuxDesktopCapabilities::unreadablePrograms() {
  if (accessibility.isProcessTrusted() != platform::ProcessTrust::granted)
    return Limitation{"Not known without accessibility."};
  const auto found = hollowPrograms();
  if (!found) return Limitation{"Not known: the accessibility bus did not say which programs are on it."};
  std::vector<platform::UnreadableProgram> onBus;
  const auto snapshot = windows.snapshot();
  for (const auto process : found->hollow) {
    if (mayShowWindow(process, snapshot)) onBus.push_back(unreadable(process, /*isOnBus=*/true));
  }
  const auto unseen = accessibility.unseenProcesses();
  std::vector<platform::UnreadableProgram> programs;
  for (const auto process : unseen.value_or(std::vector<std::int32_t>{})) {
    programs.push_back(unreadable(process, /*isOnBus=*/false));
  }
  programs.insert(programs.end(), onBus.begin(), onBus.end());
  const auto missing = whyOthersMayBeMissing(unseen.has_value(), found->silent.size());
  if (!missing) return programs;
  if (programs.empty()) return *missing;
  return {std::move(programs), *missing};
}

std::optional<HollowPrograms> LinuxDesktopCapabilities::hollowPrograms() {
  auto found = accessibility.hollowPrograms();
  for (int readings = 1; readings < kReadings && found && !found->silent.empty(); ++readings) {
    found = accessibility.hollowPrograms();
  }
  return found;
}

// Of a desktop that knows only some of its windows, what is found is there, and so it is where programs were silent.
std::optional<Limitation> LinuxDesktopCapabilities::whyOthersMayBeMissing(bool areWindowsKnown,
                                                                          std::size_t silent) const {
  if (silent > 0) return Limitation{.reason = silence(silent), .isPartial = true};
  if (areWindowsKnown && windows.coverage() == desktop::WindowCoverage::all) return std::nullopt;
  return Limitation{kWindowsNotKnown};
}

platform::UnreadableProgram LinuxDesktopCapabilities::unreadable(std::int32_t process, bool isOnBus) const {
  const auto maps = catalogues::ProcessFolder("/proc", process).maps().text;
  platform::UnreadableProgram program{.processIdentifier = process,
                                      .name = nameOf(process).value_or(platform::kUnknownProgramName),
                                      .remedy = remedyFor(maps.value_or(""), isOnBus)};
  const auto start = startOf && isSwitchAtStart(program.remedy) ? startOf(process) : std::nullopt;
  if (!start) return program;
  if (start->isChanged) {
    program.remedy = kStartAgain;
  } else {
    program.startEntry = start->entry;
  }
  return program;
}

}  // namespace quillard::atspi
