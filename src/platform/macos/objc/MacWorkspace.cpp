#include "platform/macos/objc/MacWorkspace.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/WorkspaceCalls.h"

namespace quillard::macos {

using platform::RunningApplication;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;

namespace {

using OnEvent = std::function<void(const WorkspaceEvent&)>;

constexpr std::array kEvents{WorkspaceEventKind::didLaunchApplication,   WorkspaceEventKind::didTerminateApplication,
                             WorkspaceEventKind::didActivateApplication, WorkspaceEventKind::didHideApplication,
                             WorkspaceEventKind::didUnhideApplication,   WorkspaceEventKind::activeSpaceDidChange};

// Absent for what has no process (any more).
std::optional<RunningApplication> withProcess(std::optional<RunningApplication> application) {
  if (application && application->processIdentifier < 0) return std::nullopt;
  return application;
}

// Numbers below 1 are no processes.
bool isProcess(std::int32_t processIdentifier) { return processIdentifier >= 1; }

// Without a scheme it is no address, and the system would take it for a file.
bool hasScheme(std::string_view url) {
  const auto isOfScheme = [](unsigned char c) { return std::isalnum(c) != 0 || c == '+' || c == '-' || c == '.'; };
  const auto colon = url.find(':');
  return colon != std::string_view::npos && colon > 0 && std::isalpha(static_cast<unsigned char>(url.front())) != 0 &&
         std::all_of(url.begin(), url.begin() + static_cast<std::ptrdiff_t>(colon), isOfScheme);
}

class WorkspaceObservation final : public platform::Subscription {
 public:
  WorkspaceObservation(platform::SerialExecutor& mainThread, OnEvent onEvent) : listening(mainThread) {
    const auto handler = std::make_shared<OnEvent>(std::move(onEvent));
    for (const auto kind : kEvents) {
      registrations.push_back(
          appkit::observeWorkspace(kind, [link = listening.link(), handler, kind](auto application) {
            const WorkspaceEvent event{.kind = kind, .application = withProcess(std::move(application))};
            link->post([handler, event] { (*handler)(event); });
          }));
    }
  }

 private:
  const MainThreadListening listening;
  std::vector<platform::SubscriptionHandle> registrations;
};

}  // namespace

std::vector<RunningApplication> MacWorkspace::runningApplications() {
  auto applications = appkit::runningApplications();
  std::erase_if(applications, [](const RunningApplication& application) { return application.processIdentifier < 0; });
  return applications;
}

std::optional<RunningApplication> MacWorkspace::frontmostApplication() {
  return withProcess(appkit::frontmostApplication());
}

std::optional<RunningApplication> MacWorkspace::runningApplication(std::int32_t processIdentifier) {
  if (!isProcess(processIdentifier)) return std::nullopt;
  return withProcess(appkit::runningApplication(processIdentifier));
}

bool MacWorkspace::activate(std::int32_t processIdentifier) {
  return isProcess(processIdentifier) && appkit::activate(processIdentifier);
}

bool MacWorkspace::unhide(std::int32_t processIdentifier) {
  return isProcess(processIdentifier) && appkit::unhide(processIdentifier);
}

bool MacWorkspace::terminate(std::int32_t processIdentifier) {
  return isProcess(processIdentifier) && appkit::terminate(processIdentifier);
}

bool MacWorkspace::openURL(std::string_view url) { return hasScheme(url) && appkit::openAddress(url); }

bool MacWorkspace::openFolder(std::string_view path) {
  std::error_code problem;
  const bool isFolder = path.starts_with('/') && std::filesystem::is_directory(path, problem);
  return isFolder && !appkit::isPackage(path) && appkit::openFolder(path);
}

platform::SubscriptionHandle MacWorkspace::observe(OnEvent onEvent) {
  return std::make_unique<WorkspaceObservation>(mainThread, std::move(onEvent));
}

}  // namespace quillard::macos
