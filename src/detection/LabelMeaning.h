#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/desktop/PromptSupplement.h"

namespace quillard {

// What a button is for, as far as its label tells.
enum class LabelKind {
  safeDismissal,    // Closes the prompt, grants nothing, destroys nothing.
  dismissal,        // A way out that may lose something, or puts the question off.
  action,           // Goes along with what is asked, or does something else that its label says.
  acknowledgement,  // OK or Close: acknowledges where it stands alone; beside a way out, OK goes along.
  form,             // Stands on forms, settings, assistants and tools.
  aside,            // Decides nothing: help, details, the buttons of a window's frame.
  unknown,          // Not understood: what a press would do is not known.
};

// The meaning of labels by the rules that hold everywhere and by what a desktop adds. Asked about labels as they are
// judged (`PromptText`). Stateless but for the supplement; any thread.
class LabelMeaning {
 public:
  // `supplement` outlives this.
  explicit LabelMeaning(const platform::PromptSupplement& supplement) : supplement(supplement) {}

  [[nodiscard]] LabelKind kindOf(std::string_view label) const;
  // Whether it may be pressed from afar on any prompt.
  [[nodiscard]] bool isSafeDismissal(std::string_view label) const;

  // Lower case, white space collapsed, straight apostrophes, without an ellipsis or arrow at either end.
  [[nodiscard]] static std::string comparable(std::string_view label);

 private:
  const platform::PromptSupplement& supplement;
};

// The first of the list's entries that is found in a normalised text, at the boundaries of words. An entry that ends in
// "*" may go on there. Absent: none. It lives as long as the list's texts.
[[nodiscard]] std::optional<std::string_view> firstMatch(std::string_view normalizedText,
                                                         platform::SupplementList phrases);
[[nodiscard]] bool saysOneOf(std::string_view normalizedText, platform::SupplementList phrases);

}  // namespace quillard
