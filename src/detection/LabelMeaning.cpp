#include "detection/LabelMeaning.h"

#include <algorithm>
#include <array>
#include <utility>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

using platform::SupplementList;

bool isAsciiWord(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

constexpr std::string_view kAnything = " *";

// Of a whole label.
bool names(SupplementList list, std::string_view label) {
  return platform::anyTextOf(list, [&](std::string_view text) { return text == label; });
}

// Of the first words of a label.
bool leads(SupplementList list, std::string_view label) {
  return platform::anyTextOf(list, [&](std::string_view text) {
    if (!text.ends_with(kAnything)) return false;
    const auto head = text.substr(0, text.size() - kAnything.size() + 1);  // With the blank.
    return label.starts_with(head) && label.size() > head.size();
  });
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// Without what only points somewhere: "Browse…", "Next >", "« Back".
std::string_view withoutPointers(std::string_view label) {
  constexpr std::array<std::string_view, 10> kPointers{"…", "...", ">", "<", "»", "«", "→", "←", ":", "!"};
  for (bool isShorter = true; isShorter;) {
    isShorter = false;
    for (const auto pointer : kPointers) {
      if (label.size() > pointer.size() && label.ends_with(pointer)) {
        label.remove_suffix(pointer.size());
        isShorter = true;
      } else if (label.size() > pointer.size() && label.starts_with(pointer)) {
        label.remove_prefix(pointer.size());
        isShorter = true;
      }
    }
    label = text::trimmed(label);
  }
  return label;
}

}  // namespace

std::string LabelMeaning::comparable(std::string_view label) {
  std::string plain = text::normalized(label);
  replaceAll(plain, "’", "'");
  return std::string(withoutPointers(plain));
}

// A whole label that is known says more than its first words.
LabelKind LabelMeaning::kindOf(std::string_view label) const {
  namespace semantics = DialogButtonSemantics;
  const std::string plain = comparable(label);
  const std::array kinds{std::pair{supplement.asides, LabelKind::aside},
                         std::pair{supplement.safeDismissals, LabelKind::safeDismissal},
                         std::pair{supplement.acknowledgements, LabelKind::acknowledgement},
                         std::pair{supplement.formLabels, LabelKind::form},
                         std::pair{supplement.actions, LabelKind::action},
                         std::pair{supplement.dismissals, LabelKind::dismissal}};
  if (semantics::isSafeDismissal(label)) return LabelKind::safeDismissal;
  for (const auto& [list, kind] : kinds) {
    if (names(list, plain)) return kind;
  }
  if (semantics::isCancelAction(plain)) return LabelKind::dismissal;
  if (semantics::isPromptButton(plain)) return LabelKind::action;
  for (const auto& [list, kind] : kinds) {
    if (leads(list, plain)) return kind;
  }
  return LabelKind::unknown;
}

bool LabelMeaning::isSafeDismissal(std::string_view label) const { return kindOf(label) == LabelKind::safeDismissal; }

std::optional<std::string_view> firstMatch(std::string_view normalizedText, SupplementList phrases) {
  std::optional<std::string_view> found;
  (void)platform::anyTextOf(phrases, [&](std::string_view entry) {
    const bool mayGoOn = entry.ends_with('*');
    const auto phrase = mayGoOn ? entry.substr(0, entry.size() - 1) : entry;
    for (auto at = normalizedText.find(phrase); at != std::string_view::npos;
         at = normalizedText.find(phrase, at + 1)) {
      const auto end = at + phrase.size();
      const bool begins = at == 0 || !isAsciiWord(normalizedText[at - 1]);
      const bool ends = mayGoOn || end == normalizedText.size() || !isAsciiWord(normalizedText[end]);
      if (begins && ends) found = entry;
      if (found) return true;
    }
    return false;
  });
  return found;
}

bool saysOneOf(std::string_view normalizedText, SupplementList phrases) {
  return firstMatch(normalizedText, phrases).has_value();
}

}  // namespace quillard
