#pragma once

#include <span>
#include <string_view>

namespace quillard::platform {

// Words or phrases that a desktop adds to the rules for one reason. `texts`: in the form of normalised text, with
// straight apostrophes, separated by "|". Both live as long as the process.
struct SupplementGroup {
  std::string_view reason;
  std::string_view texts;
};
using SupplementList = std::span<const SupplementGroup>;

// Whether `matches` holds for any of the list's texts; those after it are not asked about.
template <class Matches>
[[nodiscard]] bool anyTextOf(SupplementList list, Matches matches) {
  for (const auto& group : list) {
    for (std::string_view rest = group.texts; !rest.empty();) {
      const auto end = rest.find('|');
      if (matches(rest.substr(0, end))) return true;
      rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
    }
  }
  return false;
}

// What the programs of one desktop say and show, beyond the rules that hold everywhere. It belongs to the binding: the
// classifier and the meaning of labels are handed it as a value. Empty on a system whose prompts the rules describe
// by themselves, and then nothing changes: the rules hold to the letter.
//
// Texts and labels are compared in their normalised form. A label is compared as a whole, without an ellipsis at its
// end; one that ends in " *" stands for every longer label that begins with it, unless that one is known as a whole. A
// phrase is found anywhere in the text, at the boundaries of words.
struct PromptSupplement {
  // Whether windows are judged by what they are made of, too: see `PromptStructure`.
  bool judgesByStructure = false;

  SupplementList promptServices;    // Parts of the names of programs that exist to put up prompts.
  SupplementList phrases;           // What only a prompt says.
  SupplementList questions;         // The same, so strongly that a list or a menu beside it makes no form of it.
  SupplementList secretPhrases;     // What asks for a secret, so that direct access is required.
  SupplementList hazards;           // Where one of these is said, no button is recommended.
  SupplementList settingsTitles;    // Last words of the titles of settings.
  SupplementList safeDismissals;    // Labels that close the prompt, grant nothing and destroy nothing.
  SupplementList dismissals;        // Labels that are a way out, and may lose something.
  SupplementList actions;           // Labels that are understood to do what they say.
  SupplementList acknowledgements;  // Labels that only acknowledge.
  SupplementList asides;            // Labels that decide nothing: help, details, the buttons of the frame.
  SupplementList formLabels;        // Labels of forms, settings, assistants and tools.
};

}  // namespace quillard::platform
