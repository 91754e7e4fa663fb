#include "detection/DialogDetector.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "agent/configuration/AgentConfiguration.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogDiagnostics.h"
#include "detection/DirectAccess.h"
#include "foundation/Numbers.h"
#include "foundation/Text.h"

namespace quillard {

using platform::AXReadScope;
using platform::DesktopReadFailure;

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

// `beyond`: texts of the prompt that are not shown, since there are too many elements before them.
std::optional<std::string> directAccessReason(const PromptReading& reading, const std::vector<std::string>& beyond) {
  if (reading.hasSecureTextField) return secretRequiredReason();
  auto lines = reading.evidence.messageLines;
  lines.insert(lines.end(), beyond.begin(), beyond.end());
  const auto& evidence = reading.evidence;
  if (auto reason = directAccessRequiredReason(evidence.title, lines, evidence.buttonLabels)) return reason;
  return reading.hasUnreadableText ? std::optional(unreadableTextReason()) : std::nullopt;
}

ScanOutcome unseen(DesktopReadFailure failure) {
  ScanOutcome outcome;
  outcome.failure = failure;
  return outcome;
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
              .workspace = dependencies.workspace,
              .windowList = dependencies.windowList,
              .descendantsPerWindow = kApprovalDescendantLimit,
              .windowsIn = [this](AXReadScope& scope) { return windowsIn(scope); },
              .read = [this](AXReadScope& scope, const WindowSource& source) { return contentOf(scope, source); }}) {}

bool DialogDetector::isPermissionDenied() const {
  return dependencies.accessibility.isProcessTrusted() == platform::ProcessTrust::denied;
}

ScanOutcome DialogDetector::scan() {
  if (isPermissionDenied()) return unseen(DesktopReadFailure::notPermitted);
  const auto scope = dependencies.accessibility.beginReadScope();
  auto windows = windowsIn(*scope);
  const auto sources = windows.allWindowSources();
  if (AgentConfiguration::dialogDiagnosticsEnabled(dependencies.environment)) {
    printDiagnostics(windows.withoutRepeatedSignatures(sources));
  }

  ScanOutcome outcome;
  std::unordered_set<Uuid> ids;
  std::unordered_map<std::string, std::optional<Uuid>> firstOfSignature;
  for (const auto& source : sources) {
    auto approval = approvalForWindowSource(*scope, source);
    const auto id = approval ? std::optional{approval->id} : std::nullopt;
    const auto first = firstOfSignature.try_emplace(windows.windowSignature(source), id).first->second;
    if (first != id) continue;  // Hidden behind one that looks the same and says something else.
    if (!approval || suppressionStore.contains(approval->suppressionID)) continue;
    auto& list = ids.insert(approval->id).second ? outcome.approvals : outcome.twins;
    list.push_back(*std::move(approval));
  }
  outcome.unreadProcesses = windows.unreadProcesses();
  // Asked again at the end, so that the one who is given the result finds the newest answer without waiting for it.
  if (isPermissionDenied()) return unseen(DesktopReadFailure::notPermitted);
  if (const auto failure = scope->desktopFailure()) return unseen(*failure);
  confirm(outcome);
  return outcome;
}

// Takes out what only this scan has met.
void DialogDetector::confirm(ScanOutcome& outcome) {
  const auto& silent = outcome.unreadProcesses;
  std::erase_if(processByFingerprint, [&](const auto& known) {
    return std::find(silent.begin(), silent.end(), known.second) == silent.end();
  });
  std::unordered_set<Uuid> unread;
  for (const auto& [id, process] : processByFingerprint) unread.insert(id);
  std::unordered_set<Uuid> ids;
  for (const auto& approval : outcome.approvals) {
    ids.insert(approval.id);
    processByFingerprint[approval.id] = approval.processIdentifier;
  }
  const auto publishable = candidateGate.publishableIDs(ids, unread);
  const auto isHeldBack = [&](const auto& approval) { return !publishable.contains(approval.id); };
  outcome.heldBackCount = std::erase_if(outcome.approvals, isHeldBack);
  std::erase_if(outcome.twins, isHeldBack);
}

DesktopDiagnosis DialogDetector::diagnose() {
  if (isPermissionDenied()) return {.windows = {}, .failure = DesktopReadFailure::notPermitted};
  const auto scope = dependencies.accessibility.beginReadScope();
  DesktopDiagnosis diagnosis;
  auto windows = windowsIn(*scope);
  for (const auto& source : windows.withoutRepeatedSignatures(windows.allWindowSources())) {
    diagnosis.windows.push_back(
        {source.appName, source.processIdentifier, DialogDiagnostics::snapshotOf(*scope, source)});
  }
  diagnosis.failure = scope->desktopFailure();
  return diagnosis;
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

WindowContent DialogDetector::contentOf(AXReadScope& scope, const WindowSource& source) {
  if (source.processIdentifier == ownProcessIdentifier) return {};
  auto reading = PromptReader::readPrompt(scope, source, kApprovalDescendantLimit);
  WindowContent content{.prompt = std::nullopt, .isWhole = !reading.hasUnreadableText};
  if (!scope.missedTimeout(source.window) && DialogPromptClassifier::classify(reading.evidence).accepted) {
    const auto beyond = PromptReader::readBeyond(scope, reading, kApprovalDescendantLimit);
    content.prompt = PromptCandidate{reading.content, approvalOf(source, reading, directAccessReason(reading, beyond))};
  }
  if (scope.missedTimeout(source.window)) return {.prompt = std::nullopt, .isWhole = false};
  return content;
}

std::optional<PendingApproval> DialogDetector::approvalForWindowSource(AXReadScope& scope, const WindowSource& source) {
  auto content = contentOf(scope, source);
  return content.prompt ? std::optional(std::move(content.prompt->approval)) : std::nullopt;
}

PendingApproval DialogDetector::approvalOf(const WindowSource& source, const PromptReading& reading,
                                           const std::optional<std::string>& directAccess) {
  const auto& evidence = reading.evidence;
  const Uuid id = dependencies.stableIDs.stableID(identityText(source, reading));
  const bool isFallback = evidence.messageLines.empty();
  const auto lines = isFallback ? std::vector{fallbackLine(source, evidence)} : evidence.messageLines;
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
       .isFallbackDetection = isFallback,
       .window = source.window});
}

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval) { return search.presenceOf(approval); }

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  return search.resolve(approval, buttonLabel).button;
}

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval, const PromptWindow& window) {
  return search.presenceOf(approval, window);
}

PromptResolution DialogDetector::resolve(const PendingApproval& approval, const std::string& buttonLabel) {
  return search.resolve(approval, buttonLabel);
}

}  // namespace quillard
