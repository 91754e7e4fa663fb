#include "click/ClickAttempt.h"

#include <algorithm>
#include <array>
#include <utility>

#include "click/ClickCandidates.h"
#include "detection/elements/AXHelpers.h"

namespace quillard {

using platform::AXError;
using platform::AXUIElement;
using platform::KeyCode;
namespace ax = platform::ax;

namespace {

constexpr Seconds kPauseAfterPreparing{0.1};
constexpr Seconds kPauseAfterFocusing{0.08};

// Whether the answer says that the application never got as far as the button. Any other error may follow a press.
bool isRefusedBeyondDoubt(AXError error) {
  constexpr std::array kRefusals{AXError::illegalArgument, AXError::invalidUIElement, AXError::actionUnsupported,
                                 AXError::notImplemented, AXError::apiDisabled};
  return std::find(kRefusals.begin(), kRefusals.end(), error) != kRefusals.end();
}

}  // namespace

ClickAttempt::ClickAttempt(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
                           const ClickQuestions& questions)
    : button(button, dependencies.accessibility),
      accessibility(dependencies.accessibility),
      questions(questions),
      watch(questions, dependencies.clock),
      input(dependencies.syntheticEvents, dependencies.clock, watch) {}

std::optional<ClickError> ClickAttempt::run() {
  constexpr std::array kPaths{&ClickAttempt::pressDirectly,
                              &ClickAttempt::findAgainWhenDead,
                              &ClickAttempt::prepareWindows,
                              &ClickAttempt::pressWindowButtons,
                              static_cast<ClickProgress (ClickAttempt::*)()>(&ClickAttempt::focusAndPressSpace),
                              &ClickAttempt::focusWindowButtonsAndPressSpace,
                              &ClickAttempt::performWindowActions,
                              &ClickAttempt::pressWhatIsHit,
                              &ClickAttempt::clickAtCentre,
                              &ClickAttempt::typeKeyOfLabel};
  for (const auto path : kPaths) {
    const auto progress = (this->*path)();
    if (progress != ClickProgress::promptRemains) return outcome(progress);
  }
  return outcome(watch.isPromptStillPresent() ? ClickProgress::promptRemains : ClickProgress::promptGone);
}

std::optional<ClickError> ClickAttempt::outcome(ClickProgress progress) const {
  switch (progress) {
    case ClickProgress::promptGone:
      // A prompt that somebody else answered before anything was done here was not answered as approved.
      if (hasPerformed || input.hasPressed()) return std::nullopt;
      return ClickError::buttonNotFound;
    case ClickProgress::buttonLost:
      return ClickError::buttonNotFound;
    case ClickProgress::eventNotCreated:
      return ClickError::unableToCreateEvent;
    case ClickProgress::promptRemains:
    case ClickProgress::stopped:
      break;
  }
  return ClickError::promptStillPresent;
}

std::optional<ClickProgress> ClickAttempt::blocker() const {
  if (watch.shouldStop()) return ClickProgress::stopped;
  if (!watch.isPromptStillPresent()) return ClickProgress::promptGone;
  if (!button.isIntact()) return ClickProgress::promptRemains;
  if (watch.shouldStop()) return ClickProgress::stopped;  // Looking may have taken long.
  return std::nullopt;
}

std::optional<ClickProgress> ClickAttempt::blocker(const std::function<bool()>& proof) const {
  if (auto blocked = blocker()) return blocked;
  return proof() ? std::nullopt : std::optional{ClickProgress::promptRemains};
}

AXError ClickAttempt::perform(const AXUIElement& target, std::string_view action) {
  const auto answer = accessibility.performAction(target, action);
  if (answer != AXError::invalidUIElement) hasPerformed = true;  // Where there was nothing, nothing was pressed.
  return answer;
}

// ---- The button itself

ClickProgress ClickAttempt::pressDirectly() {
  (void)button.owningApplication();  // Bounds the waits.
  if (const auto blocked = blocker()) return *blocked;
  const auto answer = perform(button.element(), ax::kPressAction);
  mayPressHaveLanded = !isRefusedBeyondDoubt(answer);
  if (answer != AXError::success) return ClickProgress::promptRemains;
  return watch.waitToClear(ClickExecutor::acceptedPressClearDelays);
}

ClickProgress ClickAttempt::findAgainWhenDead() {
  if (watch.shouldStop()) return ClickProgress::stopped;
  if (!button.isIntact()) {
    const auto progress = findAgain();
    if (progress != ClickProgress::promptRemains) return progress;
  }
  return watch.isPromptStillPresent() ? ClickProgress::promptRemains : ClickProgress::promptGone;
}

// A button that died of a press is not missed: then the prompt has gone with it.
ClickProgress ClickAttempt::findAgain() {
  const auto hasGone = [this] { return mayPressHaveLanded && !watch.isPromptStillPresent(); };
  if (hasGone()) return ClickProgress::promptGone;
  auto found = questions.refreshedButton();
  const bool isApproved = found && found->button.label == button.label();
  if (!isApproved) return hasGone() ? ClickProgress::promptGone : ClickProgress::buttonLost;
  button.replace(*std::move(found));
  return ClickProgress::promptRemains;
}

// ---- Its windows

ClickProgress ClickAttempt::prepareWindows() {
  for (const auto& window : button.windowsForAction()) {
    if (const auto blocked = blocker()) return *blocked;
    const auto progress = prepareWindow(window);
    if (progress != ClickProgress::promptRemains) return progress;
  }
  return ClickProgress::promptRemains;
}

ClickProgress ClickAttempt::prepareWindow(const AXUIElement& window) {
  if (const auto application = button.owningApplication()) {
    accessibility.setAttributeValue(*application, ax::kFrontmost, true);
    accessibility.setAttributeValue(*application, ax::kFocusedWindow, window);
  }
  accessibility.setAttributeValue(window, ax::kMinimized, false);
  accessibility.performAction(window, ax::kRaiseAction);
  accessibility.setAttributeValue(window, ax::kMain, true);
  accessibility.setAttributeValue(window, ax::kFocused, true);
  return watch.sleep(kPauseAfterPreparing) ? ClickProgress::promptRemains : ClickProgress::stopped;
}

ClickProgress ClickAttempt::forEachWindowButton(const Act& act) {
  for (const auto& window : button.windowsForAction()) {
    for (const auto attribute : ClickExecutor::buttonAttributeCandidates(button.label())) {
      const auto target = button.windowButton(window, attribute);
      if (!target) continue;
      const auto progress = act(*target);
      if (progress != ClickProgress::promptRemains) return progress;
    }
  }
  return ClickProgress::promptRemains;
}

ClickProgress ClickAttempt::pressWindowButtons() {
  return forEachWindowButton([this](const AXUIElement& target) {
    return button.offersPress(target) ? pressAndWait(target) : ClickProgress::promptRemains;
  });
}

ClickProgress ClickAttempt::pressAndWait(const AXUIElement& target) {
  if (const auto blocked = blocker([&] { return button.isLabelledAsApproved(target); })) return *blocked;
  perform(target, ax::kPressAction);
  return watch.waitToClear(ClickExecutor::standardClearDelays);
}

ClickProgress ClickAttempt::performWindowActions() {
  for (const auto& window : button.windowsForAction()) {
    const auto offered = AXHelpers::actionNames(accessibility, window);
    for (const auto action : ClickExecutor::windowActionCandidates(button.label())) {
      if (std::find(offered.begin(), offered.end(), action) == offered.end()) continue;
      const auto progress = performAndWait(window, action);
      if (progress != ClickProgress::promptRemains) return progress;
    }
  }
  return ClickProgress::promptRemains;
}

ClickProgress ClickAttempt::performAndWait(const AXUIElement& window, std::string_view action) {
  if (const auto blocked = blocker([&] { return button.answersForWindow(window); })) return *blocked;
  perform(window, action);
  return watch.waitToClear(ClickExecutor::standardClearDelays);
}

// ---- Its place on the screen

ClickProgress ClickAttempt::pressWhatIsHit() {
  const auto centre = button.centre();
  const auto hit = centre ? button.buttonAt(*centre) : std::nullopt;
  return hit ? pressAndWait(*hit) : ClickProgress::promptRemains;
}

ClickProgress ClickAttempt::clickAtCentre() {
  const auto centre = button.centre();
  if (!centre) return ClickProgress::promptRemains;
  // The window may move in the meantime, or another one come to lie above it.
  const auto isThere = [this, centre] { return button.centre() == centre && button.buttonAt(*centre).has_value(); };
  const auto mayPost = [this, isThere] { return blocker(isThere); };
  std::vector<EventDelivery> deliveries;
  if (const auto owner = button.processIdentifier()) deliveries.push_back({owner, mayPost});
  deliveries.push_back({std::nullopt, mayPost});
  return input.postClickAndWait(*centre, deliveries);
}

// ---- The keyboard

ClickProgress ClickAttempt::focusAndPressSpace() { return focusAndPressSpace(button.element()); }

ClickProgress ClickAttempt::focusWindowButtonsAndPressSpace() {
  return forEachWindowButton([this](const AXUIElement& target) { return focusAndPressSpace(target); });
}

// A space presses whatever has the focus: that setting it was accepted does not say that it moved.
ClickProgress ClickAttempt::focusAndPressSpace(const AXUIElement& target) {
  if (const auto blocked = blocker()) return *blocked;
  const auto owner = button.processIdentifier();
  if (!owner) return ClickProgress::promptRemains;
  (void)button.owningApplication();  // Bounds the waits.
  accessibility.setAttributeValue(target, ax::kFocused, true);
  if (!watch.sleep(kPauseAfterFocusing)) return ClickProgress::stopped;
  const auto pressesIt = [&] {
    return button.hasKeysOfProcess() && button.hasFocus(target) && button.isLabelledAsApproved(target);
  };
  return input.postKeyAndWait(KeyCode::space, {{owner, [&] { return blocker(pressesIt); }}});
}

ClickProgress ClickAttempt::typeKeyOfLabel() {
  const auto key = ClickExecutor::keyCandidate(button.label());
  return key ? input.postKeyAndWait(*key, keyDeliveries(*key)) : ClickProgress::promptRemains;
}

std::vector<EventDelivery> ClickAttempt::keyDeliveries(KeyCode key) const {
  std::vector<EventDelivery> deliveries;
  if (const auto owner = button.processIdentifier()) {
    deliveries.push_back(
        {owner, [this, key] { return blocker([&] { return keyMeansTheButton(key) && button.hasKeysOfProcess(); }); }});
  }
  deliveries.push_back({std::nullopt, [this, key] {
                          return blocker([&] { return keyMeansTheButton(key) && button.hasKeysOfDesktop(); });
                        }});
  return deliveries;
}

bool ClickAttempt::keyMeansTheButton(KeyCode key) const {
  if (key == KeyCode::returnKey && button.isFocusOnAnotherButton()) return false;
  const auto windows = button.windowsForAction();
  return std::all_of(windows.begin(), windows.end(),
                     [this](const AXUIElement& window) { return button.answersForWindow(window); });
}

}  // namespace quillard
