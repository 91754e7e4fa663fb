#include "detection/DialogDetector.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "agent/configuration/AgentConfiguration.h"
#include "approvals/LiveText.h"
#include "detection/DialogDiagnostics.h"
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

template <class Steady>
std::string steadyText(const std::vector<std::string>& texts, Steady steady, std::string_view separator) {
  std::vector<std::string> steadyTexts;
  for (const auto& text : texts) steadyTexts.push_back(steady(text));
  return text::joined(steadyTexts, separator);
}

// What the boxes and menus are set to, those without a title as well. Empty: there are none.
std::string statesOf(const std::vector<PromptOption>& options) {
  std::string states;
  for (const auto& option : options) {
    const auto box = option.box ? std::to_string(static_cast<int>(*option.box)) : "-";
    states += box + option.title.shown + "\x1E" + option.setting + "\x1F";
  }
  return states;
}

// Of one kind of prompt, whatever its boxes and menus are set to.
std::string identityText(const WindowSource& source, const PromptReading& reading,
                         const std::vector<std::string>& lines, bool showsProgress) {
  const auto progress = showsProgress ? LiveText::Progress::shown : LiveText::Progress::absent;
  const auto steady = [&](std::string_view text) { return LiveText::steady(text, progress); };
  return source.bundleIdentifier.value_or(source.appName) + "|" + steady(reading.evidence.title) + "|" +
         reading.frame.identity() + "|" + steadyText(reading.evidence.buttonLabels, LiveText::steadyLabel, "|") + "|" +
         steadyText(lines, steady, ",");
}

ScanOutcome unseen(DesktopReadFailure failure) {
  ScanOutcome outcome;
  outcome.failure = failure;
  return outcome;
}

void addEachOnce(const std::vector<std::int32_t>& added, std::vector<std::int32_t>& processes) {
  for (const auto process : added) {
    if (std::find(processes.begin(), processes.end(), process) == processes.end()) processes.push_back(process);
  }
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
      judge(this->dependencies.supplement),
      foreignTexts(dependencies.translations, this->dependencies.supplement),
      search(searchWith(ForeignTexts::Lookup::full)),
      quickSearch(searchWith(ForeignTexts::Lookup::fromMemory)) {}

PromptSearch DialogDetector::searchWith(ForeignTexts::Lookup lookup) {
  return PromptSearch{
      {.accessibility = dependencies.accessibility,
       .workspace = dependencies.workspace,
       .windowList = dependencies.windowList,
       .descendantsPerWindow = kApprovalDescendantLimit,
       .windowsIn = [this](AXReadScope& scope) { return windowsIn(scope); },
       .read = [this, lookup](AXReadScope& scope,
                              const WindowSource& source) { return contentOf(scope, source, lookup); }}};
}

bool DialogDetector::isPermissionDenied() const {
  return dependencies.accessibility.isProcessTrusted() == platform::ProcessTrust::denied;
}

ScanOutcome DialogDetector::scan() {
  if (isPermissionDenied()) return unseen(DesktopReadFailure::notPermitted);
  const auto scope = dependencies.accessibility.beginScanScope();
  auto windows = windowsIn(*scope);
  const auto sources = windows.allWindowSources();
  if (AgentConfiguration::dialogDiagnosticsEnabled(dependencies.tunables)) {
    printDiagnostics(windows.withoutRepeatedSignatures(sources));
  }

  ScanOutcome outcome;
  std::unordered_set<Uuid> ids;
  std::vector<std::int32_t> notLookedUp;
  for (auto& candidate : visibleCandidates(*scope, windows, sources, notLookedUp)) {
    if (suppressionStore.contains(candidate.approval.suppressionID)) continue;
    auto& list = ids.insert(candidate.approval.id).second ? outcome.approvals : outcome.twins;
    list.push_back(std::move(candidate.approval));
  }
  outcome.unreadProcesses = windows.unreadProcesses();
  addEachOnce(notLookedUp, outcome.unreadProcesses);
  // Asked again at the end, so that the one who is given the result finds the newest answer without waiting for it.
  if (isPermissionDenied()) return unseen(DesktopReadFailure::notPermitted);
  if (const auto failure = scope->desktopFailure()) return unseen(*failure);
  confirm(outcome);
  return outcome;
}

// The prompts that a person sees: none that is hidden behind one that looks the same and says something else, and none
// that another dialog of its program blocks.
std::vector<PromptCandidate> DialogDetector::visibleCandidates(AXReadScope& scope, WindowSources& windows,
                                                               const std::vector<WindowSource>& sources,
                                                               std::vector<std::int32_t>& notLookedUp) {
  std::vector<PromptCandidate> candidates;
  std::unordered_map<std::string, std::optional<Uuid>> firstOfSignature;
  std::unordered_set<std::int32_t> blocked;  // Processes of which a dialog blocks the others.
  for (const auto& source : sources) {
    auto content = contentOf(scope, source, ForeignTexts::Lookup::full);
    if (!content.prompt && !content.isLookedUp) notLookedUp.push_back(source.processIdentifier);
    const auto id = content.prompt ? std::optional{content.prompt->approval.id} : std::nullopt;
    const auto first = firstOfSignature.try_emplace(windows.windowSignature(source), id).first->second;
    if (first != id || !content.prompt) continue;
    if (content.prompt->blocksOthers) blocked.insert(source.processIdentifier);
    candidates.push_back(*std::move(content.prompt));
  }
  std::erase_if(candidates, [&](const PromptCandidate& candidate) {
    return !candidate.blocksOthers && blocked.contains(candidate.approval.processIdentifier);
  });
  return candidates;
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
    auto window = DialogDiagnostics::diagnose(*scope, source, {judge, foreignTexts}, kApprovalDescendantLimit);
    // A sheet is met in its window, and once more as the window with the focus.
    const auto isKnown = [&](const WindowDiagnosis& other) { return other.content == window.content; };
    const auto& known = diagnosis.windows;
    if (window.content && std::any_of(known.begin(), known.end(), isKnown)) continue;
    diagnosis.windows.push_back(std::move(window));
  }
  DialogDiagnostics::rejectBlocked(diagnosis);
  for (const auto process : windows.unreadProcesses()) {
    const auto isOf = [process](const WindowDiagnosis& window) { return window.processIdentifier == process; };
    // One of whose windows some are known stands there already.
    if (std::any_of(diagnosis.windows.begin(), diagnosis.windows.end(), isOf)) continue;
    const auto application = dependencies.workspace.runningApplication(process);
    diagnosis.unread.push_back(
        {.appName = application && application->localizedName ? *application->localizedName : "Unknown App",
         .processIdentifier = process});
  }
  diagnosis.failure = scope->desktopFailure();
  return diagnosis;
}

