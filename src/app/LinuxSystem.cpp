#include "app/LinuxSystem.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <unistd.h>

#include "platform/linux/storage/SessionBusAddress.h"
#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/system/DetachedProgram.h"

namespace quillard::app {
namespace {

// Of a user without a home: nothing can be made there, so that settings of this run stay in memory.
constexpr const char* kNowhere = "/dev/null/quillard";

atspi::LinuxAccessibilityOptions accessibilityOptions(const platform::Environment& environment) {
  return {.sessionBusAddress = xdg::sessionBusAddress(environment),
          .ownProcessIdentifier = static_cast<std::int32_t>(::getpid()),
          .isXSession = environment.value("WAYLAND_DISPLAY").value_or("").empty() &&
                        environment.value("XDG_SESSION_TYPE") != "wayland"};
}

}  // namespace

LinuxSystem::LinuxSystem(int consoleDescriptor)
    : console(consoleDescriptor),
      bundle(desktop::InstalledProgram::ownExecutable(), environment),
      lockFiles(environment),
      loginService(environment, desktop::InstalledProgram::ownExecutable()),
      notifications(environment, executors.mainThread()),
      secretStore(environment, xdg::dataFolder(environment).value_or(kNowhere)),
      userDefaults(xdg::configurationFolder(environment).value_or(kNowhere), executors, console),
      windows(environment.value("DISPLAY")),
      watch(environment.value("DISPLAY"), windows, executors.mainThread()),
      accessibility(accessibilityOptions(environment), windows, executors),
      accessibleProcesses(
          accessibility, [this] { return accessibility.busAddress(); }, executors.mainThread()),
      desktopEntries(environment),
      programs(processes, desktopEntries),
      opener(openerActions()),
      workspace({windows, watch, accessibleProcesses, processes, programs, opener}),
      windowList(windows, programs, watch, accessibleProcesses, executors.mainThread()),
      syntheticEvents(environment.value("DISPLAY"), windows),
      settingsQueue(executors.makeSerialQueue("quillard.settings", platform::QualityOfService::standard)) {}

std::vector<std::string> LinuxSystem::unseenPrograms() {
  std::vector<std::string> unseen;
  for (const auto process : accessibility.unseenProcesses()) {
    const auto program = programs.program(process, "");
    unseen.push_back((program ? program->name : "an unknown program") + " (process " + std::to_string(process) + ")");
  }
  return unseen;
}

desktop::OpenerActions LinuxSystem::openerActions() {
  return {.start = desktop::startDetached,
          .openAccessibilitySettings = [this] { return openAccessibilitySettings(); },
          .openLoginItems = [this] { return openLoginItems(); }};
}

// Desktops have no page where a program is let in; they have a switch for all.
bool LinuxSystem::openAccessibilitySettings() {
  if (!xdg::sessionBusAddress(environment)) return false;
  settingsQueue->post([this] {
    const auto outcome = accessibility.switchOn();
    executors.mainThread().post([this, outcome] { tellOfAccessibility(outcome); });
  });
  return true;
}

void LinuxSystem::tellOfAccessibility(atspi::SwitchOnOutcome outcome) {
  const std::string text = outcome == atspi::SwitchOnOutcome::failed
                               ? "Accessibility cannot be switched on: is at-spi2-core installed?"
                               : "Accessibility is on. Programs that were running before may have to be started anew "
                                 "before their prompts are seen.";
  console.writeLine(text);
  notifications.post({.identifier = "accessibility", .title = "Quillard", .body = text, .playsDefaultSound = false});
}

bool LinuxSystem::openLoginItems() {
  const auto candidates = desktop::loginItemPrograms(environment.value("XDG_CURRENT_DESKTOP").value_or(""));
  if (std::any_of(candidates.begin(), candidates.end(), desktop::startDetached)) return true;
  const auto& folder = loginService.autostartFolder();
  if (!folder) return false;
  std::error_code error;
  std::filesystem::create_directories(*folder, error);
  return opener.openFolder(*folder);
}

}  // namespace quillard::app
