#include "click/ApprovedButton.h"

#include <algorithm>
#include <utility>

#include "approvals/LiveText.h"
#include "click/ClickExecutor.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"

namespace quillard {

using platform::AXError;
using platform::AXUIElement;
namespace ax = platform::ax;

namespace {

constexpr int kHitButtonLimit = 8;
constexpr std::size_t kButtonSearchLimit = 120;

// Whether one key, or one action of a window, could mean either label.
bool meansTheSame(std::string_view label, std::string_view other) {
  const auto key = ClickExecutor::keyCandidate(label);
  return key && key == ClickExecutor::keyCandidate(other);
}

}  // namespace

ApprovedButton::ApprovedButton(ResolvedDialogButton resolved, platform::Accessibility& accessibility)
    : resolved(std::move(resolved)), accessibility(accessibility) {}

bool ApprovedButton::isSafeDismissal() const {
  return resolved.button.isKnownDismissal || DialogButtonSemantics::isSafeDismissal(label());
}

std::optional<std::int32_t> ApprovedButton::processIdentifier() const {
  return accessibility.processIdentifier(resolved.element);
}

std::optional<AXUIElement> ApprovedButton::owningApplication() const {
  const auto owner = processIdentifier();
  if (!owner) return std::nullopt;
  return accessibility.createApplication(*owner);
}

// ---- Identity

bool ApprovedButton::isElementStillAlive(const AXUIElement& element) const {
  return AXHelpers::stringAttribute(accessibility, element, ax::kRole).has_value();
}

bool ApprovedButton::isIntact() const {
  return isElementStillAlive(resolved.element) && isLabelledAsApproved(resolved.element);
}

bool ApprovedButton::isLabelledAsApproved(const AXUIElement& candidate) const {
  if (AXHelpers::role(accessibility, candidate) != ax::kButtonRole) return false;
  const auto now = PromptReader::buttonLabel(accessibility, candidate);
  return now == label() || (LiveText::isSameLabel(label(), now) && isOnlyOneThatCounts(candidate));
}

bool ApprovedButton::isOnlyOneThatCounts(const AXUIElement& candidate) const {
  const auto steady = LiveText::steadyLabel(label());
  return hasNoOther(resolved.window, candidate,
                    [&](const std::string& other) { return LiveText::steadyLabel(other) == steady; });
}

bool ApprovedButton::isSameButton(const AXUIElement& candidate) const {
  if (candidate == resolved.element) return isLabelledAsApproved(candidate);
  const auto place = AXHelpers::frame(accessibility, resolved.element);
  if (!place || AXHelpers::frame(accessibility, candidate) != place) return false;
  const auto window = AXHelpers::nearestWindow(accessibility, candidate, AXHelpers::kWindowAncestorLimit);
  return window && isTarget(window) && isLabelledAsApproved(candidate);
}

std::vector<AXUIElement> ApprovedButton::windowsForAction() const {
  auto fallback = AXHelpers::nearestWindow(accessibility, resolved.element, AXHelpers::kWindowAncestorLimit);
  if (!fallback || *fallback == resolved.window) return {resolved.window};
  if (!hitButtonBelongsToTarget(resolved.element, {resolved.window})) return {*std::move(fallback)};
  return {resolved.window, *std::move(fallback)};
}

bool ApprovedButton::isTarget(const std::optional<AXUIElement>& window) const {
  if (!window) return false;
  const auto targets = windowsForAction();
  return std::find(targets.begin(), targets.end(), *window) != targets.end();
}

// ---- Points

std::optional<Point> ApprovedButton::centre() const {
  const auto frame = AXHelpers::frame(accessibility, resolved.element);
  if (!frame || !(frame->width > 0) || !(frame->height > 0)) return std::nullopt;
  return Point{frame->x + frame->width / 2, frame->y + frame->height / 2};
}

std::optional<AXUIElement> ApprovedButton::buttonAt(Point point) const {
  // Of the whole desktop: a window of another application may lie above the prompt.
  const auto hit = accessibility.copyElementAtPosition(accessibility.createSystemWide(), point);
  if (!hit.hasValue()) return std::nullopt;
  auto button = AXHelpers::nearestButton(accessibility, hit.value(), kHitButtonLimit);
  if (!button || !hitButtonBelongsToTarget(*button, windowsForAction())) return std::nullopt;
  return isSameButton(*button) ? button : std::nullopt;
}

bool ApprovedButton::hitButtonBelongsToTarget(const AXUIElement& hit,
                                              const std::vector<AXUIElement>& targetWindows) const {
  std::optional<AXUIElement> current = hit;
  for (int remaining = AXHelpers::kWindowAncestorLimit; current && remaining > 0; --remaining) {
    if (std::find(targetWindows.begin(), targetWindows.end(), *current) != targetWindows.end()) return true;
    current = AXHelpers::elementAttribute(accessibility, *current, ax::kParent);
  }
  return false;
}

// ---- What the window presses by itself

std::optional<AXUIElement> ApprovedButton::windowButton(const AXUIElement& window, std::string_view attribute) const {
  auto button = AXHelpers::elementAttribute(accessibility, window, attribute);
  if (!button || !AXHelpers::frame(accessibility, *button)) return std::nullopt;
  return isSameButton(*button) ? button : std::nullopt;
}

bool ApprovedButton::offersPress(const AXUIElement& candidate) const {
  const auto actions = AXHelpers::actionNames(accessibility, candidate);
  return std::find(actions.begin(), actions.end(), ax::kPressAction) != actions.end();
}

bool ApprovedButton::answersForWindow(const AXUIElement& window) const {
  for (const auto attribute : ClickExecutor::buttonAttributeCandidates(label())) {
    const auto named = accessibility.copyAttributeValue(window, attribute);
    if (named.hasValue()) {
      const auto* const button = std::get_if<AXUIElement>(&named.value());
      return button && isSameButton(*button);
    }
    const bool namesNone = named.error() == AXError::noValue || named.error() == AXError::attributeUnsupported;
    if (!namesNone) return false;
  }
  return isOnlyOneOfItsMeaning(window);
}

bool ApprovedButton::isOnlyOneOfItsMeaning(const AXUIElement& window) const {
  return hasNoOther(window, resolved.element, [&](const std::string& other) { return meansTheSame(label(), other); });
}

bool ApprovedButton::hasNoOther(const AXUIElement& window, const AXUIElement& candidate,
                                const std::function<bool(const std::string&)>& isAlike) const {
  const auto scope = accessibility.beginReadScope();
  const auto elements = AXHelpers::deeplyNestedChildren(*scope, window, kButtonSearchLimit);
  const bool hasAnother = std::any_of(elements.begin(), elements.end(), [&](const AXUIElement& element) {
    return element != resolved.element && element != candidate && AXHelpers::role(*scope, element) == ax::kButtonRole &&
           isAlike(PromptReader::buttonLabel(*scope, element));
  });
  return !hasAnother && elements.size() < kButtonSearchLimit && !scope->missedTimeout(window);
}

// ---- The keyboard

std::optional<AXUIElement> ApprovedButton::focusHolder() const {
  const auto application = owningApplication();
  return application ? AXHelpers::elementAttribute(accessibility, *application, ax::kFocusedUIElement) : std::nullopt;
}

bool ApprovedButton::hasFocus(const AXUIElement& button) const {
  if (const auto holder = focusHolder()) return *holder == button;
  return AXHelpers::boolAttribute(accessibility, button, ax::kFocused).value_or(false);
}

bool ApprovedButton::hasKeysOfProcess() const {
  const auto application = owningApplication();
  return application && isTarget(AXHelpers::elementAttribute(accessibility, *application, ax::kFocusedWindow));
}

bool ApprovedButton::hasKeysOfDesktop() const {
  return isTarget(AXHelpers::focusedWindow(accessibility, accessibility));
}

bool ApprovedButton::isFocusOnAnotherButton() const {
  const auto holder = focusHolder();
  const auto button = holder ? AXHelpers::nearestButton(accessibility, *holder, kHitButtonLimit) : std::nullopt;
  return button && !isSameButton(*button);
}

}  // namespace quillard
