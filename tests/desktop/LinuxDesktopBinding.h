#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "contract/desktop/DesktopBinding.h"
#include "desktop/LoopWaiting.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/X11Binding.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/AccessibleProcessList.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/LinuxDesktopCapabilities.h"
#include "platform/linux/accessibility/WindowEvents.h"
#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/system/EntryCopies.h"
#include "platform/linux/windows/WindowSource.h"
#include "platform/linux/x11/XTestEvents.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/SystemClock.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedUserDefaults.h"

namespace quillard::test {

// A program on a private desktop that shows a prompt; its output tells the presses.
class LinuxPromptProgram final : public PromptProgram {
 public:
  explicit LinuxPromptProgram(DesktopProgram program) : program(std::move(program)) {}

  [[nodiscard]] std::int32_t processIdentifier() const override { return program.pid(); }
  [[nodiscard]] std::vector<std::string> presses() override {
    constexpr std::string_view kPrefix = "pressed: ";
    std::vector<std::string> labels;
    std::istringstream lines{program.output()};
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(kPrefix)) labels.push_back(line.substr(kPrefix.size()));
    }
    return labels;
  }
  void kill() override { program.kill(); }
  void stop() override { program.stop(); }
  void goOn() override { program.resume(); }

 private:
  DesktopProgram program;
};

// A private desktop of any kind and all bindings to it, put together as the program does: by the variables of the
// session. `sample` is the sample program that shows the prompts that are asked for.
class LinuxDesktopBinding final : public DesktopBinding {
 public:
  explicit LinuxDesktopBinding(std::string sample, const PrivateDesktop::Options& options = {})
      : sample(std::move(sample)), own(std::make_unique<PrivateDesktop>(options)), desktop(*own) {}
  // On a desktop of another owner, which outlives this object.
  LinuxDesktopBinding(std::string sample, PrivateDesktop& shared) : sample(std::move(sample)), desktop(shared) {}

  [[nodiscard]] PrivateDesktop& privateDesktop() { return desktop; }
  // Of the desktop's windows, as the agent asks it.
  [[nodiscard]] desktop::DesktopWindows& windows() { return *source.windows; }
  // Those of the agent; none are set.
  [[nodiscard]] DesktopEnvironment& agentVariables() { return variables; }
  [[nodiscard]] std::vector<std::string> printedLines() const { return quietConsole.lines(); }
  [[nodiscard]] const atspi::AccessibilityCounters& accessibilityCounters() const {
    return linuxAccessibility.counters();
  }

  [[nodiscard]] atspi::LinuxAccessibility& ownAccessibility() { return linuxAccessibility; }
  [[nodiscard]] platform::Translations& translations() { return linuxTranslations; }

  [[nodiscard]] platform::ReadableStarts& readableStarts() { return entryCopies; }

  platform::Accessibility& accessibility() override { return linuxAccessibility; }
  platform::Workspace& workspace() override { return linuxWorkspace; }
  platform::WindowList& windowList() override { return linuxWindowList; }
  platform::SyntheticEvents& syntheticEvents() override { return events; }
  platform::DesktopCapabilities& capabilities() override { return linuxCapabilities; }
  platform::Clock& clock() override { return systemClock; }
  platform::Console& console() override { return quietConsole; }
  const platform::Environment& environment() override { return variables; }
  platform::Random& random() override { return seededRandom; }
  platform::UserDefaults& userDefaults() override { return defaults; }

  [[nodiscard]] std::set<platform::DesktopCapability> missing() const override {
    using platform::DesktopCapability;
    if (!privatedesktop::isWayland(desktop.kind())) return {};
    std::set missing{DesktopCapability::screenCoordinates, DesktopCapability::syntheticInput};
    const bool tellsOfWindows =
        desktop.kind() == privatedesktop::DesktopKind::sway || desktop.kind() == privatedesktop::DesktopKind::kwin;
    if (!tellsOfWindows) missing.insert({DesktopCapability::windowList, DesktopCapability::frontmostApplication});
    return missing;
  }

  // Weston has no keyboard without devices, so that nothing is in front. GNOME leaves it to the programs to say, and
  // GTK 4 says it of no dialog.
  [[nodiscard]] bool tellsPromptInFront() const override {
    using privatedesktop::DesktopKind;
    const bool isGtk4 = sample == "gtk4_prompt";
    return desktop.kind() != DesktopKind::weston && !(desktop.kind() == DesktopKind::gnome && isGtk4);
  }

  std::unique_ptr<PromptProgram> show(const PromptOptions& options) override {
    auto program = std::make_unique<LinuxPromptProgram>(desktop.launch(sample, arguments(options)));
    EXPECT_TRUE(eventually([&] { return isReadable(program->processIdentifier(), options); })) << options.title;
    return program;
  }

  std::unique_ptr<PromptProgram> showUnreadable() override {
    return std::make_unique<LinuxPromptProgram>(
        desktop.launch("zenity", {"--info", "--title=Unreadable", "--text=x"}, {{"NO_AT_BRIDGE", "1"}}));
  }

  void loseDesktop() override { desktop.killAccessibilityBus(); }
  bool eventually(const std::function<bool()>& condition) override { return waitInLoop(condition); }

