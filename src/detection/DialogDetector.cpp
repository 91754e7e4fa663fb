#include "detection/DialogDetector.h"

#include <algorithm>
#include <unordered_set>

#include "agent/configuration/AgentConfiguration.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDiagnostics.h"
#include "detection/DirectAccess.h"
#include "detection/VisibleWindowOwners.h"
#include "detection/elements/AXHelpers.h"
#include "foundation/Numbers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXReadScope;
using platform::AXUIElement;
using platform::RunningApplication;
namespace ax = platform::ax;

namespace {

constexpr std::string_view kUnknownApp = "Unknown app";
constexpr int kApprovalDescendantLimit = 80;
constexpr int kButtonSearchLimit = 120;
constexpr int kWindowAncestorLimit = 20;

// No desktop shows as many; a broken or hostile application must not keep a scan from ending.
constexpr std::size_t kMostWindowsPerApplication = 1000;

std::optional<std::string> usableText(const std::optional<std::string>& text) {
  return text && !text->empty() && text::isValidUtf8(*text) ? text : std::nullopt;
}

WindowSource sourceFor(AXUIElement window, std::int32_t processIdentifier,
                       const std::optional<RunningApplication>& application) {
  const auto name = application ? usableText(application->localizedName) : std::nullopt;
  return {.window = std::move(window),
          .appName = name.value_or(std::string(kUnknownApp)),
          .bundleIdentifier = application ? usableText(application->bundleIdentifier) : std::nullopt,
          .processIdentifier = processIdentifier};
}

std::string windowSignature(AXReadScope& scope, const WindowSource& source) {
  const auto frame = AXHelpers::frame(scope, source.window).value_or(Rect{});
  return std::to_string(source.processIdentifier) + "|" + AXHelpers::role(scope, source.window) + "|" +
         AXHelpers::stringAttribute(scope, source.window, ax::kTitle).value_or("") + "|" +
         DialogFrame::of(frame).identity();
}

std::string fallbackLine(const WindowSource& source, const DialogPromptEvidence& evidence) {
  return "Blocking " + (evidence.title.empty() ? source.appName : evidence.title) +
         " with buttons: " + text::joined(evidence.buttonLabels, ", ");
}

std::string identityText(const WindowSource& source, const PromptReading& reading) {
  return source.bundleIdentifier.value_or(source.appName) + "|" + reading.evidence.title + "|" +
         reading.frame.identity() + "|" + text::joined(reading.evidence.buttonLabels, "|") + "|" +
         text::joined(reading.evidence.messageLines, ",");
}

std::optional<std::string> directAccessReason(const PromptReading& reading, const std::vector<std::string>& lines) {
  if (reading.hasSecureTextField) return secretRequiredReason();
  return directAccessRequiredReason(reading.evidence.title, lines, reading.evidence.buttonLabels);
}

std::string windowRole(const DialogPromptEvidence& evidence) {
  return evidence.subrole.empty() ? evidence.role : evidence.role + "/" + evidence.subrole;
}

}  // namespace

// A window that may hold the button that a decision names.
struct DialogDetector::Match {
  ResolvedDialogButton resolved;
  double score = 0;
};

DialogDetector::DialogDetector(std::int32_t ownProcessIdentifier, const ApprovalSuppressionStore& suppressionStore,
                               const DetectorDependencies& dependencies)
    : ownProcessIdentifier(ownProcessIdentifier), suppressionStore(suppressionStore), dependencies(dependencies) {}

std::vector<PendingApproval> DialogDetector::scan() {
  heldBack = 0;
  if (!dependencies.accessibility.isProcessTrusted()) return {};
  const auto scope = dependencies.accessibility.beginReadScope();
  const auto sources = uniqueWindowSources(*scope);
  if (AgentConfiguration::dialogDiagnosticsEnabled(dependencies.environment)) printDiagnostics(sources);

  std::vector<PendingApproval> approvals;
  std::unordered_set<Uuid> ids;
  for (const auto& source : sources) {
    auto approval = approvalForWindowSource(*scope, source);
    if (approval && ids.insert(approval->id).second) approvals.push_back(*std::move(approval));
  }
  // Asked again at the end, so that the one who is given the result finds the newest answer without waiting for it.
  if (!dependencies.accessibility.isProcessTrusted()) return {};
  const auto publishable = candidateGate.publishableIDs(ids);
  heldBack = std::erase_if(approvals, [&](const auto& approval) { return !publishable.contains(approval.id); });
  return approvals;
}

