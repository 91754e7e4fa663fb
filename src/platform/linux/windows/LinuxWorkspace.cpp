#include "platform/linux/windows/LinuxWorkspace.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

#include "platform/linux/system/ProcessHandle.h"
#include "platform/linux/windows/WindowListing.h"

namespace quillard::desktop {
namespace {

using platform::ActivationPolicy;
using platform::RunningApplication;
using std::chrono::steady_clock;

constexpr auto kLongestReuse = std::chrono::milliseconds{20};

bool isOfDesktop(const Window& window) { return window.type == WindowType::desktop || window.type == WindowType::dock; }

}  // namespace

LinuxWorkspace::LinuxWorkspace(const Sources& sources)
    : sources(sources), agents(sources.processes, sources.processes.sessionFolder(::getpid())) {
  const Reading reading = read(sources.changes.lastSnapshot());
  reported = {.applications = applications(reading), .currentDesktop = reading.snapshot.currentDesktop};
  noteKnownFromWindows(reported);
  windowSubscription = sources.changes.observe([this](const WindowsSnapshot& snapshot) { desktopChanged(snapshot); });
  accessibleSubscription = sources.accessible.observe([this] { desktopChanged(this->sources.changes.lastSnapshot()); });
}

std::vector<RunningApplication> LinuxWorkspace::runningApplications() {
  auto running = applications(recentReading());
  const auto isKnown = [&](std::int32_t process) {
    return std::any_of(running.begin(), running.end(),
                       [&](const RunningApplication& each) { return each.processIdentifier == process; });
  };
  for (const auto agent : agents.find()) {
    if (isKnown(agent)) continue;
    const auto found = application({.processIdentifier = agent, .activationPolicy = ActivationPolicy::prohibited});
    if (found) running.push_back(*found);
  }
  std::sort(running.begin(), running.end(),
            [](const auto& a, const auto& b) { return a.processIdentifier < b.processIdentifier; });
  return running;
}

std::optional<RunningApplication> LinuxWorkspace::frontmostApplication() {
  const auto reading = recentReading();
  for (const auto& info : reading.infos) {
    if (info.isActive) return application(info);
  }
  if (reading.snapshot.coverage == WindowCoverage::all || !sources.activeProcess) return std::nullopt;
  const auto process = sources.activeProcess();
  return process ? runningApplication(*process) : std::nullopt;
}

std::optional<RunningApplication> LinuxWorkspace::runningApplication(std::int32_t processIdentifier) {
  if (const auto info = infoOf(processIdentifier, recentReading())) return application(*info);
  if (agents.isOurs(processIdentifier)) {
    return application({.processIdentifier = processIdentifier, .activationPolicy = ActivationPolicy::prohibited});
  }
  if (const auto info = infoOf(processIdentifier, newReading())) return application(*info);
  if (!sources.accessible.isPresentNow(processIdentifier)) return std::nullopt;
  return application({.processIdentifier = processIdentifier, .activationPolicy = ActivationPolicy::accessory});
}

bool LinuxWorkspace::activate(std::int32_t processIdentifier) {
  const Reading reading = read(sources.windows.snapshot());
  const auto own = windowsOf(processIdentifier, reading);
  if (own.empty()) return false;
  forgetReading();
  bool isAsked = false;
  for (const auto& window : own) {
    if (isOnScreen(window, reading.snapshot)) isAsked = sources.windows.activate(window.id) || isAsked;
  }
  return isAsked || sources.windows.activate(own.back().id);
}

bool LinuxWorkspace::unhide(std::int32_t processIdentifier) {
  const Reading reading = read(sources.windows.snapshot());
  const auto own = windowsOf(processIdentifier, reading);
  if (own.empty()) return false;
  forgetReading();
  return std::all_of(own.begin(), own.end(),
                     [&](const Window& window) { return !window.isHidden || sources.windows.activate(window.id); });
}

bool LinuxWorkspace::terminate(std::int32_t processIdentifier) {
  const ProcessHandle handle(processIdentifier);
  const auto application = runningApplication(processIdentifier);
  if (!application) return false;
  const auto own = windowsOf(processIdentifier, read(sources.windows.snapshot()));
  if (own.empty() || application->bundleIdentifier == kAgentIdentifier) return handle.terminate();
  bool isAsked = true;
  for (const auto& window : own) isAsked = sources.windows.close(window.id) && isAsked;
  return isAsked;
}

platform::SubscriptionHandle LinuxWorkspace::observe(std::function<void(const platform::WorkspaceEvent&)> onEvent) {
  return listeners.add(std::move(onEvent));
}

LinuxWorkspace::Reading LinuxWorkspace::recentReading() {
  const MutexLock lock(mutex);
  if (!lastReading || steady_clock::now() - lastReading->moment > kLongestReuse) {
    lastReading = read(sources.windows.snapshot());
  }
  return *lastReading;
}

LinuxWorkspace::Reading LinuxWorkspace::newReading() {
  forgetReading();
  return recentReading();
}

std::optional<ApplicationInfo> LinuxWorkspace::infoOf(std::int32_t processIdentifier, const Reading& reading) {
  for (const auto& info : reading.infos) {
    if (info.processIdentifier == processIdentifier) return info;
  }
  return std::nullopt;
}

void LinuxWorkspace::forgetReading() {
  const MutexLock lock(mutex);
  lastReading.reset();
}

LinuxWorkspace::Reading LinuxWorkspace::read(WindowsSnapshot snapshot) {
  auto infos = applicationInfos(snapshot, sources.accessible.processIdentifiers());
  return {.snapshot = std::move(snapshot), .infos = std::move(infos), .moment = steady_clock::now()};
}

std::optional<RunningApplication> LinuxWorkspace::application(const ApplicationInfo& info) {
  const auto program = sources.programs.program(info.processIdentifier, info.windowClass);
  if (!program) return std::nullopt;
  RunningApplication application{.processIdentifier = info.processIdentifier,
                                 .activationPolicy = info.activationPolicy,
                                 .isActive = info.isActive,
                                 .isHidden = info.isHidden};
  if (!program->name.empty()) application.localizedName = program->name;
  if (!program->identifier.empty()) application.bundleIdentifier = program->identifier;
  return application;
}

std::vector<RunningApplication> LinuxWorkspace::applications(const Reading& reading) {
  std::vector<RunningApplication> found;
  for (const auto& info : reading.infos) {
    if (auto known = application(info)) found.push_back(std::move(*known));
  }
  return found;
}

// Bottom to top, without panels and the like. None for processes of other users.
std::vector<Window> LinuxWorkspace::windowsOf(std::int32_t processIdentifier, const Reading& reading) {
  if (!sources.processes.process(processIdentifier)) return {};
  std::vector<Window> own;
  for (const auto& window : reading.snapshot.windows) {
    if (window.processIdentifier == processIdentifier && !isOfDesktop(window)) own.push_back(window);
  }
  return own;
}

void LinuxWorkspace::desktopChanged(const WindowsSnapshot& snapshot) {
  forgetReading();
  const Reading reading = read(snapshot);
  WorkspaceState now{.applications = applications(reading), .currentDesktop = reading.snapshot.currentDesktop};
  if (snapshot.coverage == WindowCoverage::none) {
    keepKnownFromWindows(now);
  } else {
    noteKnownFromWindows(now);
  }
  const auto events = eventsBetween(std::exchange(reported, now), now);
  for (const auto& event : events) listeners.tell(event);
}

void LinuxWorkspace::noteKnownFromWindows(const WorkspaceState& state) {
  const auto accessible = sources.accessible.processIdentifiers();
  knownFromWindows.clear();
  for (const auto& application : state.applications) {
    const auto process = application.processIdentifier;
    if (std::find(accessible.begin(), accessible.end(), process) == accessible.end()) knownFromWindows.insert(process);
  }
}

void LinuxWorkspace::keepKnownFromWindows(WorkspaceState& state) {
  for (const auto& application : reported.applications) {
    const auto process = application.processIdentifier;
    const bool isListed =
        std::any_of(state.applications.begin(), state.applications.end(),
                    [&](const RunningApplication& each) { return each.processIdentifier == process; });
    if (!isListed && knownFromWindows.contains(process) && sources.processes.process(process)) {
      state.applications.push_back(application);
    }
  }
}

}  // namespace quillard::desktop
