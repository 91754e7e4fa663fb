#include "detection/DialogDetector.h"

#include <algorithm>
#include <unordered_set>

#include "agent/configuration/AgentConfiguration.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDiagnostics.h"
#include "detection/DirectAccess.h"
#include "foundation/Numbers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXReadScope;

namespace {

constexpr int kApprovalDescendantLimit = 80;

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

DialogDetector::DialogDetector(std::int32_t ownProcessIdentifier, const ApprovalSuppressionStore& suppressionStore,
                               const DetectorDependencies& dependencies)
    : ownProcessIdentifier(ownProcessIdentifier),
      suppressionStore(suppressionStore),
      dependencies(dependencies),
      search({.accessibility = dependencies.accessibility,
              .windowsIn = [this](AXReadScope& scope) { return windowsIn(scope); },
              .candidateIn = [this](AXReadScope& scope,
                                    const WindowSource& source) { return candidateIn(scope, source); }}) {}

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

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval) { return search.presenceOf(approval); }

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  return search.resolveCurrentButton(approval, buttonLabel);
}

std::optional<PromptCandidate> DialogDetector::candidateIn(AXReadScope& scope, const WindowSource& source) {
  const auto reading = acceptedReading(scope, source);
  auto approval = reading ? approvalOf(source, *reading) : std::nullopt;
  if (!approval) return std::nullopt;
  return PromptCandidate{reading->content, *std::move(approval)};
}

}  // namespace quillard