 private:
  static std::vector<std::string> arguments(const PromptOptions& options) {
    std::vector<std::string> arguments{"--kind", "dialog", "--title", options.title};
    const auto add = [&](const char* name, const std::string& value) {
      arguments.emplace_back(name);
      arguments.push_back(value);
    };
    for (const auto& line : options.lines) add("--text", line);
    for (const auto& label : options.buttons) add("--button", label);
    if (options.disabledButton) add("--disabled", std::to_string(*options.disabledButton));
    if (options.hasSecureTextField) {
      arguments.emplace_back("--secret");
      add("--secret-text", "hunter2");
    }
    if (options.at)
      add("--at",
          std::to_string(static_cast<int>(options.at->x)) + "," + std::to_string(static_cast<int>(options.at->y)));
    if (options.successor) {
      add("--successor", *options.successor);
      for (const auto& line : options.lines) add("--successor-text", line);
      for (const auto& label : options.buttons) add("--successor-button", label);
    }
    return arguments;
  }

  [[nodiscard]] static DesktopEnvironment variablesOf(const PrivateDesktop& desktop) {
    DesktopEnvironment result;
    for (const auto& variable : desktop.environment()) {
      const auto end = variable.find('=');
      result.values[variable.substr(0, end)] = variable.substr(end + 1);
    }
    return result;
  }

  // Where the desktop knows who is in front, it is this one. Elsewhere programs say so, and GTK 4's dialogs do not.
  bool isInFront(std::int32_t process) {
    if (linuxCapabilities.limitation(platform::DesktopCapability::frontmostApplication)) return true;
    const auto frontmost = linuxWorkspace.frontmostApplication();
    return frontmost && frontmost->processIdentifier == process;
  }

  // On the bus, in front, and with a button that has a place.
  bool isReadable(std::int32_t process, const PromptOptions& options) {
    if (!isInFront(process)) return false;
    const auto scope = linuxAccessibility.beginReadScope();
    const auto open = AXHelpers::windows(*scope, linuxAccessibility.createApplication(process));
    if (open.size() != 1 || !AXHelpers::frame(*scope, open[0])) return false;
    std::size_t buttons = 0;
    for (const auto& element : AXHelpers::deeplyNestedChildren(*scope, open[0], 80)) {
      const auto frame = AXHelpers::frame(*scope, element);
      if (AXHelpers::role(*scope, element) == platform::ax::kButtonRole && frame && frame->width > 1) ++buttons;
    }
    return buttons >= options.buttons.size();
  }

  const std::string sample;
  const std::unique_ptr<PrivateDesktop> own;  // Null for a shared one.
  PrivateDesktop& desktop;
  const DesktopEnvironment session = variablesOf(desktop);
  const bool isXSession = desktop::isXSession(session);
  qt::QtExecutors executors;
  qt::SystemClock systemClock;
  platform::simulated::SimulatedConsole quietConsole;
  platform::simulated::SimulatedRandom seededRandom{platform::simulated::Seed{1}};
  platform::simulated::SimulatedUserDefaults defaults;
  DesktopEnvironment variables;
  RecordingOpener opener;
  desktop::WindowSource source = desktop::makeWindowSource(session, executors.mainThread());
  x11::XcbWindows xWindows{session.value("DISPLAY")};
  atspi::LinuxAccessibility linuxAccessibility{
      {.sessionBusAddress = desktop.sessionBusAddress(), .ownProcessIdentifier = ::getpid(), .isXSession = isXSession},
      *source.windows,
      executors};
  atspi::AccessibleProcessList accessible{linuxAccessibility, [this] { return linuxAccessibility.busAddress(); },
                                          executors.mainThread()};
  proc::ProcessTable processes;
  proc::DesktopEntries entries{variables};
  desktop::EntryCopies entryCopies{variables, entries};
  proc::RunningPrograms programs{processes, entries};
  atspi::LinuxDesktopCapabilities linuxCapabilities{
      linuxAccessibility, *source.windows, isXSession,
      [this](std::int32_t process) -> std::optional<std::string> {
        const auto program = programs.program(process, "");
        return program ? std::optional(program->name) : std::nullopt;
      },
      [this](std::int32_t process) -> std::optional<desktop::StartOffer> {
        const auto facts = processes.process(process);
        return facts ? entryCopies.offerFor(proc::programOf(*facts), facts->arguments) : std::nullopt;
      }};
  desktop::LinuxWindowList linuxWindowList{*source.windows, programs, *source.changes, accessible,
                                           executors.mainThread()};
  atspi::WindowEvents windowEvents{[this] { return linuxAccessibility.busAddress(); },
                                   desktop::windowEventKinds(session), ::getpid(), executors.mainThread(),
                                   [this] { linuxWindowList.announceUnlistedWindow(); }};
  desktop::LinuxWorkspace linuxWorkspace{
      {*source.windows, *source.changes, accessible, processes, programs, opener,
       [this]() -> std::optional<std::int32_t> { return windowEvents.activeProcess(); }}};
  x11::XTestEvents events{session.value("DISPLAY"), xWindows, isXSession};
  catalogues::LinuxTranslations linuxTranslations{
      {.ownLocale = "", .languageOf = [this](std::int32_t process) -> std::optional<catalogues::ProgramLanguage> {
         const auto language = linuxAccessibility.languageOf(process);
         if (!language) return std::nullopt;
         return catalogues::ProgramLanguage{language->locale, language->toolkit};
       }}};
};

}  // namespace quillard::test
