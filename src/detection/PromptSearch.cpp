#include "detection/PromptSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <variant>

#include "detection/DirectAccess.h"
#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"

namespace quillard {

using platform::AXError;
using platform::AXReadScope;
using platform::AXUIElement;
using platform::WindowListEntry;
using platform::WindowListOptions;
using UnknownReason = PromptPresence::UnknownReason;
namespace ax = platform::ax;

namespace {

constexpr int kButtonSearchLimit = 120;

// What a window of the right content scores where the prompt was when it was read last: no other lies nearer.
constexpr double kUnmovedScore = 500;

// What the prompt's application said about its windows.
struct ApplicationWindows {
  enum class State {
    answered,
    ended,   // There is no such application, as far as the accessibility service knows.
    silent,  // No answer: of the application, or of the service.
  };
  State state = State::silent;
  std::vector<AXUIElement> windows;
};

// The application answered the question, though it may have no value for it.
bool isAnswer(AXError error) {
  return error == AXError::success || error == AXError::noValue || error == AXError::attributeUnsupported;
}

bool isNoSuchApplication(AXError error) {
  return error == AXError::invalidUIElement || error == AXError::notImplemented;
}

// Without an answer about the permission, what can be read is known.
bool isPermissionDenied(platform::Accessibility& accessibility) {
  return accessibility.isProcessTrusted() == platform::ProcessTrust::denied;
}

bool isSamePlace(const Rect& a, const Rect& b) {
  constexpr double kRounding = 1;
  const std::array differences{a.x - b.x, a.y - b.y, a.width - b.width, a.height - b.height};
  return std::all_of(differences.begin(), differences.end(),
                     [](double difference) { return std::abs(difference) < kRounding; });
}

bool contains(const std::vector<AXUIElement>& elements, const AXUIElement& element) {
  return std::find(elements.begin(), elements.end(), element) != elements.end();
}

// A window that may hold the button that a decision names.
struct Match {
  ResolvedDialogButton resolved;
  double score = 0;
  bool requiresDirectAccess = false;
};

}  // namespace

// One operation on one approval, in one scope. One thread.
class PromptSearch::Reading {
 public:
  // All outlive this.
  Reading(const PromptSearchDependencies& dependencies, const PendingApproval& approval)
      : dependencies(dependencies),
        approval(approval),
        scope(dependencies.accessibility.beginReadScope()),
        application(dependencies.accessibility.createApplication(approval.processIdentifier)) {}

  [[nodiscard]] PromptPresence presence() {
    const auto found = presenceAnywhere();
    return canSeeDesktop() ? found : PromptPresence::unknown(whySilent());
  }

  [[nodiscard]] PromptPresence presenceIn(const PromptWindow& window) {
    const auto found = presenceByAccessibility(window);
    const auto presence = canSeeDesktop() ? found : PromptPresence::unknown(whySilent());
    return presence.isUnknown() && hasLeftWindowServer(window) ? PromptPresence::gone() : presence;
  }

  // Whether `presenceIn` found the window alive, listed or not, and something else in it.
  [[nodiscard]] bool sawOtherContent() const { return hasOtherContent; }

  [[nodiscard]] PromptResolution resolve(const std::string& buttonLabel) {
    if (approval.window) prepare();
    auto match = approval.window ? matchIn(sourceOf(*approval.window), buttonLabel) : bestMatch(buttonLabel);
    if (!canSeeDesktop()) return {.outcome = PromptResolution::Outcome::unknown, .button = std::nullopt};
    if (isBlocked || (match && match->requiresDirectAccess)) {
      return {.outcome = PromptResolution::Outcome::requiresDirectAccess, .button = std::nullopt};
    }
    if (!match) return {.outcome = whyNotFound(), .button = std::nullopt};
    auto& resolved = match->resolved;
    resolved.promptWindow.number = numberOf(resolved.promptWindow.element);
    dependencies.accessibility.setAttributeValue(resolved.window, ax::kMinimized, false);
    dependencies.accessibility.performAction(resolved.window, ax::kRaiseAction);
    return {.outcome = PromptResolution::Outcome::found, .button = std::move(resolved)};
  }

 private:
  // ---- Who answers

  [[nodiscard]] bool isSilent() const { return scope->missedTimeout(application); }