std::vector<WindowDiagnosis> DialogDetector::diagnose() {
  if (!dependencies.accessibility.isProcessTrusted()) return {};
  const auto scope = dependencies.accessibility.beginReadScope();
  std::vector<WindowDiagnosis> windows;
  for (const auto& source : uniqueWindowSources(*scope)) {
    windows.push_back({source.appName, source.processIdentifier, DialogDiagnostics::snapshotOf(*scope, source)});
  }
  return windows;
}

void DialogDetector::printDiagnostics(const std::vector<WindowSource>& sources) {
  // In a scope of its own: what its longer walk meets must not change what the scan returns.
  const auto scope = dependencies.accessibility.beginReadScope();
  DialogDiagnostics::print(*scope, sources, dependencies.console);
}

std::vector<WindowSource> DialogDetector::uniqueWindowSources(AXReadScope& scope) {
  auto sources = allWindowSources(scope);
  std::unordered_set<std::string> signatures;
  std::erase_if(sources,
                [&](const WindowSource& source) { return !signatures.insert(windowSignature(scope, source)).second; });
  return sources;
}

std::vector<WindowSource> DialogDetector::allWindowSources(AXReadScope& scope) {
  std::vector<WindowSource> sources;
  appendApplicationSources(scope, sources);
  appendSystemWideSources(scope, sources);
  return sources;
}

void DialogDetector::appendApplicationSources(AXReadScope& scope, std::vector<WindowSource>& sources) {
  auto candidates = VisibleWindowOwners::promptScanApplications(dependencies.workspace, dependencies.windowList);
  std::erase_if(candidates, [&](const RunningApplication& application) {
    return application.isTerminated || application.processIdentifier == ownProcessIdentifier;
  });
  std::vector<AXUIElement> elements;
  elements.reserve(candidates.size());
  for (const auto& application : candidates) {
    elements.push_back(dependencies.accessibility.createApplication(application.processIdentifier));
    dependencies.accessibility.setMessagingTimeout(elements.back(), AXHelpers::kMessagingTimeout);
  }
  scope.prepareApplications(elements, kApprovalDescendantLimit);
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    auto windows = AXHelpers::windows(scope, elements[i]);
    if (windows.size() > kMostWindowsPerApplication) {
      windows.erase(windows.begin() + kMostWindowsPerApplication, windows.end());
    }
    for (const auto name : {ax::kMainWindow, ax::kFocusedWindow}) {
      if (auto window = AXHelpers::elementAttribute(scope, elements[i], name)) windows.push_back(*std::move(window));
    }
    for (auto& window : windows) {
      sources.push_back(sourceFor(std::move(window), candidates[i].processIdentifier, candidates[i]));
    }
  }
}

void DialogDetector::appendSystemWideSources(AXReadScope& scope, std::vector<WindowSource>& sources) {
  appendSystemWideSource(AXHelpers::focusedWindow(dependencies.accessibility, scope), sources);
  const auto focusedElement = AXHelpers::focusedElement(dependencies.accessibility, scope);
  if (!focusedElement) return;
  appendSystemWideSource(AXHelpers::nearestWindow(scope, *focusedElement, kWindowAncestorLimit), sources);
}

void DialogDetector::appendSystemWideSource(const std::optional<AXUIElement>& window,
                                            std::vector<WindowSource>& sources) {
  if (!window) return;
  const auto owner = dependencies.accessibility.processIdentifier(*window);
  if (!owner || *owner == ownProcessIdentifier) return;
  sources.push_back(sourceFor(*window, *owner, dependencies.workspace.runningApplication(*owner)));
}

