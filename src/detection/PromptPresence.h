#pragma once

#include <optional>

namespace quillard {

// Whether a prompt is on screen: there, gone, or unknown with the reason. A plain value.
//
// "Gone" is a proof: every window that could show the prompt was read, and none does. A check that could not read them
// proves nothing, so it answers "unknown", never "gone". Whoever waits for a prompt to go treats unknown as present: an
// accepted decision would otherwise be reported while the dialog is still on screen.
class PromptPresence {
 public:
  // Why a check could not tell.
  enum class UnknownReason {
    accessibilityNotGranted,  // The permission is missing, so no window can be read.
    applicationDidNotAnswer,  // The prompt's own application missed its messaging time-out.
  };

  [[nodiscard]] static constexpr PromptPresence there() { return PromptPresence{State::there, std::nullopt}; }
  [[nodiscard]] static constexpr PromptPresence gone() { return PromptPresence{State::gone, std::nullopt}; }
  [[nodiscard]] static constexpr PromptPresence unknown(UnknownReason reason) {
    return PromptPresence{State::unknown, reason};
  }

  // Exactly one of `isThere`, `isGone` and `isUnknown` holds.
  [[nodiscard]] constexpr bool isThere() const { return state == State::there; }
  [[nodiscard]] constexpr bool isGone() const { return state == State::gone; }
  [[nodiscard]] constexpr bool isUnknown() const { return state == State::unknown; }
  // Present exactly when `isUnknown`.
  [[nodiscard]] constexpr std::optional<UnknownReason> unknownReason() const { return reason; }

  bool operator==(const PromptPresence&) const = default;

 private:
  enum class State { there, gone, unknown };

  constexpr PromptPresence(State state, std::optional<UnknownReason> reason) : state(state), reason(reason) {}

  State state;
  std::optional<UnknownReason> reason;
};

}  // namespace quillard