  // Asked after the reads: what they brought is then not the whole.
  [[nodiscard]] bool canSeeDesktop() const { return !scope->desktopFailure().has_value(); }

  // An element that is gone has answered, too.
  [[nodiscard]] bool isAnswering(const AXUIElement& window) {
    const auto error = scope->copyAttributeValue(window, ax::kRole).error();
    return isAnswer(error) || error == AXError::invalidUIElement;
  }

  [[nodiscard]] bool isLive(const AXUIElement& window) {
    return isAnswer(scope->copyAttributeValue(window, ax::kRole).error());
  }

  void prepare() { scope->prepareApplications(std::array{application}, dependencies.descendantsPerWindow); }

  [[nodiscard]] UnknownReason whySilent() const {
    const auto failure = scope->desktopFailure();
    if (failure == platform::DesktopReadFailure::notPermitted) return UnknownReason::accessibilityNotGranted;
    if (failure) return UnknownReason::desktopNotReadable;
    return isSilent() ? UnknownReason::applicationDidNotAnswer : UnknownReason::desktopNotReadable;
  }

  [[nodiscard]] bool isApplicationRunning() const {
    const auto running = dependencies.workspace.runningApplication(approval.processIdentifier);
    return running && !running->isTerminated;
  }

  [[nodiscard]] ApplicationWindows readApplicationWindows() {
    const auto listed = scope->copyAttributeValue(application, ax::kWindows);
    if (isNoSuchApplication(listed.error())) return {ApplicationWindows::State::ended, {}};
    if (!isAnswer(listed.error())) return {ApplicationWindows::State::silent, {}};
    auto windows = AXHelpers::windows(*scope, application);
    for (const auto name : {ax::kMainWindow, ax::kFocusedWindow}) {
      if (auto window = AXHelpers::elementAttribute(*scope, application, name)) windows.push_back(*std::move(window));
    }
    return {ApplicationWindows::State::answered, std::move(windows)};
  }

  // ---- Presence

  [[nodiscard]] PromptPresence presenceAnywhere() {
    auto windows = dependencies.windowsIn(*scope);
    if (const auto there = presenceIn(windows.windowSourcesForApplication(approval.processIdentifier))) return *there;
    const auto state = readApplicationWindows().state;
    if (!isSilent()) {
      if (const auto there = presenceIn(windows.allWindowSources())) return *there;
    }
    if (state == ApplicationWindows::State::silent || isSilent()) return PromptPresence::unknown(whySilent());
    if (state == ApplicationWindows::State::ended && isApplicationRunning()) {
      return PromptPresence::unknown(UnknownReason::applicationDidNotAnswer);
    }
    if (!wasReadWhole) return PromptPresence::unknown(UnknownReason::promptNotReadable);
    return PromptPresence::gone();
  }

  [[nodiscard]] PromptPresence presenceByAccessibility(const PromptWindow& window) {
    prepare();
    const auto known = readApplicationWindows();
    if (known.state == ApplicationWindows::State::silent) return PromptPresence::unknown(whySilent());
    if (known.state == ApplicationWindows::State::ended) {
      return isApplicationRunning() ? PromptPresence::unknown(UnknownReason::applicationDidNotAnswer)
                                    : PromptPresence::gone();
    }
    const auto there = presenceIn({sourceOf(window.element)});
    if (isSilent() || !isAnswering(window.element)) return PromptPresence::unknown(whySilent());
    if (!there) {
      if (!wasReadWhole) return PromptPresence::unknown(UnknownReason::promptNotReadable);
      // Also of a window that its application does not list, as the desktop may name it.
      hasOtherContent = isLive(window.element);
      return PromptPresence::gone();
    }
    if (isWithin(window.element, known.windows) || isNamedByDesktop(window.element)) return *there;
    // A window that only the desktop would name: without the desktop, nothing is known of it.
    return isDesktopSilent || isSilent() ? PromptPresence::unknown(whySilent()) : PromptPresence::gone();
  }

