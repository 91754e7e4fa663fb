#include "click/ClickAttempt.h"

#include <algorithm>
#include <array>
#include <utility>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/elements/AXHelpers.h"

namespace quillard {

using platform::AXError;
using platform::AXUIElement;
using platform::KeyCode;
using platform::MouseEventType;
namespace ax = platform::ax;

namespace {

constexpr Seconds kPauseAfterPreparing{0.1};
constexpr Seconds kPauseAfterFocusing{0.08};
constexpr Seconds kPauseBetweenEvents{0.08};

// Whether the answer says that the request never reached the application. Any other may follow a press: an element that
// is gone, or an action that it does not offer, may be so because it acted.
bool isRefusedBeyondDoubt(AXError error) {
  constexpr std::array kRefusals{AXError::illegalArgument, AXError::notImplemented, AXError::apiDisabled};
  return std::find(kRefusals.begin(), kRefusals.end(), error) != kRefusals.end();
}

}  // namespace

ClickAttempt::ClickAttempt(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
                           const ClickCallbacks& callbacks)
    : button(button, dependencies.accessibility),
      accessibility(dependencies.accessibility),
      syntheticEvents(dependencies.syntheticEvents),
      clock(dependencies.clock),
      callbacks(callbacks) {}

std::optional<ClickError> ClickAttempt::run() {
  constexpr std::array kPaths{&ClickAttempt::pressDirectly,
                              &ClickAttempt::findAgainWhenDead,
                              &ClickAttempt::prepareWindows,
                              &ClickAttempt::pressWindowButtons,
                              &ClickAttempt::focusButtonAndPressSpace,
                              &ClickAttempt::focusWindowButtonsAndPressSpace,
                              &ClickAttempt::performWindowActions,
                              &ClickAttempt::pressWhatIsHit,
                              &ClickAttempt::clickAtCentre,
                              &ClickAttempt::typeKeyOfLabel};
  for (const auto path : kPaths) {
    const auto progress = (this->*path)();
    if (progress != Progress::promptRemains) return outcome(progress);
  }
  return outcome(prompt());
}

std::optional<ClickError> ClickAttempt::outcome(Progress progress) const {
  switch (progress) {
    case Progress::promptGone:
      if (hasActed) return std::nullopt;
      return ClickError::buttonNotFound;
    case Progress::buttonLost:
      return ClickError::buttonNotFound;
    case Progress::eventNotCreated:
      return ClickError::unableToCreateEvent;
    case Progress::presenceUnknown:
      if (!hasActed) return ClickError::promptNotReadable;
      return whyUnknown == PromptPresence::UnknownReason::applicationDidNotAnswer ? ClickError::programStoppedAnswering
                                                                                  : ClickError::outcomeNotReadable;
    case Progress::requiresDirectAccess:
      if (!hasActed) return ClickError::requiresDirectAccess;
      break;
    case Progress::promptRemains:
    case Progress::stopped:
      break;
  }
  return ClickError::promptStillPresent;
}

// ---- Checks and waits

std::optional<ClickAttempt::Progress> ClickAttempt::blocker() {
  if (shouldStop()) return Progress::stopped;
  if (const auto progress = prompt(); progress != Progress::promptRemains) return progress;
  if (!button.isIntact()) return Progress::promptRemains;
  if (shouldStop()) return Progress::stopped;  // The checks may have taken long.
  return std::nullopt;
}

std::optional<ClickAttempt::Progress> ClickAttempt::blocker(const Proof& proof) {
  if (auto blocked = blocker()) return blocked;
  return proof() ? std::nullopt : std::optional{Progress::promptRemains};
}

ClickAttempt::Progress ClickAttempt::prompt() {
  const auto progress = asProgress(callbacks.presence());
  if (progress != Progress::presenceUnknown) return progress;
  return waitUntil(ClickExecutor::standardClearDelays,
                   [](Progress known) { return known != Progress::presenceUnknown; });
}

ClickAttempt::Progress ClickAttempt::asProgress(const PromptPresence& presence) {
  if (presence.isGone()) return Progress::promptGone;
  if (const auto reason = presence.unknownReason()) {
    whyUnknown = *reason;
    return Progress::presenceUnknown;
  }
  const bool isBlocked = presence.requiresDirectAccessNow() && !button.isSafeDismissal();
  return isBlocked ? Progress::requiresDirectAccess : Progress::promptRemains;
}

bool ClickAttempt::sleep(Seconds duration) const {
  return ClickExecutor::sleepUnlessStopped(clock, duration, callbacks.shouldStop);
}

ClickAttempt::Progress ClickAttempt::waitToClear(std::span<const Seconds> delays) {
  return waitUntil(delays, [](Progress progress) { return progress == Progress::promptGone; });
}

ClickAttempt::Progress ClickAttempt::waitUntil(std::span<const Seconds> delays,
                                               const std::function<bool(Progress)>& isEnough) {
  auto progress = Progress::promptRemains;
  for (const Seconds delay : delays) {
    if (!sleep(delay)) return Progress::stopped;
    progress = asProgress(callbacks.presence());
    if (isEnough(progress)) break;
  }
  return progress;
}

AXError ClickAttempt::perform(const AXUIElement& target, std::string_view action) {
  const auto answer = accessibility.performAction(target, action);
  if (!isRefusedBeyondDoubt(answer)) hasActed = true;
  return answer;
}

// ---- The button itself

ClickAttempt::Progress ClickAttempt::pressDirectly() {
  (void)button.owningApplication();  // Bounds the waits.
  if (const auto blocked = blocker()) return *blocked;
  const auto answer = perform(button.element(), ax::kPressAction);
  if (isRefusedBeyondDoubt(answer)) return Progress::promptRemains;
  return waitToClear(ClickExecutor::acceptedPressClearDelays);
}

ClickAttempt::Progress ClickAttempt::findAgainWhenDead() {
  if (shouldStop()) return Progress::stopped;
  if (!button.isIntact()) {
    const auto progress = findAgain();
    if (progress != Progress::promptRemains) return progress;
  }
  return prompt();
}

// A button that died of a press is not missed: then the prompt has gone with it.
ClickAttempt::Progress ClickAttempt::findAgain() {
  if (hasActed) {
    if (const auto progress = prompt(); progress != Progress::promptRemains) return progress;
  }
  auto found = callbacks.refreshedButton();
  for (const Seconds delay : ClickExecutor::standardClearDelays) {
    if (found.outcome != PromptResolution::Outcome::unknown) break;
    if (!sleep(delay)) return Progress::stopped;
    found = callbacks.refreshedButton();
  }
  const bool isApproved = found.button && found.button->button.label == button.label();
  if (!isApproved) return withoutButton(found.outcome);
  button.replace(*std::move(found.button));
  return Progress::promptRemains;
}

// That nobody could look for it does not mean that it is lost.
ClickAttempt::Progress ClickAttempt::withoutButton(PromptResolution::Outcome outcome) {
  const auto progress = prompt();
  if (progress != Progress::promptRemains) return progress;
  if (outcome != PromptResolution::Outcome::unknown) return Progress::buttonLost;
  whyUnknown = PromptPresence::UnknownReason::promptNotReadable;
  return Progress::presenceUnknown;
}

// ---- Its windows

ClickAttempt::Progress ClickAttempt::prepareWindows() {
  for (const auto& window : button.windowsForAction()) {
    if (const auto blocked = blocker()) return *blocked;
    const auto progress = prepareWindow(window);
    if (progress != Progress::promptRemains) return progress;
  }
  return Progress::promptRemains;
}

ClickAttempt::Progress ClickAttempt::prepareWindow(const AXUIElement& window) {
  if (const auto application = button.owningApplication()) {
    accessibility.setAttributeValue(*application, ax::kFrontmost, true);
    accessibility.setAttributeValue(*application, ax::kFocusedWindow, window);
  }
  accessibility.setAttributeValue(window, ax::kMinimized, false);
  accessibility.performAction(window, ax::kRaiseAction);
  accessibility.setAttributeValue(window, ax::kMain, true);
  accessibility.setAttributeValue(window, ax::kFocused, true);
  return sleep(kPauseAfterPreparing) ? Progress::promptRemains : Progress::stopped;
}

ClickAttempt::Progress ClickAttempt::forEachWindowButton(const Act& act) {
  for (const auto& window : button.windowsForAction()) {
    for (const auto attribute : ClickExecutor::buttonAttributeCandidates(button.label())) {
      const auto target = button.windowButton(window, attribute);
      if (!target) continue;
      const auto progress = act(*target);
      if (progress != Progress::promptRemains) return progress;
    }
  }
  return Progress::promptRemains;
}

ClickAttempt::Progress ClickAttempt::pressWindowButtons() {
  return forEachWindowButton([this](const AXUIElement& target) {
    return button.offersPress(target) ? pressAndWait(target) : Progress::promptRemains;
  });
}

ClickAttempt::Progress ClickAttempt::pressAndWait(const AXUIElement& target) {
  if (const auto blocked = blocker([&] { return button.isLabelledAsApproved(target); })) return *blocked;
  perform(target, ax::kPressAction);
  return waitToClear(ClickExecutor::standardClearDelays);
}

ClickAttempt::Progress ClickAttempt::performWindowActions() {
  for (const auto& window : button.windowsForAction()) {
    const auto offered = AXHelpers::actionNames(accessibility, window);
    for (const auto action : ClickExecutor::windowActionCandidates(button.label())) {
      if (std::find(offered.begin(), offered.end(), action) == offered.end()) continue;
      const auto progress = performAndWait(window, action);
      if (progress != Progress::promptRemains) return progress;
    }
  }
  return Progress::promptRemains;
}

ClickAttempt::Progress ClickAttempt::performAndWait(const AXUIElement& window, std::string_view action) {
  if (const auto blocked = blocker([&] { return button.answersForWindow(window); })) return *blocked;
  perform(window, action);
  return waitToClear(ClickExecutor::standardClearDelays);
}

// ---- Its place on the screen

ClickAttempt::Progress ClickAttempt::pressWhatIsHit() {
  const auto centre = button.centre();
  const auto hit = centre ? button.buttonAt(*centre) : std::nullopt;
  return hit ? pressAndWait(*hit) : Progress::promptRemains;
}

ClickAttempt::Progress ClickAttempt::clickAtCentre() {
  const auto centre = button.centre();
  if (!centre) return Progress::promptRemains;
  // The window may move in the meantime, or another one come to lie above it.
  const auto isThere = [this, centre] { return button.centre() == centre && button.buttonAt(*centre).has_value(); };
  std::vector<Delivery> deliveries;
  const auto owner = button.processIdentifier();
  if (owner) deliveries.push_back({.processIdentifier = owner, .proof = isThere});
  deliveries.push_back({.processIdentifier = owner, .isToDesktop = true, .proof = isThere});
  return postClickAndWait(*centre, deliveries);
}

// ---- The keyboard

ClickAttempt::Progress ClickAttempt::focusButtonAndPressSpace() { return focusAndPressSpace(button.element()); }

ClickAttempt::Progress ClickAttempt::focusWindowButtonsAndPressSpace() {
  return forEachWindowButton([this](const AXUIElement& target) { return focusAndPressSpace(target); });
}

// A space presses whatever has the focus, and that setting it was accepted does not say that it moved.
ClickAttempt::Progress ClickAttempt::focusAndPressSpace(const AXUIElement& target) {
  if (const auto blocked = blocker()) return *blocked;
  const auto owner = button.processIdentifier();
  if (!owner) return Progress::promptRemains;
  (void)button.owningApplication();  // Bounds the waits.
  const auto answer = accessibility.setAttributeValue(target, ax::kFocused, true);
  // No toolkit says so of an attribute, only a binding whose own press is the one way to this button.
  if (answer == AXError::actionUnsupported) return Progress::stopped;
  if (!sleep(kPauseAfterFocusing)) return Progress::stopped;
  const auto isReady = [&] {
    return button.hasKeysOfProcess() && button.hasFocus(target) && button.isLabelledAsApproved(target);
  };
  return postKeyAndWait(KeyCode::space, {{.processIdentifier = owner, .proof = isReady}});
}

ClickAttempt::Progress ClickAttempt::typeKeyOfLabel() {
  const auto key = ClickExecutor::keyCandidate(button.label());
  if (!key) return Progress::promptRemains;
  std::vector<Delivery> deliveries;
  const auto owner = button.processIdentifier();
  if (owner) {
    deliveries.push_back(
        {.processIdentifier = owner, .proof = [&] { return keyMeansTheButton(*key) && button.hasKeysOfProcess(); }});
  }
  deliveries.push_back({.processIdentifier = owner, .isToDesktop = true, .proof = [&] {
                          return keyMeansTheButton(*key) && button.hasKeysOfDesktop();
                        }});
  return postKeyAndWait(*key, deliveries);
}

bool ClickAttempt::keyMeansTheButton(KeyCode key) const {
  if (key == KeyCode::returnKey && button.isFocusOnAnotherButton()) return false;
  const auto windows = button.windowsForAction();
  return std::all_of(windows.begin(), windows.end(),
                     [this](const AXUIElement& window) { return button.answersForWindow(window); });
}

// ---- Synthetic events

ClickAttempt::Progress ClickAttempt::postClickAndWait(Point point, const std::vector<Delivery>& deliveries) {
  const auto make = [&] {
    Events events;
    for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
      events.push_back(syntheticEvents.createMouseEvent(type, point));
    }
    return events;
  };
  return postAndWait(make, deliveries);
}