std::optional<PromptReading> DialogDetector::acceptedReading(AXReadScope& scope, const WindowSource& source) {
  if (source.processIdentifier == ownProcessIdentifier) return std::nullopt;
  auto reading = PromptReader::readPrompt(scope, source, kApprovalDescendantLimit);
  if (scope.missedTimeout(source.window)) return std::nullopt;
  if (!DialogPromptClassifier::classify(reading.evidence).accepted) return std::nullopt;
  return reading;
}

std::optional<PendingApproval> DialogDetector::approvalForWindowSource(AXReadScope& scope, const WindowSource& source) {
  const auto reading = acceptedReading(scope, source);
  return reading ? approvalOf(source, *reading) : std::nullopt;
}

std::optional<PendingApproval> DialogDetector::approvalOf(const WindowSource& source, const PromptReading& reading) {
  const auto& evidence = reading.evidence;
  const Uuid id = dependencies.stableIDs.stableID(identityText(source, reading));
  if (suppressionStore.contains(id)) return std::nullopt;

  const bool isFallback = evidence.messageLines.empty();
  const auto lines = isFallback ? std::vector{fallbackLine(source, evidence)} : evidence.messageLines;
  const auto directAccess = directAccessReason(reading, lines);
  return PendingApproval::make(
      {.id = id,
       .detectedAt = dependencies.clock.now(),
       .appName = source.appName,
       .bundleIdentifier = source.bundleIdentifier,
       .processIdentifier = source.processIdentifier,
       .windowTitle = evidence.title,
       .windowRole = windowRole(evidence),
       .windowFrame = reading.frame,
       .messageLines = lines,
       .reason = text::joined(lines, "\n"),
       .buttons = reading.buttons,
       .recommendedButtonLabel = DialogButtonSemantics::recommendedButton(evidence.buttonLabels),
       .requiresDirectAccess = directAccess.has_value(),
       .directAccessReason = directAccess,
       .isFallbackDetection = isFallback});
}

bool DialogDetector::isPromptStillPresent(const PendingApproval& approval) {
  if (!dependencies.accessibility.isProcessTrusted()) return true;
  const auto scope = dependencies.accessibility.beginReadScope();
  for (const auto& source : uniqueWindowSources(*scope)) {
    const auto candidate = approvalForWindowSource(*scope, source);
    if (candidate && approval.matchScore(*candidate) > 0) return true;
  }
  return scope->missedTimeout(dependencies.accessibility.createApplication(approval.processIdentifier));
}

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  const auto scope = dependencies.accessibility.beginReadScope();
  std::optional<Match> best;
  for (const auto& source : uniqueWindowSources(*scope)) {
    auto match = matchIn(*scope, source, approval, buttonLabel);
    if (match && (!best || match->score > best->score)) best = std::move(match);
  }
  if (!best) return std::nullopt;
  auto& accessibility = dependencies.accessibility;
  accessibility.setAttributeValue(best->resolved.window, ax::kMinimized, false);
  accessibility.performAction(best->resolved.window, ax::kRaiseAction);
  return std::move(best->resolved);
}

std::optional<DialogDetector::Match> DialogDetector::matchIn(AXReadScope& scope, const WindowSource& source,
                                                             const PendingApproval& approval,
                                                             const std::string& buttonLabel) {
  const auto reading = acceptedReading(scope, source);
  const auto candidate = reading ? approvalOf(source, *reading) : std::nullopt;
  const double score = candidate ? approval.matchScore(*candidate) : 0;
  if (!(score > 0)) return std::nullopt;
  for (auto& element : AXHelpers::deeplyNestedChildren(scope, reading->content, kButtonSearchLimit)) {
    auto button = PromptReader::pressableButton(scope, element);
    if (!button || button->label != buttonLabel) continue;
    auto window = AXHelpers::nearestWindow(scope, element, kWindowAncestorLimit).value_or(source.window);
    return Match{{*std::move(button), std::move(element), std::move(window)}, score};
  }
  return std::nullopt;
}

}  // namespace quillard
