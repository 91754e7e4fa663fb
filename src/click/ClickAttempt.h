#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "click/ApprovedButton.h"
#include "click/ClickExecutor.h"
#include "detection/PromptSearch.h"
#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/process/Clock.h"
#include "values/Geometry.h"
#include "values/Time.h"

namespace quillard {

// One click, for one run: the paths of `ClickExecutor` in their order, the checks right before each act, and the waits
// for the prompt to go. Nothing but `ClickExecutor::click` makes one. One thread.
class ClickAttempt {
 public:
  // All outlive the attempt.
  ClickAttempt(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
               const ClickCallbacks& callbacks);
  ClickAttempt(const ClickAttempt&) = delete;
  ClickAttempt& operator=(const ClickAttempt&) = delete;
  ~ClickAttempt() = default;

  // As `ClickExecutor::click`.
  [[nodiscard]] std::optional<ClickError> run();

 private:
  // How far a click has come.
  enum class Progress {
    promptRemains,  // As far as is known; the next path may be tried.
    promptGone,
    stopped,
    eventNotCreated,
    buttonLost,            // The button has died and could not be found again.
    presenceUnknown,       // For as long as a click waits for it; `whyUnknown` holds the reason.
    requiresDirectAccess,  // Which it did not when it was approved.
  };

  using Act = std::function<Progress(const platform::AXUIElement&)>;
  using Proof = std::function<bool()>;
  using Event = std::unique_ptr<platform::SyntheticEvent>;
  using Events = std::vector<Event>;  // What leads up to it, if anything; down; up.

  // Where events are posted, and what must hold before each of them but the last.
  struct Delivery {
    // To whom; at the desktop, who alone should get them. Absent: unknown.
    std::optional<std::int32_t> processIdentifier;
    bool isToDesktop = false;  // To where the hardware's events enter.
    Proof proof;
  };

  // The paths, in their order.
  Progress pressDirectly();
  Progress findAgainWhenDead();
  Progress prepareWindows();
  Progress pressWindowButtons();
  Progress focusButtonAndPressSpace();
  Progress focusWindowButtonsAndPressSpace();
  Progress performWindowActions();
  Progress pressWhatIsHit();
  Progress clickAtCentre();
  Progress typeKeyOfLabel();

  // The checks right before each act: why nothing may be done now; `promptRemains` when the button is not what it was,
  // or when `proof` does not hold. Absent: it may be done.
  [[nodiscard]] std::optional<Progress> blocker();
  [[nodiscard]] std::optional<Progress> blocker(const Proof& proof);

  // Where the prompt stands: `promptRemains` only when it was seen. Waits for a presence that is unknown at first.
  [[nodiscard]] Progress prompt();
  [[nodiscard]] Progress asProgress(const PromptPresence& presence);
  [[nodiscard]] bool shouldStop() const { return callbacks.shouldStop && callbacks.shouldStop(); }
  // False when the click was stopped meanwhile.
  [[nodiscard]] bool sleep(Seconds duration) const;
  // Sleeps through the delays one after another and checks presence after each, until the prompt is gone.
  [[nodiscard]] Progress waitToClear(std::span<const Seconds> delays);
  // The same until what was found is enough. Gives what the last check found.
  [[nodiscard]] Progress waitUntil(std::span<const Seconds> delays, const std::function<bool(Progress)>& isEnough);

  Progress findAgain();
  Progress withoutButton(PromptResolution::Outcome outcome);
  Progress prepareWindow(const platform::AXUIElement& window);
  Progress forEachWindowButton(const Act& act);
  Progress pressAndWait(const platform::AXUIElement& target);
  Progress focusAndPressSpace(const platform::AXUIElement& target);
  Progress performAndWait(const platform::AXUIElement& window, std::string_view action);
  platform::AXError perform(const platform::AXUIElement& target, std::string_view action);
  [[nodiscard]] bool keyMeansTheButton(platform::KeyCode key) const;

  // One delivery after the other, until the prompt is gone. All events are made before the first one is posted.
  Progress postClickAndWait(Point point, const std::vector<Delivery>& deliveries);
  Progress postKeyAndWait(platform::KeyCode key, const std::vector<Delivery>& deliveries);
  Progress postAndWait(const std::function<Events()>& make, const std::vector<Delivery>& deliveries);
  // Absent: nothing that could press was posted.
  std::optional<Progress> deliver(const Events& events, const Delivery& delivery);
  // False: nothing was posted.
  bool post(const Event& event, const Delivery& delivery);

  [[nodiscard]] std::optional<ClickError> outcome(Progress progress) const;

  ApprovedButton button;
  platform::Accessibility& accessibility;
  platform::SyntheticEvents& syntheticEvents;
  platform::Clock& clock;
  const ClickCallbacks& callbacks;
  bool hasActed = false;  // An action was asked for, or something went down, that may have pressed the button.
  PromptPresence::UnknownReason whyUnknown{};  // Of the newest presence that was unknown.
};

}  // namespace quillard