ClickAttempt::Progress ClickAttempt::postKeyAndWait(KeyCode key, const std::vector<Delivery>& deliveries) {
  const auto make = [&] {
    Events events;
    for (const bool isDown : {true, false}) events.push_back(syntheticEvents.createKeyboardEvent(key, isDown));
    return events;
  };
  return postAndWait(make, deliveries);
}

ClickAttempt::Progress ClickAttempt::postAndWait(const std::function<Events()>& make,
                                                 const std::vector<Delivery>& deliveries) {
  Events events;
  for (const auto& delivery : deliveries) {
    const auto blocked = blocker(delivery.proof);
    if (blocked == Progress::promptRemains) continue;
    if (blocked) return *blocked;
    if (events.empty()) events = make();
    if (std::find(events.begin(), events.end(), nullptr) != events.end()) return Progress::eventNotCreated;
    auto progress = deliver(events, delivery);
    if (!progress && !delivery.isToDesktop) {
      // A binding that has to bring the process to the front posts nothing: all is proved again before the key.
      const auto still = blocker(delivery.proof);
      progress = still ? still : deliver(events, delivery);
    }
    if (progress && progress != Progress::promptRemains) return *progress;
  }
  return Progress::promptRemains;
}

std::optional<ClickAttempt::Progress> ClickAttempt::deliver(const Events& events, const Delivery& delivery) {
  for (auto event = events.begin(); event + 2 != events.end(); ++event) {
    if (!post(*event, delivery)) return std::nullopt;
    if (!sleep(kPauseBetweenEvents)) return Progress::stopped;
    if (const auto blocked = blocker(delivery.proof)) return *blocked;  // Another window may have come up meanwhile.
  }
  if (!post(events[events.size() - 2], delivery)) return std::nullopt;
  hasActed = true;
  clock.sleep(kPauseBetweenEvents);  // Not stoppable: what went down comes up.
  post(events.back(), delivery);
  return waitToClear(ClickExecutor::standardClearDelays);
}

bool ClickAttempt::post(const Event& event, const Delivery& delivery) {
  if (delivery.isToDesktop) return syntheticEvents.postToDesktop(*event, delivery.processIdentifier);
  if (!delivery.processIdentifier) return false;
  return syntheticEvents.postToProcess(*delivery.processIdentifier, *event);
}

}  // namespace quillard
