#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string_view>

#include "detection/ResolvedDialogButton.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/process/Clock.h"
#include "values/Time.h"

namespace quillard {

// Why a button could not be pressed. The first two between them are raised around the executor too: no such approval,
// no such button.
enum class ClickError { unableToCreateEvent, pendingApprovalNotFound, buttonNotFound, promptStillPresent };

// What the user is told; never empty.
[[nodiscard]] std::string_view localizedDescription(ClickError error);

// What a click acts through. All of it outlives the click.
struct ClickDependencies {
  platform::Accessibility& accessibility;
  platform::SyntheticEvents& syntheticEvents;
  platform::Clock& clock;
};

// What a click asks of its caller while it runs; called on the thread of the click.
struct ClickQuestions {
  // Whether the approved prompt is still on screen.
  std::function<bool()> isPromptStillPresent;
  // The approved button, found again on the screen. Absent: nowhere.
  std::function<std::optional<ResolvedDialogButton>()> refreshedButton;
  // Whether the agent wants to quit: the click then ends within a tenth of a second, before it acts again. Empty:
  // never.
  std::function<bool()> shouldStop;
};

// Makes a prompt go away by pressing exactly the approved button, with the gentlest means that works, and proves that
// it went. Blocks the calling thread for several seconds, at worst for over twenty: never a thread that must stay
// responsive.
namespace ClickExecutor {

inline constexpr std::array<Seconds, 5> acceptedPressClearDelays{Seconds{0.15}, Seconds{0.35}, Seconds{0.75},
                                                                 Seconds{1.25}, Seconds{1.75}};
inline constexpr std::array<Seconds, 3> standardClearDelays{Seconds{0.15}, Seconds{0.35}, Seconds{0.75}};

// Absent: the prompt is gone. A click that was stopped gives `promptStillPresent`.
[[nodiscard]] std::optional<ClickError> click(const ResolvedDialogButton& button, const ClickDependencies& dependencies,
                                              const ClickQuestions& questions);

}  // namespace ClickExecutor
}  // namespace quillard
