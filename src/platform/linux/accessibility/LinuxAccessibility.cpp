#include "platform/linux/accessibility/LinuxAccessibility.h"

#include <algorithm>
#include <utility>

#include "platform/linux/accessibility/ElementActions.h"
#include "platform/linux/accessibility/ElementAnswers.h"
#include "platform/linux/accessibility/HollowPrograms.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/LinuxReadScope.h"

namespace quillard::atspi {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
using Kind = ElementReference::Kind;

namespace {

// For what no signal reports.
constexpr std::chrono::seconds kLongestGrant{30};

const std::vector<std::string>& trustRules() {
  static const std::vector<std::string> rules{
      "type='signal',path='/org/a11y/bus',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
      "arg0='org.a11y.Status'",
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg0='org.a11y.Bus'"};
  return rules;
}

ElementActions actionsOn(DesktopReading& reading, desktop::DesktopWindows& windows,
                         const LinuxAccessibilityOptions& options) {
  return {reading, windows, options.sessionBusAddress, options.systemBusAddress, options.slowShellTimeout};
}

}  // namespace

LinuxAccessibility::LinuxAccessibility(const LinuxAccessibilityOptions& options, desktop::DesktopWindows& windows,
                                       platform::Executors& executors)
    : options(options),
      windows(windows),
      status(options.sessionBusAddress, counted),
      connections([this] { return status.busAddress(); }),
      mainThread(executors.mainThread()),
      trustObservers([options] { return options.sessionBusAddress; }, trustRules(), executors.mainThread(),
                     [this] { return ++trustNews > 0; }),
      trust([this] { return askForTrust(); }, executors) {}

std::unique_ptr<DesktopReading> LinuxAccessibility::beginReading(bool mayAskCaches) {
  auto connection = connections.borrow();
  if (!connection) return nullptr;
  if (options.isXSession && windows.coverage() != desktop::WindowCoverage::none) hadWindowServer = true;
  return std::make_unique<DesktopReading>(
      *std::move(connection),
      ReadingDependencies{.windows = windows,
                          .knownPrograms = knownPrograms,
                          .messagingTimeout = saturatingDuration<std::chrono::microseconds>(options.messagingTimeout),
                          .counters = counted,
                          .ownProcessIdentifier = options.ownProcessIdentifier,
                          .expectsWindowServer = hadWindowServer,
                          .mayAskCaches = mayAskCaches});
}

AXResult<AXValue> LinuxAccessibility::copyAttributeValue(const AXUIElement& element, platform::AXAttribute name) {
  return beginReadScope()->copyAttributeValue(element, name);
}

AXResult<std::vector<std::string>> LinuxAccessibility::copyActionNames(const AXUIElement& element) {
  return beginReadScope()->copyActionNames(element);
}

std::unique_ptr<platform::AXReadScope> LinuxAccessibility::beginReadScope() {
  return std::make_unique<LinuxReadScope>([this] { return beginReading(); });
}

std::unique_ptr<platform::AXReadScope> LinuxAccessibility::beginScanScope() {
  return std::make_unique<LinuxReadScope>([this] { return beginReading(true); });
}

void LinuxAccessibility::refreshProcessTrust(std::function<void(platform::ProcessTrust)> onAnswer) {
  if (!isStillGranted()) return trust.refresh(std::move(onAnswer));
  mainThread.post([onAnswer = std::move(onAnswer), alive = std::weak_ptr(life)] {
    if (!alive.expired()) onAnswer(platform::ProcessTrust::granted);
  });
}

bool LinuxAccessibility::isStillGranted() {
  {
    const MutexLock lock(mutex);
    const auto now = std::chrono::steady_clock::now();
    if (!lastGrant || lastGrant->news != trustNews || now - lastGrant->moment >= kLongestGrant) return false;
  }
  return connections.hasOpenConnection();
}

platform::ProcessTrust LinuxAccessibility::askForTrust() {
  const std::uint64_t news = trustNews;
  const auto moment = std::chrono::steady_clock::now();
  const auto answer = askServices();
  const MutexLock lock(mutex);
  const bool isGrant = answer == platform::ProcessTrust::granted && news > 0;
  lastGrant = isGrant ? std::optional(Grant{news, moment}) : std::nullopt;
  return answer;
}

platform::ProcessTrust LinuxAccessibility::askServices() {
  using platform::ProcessTrust;
  switch (status.isEnabled()) {
    case SwitchState::off:
      return ProcessTrust::denied;
    case SwitchState::unknown:
      return ProcessTrust::unknown;
    case SwitchState::on:
      break;
  }
  // It is switched on, so that a bus that cannot be reached is one that comes, or is being started anew.
  return connections.borrow() ? ProcessTrust::granted : ProcessTrust::unknown;
}

platform::SubscriptionHandle LinuxAccessibility::observeTrustChanges(std::function<void()> onChange) {
  return trustObservers.add(std::move(onChange));
}

AXUIElement LinuxAccessibility::createApplication(std::int32_t processIdentifier) {
  return ElementReference::application(processIdentifier);
}

AXUIElement LinuxAccessibility::createSystemWide() { return ElementReference::systemWide(); }

std::optional<std::int32_t> LinuxAccessibility::processIdentifier(const AXUIElement& element) {
  const auto* const reference = ElementReference::of(element);
  if (!reference || reference->kind == Kind::systemWide) return std::nullopt;
  return reference->processIdentifier;
}

AXError LinuxAccessibility::setAttributeValue(const AXUIElement& element, platform::AXAttribute name,
                                              const AXValue& value) {
  const auto reading = beginReading();
  return reading ? actionsOn(*reading, windows, options).set(element, name, value) : AXError::apiDisabled;
}

AXError LinuxAccessibility::performAction(const AXUIElement& element, platform::AXAction action) {
  const auto reading = beginReading();
  return reading ? actionsOn(*reading, windows, options).perform(element, action) : AXError::apiDisabled;
}

AXResult<AXUIElement> LinuxAccessibility::copyElementAtPosition(const AXUIElement& within, Point point) {
  if (!options.isXSession || windows.coverage() == desktop::WindowCoverage::none) return AXError::notImplemented;
  const auto reading = beginReading();
  if (!reading) return AXError::apiDisabled;
  return actionsOn(*reading, windows, options).elementAt(within, point);
}

std::optional<std::vector<std::int32_t>> LinuxAccessibility::processIdentifiers() {
  const auto reading = beginReading();
  if (!reading) return std::nullopt;
  auto processes = reading->processIdentifiers();
  if (reading->failure()) return std::nullopt;
  return processes;
}

std::optional<AccessibleLanguage> LinuxAccessibility::languageOf(std::int32_t processIdentifier) {
  const auto reading = beginReading();
  if (!reading) return std::nullopt;
  const auto programs = reading->programs(processIdentifier);
  if (programs.empty()) return std::nullopt;
  AccessibleLanguage language;
  const auto ask = [&](const char* interface, const char* property, std::string& answer) {
    reading->direct().send(propertyCall(programs.front()->root->name, interface, property), reading->messagingTimeout(),
                           [&answer](const BusReply& reply) { answer = reply.readTextProperty().value_or(""); });
  };
  ask(names::kAccessible, "Locale", language.locale);
  ask(names::kApplication, "ToolkitName", language.toolkit);
  reading->direct().settle();
  if (reading->hasMissedTimeout(processIdentifier)) return std::nullopt;
  return language;
}

std::vector<AccessibleApplication> LinuxAccessibility::accessibleApplications() {
  const auto reading = beginReading();
  if (!reading) return {};
  std::vector<FetchGoal> goals;
  for (const auto process : reading->processIdentifiers()) {
    for (ProgramNode* program : reading->programs(process)) {
      goals.push_back({.node = program->root, .isRootItself = true});
    }
  }
  reading->fetch(goals);
  std::vector<AccessibleApplication> applications;
  for (const auto process : reading->processIdentifiers()) {
    AccessibleApplication application{.processIdentifier = process};
    for (const ProgramNode* program : reading->programs(process)) {
      const auto& name = program->root->record.name;
      if (application.name.empty() && name != BusReply::kUnreadableText) application.name = name.value_or("");
    }
    applications.push_back(std::move(application));
  }
  return applications;
}

std::optional<std::int32_t> LinuxAccessibility::activeProcess() {
  const auto reading = beginReading();
  if (!reading) return std::nullopt;
  const auto processes = reading->processIdentifiers();
  reading->prepare(processes, 0);
  std::vector<std::int32_t> active;
  for (const auto process : processes) {
    const auto& present = reading->windows(process).present;
    const bool isActive = std::any_of(present.begin(), present.end(),
                                      [](const Node* window) { return window->record.is(State::active); });
    if (!isActive) continue;
    // Beneath its dialog, the program that had the keyboard before still says that it has it.
    if (shell::isShell(*reading->programs(process).front())) return process;
    active.push_back(process);
  }
  return active.size() == 1 ? std::optional(active.front()) : std::nullopt;
}

SwitchOnOutcome LinuxAccessibility::switchOn() {
  if (status.isEnabled() == SwitchState::on) return SwitchOnOutcome::wasOn;
  if (!status.enable() || status.isEnabled() != SwitchState::on) return SwitchOnOutcome::failed;
  return SwitchOnOutcome::switchedOn;
}

std::optional<std::vector<std::int32_t>> LinuxAccessibility::unseenProcesses() {
  const auto reading = beginReading();
  if (!reading || reading->desktopWindows().coverage == desktop::WindowCoverage::none) return std::nullopt;
  const auto& seen = reading->processIdentifiers();
  if (reading->failure()) return std::nullopt;
  std::vector<std::int32_t> unseen;
  for (const auto& window : reading->desktopWindows().windows) {
    if (!window.processIdentifier || *window.processIdentifier == options.ownProcessIdentifier) continue;
    const bool isListed = std::find(seen.begin(), seen.end(), *window.processIdentifier) != seen.end() ||
                          std::find(unseen.begin(), unseen.end(), *window.processIdentifier) != unseen.end();
    if (!isListed) unseen.push_back(*window.processIdentifier);
  }
  return unseen;
}

std::optional<HollowPrograms> LinuxAccessibility::hollowPrograms() {
  const auto reading = beginReading();
  if (!reading) return std::nullopt;
  auto found = hollowProgramsOf(*reading);
  const auto failure = reading->failure();
  if (failure && *failure != platform::DesktopReadFailure::windowServer) return std::nullopt;
  return found;
}

}  // namespace quillard::atspi
