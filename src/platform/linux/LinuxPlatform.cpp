#include "platform/linux/LinuxPlatform.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include <QtCore/QtGlobal>
#include <unistd.h>

#include "platform/linux/storage/SessionBusAddress.h"
#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "platform/linux/system/DetachedProgram.h"
#include "platform/linux/system/LinuxMemoryTrim.h"

namespace quillard::desktop {
namespace {

// Of a user without a home: nothing can be made there, so that settings of this run stay in memory.
constexpr const char* kNowhere = "/dev/null/quillard";
constexpr const char* kAuditFile = "decisions.log";

atspi::LinuxAccessibilityOptions accessibilityOptions(const platform::Environment& environment) {
  return {.sessionBusAddress = xdg::sessionBusAddress(environment),
          .ownProcessIdentifier = static_cast<std::int32_t>(::getpid()),
          .isXSession = isXSession(environment),
          .systemBusAddress = xdg::systemBusAddress(environment)};
}

// GNOME Shell announces to every process that windows or their programs have changed, but not which.
const std::vector<std::string>& shellRules() {
  static const std::vector<std::string> rules{
      "type='signal',sender='org.gnome.Shell',interface='org.gnome.Shell.Introspect',member='WindowsChanged'",
      "type='signal',sender='org.gnome.Shell',interface='org.gnome.Shell.Introspect',"
      "member='RunningApplicationsChanged'"};
  return rules;
}

bool hasShellSignals(const platform::Environment& environment) {
  return windowSourceKind(environment) == WindowSourceKind::guestXServer && isDesktop(environment, "GNOME");
}

}  // namespace

LinuxPlatform::LinuxPlatform(int consoleDescriptor)
    : console(consoleDescriptor),
      bundle(InstalledProgram::ownExecutable(), environment),
      localSockets(localSocketTraits(environment), executors.mainThread()),
      lockFiles(environment),
      loginService(environment, InstalledProgram::ownExecutable()),
      notifications(environment, executors.mainThread()),
      secretStore(environment, xdg::dataFolder(environment).value_or(kNowhere)),
      userDefaults(xdg::configurationFolder(environment).value_or(kNowhere), executors, console),
      auditFile(xdg::dataFolder(environment).value_or(kNowhere), kAuditFile),
      windowSource(makeWindowSource(environment, executors.mainThread())),
      xWindows(environment.value("DISPLAY")),
      accessibility(accessibilityOptions(environment), *windowSource.windows, executors),
      accessibleProcesses(
          accessibility, [this] { return accessibility.busAddress(); }, executors.mainThread()),
      desktopEntries(environment),
      programs(processes, desktopEntries),
      entryCopies(environment, desktopEntries),
      capabilities(
          accessibility, *windowSource.windows, isXSession(environment),
          [this](std::int32_t process) -> std::optional<std::string> {
            const auto program = programs.program(process, "");
            return program ? std::optional(program->name) : std::nullopt;
          },
          [this](std::int32_t process) -> std::optional<StartOffer> {
            const auto facts = processes.process(process);
            return facts ? entryCopies.offerFor(proc::programOf(*facts), facts->arguments) : std::nullopt;
          }),
      opener(openerActions()),
      workspace({*windowSource.windows, *windowSource.changes, accessibleProcesses, processes, programs, opener,
                 windowEventKinds(environment).activated
                     ? std::function<std::optional<std::int32_t>()>([this] { return activeProcess(); })
                     : nullptr}),
      translations(translationOptions()),
      windowList(*windowSource.windows, programs, *windowSource.changes, accessibleProcesses, executors.mainThread()),
      syntheticEvents(environment.value("DISPLAY"), xWindows, isXSession(environment),
                      [this] { return accessibility.isScreenLocked(); }),
      application(executors.mainThread(), statusBar, texts()),
      bubbles(isXSession(environment) ? environment.value("DISPLAY") : std::nullopt, *windowSource.changes,
              [this] { windowList.announceUnlistedWindow(); }),
      windowEvents([this] { return accessibility.busAddress(); }, windowEventKinds(environment), ::getpid(),
                   executors.mainThread(), [this] { windowList.announceUnlistedWindow(); }),
      eventsWhileUnknown(*windowSource.changes, executors.mainThread(), [this] { return additionalWindowEvents(); }),
      shellSignals([this] { return xdg::sessionBusAddress(environment); }, shellRules(), executors.mainThread()),
      shellSubscription(hasShellSignals(environment) ? shellSignals.add([this] { windowList.announceUnlistedWindow(); })
                                                     : nullptr),
      settingsQueue(executors.makeSerialQueue("quillard.settings", platform::QualityOfService::standard)) {}

std::optional<std::string> LinuxPlatform::prepareWindows() {
  keepHeapSmall();
  const ProcessEnvironment environment;
  const auto chosen = environment.value("QT_QPA_PLATFORM");
  if (chosen && !chosen->starts_with("xcb")) return std::nullopt;
  if (x11::XcbWindows(environment.value("DISPLAY")).coverage() != desktop::WindowCoverage::none) {
    qputenv("QT_QPA_PLATFORM", "xcb");
  } else if (environment.value("WAYLAND_DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "wayland;offscreen");
  } else {
    return "There is no X server, or it does not answer. DISPLAY says where it is.";
  }
  return std::nullopt;
}

std::optional<std::int32_t> LinuxPlatform::activeProcess() {
  if (!windowEvents.isActivityKnown() && !isAskingForActive.exchange(true)) {
    settingsQueue->post([this] {
      if (const auto process = accessibility.activeProcess()) windowEvents.assumeActiveProcess(*process);
      isAskingForActive = false;
    });
  }
  return windowEvents.activeProcess();
}

std::shared_ptr<void> LinuxPlatform::additionalWindowEvents() {
  return std::make_shared<atspi::WindowEvents>([this] { return accessibility.busAddress(); },
                                               windowEventKindsWhileUnknown(environment), ::getpid(),
                                               executors.mainThread(), [this] { windowList.announceUnlistedWindow(); });
}

platform::Platform LinuxPlatform::platform() {
  return {.accessibility = accessibility,
          .application = application,
          .auditFile = auditFile,
          .bundle = bundle,
          .calendar = calendar,
          .capabilities = capabilities,
          .clock = clock,
          .console = console,
          .environment = environment,
          .executors = executors,
          .httpSessions = httpSessions,
          .localSockets = localSockets,
          .lockFiles = lockFiles,
          .loginService = loginService,
          .promptSupplement = linuxPromptSupplement(),
          .random = random,
          .secretStore = secretStore,
          .statusBar = statusBar,
          .syntheticEvents = syntheticEvents,
          .translations = translations,
          .updateService = updateService,
          .userDefaults = userDefaults,
          .userNotifications = notifications,
          .webSockets = webSockets,
          .windowList = windowList,
          .workspace = workspace,
          .readableStarts = &entryCopies};
}

std::unique_ptr<platform::UserDefaults> LinuxPlatform::openSettings() {
  return std::make_unique<xdg::FileUserDefaults>(xdg::configurationFolder(environment).value_or(kNowhere), executors,
                                                 console);
}

UserTexts LinuxPlatform::texts() const {
  const auto locale = catalogues::messageLocale([this](std::string_view name) { return environment.value(name); });
  return {Machine::computer, languageOf(locale)};
}

void LinuxPlatform::prepareForAgent() {
  const auto limitation = capabilities.limitation(platform::DesktopCapability::windowList);
  if (limitation && !limitation->isPartial) console.writeLine(limitation->reason);
}

catalogues::TranslationOptions LinuxPlatform::translationOptions() {
  return {.ownLocale = catalogues::messageLocale([this](std::string_view name) { return environment.value(name); }),
          .languageOf = [this](std::int32_t process) -> std::optional<catalogues::ProgramLanguage> {
            auto language = accessibility.languageOf(process);
            if (!language) return std::nullopt;
            return catalogues::ProgramLanguage{std::move(language->locale), std::move(language->toolkit)};
          },
          .now = [this] { return clock.monotonicNow(); }};
}

OpenerActions LinuxPlatform::openerActions() {
  return {.start = startDetached,
          .openAccessibilitySettings = [this] { return openAccessibilitySettings(); },
          .openLoginItems = [this] { return openLoginItems(); }};
}

// Desktops have no page where a program is let in; they have a switch for all.
bool LinuxPlatform::openAccessibilitySettings() {
  if (!xdg::sessionBusAddress(environment)) return false;
  settingsQueue->post([this] {
    const auto outcome = accessibility.switchOn();
    executors.mainThread().post([this, outcome] { announceAccessibility(outcome); });
  });
  return true;
}

void LinuxPlatform::announceAccessibility(atspi::SwitchOnOutcome outcome) {
  const auto text = outcome == atspi::SwitchOnOutcome::failed
                        ? TextKey("Accessibility cannot be switched on: is at-spi2-core installed?")
                        : TextKey(
                              "Accessibility is on. Programs that were running before may have to be started anew "
                              "before their prompts are seen.");
  console.writeLine(UserTexts{}(text));
  notifications.post(
      {.identifier = "accessibility", .title = "Quillard", .body = texts()(text), .playsDefaultSound = false});
}

bool LinuxPlatform::openLoginItems() {
  const auto candidates = loginItemPrograms(environment.value("XDG_CURRENT_DESKTOP").value_or(""));
  if (std::any_of(candidates.begin(), candidates.end(), startDetached)) return true;
  const auto& folder = loginService.autostartFolder();
  if (!folder) return false;
  std::error_code error;
  std::filesystem::create_directories(*folder, error);
  return opener.openFolder(*folder);
}

}  // namespace quillard::desktop
