#include "detection/DialogDetector.h"

#include <algorithm>
#include <unordered_set>

#include "agent/configuration/AgentConfiguration.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDiagnostics.h"
#include "detection/DirectAccess.h"
#include "detection/elements/AXHelpers.h"
#include "foundation/Numbers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXReadScope;
namespace ax = platform::ax;

namespace {

constexpr int kApprovalDescendantLimit = 80;
constexpr int kButtonSearchLimit = 120;
constexpr int kWindowAncestorLimit = 20;

// What a window of the right content scores where the prompt was when it was read last: no other lies nearer.
constexpr double kUnmovedScore = 500;

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
  const auto sources = windowsIn(*scope).allWindowSources();
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
  for (const auto& source : windowsIn(*scope).allWindowSources()) {
    windows.push_back({source.appName, source.processIdentifier, DialogDiagnostics::snapshotOf(*scope, source)});
  }
  return windows;
}

void DialogDetector::printDiagnostics(const std::vector<WindowSource>& sources) {
  // In a scope of its own: what its longer walk meets must not change what the scan returns.
  const auto scope = dependencies.accessibility.beginReadScope();
  DialogDiagnostics::print(*scope, sources, dependencies.console);
}

WindowSources DialogDetector::windowsIn(AXReadScope& scope) {
  return {ownProcessIdentifier,   kApprovalDescendantLimit, dependencies.accessibility,
          dependencies.workspace, dependencies.windowList,  scope};
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

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval) {
  auto& accessibility = dependencies.accessibility;
  if (!accessibility.isProcessTrusted()) {
    return PromptPresence::unknown(PromptPresence::UnknownReason::accessibilityNotGranted);
  }
  const auto scope = accessibility.beginReadScope();
  const auto application = accessibility.createApplication(approval.processIdentifier);
  auto windows = windowsIn(*scope);
  if (isShownIn(*scope, windows.windowSourcesForApplication(approval.processIdentifier), approval)) {
    return PromptPresence::there();
  }
  if (!scope->missedTimeout(application) && isShownIn(*scope, windows.allWindowSources(), approval)) {
    return PromptPresence::there();
  }
  if (scope->missedTimeout(application)) {
    return PromptPresence::unknown(PromptPresence::UnknownReason::applicationDidNotAnswer);
  }
  return PromptPresence::gone();
}

bool DialogDetector::isShownIn(AXReadScope& scope, const std::vector<WindowSource>& sources,
                               const PendingApproval& approval) {
  return std::any_of(sources.begin(), sources.end(), [&](const WindowSource& source) {
    const auto candidate = approvalForWindowSource(scope, source);
    return candidate && approval.matchScore(*candidate) > 0;
  });
}

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  auto& accessibility = dependencies.accessibility;
  const auto scope = accessibility.beginReadScope();
  auto windows = windowsIn(*scope);
  auto best =
      bestMatchIn(*scope, windows.windowSourcesForApplication(approval.processIdentifier), approval, buttonLabel);
  const bool isUnmoved = best && best->score >= kUnmovedScore;
  if (!isUnmoved && !scope->missedTimeout(accessibility.createApplication(approval.processIdentifier))) {
    auto other = bestMatchIn(*scope, windows.allWindowSources(), approval, buttonLabel);
    if (other && (!best || other->score > best->score)) best = std::move(other);
  }
  if (!best) return std::nullopt;
  accessibility.setAttributeValue(best->resolved.window, ax::kMinimized, false);
  accessibility.performAction(best->resolved.window, ax::kRaiseAction);
  return std::move(best->resolved);
}

std::optional<DialogDetector::Match> DialogDetector::bestMatchIn(AXReadScope& scope,
                                                                 const std::vector<WindowSource>& sources,
                                                                 const PendingApproval& approval,
                                                                 const std::string& buttonLabel) {
  std::optional<Match> best;
  for (const auto& source : sources) {
    auto match = matchIn(scope, source, approval, buttonLabel);
    if (match && (!best || match->score > best->score)) best = std::move(match);
  }
  return best;
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
