#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillard {

// One text of a window: as it stands, and as it is judged. The two differ where the English meaning of a foreign text
// is known. What is shown to a person, compared, identified and pressed is the text as it stands; rules and word lists
// are asked about the other one, and nothing else is.
struct PromptText {
  std::string shown;
  std::string judged;
  // Of a label: whether what it is judged by may make its button a safe dismissal. False where only a program of the
  // user itself says that the label means one.
  bool mayBeSafe = true;
  std::string alsoMeans{};  // Of a label: see `JudgedLabel`.

  [[nodiscard]] static PromptText asItStands(const std::string& text) { return {.shown = text, .judged = text}; }
  bool operator==(const PromptText&) const = default;
};

enum class BoxState { off, on, mixed };

// A check box, a radio button or a menu, which changes what the buttons do: "Remember this decision".
struct PromptOption {
  PromptText title;             // May be empty.
  std::optional<BoxState> box;  // Absent: it is a menu, or a box that does not say.
  bool isMenu = false;
  std::string setting{};  // Of a menu: what it is set to, as shown. Empty: it does not say.

  bool operator==(const PromptOption&) const = default;
};

// All texts of a window that anything is concluded from.
struct PromptTexts {
  PromptText title;
  std::vector<PromptText> lines;   // Those of the evidence, in its order.
  std::vector<PromptText> labels;  // Those of the buttons, in their order.
  // Texts that are not shown, since there are too many elements before them: whether they ask for a secret
  // counts, and whether their meaning is known.
  std::vector<PromptText> beyond;
  // Of a prompt, where windows are judged by what they are made of, in reading order; else empty.
  std::vector<PromptOption> options;
  // False: what some of these mean is not known as a whole. More may be known later, or more is there than is taken.
  bool isWholeMeaning = true;
  bool operator==(const PromptTexts&) const = default;
};

}  // namespace quillard
