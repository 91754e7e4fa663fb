#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "click/ApprovedButton.h"
#include "click/ClickExecutor.h"
#include "click/PromptWatch.h"
#include "click/SyntheticInput.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// One click: its paths, from the gentlest to the last resort, each tried only when the ones before it left the prompt
// standing. For one run.
//
// Right before it acts, each path looks for the prompt and at the button once more, since a prompt may have been
// answered, or replaced by another one, at any moment; and it acts only on what is proved to be the approved button. A
// path that cannot prove it is passed over.
class ClickAttempt {
 public:
  // All outlive the attempt.
  ClickAttempt(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
               const ClickQuestions& questions);
  ClickAttempt(const ClickAttempt&) = delete;
  ClickAttempt& operator=(const ClickAttempt&) = delete;
  ~ClickAttempt() = default;

  // Absent: the prompt is gone, and something was done to make it go.
  [[nodiscard]] std::optional<ClickError> run();

 private:
  using Act = std::function<ClickProgress(const platform::AXUIElement&)>;

  // The paths, in their order.
  ClickProgress pressDirectly();
  ClickProgress findAgainWhenDead();
  ClickProgress prepareWindows();
  ClickProgress pressWindowButtons();
  ClickProgress focusAndPressSpace();
  ClickProgress focusWindowButtonsAndPressSpace();
  ClickProgress performWindowActions();
  ClickProgress pressWhatIsHit();
  ClickProgress clickAtCentre();
  ClickProgress typeKeyOfLabel();

  // Why nothing may be done at this moment; `promptRemains` when the button is not what it was. Absent: it may.
  [[nodiscard]] std::optional<ClickProgress> blocker() const;
  // The same, and `promptRemains` when `proof` does not hold.
  [[nodiscard]] std::optional<ClickProgress> blocker(const std::function<bool()>& proof) const;

  ClickProgress findAgain();
  ClickProgress prepareWindow(const platform::AXUIElement& window);
  ClickProgress forEachWindowButton(const Act& act);
  ClickProgress pressAndWait(const platform::AXUIElement& target);
  ClickProgress focusAndPressSpace(const platform::AXUIElement& target);
  ClickProgress performAndWait(const platform::AXUIElement& window, std::string_view action);
  [[nodiscard]] std::vector<EventDelivery> keyDeliveries(platform::KeyCode key) const;
  [[nodiscard]] bool keyMeansTheButton(platform::KeyCode key) const;
  platform::AXError perform(const platform::AXUIElement& target, std::string_view action);
  [[nodiscard]] std::optional<ClickError> outcome(ClickProgress progress) const;

  ApprovedButton button;
  platform::Accessibility& accessibility;
  const ClickQuestions& questions;
  PromptWatch watch;
  SyntheticInput input;
  bool hasPerformed = false;        // An action was asked for that may have pressed the button.
  bool mayPressHaveLanded = false;  // The direct press was made, and not refused beyond doubt.
};

}  // namespace quillard
