#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "detection/PromptPresence.h"
#include "detection/PromptSearch.h"
#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/process/Clock.h"
#include "values/Time.h"

namespace quillard {

// Why a prompt was not answered as approved. `pendingApprovalNotFound`, `buttonNotFound` and `requiresDirectAccess` are
// also raised before a click begins: no such approval, no such button, a prompt that may not be approved from afar.
enum class ClickError {
  unableToCreateEvent,
  pendingApprovalNotFound,
  buttonNotFound,
  promptStillPresent,
  requiresDirectAccess,     // Nothing was pressed: the prompt on screen requires direct access by now.
  promptNotReadable,        // Nothing was pressed: it could not be read whether the prompt is still there.
  programStoppedAnswering,  // Something was pressed, and the program has been silent since.
  outcomeNotReadable,       // Something was pressed, and it could not be read whether the prompt went.
  answerNotTaken,           // Nothing was pressed: the program that asked did not take the answer.
};

// The text for the user; never empty.
[[nodiscard]] std::string_view localizedDescription(ClickError error);

// What clicks act through. All of it outlives every click.
struct ClickDependencies {
  platform::Accessibility& accessibility;
  platform::SyntheticEvents& syntheticEvents;
  platform::Clock& clock;
};

// What one click asks while it runs. Called on the thread of the click, never after it has returned.
struct ClickCallbacks {
  // Whether the approved prompt is on screen, in the window in which its button was found.
  std::function<PromptPresence()> presence;
  // Looks for the approved button in that window again.
  std::function<PromptResolution()> refreshedButton;
  // Whether the click is to end before it acts again. Empty: never.
  std::function<bool()> shouldStop{};
};

// Makes a prompt go away by pressing exactly the approved button, and proves that it went.
//
// The paths, from the gentlest to the last resort, each tried only when the ones before it left the prompt standing:
//    1. press the button;
//    2. find it again when its element has died;
//    3. bring its windows to the front;
//    4. press it as the window's default or cancel button;
//    5. focus it and press space;
//    6. the same with the window's default or cancel button;
//    7. perform the window's confirm or cancel action;
//    8. press what a hit test finds at its centre;
//    9. click there with the mouse, first to the process, then to the desktop;
//   10. type Return or Escape, first to the process, then to the desktop.
//
// Right before it acts, each path checks presence and the button once more, since a prompt may be answered, or replaced
// by another one, at any time; and it acts only on what `ApprovedButton` proves to be the approved button. A path that
// cannot prove it is passed over.
//
// A prompt that goes before the click has done anything was answered by something else, so the click fails with
// `buttonNotFound`: reporting success would claim that the approved button was pressed.
//
// What a press did is judged by the prompt alone, not by the answer to it: many programs act and then fail to answer,
// or answer that the element, or the action, is none of theirs by then. So the schedule of an accepted press is waited
// for after every answer but those that say that the request never reached the program.
//
// A presence that is unknown is neither there nor gone. The click does nothing until it is known again, for the length
// of one schedule. When it is not known then, the click ends: a prompt that may have been answered is not pressed again
// unseen. The error says what is known: that something was pressed, or that nothing was.
//
// A prompt that requires direct access by now is not pressed, unless the approved button dismisses it safely.
//
// What goes down, a key or a mouse button, always comes up again, also when the click is stopped in between.
namespace ClickExecutor {

// How long to wait before each check whether a press was followed by the prompt's end: after a direct press that was
// accepted, and after everything else.
inline constexpr std::array<Seconds, 5> acceptedPressClearDelays{Seconds{0.15}, Seconds{0.35}, Seconds{0.75},
                                                                 Seconds{1.25}, Seconds{1.75}};
inline constexpr std::array<Seconds, 3> standardClearDelays{Seconds{0.15}, Seconds{0.35}, Seconds{0.75}};

// Absent: the prompt is gone, and the click has done something to make it go. Blocks the calling thread for several
// seconds, at worst for over twenty: never a thread that must stay responsive. A click that is stopped ends within a
// tenth of a second, or with the answer of one request, and gives `promptStillPresent`.
[[nodiscard]] std::optional<ClickError> click(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
                                              const ClickCallbacks& callbacks);

// What may stand in for a press of the button with this label, because it means the same: a confirm label may only
// confirm, a cancel label may only cancel. Nothing for labels that are neither. Meaning alone proves nothing; see
// `ApprovedButton`.
[[nodiscard]] std::vector<std::string_view> windowActionCandidates(std::string_view label);
// Attributes of the window that name one of its buttons.
[[nodiscard]] std::vector<std::string_view> buttonAttributeCandidates(std::string_view label);
[[nodiscard]] std::optional<platform::KeyCode> keyCandidate(std::string_view label);

// Sleeps for `duration`. False as soon as `shouldStop`, which may be empty, says so: within a tenth of a second.
[[nodiscard]] bool sleepUnlessStopped(platform::Clock& clock, Seconds duration,
                                      const std::function<bool()>& shouldStop);

}  // namespace ClickExecutor
}  // namespace quillard