  // Absent: none of the windows shows the prompt.
  [[nodiscard]] std::optional<PromptPresence> presenceIn(const std::vector<WindowSource>& sources) {
    for (const auto& source : sources) {
      const auto candidate = read(source);
      if (!candidate || !(approval.matchScore(candidate->approval) > 0)) continue;
      return requiresDirectAccessByNow(candidate->approval) ? PromptPresence::thereForDirectAccess()
                                                            : PromptPresence::there();
    }
    return std::nullopt;
  }

  // Whoever approved it knew of it when the record said so.
  [[nodiscard]] bool requiresDirectAccessByNow(const PendingApproval& shown) const {
    return shown.requiresDirectAccess && !approval.requiresDirectAccess;
  }

  // Whether the element is one of the windows, or lies in one, as a sheet does.
  [[nodiscard]] bool isWithin(const AXUIElement& element, const std::vector<AXUIElement>& windows) {
    std::optional<AXUIElement> current = element;
    for (int remaining = AXHelpers::kWindowAncestorLimit; current && remaining > 0; --remaining) {
      if (contains(windows, *current)) return true;
      current = AXHelpers::elementAttribute(*scope, *current, ax::kParent);
    }
    return false;
  }

  // Some windows are in no application's list, but have the focus of the desktop.
  [[nodiscard]] bool isNamedByDesktop(const AXUIElement& window) {
    const auto desktop = dependencies.accessibility.createSystemWide();
    const auto focused = scope->copyAttributeValue(desktop, ax::kFocusedWindow);
    isDesktopSilent = !isAnswer(focused.error());
    if (AXHelpers::elementAttribute(*scope, desktop, ax::kFocusedWindow) == window) return true;
    const auto element = AXHelpers::elementAttribute(*scope, desktop, ax::kFocusedUIElement);
    return element && AXHelpers::nearestWindow(*scope, *element, AXHelpers::kWindowAncestorLimit) == window;
  }

  // ---- The window server

  // Only of a window that it listed before.
  [[nodiscard]] bool hasLeftWindowServer(const PromptWindow& window) {
    if (!window.number) return false;
    const auto listed = dependencies.windowList.readWindowInfo(WindowListOptions::all);
    return listed.isKnown() &&
           std::none_of(listed.value().begin(), listed.value().end(),
                        [&](const WindowListEntry& entry) { return entry.number == window.number; });
  }

  [[nodiscard]] std::optional<std::int64_t> numberOf(const AXUIElement& window) {
    const auto frame = AXHelpers::frame(*scope, window);
    const auto listed = dependencies.windowList.readWindowInfo(WindowListOptions::all);
    if (!frame || !listed.isKnown()) return std::nullopt;
    std::vector<WindowListEntry> same;
    for (const auto& entry : listed.value()) {
      const bool isOfProcess = entry.ownerProcessIdentifier == approval.processIdentifier;
      if (isOfProcess && entry.bounds && isSamePlace(*entry.bounds, *frame)) same.push_back(entry);
    }
    if (same.size() > 1) {
      const auto title = AXHelpers::stringAttribute(*scope, window, ax::kTitle);
      std::erase_if(same, [&](const WindowListEntry& entry) { return entry.windowName != title; });
    }
    return same.size() == 1 ? same.front().number : std::nullopt;
  }

  // ---- The button

  // The prompt's own application is asked first. A window of it that has not moved is taken; one that has moved is
  // compared with all others, since an equal one may lie nearer.
  [[nodiscard]] std::optional<Match> bestMatch(const std::string& buttonLabel) {
    auto windows = dependencies.windowsIn(*scope);
    auto best = bestMatchIn(windows.windowSourcesForApplication(approval.processIdentifier), buttonLabel);
    const bool isUnmoved = best && best->score >= kUnmovedScore;
    if (!isUnmoved && !isSilent()) {
      auto other = bestMatchIn(windows.allWindowSources(), buttonLabel);
      if (other && (!best || other->score > best->score)) best = std::move(other);
    }
    return best;
  }

  [[nodiscard]] std::optional<Match> bestMatchIn(const std::vector<WindowSource>& sources,
                                                 const std::string& buttonLabel) {
    std::optional<Match> best;
    for (const auto& source : sources) {
      auto match = matchIn(source, buttonLabel);
      if (match && (!best || match->score > best->score)) best = std::move(match);
    }
    return best;
  }

