#pragma once

#include <cstdint>

#include "detection/ForeignLabel.h"
#include "detection/LabelMeaning.h"
#include "detection/PromptReader.h"
#include "platform/desktop/PromptSupplement.h"
#include "platform/desktop/Translations.h"

namespace quillard {

// Gives the foreign texts of a window their English meaning, where the system can tell it: sets how each is judged
// (`PromptText`). Asked only of windows that are like dialogs, or have a field for a secret, and have a label that is
// not understood; all others are judged as they stand. Any thread; reads
// files unless it is to go by what is known (`platform::Translations`).
class ForeignTexts {
 public:
  using Lookup = platform::TranslationLookup;

  // Both outlive this. `translations` null: texts are judged as they stand.
  ForeignTexts(platform::Translations* translations, const platform::PromptSupplement& supplement)
      : translations(translations), meaning(supplement) {}

  // Title, lines and labels. False: not everything that may tell could be looked at this time, so that a window that
  // looks like no prompt may be one. Then no label is a safe dismissal by its meaning, nor is one that may mean more
  // than is taken. In both cases, and where a title or line may mean more, the texts say that their meaning is not
  // whole.
  [[nodiscard]] bool judge(std::int32_t processIdentifier, PromptReading& reading, Lookup lookup = Lookup::full) const;
  // The texts that are not shown, in a window of any language, since whatever they say may ask for direct access; and
  // the titles of boxes and menus, which may tell of a hazard.
  void judgeBeyond(std::int32_t processIdentifier, PromptReading& reading, Lookup lookup = Lookup::full) const;

 private:
  [[nodiscard]] LabelSense senseOf(std::string_view label) const { return quillard::senseOf(meaning, label); }
  [[nodiscard]] bool isToBeAsked(const PromptReading& reading) const;
  void judgeLabel(PromptText& label, const std::vector<platform::SourceText>& sources, bool isWhole) const;

  platform::Translations* const translations;
  const LabelMeaning meaning;
};

}  // namespace quillard
