#pragma once

#include <optional>

namespace quillard {

// Whether a prompt is on screen: there, gone, or unknown with the reason. A plain value.
//
// "Gone" is a proof: the window that showed the prompt was read and shows it no more, or has gone itself. A check that
// could not read it proves nothing, so it answers "unknown", never "gone": an accepted decision would otherwise be
// reported while the dialog is still on screen. Unknown is worth another check a little later.
class PromptPresence {
 public:
  // Why a check could not tell.
  enum class UnknownReason {
    accessibilityNotGranted,  // The permission is missing, so no window can be read.
    applicationDidNotAnswer,  // The prompt's own application missed its messaging time-out.
    desktopNotReadable,       // No window could be read, whoever owns it: the service that carries the reads is silent.
    promptNotReadable,        // The window answered, but not all that it shows could be read.
  };

  [[nodiscard]] static constexpr PromptPresence there() { return PromptPresence{State::there, std::nullopt}; }
  // It is there, but requires direct access now, which it did not when it was approved.
  [[nodiscard]] static constexpr PromptPresence thereForDirectAccess() {
    PromptPresence presence{State::there, std::nullopt};
    presence.needsDirectAccess = true;
    return presence;
  }
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

  // Implies `isThere`.
  [[nodiscard]] constexpr bool requiresDirectAccessNow() const { return needsDirectAccess; }

  bool operator==(const PromptPresence&) const = default;

 private:
  enum class State { there, gone, unknown };

  constexpr PromptPresence(State state, std::optional<UnknownReason> reason) : state(state), reason(reason) {}

  State state;
  std::optional<UnknownReason> reason;
  bool needsDirectAccess = false;
};

}  // namespace quillard
