#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "detection/LabelMeaning.h"
#include "platform/desktop/Translations.h"

namespace quillard {

// What the English rules know a label for.
enum class LabelSense {
  unknown,         // They do not know it.
  safeDismissal,   // Closes the prompt, grants nothing and destroys nothing.
  otherDismissal,  // Refuses too, but may lose something, or puts the question off.
  grant,           // Goes along with what a prompt asks, or may: any action but the next.
  action,          // Stop, Print or Undo, as whole labels: one word with Cancel in some languages, and no grant.
  neutral,         // Known, and decides nothing.
};
using LabelSenseOf = std::function<LabelSense(std::string_view label)>;

// By the rules that hold everywhere and what a desktop adds to them.
[[nodiscard]] LabelSense senseOf(const LabelMeaning& meaning, std::string_view label);

// A label as the rules are asked about it. What is shown, sent and pressed stays as it stands.
struct JudgedLabel {
  std::string text;
  // Its program's own catalogues, which no program of this user can write, use it for a safe dismissal before all else,
  // and would by themselves. Only then may the meaning make the button one: a hostile program can map a catalogue of
  // its own, which may take a safe dismissal away and never make one.
  bool isSafeDismissal = false;
  // What it may mean besides, one behind another: other texts of no fewer messages than a chance hit would have.
  // Whoever asks what is at stake asks about these, too.
  std::string alsoMeans{};

  bool operator==(const JudgedLabel&) const = default;
};

// The meaning of a label that English does not know, by the English texts that its program shows like this.
//
// A label with a refusing and a granting meaning has none, and is judged as it stands: that one word is used for Deny
// and for Discard is met on real desktops. So has one with a refusal and another action, unless one of them has four
// times as many messages, as Cancel has beside Stop in German. Otherwise the meaning that most messages have counts
// among those that the rules know, unless another one has four times as many; and that one where the rules know none.
// Of equally many, the one that may do more counts. A safe dismissal is one only if more of its messages say so than
// say anything else. Marks for the eye and the keyboard (`text::withoutMarks`) are left out. A pure function; any
// thread.
[[nodiscard]] JudgedLabel judgedLabel(std::string_view shown, const std::vector<platform::SourceText>& sources,
                                      const LabelSenseOf& senseOf);

// A line as the rules are asked about it.
struct JudgedLine {
  std::string text;
  bool isWhole = true;  // False: it has more English texts than are taken.

  bool operator==(const JudgedLine&) const = default;
};

// The line as it stands, and its English texts behind it, since English always counts and a text may only add to what
// is known of a prompt. Those that no program of the user can write come first, so that none is left out for others: a
// program could bring many of its own to push off the one that says "Password".
[[nodiscard]] JudgedLine judgedLine(const std::string& shown, const std::vector<platform::SourceText>& sources);

}  // namespace quillard