  [[nodiscard]] std::optional<Match> matchIn(const WindowSource& source, const std::string& buttonLabel) {
    const auto candidate = read(source);
    if (!candidate) return std::nullopt;
    const bool requiresDirectAccess =
        requiresDirectAccessByNow(candidate->approval) && requiresDirectAccessFor(candidate->approval, buttonLabel);
    const double score = approval.matchScore(candidate->approval);
    if (!(score > 0)) {
      isBlocked = isBlocked || (requiresDirectAccess && isSameQuestion(candidate->approval, buttonLabel));
      return std::nullopt;
    }
    const auto* const known = candidate->approval.button(buttonLabel);
    for (auto& element : AXHelpers::deeplyNestedChildren(*scope, candidate->content, kButtonSearchLimit)) {
      auto button = PromptReader::pressableButton(*scope, element);
      const bool isWanted = button && button->isEnabled && button->label == (known ? known->label : buttonLabel);
      if (!isWanted) continue;
      button->isKnownDismissal = known && known->isKnownDismissal;
      auto window = AXHelpers::nearestWindow(*scope, element, AXHelpers::kWindowAncestorLimit).value_or(source.window);
      return Match{{*std::move(button), std::move(element), std::move(window), {source.window, std::nullopt}},
                   score,
                   requiresDirectAccess};
    }
    return std::nullopt;
  }

  // Whether the approval's own window shows it in other words now: the title and the button are the same.
  [[nodiscard]] bool isSameQuestion(const PendingApproval& shown, const std::string& buttonLabel) const {
    return approval.window.has_value() && shown.windowTitle == approval.windowTitle &&
           std::any_of(shown.buttons.begin(), shown.buttons.end(),
                       [&](const DialogButton& button) { return button.label == buttonLabel; });
  }

  [[nodiscard]] PromptResolution::Outcome whyNotFound() {
    const auto state = readApplicationWindows().state;
    const bool isAnswered = state != ApplicationWindows::State::silent && !isSilent() &&
                            (!approval.window || isAnswering(*approval.window));
    return isAnswered && wasReadWhole ? PromptResolution::Outcome::notFound : PromptResolution::Outcome::unknown;
  }

  // ---- Windows

  [[nodiscard]] std::optional<PromptCandidate> read(const WindowSource& source) {
    auto content = dependencies.read(*scope, source);
    const bool isOwn = source.processIdentifier == approval.processIdentifier;
    if (isOwn && !content.isWhole) wasReadWhole = false;
    return std::move(content.prompt);
  }

  // By what is known of its owner: asking again might bring another answer, and with it another prompt.
  [[nodiscard]] WindowSource sourceOf(const AXUIElement& window) const {
    return {.window = window,
            .appName = approval.appName,
            .bundleIdentifier = approval.bundleIdentifier,
            .processIdentifier = approval.processIdentifier};
  }

  const PromptSearchDependencies& dependencies;
  const PendingApproval& approval;
  const std::unique_ptr<AXReadScope> scope;
  const AXUIElement application;
  bool hasOtherContent = false;
  bool wasReadWhole = true;  // What was read of the prompt's application.
  bool isDesktopSilent = false;
  bool isBlocked = false;  // The approval's window asks for direct access now, in other words than it did.
};

PromptPresence PromptSearch::presenceOf(const PendingApproval& approval) const {
  if (approval.window) return presenceOf(approval, {*approval.window, std::nullopt});
  if (isPermissionDenied(dependencies.accessibility)) {
    return PromptPresence::unknown(UnknownReason::accessibilityNotGranted);
  }
  return Reading{dependencies, approval}.presence();
}

PromptPresence PromptSearch::presenceOf(const PendingApproval& approval, const PromptWindow& window) const {
  if (isPermissionDenied(dependencies.accessibility)) {
    return PromptPresence::unknown(UnknownReason::accessibilityNotGranted);
  }
  Reading reading{dependencies, approval};
  const auto presence = reading.presenceIn(window);
  // A window that changed while it was read was read half before and half after: as it never was.
  return reading.sawOtherContent() ? Reading{dependencies, approval}.presenceIn(window) : presence;
}

PromptResolution PromptSearch::resolve(const PendingApproval& approval, const std::string& buttonLabel) const {
  return Reading{dependencies, approval}.resolve(buttonLabel);
}

}  // namespace quillard
