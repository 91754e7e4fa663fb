#include "platform/simulated/SimulatedWorkspace.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

namespace {

// Letters, digits, "+", "-" and "." from a letter on, a colon, and something behind it.
bool isAddress(std::string_view text) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto isOfScheme = [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
  };
  const std::string_view scheme = text.substr(0, text.find(':'));
  return scheme.size() + 1 < text.size() && !scheme.empty() && isLetter(scheme.front()) &&
         std::all_of(scheme.begin(), scheme.end(), isOfScheme);
}

}  // namespace

std::vector<RunningApplication> SimulatedWorkspace::runningApplications() {
  std::vector<RunningApplication> applications;
  for (const ApplicationState& application : state.all()) {
    if (application.isListed) applications.push_back(application.facts);
  }
  return applications;
}

std::optional<RunningApplication> SimulatedWorkspace::frontmostApplication() {
  const ApplicationState* const front = state.front();
  return front && front->isListed ? std::optional{front->facts} : std::nullopt;
}

std::optional<RunningApplication> SimulatedWorkspace::runningApplication(std::int32_t processIdentifier) {
  const ApplicationState* const application = state.find(processIdentifier);
  return application && application->isListed ? std::optional{application->facts} : std::nullopt;
}

bool SimulatedWorkspace::terminate(std::int32_t processIdentifier) {
  const ApplicationState* const application = state.running(processIdentifier);
  if (!application || !application->isListed) return false;
  askedToQuit.push_back({processIdentifier});
  if (!application->refusesToQuit && !application->isHung) {
    desktop.later(Seconds::zero(), [this, processIdentifier] { state.end(processIdentifier, false); });
  }
  return true;
}

bool SimulatedWorkspace::openURL(std::string_view url) {
  if (refusesToOpen || !isAddress(url)) return false;
  urls.emplace_back(url);
  return true;
}

bool SimulatedWorkspace::openFolder(std::string_view path) {
  if (refusesToOpen || !path.starts_with('/')) return false;
  folders.emplace_back(path);
  return true;
}

SubscriptionHandle SimulatedWorkspace::observe(std::function<void(const WorkspaceEvent&)> onEvent) {
  return state.workspaceObservers.add(std::move(onEvent));
}

}  // namespace quillard::platform::simulated