void DialogDetector::printDiagnostics(const std::vector<WindowSource>& sources) {
  // In a scope of its own: what its longer walk meets must not change what the scan returns.
  const auto scope = dependencies.accessibility.beginReadScope();
  DialogDiagnostics::print(*scope, sources, {judge, foreignTexts}, dependencies.console);
}

WindowSources DialogDetector::windowsIn(AXReadScope& scope) {
  return {ownProcessIdentifier,   kApprovalDescendantLimit, dependencies.accessibility,
          dependencies.workspace, dependencies.windowList,  scope};
}

WindowContent DialogDetector::contentOf(AXReadScope& scope, const WindowSource& source, ForeignTexts::Lookup lookup) {
  if (source.processIdentifier == ownProcessIdentifier) return {};
  auto reading = PromptReader::readPrompt(scope, source, kApprovalDescendantLimit);
  const bool isLookedUp = foreignTexts.judge(source.processIdentifier, reading, lookup);
  WindowContent content{
      .prompt = std::nullopt, .isWhole = !reading.hasUnreadableText && isLookedUp, .isLookedUp = isLookedUp};
  if (!scope.missedTimeout(source.window) && judge.classify(source, reading).accepted) {
    PromptReader::readBeyond(scope, reading, kApprovalDescendantLimit);
    judge.readOptions(scope, reading);
    foreignTexts.judgeBeyond(source.processIdentifier, reading, lookup);
    content.prompt = PromptCandidate{.content = reading.content,
                                     .approval = approvalOf(source, reading, judge.judge(reading)),
                                     .blocksOthers = judge.blocksOthers(reading)};
  }
  if (scope.missedTimeout(source.window)) return {.prompt = std::nullopt, .isWhole = false};
  return content;
}

PendingApproval DialogDetector::approvalOf(const WindowSource& source, const PromptReading& reading,
                                           const JudgedPrompt& judged) {
  const auto& evidence = reading.evidence;
  const bool showsProgress = judge.mayShowProgress(reading);
  const auto kind = identityText(source, reading, judged.lines, showsProgress);
  const auto states = statesOf(reading.texts.options);
  auto lines = judged.allLines();
  const bool isFallback = lines.empty();
  if (isFallback) lines.push_back(fallbackLine(source, evidence));
  return PendingApproval::make({.id = dependencies.stableIDs.stableID(states.empty() ? kind : kind + "|" + states),
                                .detectedAt = dependencies.clock.now(),
                                .appName = source.appName,
                                .bundleIdentifier = source.bundleIdentifier,
                                .processIdentifier = source.processIdentifier,
                                .windowTitle = evidence.title,
                                .windowRole = windowRole(evidence),
                                .windowFrame = reading.frame,
                                .messageLines = lines,
                                .reason = text::joined(lines, "\n"),
                                .buttons = judged.buttons,
                                .recommendedButtonLabel = judged.recommendedLabel,
                                .requiresDirectAccess = judged.directAccessReason.has_value(),
                                .directAccessReason = judged.directAccessReason,
                                .isFallbackDetection = isFallback,
                                .window = source.window,
                                .readAt = dependencies.clock.continuousTime(),
                                .showsProgress = showsProgress,
                                .optionStates = states},
                               kindOf(kind));
}

// What was suppressed in an earlier run is known by the fingerprint of that run.
Uuid DialogDetector::kindOf(const std::string& identity) const {
  for (const auto& earlier : dependencies.stableIDs.earlierIDs(identity)) {
    if (suppressionStore.contains(earlier)) return earlier;
  }
  return dependencies.stableIDs.stableID(identity);
}

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval) { return search.presenceOf(approval); }

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  return quickSearch.resolve(approval, buttonLabel).button;
}

PromptPresence DialogDetector::presenceOf(const PendingApproval& approval, const PromptWindow& window) {
  return search.presenceOf(approval, window);
}

PromptResolution DialogDetector::resolve(const PendingApproval& approval, const std::string& buttonLabel) {
  return quickSearch.resolve(approval, buttonLabel);
}

}  // namespace quillard
