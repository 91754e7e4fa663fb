#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "values/Geometry.h"

namespace quillard {

// The button that was approved, and the proofs that what a click is about to act on is that very button. Every answer
// is read live from other processes; nothing here acts. What cannot be proved is answered with no.
//
// A button that means the same is not the approved one: with "Allow" approved, a default button "Always Allow" confirms
// as well. So these are the proofs, and there are no others:
//   - for a press: the same element, or one of the same label and place in the same window;
//   - for Return, Escape and the window's own actions: the window names the approved button as the one that they press,
//     or names none and shows no second button of that meaning;
//   - for a space: the keyboard focus is read to be on the button;
//   - for the mouse: a hit test of the whole desktop finds the button, once more right before the mouse button goes
//     down.
//
// One thread at a time. Waits for other processes, each request at the longest for the messaging time-out.
class ApprovedButton {
 public:
  // `accessibility` outlives this.
  ApprovedButton(ResolvedDialogButton resolved, platform::Accessibility& accessibility);

  [[nodiscard]] const platform::AXUIElement& element() const { return resolved.element; }
  [[nodiscard]] const std::string& label() const { return resolved.button.label; }
  // Whether it only dismisses the prompt, by its label or by what is known of it.
  [[nodiscard]] bool isSafeDismissal() const;
  // Goes on with `found`, which the caller knows to be the same button, resolved again.
  void replace(ResolvedDialogButton found) { resolved = std::move(found); }

  // Absent when the element is gone.
  [[nodiscard]] std::optional<std::int32_t> processIdentifier() const;
  // With its messaging time-out set, so that a caller bounds the waits that follow. Absent when the element is gone.
  [[nodiscard]] std::optional<platform::AXUIElement> owningApplication() const;

  // Whether its role can still be read.
  [[nodiscard]] bool isElementStillAlive(const platform::AXUIElement& element) const;
  // Alive, still a button, and still labelled as approved: an element that has become something else counts as dead.
  [[nodiscard]] bool isIntact() const;
  // Labelled to the letter, or counted down from that (`LiveText`) with no other of its words in the window.
  [[nodiscard]] bool isLabelledAsApproved(const platform::AXUIElement& candidate) const;
  [[nodiscard]] bool isSameButton(const platform::AXUIElement& candidate) const;

  // The windows to prepare and to act on, one or two: the one that the button was resolved in, unless it is proved to
  // have left it, and the one that holds it now, when that is another. Both for a sheet and the window around it.
  [[nodiscard]] std::vector<platform::AXUIElement> windowsForAction() const;

  // Where a mouse would press it, in global screen coordinates. Absent when it has no frame of some width and height.
  [[nodiscard]] std::optional<Point> centre() const;
  // The button that a click at `point` would press. Absent unless it is the approved one.
  [[nodiscard]] std::optional<platform::AXUIElement> buttonAt(Point point) const;
  // Whether the element is, or lies up to twenty levels inside, one of the windows.
  [[nodiscard]] bool hitButtonBelongsToTarget(const platform::AXUIElement& hit,
                                              const std::vector<platform::AXUIElement>& targetWindows) const;

  // The button that the window names by this attribute. Absent unless it is the approved one, and has a place.
  [[nodiscard]] std::optional<platform::AXUIElement> windowButton(const platform::AXUIElement& window,
                                                                  std::string_view attribute) const;
  [[nodiscard]] bool offersPress(const platform::AXUIElement& candidate) const;
  // Whether what confirms (or cancels) the window as a whole presses the approved button. No when the window does not
  // answer, or holds more elements than are searched for a second button of that meaning.
  [[nodiscard]] bool answersForWindow(const platform::AXUIElement& window) const;

  // Whether the keyboard focus is on `button`, so that a space presses it.
  [[nodiscard]] bool hasFocus(const platform::AXUIElement& button) const;
  // Whether keys that are sent to the process reach the approved prompt.
  [[nodiscard]] bool hasKeysOfProcess() const;
  // Whether keys that the hardware sends reach the approved prompt.
  [[nodiscard]] bool hasKeysOfDesktop() const;
  // Whether the keyboard focus is on another button, which Return may press in place of the default one.
  [[nodiscard]] bool isFocusOnAnotherButton() const;

 private:
  [[nodiscard]] std::optional<platform::AXUIElement> focusHolder() const;
  [[nodiscard]] bool isTarget(const std::optional<platform::AXUIElement>& window) const;
  [[nodiscard]] bool isOnlyOneOfItsMeaning(const platform::AXUIElement& window) const;
  [[nodiscard]] bool isOnlyOneThatCounts(const platform::AXUIElement& candidate) const;
  // Whether no button of the window but the approved one, which `candidate` is held to be too, has such a label. No
  // when the window does not answer, or holds more elements than are searched.
  [[nodiscard]] bool hasNoOther(const platform::AXUIElement& window, const platform::AXUIElement& candidate,
                                const std::function<bool(const std::string&)>& isAlike) const;

  ResolvedDialogButton resolved;
  platform::Accessibility& accessibility;
};

}  // namespace quillard
