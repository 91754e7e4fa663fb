#include "platform/linux/windows/LinuxWindowList.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/windows/WindowListing.h"

namespace quillard::desktop {
namespace {

constexpr Seconds kPartnerDelay{0.035};
constexpr const char* kNoAnswer = "The desktop does not tell which windows there are.";

}  // namespace

LinuxWindowList::LinuxWindowList(DesktopWindows& windows, proc::RunningPrograms& programs, WindowChanges& changes,
                                 AccessibleProcesses& accessible, platform::SerialExecutor& mainThread)
    : windows(windows), programs(programs), changes(changes), accessible(accessible), mainThread(mainThread) {
  for (const auto& window : changes.lastSnapshot().windows) known.insert(window.id);
  subscription = changes.observe([this](const WindowsSnapshot& snapshot) { windowsChanged(snapshot); });
}

platform::Finding<std::vector<platform::WindowListEntry>> LinuxWindowList::readWindowInfo(
    platform::WindowListOptions options) {
  const auto snapshot = windows.snapshot();
  if (snapshot.coverage == WindowCoverage::none) return platform::Limitation{kNoAnswer};
  std::map<std::int32_t, std::optional<std::string>> names;  // Each process is looked up once, however many windows.
  return listWindows(snapshot, options, [&](const Window& window) -> std::optional<std::string> {
    if (!window.processIdentifier) return std::nullopt;
    const auto [name, isNew] = names.try_emplace(*window.processIdentifier);
    if (isNew) {
      const auto program = programs.program(*window.processIdentifier, window.className);
      if (program) name->second = program->name;
    }
    return name->second;
  });
}

platform::SubscriptionHandle LinuxWindowList::observeChanges(std::function<void()> onChange) {
  return listeners.add(std::move(onChange));
}

void LinuxWindowList::windowsChanged(const WindowsSnapshot& snapshot) {
  std::set<WindowID> present;
  std::vector<std::int32_t> newcomers;
  for (const auto& window : snapshot.windows) {
    present.insert(window.id);
    if (!known.contains(window.id)) newcomers.push_back(window.processIdentifier.value_or(0));
  }
  known = std::move(present);
  if (!newcomers.empty()) {
    const auto partners = accessible.processIdentifiers();
    const bool lacksPartner = std::any_of(newcomers.begin(), newcomers.end(), [&](std::int32_t process) {
      return std::find(partners.begin(), partners.end(), process) == partners.end();
    });
    if (lacksPartner) secondHint = mainThread.postAfter(kPartnerDelay, [this] { listeners.tell(); });
  }
  listeners.tell();
}

}  // namespace quillard::desktop
