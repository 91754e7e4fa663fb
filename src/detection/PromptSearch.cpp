#include "detection/PromptSearch.h"

#include <algorithm>
#include <utility>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"

namespace quillard {

using platform::AXReadScope;
namespace ax = platform::ax;

namespace {

constexpr int kButtonSearchLimit = 120;
constexpr int kWindowAncestorLimit = 20;

// What a window of the right content scores where the prompt was when it was read last: no other lies nearer.
constexpr double kUnmovedScore = 500;

}  // namespace

// A window that may hold the button that a decision names.
struct PromptSearch::Match {
  ResolvedDialogButton resolved;
  double score = 0;
};

PromptPresence PromptSearch::presenceOf(const PendingApproval& approval) const {
  auto& accessibility = dependencies.accessibility;
  if (accessibility.isProcessTrusted() == platform::ProcessTrust::denied) {
    return PromptPresence::unknown(PromptPresence::UnknownReason::accessibilityNotGranted);
  }
  const auto scope = accessibility.beginReadScope();
  const auto application = accessibility.createApplication(approval.processIdentifier);
  auto windows = dependencies.windowsIn(*scope);
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

bool PromptSearch::isShownIn(AXReadScope& scope, const std::vector<WindowSource>& sources,
                             const PendingApproval& approval) const {
  return std::any_of(sources.begin(), sources.end(), [&](const WindowSource& source) {
    const auto candidate = dependencies.candidateIn(scope, source);
    return candidate && approval.matchScore(candidate->approval) > 0;
  });
}

std::optional<ResolvedDialogButton> PromptSearch::resolveCurrentButton(const PendingApproval& approval,
                                                                       const std::string& buttonLabel) const {
  auto& accessibility = dependencies.accessibility;
  const auto scope = accessibility.beginReadScope();
  auto windows = dependencies.windowsIn(*scope);
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

std::optional<PromptSearch::Match> PromptSearch::bestMatchIn(AXReadScope& scope,
                                                             const std::vector<WindowSource>& sources,
                                                             const PendingApproval& approval,
                                                             const std::string& buttonLabel) const {
  std::optional<Match> best;
  for (const auto& source : sources) {
    auto match = matchIn(scope, source, approval, buttonLabel);
    if (match && (!best || match->score > best->score)) best = std::move(match);
  }
  return best;
}

std::optional<PromptSearch::Match> PromptSearch::matchIn(AXReadScope& scope, const WindowSource& source,
                                                         const PendingApproval& approval,
                                                         const std::string& buttonLabel) const {
  const auto candidate = dependencies.candidateIn(scope, source);
  const double score = candidate ? approval.matchScore(candidate->approval) : 0;
  if (!(score > 0)) return std::nullopt;
  for (auto& element : AXHelpers::deeplyNestedChildren(scope, candidate->content, kButtonSearchLimit)) {
    auto button = PromptReader::pressableButton(scope, element);
    if (!button || button->label != buttonLabel) continue;
    auto window = AXHelpers::nearestWindow(scope, element, kWindowAncestorLimit).value_or(source.window);
    return Match{{*std::move(button), std::move(element), std::move(window)}, score};
  }
  return std::nullopt;
}

}  // namespace quillard
