#include "detection/ForeignTexts.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quillard {
namespace {

std::vector<std::string> shownTexts(const std::vector<PromptText>& texts) {
  std::vector<std::string> shown;
  for (const auto& text : texts) shown.push_back(text.shown);
  return shown;
}

// Sets how a line is judged. False: not by all of its English texts.
bool judgeText(PromptText& text, const std::vector<platform::SourceText>& sources) {
  auto judged = judgedLine(text.shown, sources);
  text.judged = std::move(judged.text);
  return judged.isWhole;
}

bool isWhole(const platform::SourceTexts& texts) { return texts.isComplete && !texts.isCutOff; }

}  // namespace

bool ForeignTexts::isToBeAsked(const PromptReading& reading) const {
  const auto& evidence = reading.evidence;
  const bool isDialogLike =
      evidence.isModal || evidence.subrole == "AXDialog" || evidence.role == "AXSheet" || reading.hasSecureTextField;
  const auto& labels = reading.texts.labels;
  return translations && isDialogLike && std::any_of(labels.begin(), labels.end(), [&](const PromptText& label) {
           return senseOf(label.shown) == LabelSense::unknown;
         });
}

void ForeignTexts::judgeLabel(PromptText& label, const std::vector<platform::SourceText>& sources, bool isWhole) const {
  if (senseOf(label.shown) != LabelSense::unknown) return;  // English stays on.
  auto judged = judgedLabel(label.shown, sources, [this](std::string_view text) { return senseOf(text); });
  label.judged = std::move(judged.text);
  label.mayBeSafe = isWhole && judged.isSafeDismissal;
  label.alsoMeans = std::move(judged.alsoMeans);
}

bool ForeignTexts::judge(std::int32_t processIdentifier, PromptReading& reading, Lookup lookup) const {
  if (!isToBeAsked(reading)) return true;
  auto& [title, lines, labels, beyond, options, isWholeMeaning] = reading.texts;
  auto allLines = shownTexts(lines);
  allLines.insert(allLines.begin(), title.shown);
  const auto texts = translations->sourceTexts({processIdentifier, shownTexts(labels), allLines, lookup});
  if (!texts) return true;
  isWholeMeaning = isWhole(*texts);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    judgeLabel(labels[i], texts->labels[i], texts->isComplete && !texts->areLabelsCutOff[i]);
  }
  if (!judgeText(title, texts->lines[0])) isWholeMeaning = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!judgeText(lines[i], texts->lines[i + 1])) isWholeMeaning = false;
  }
  return texts->isComplete;
}

void ForeignTexts::judgeBeyond(std::int32_t processIdentifier, PromptReading& reading, Lookup lookup) const {
  auto& [title, lines, labels, beyond, options, isWholeMeaning] = reading.texts;
  std::vector<PromptText*> asked;
  for (auto& text : beyond) asked.push_back(&text);
  if (isToBeAsked(reading)) {
    for (auto& option : options) {
      if (!option.title.shown.empty()) asked.push_back(&option.title);
    }
  }
  if (!translations || asked.empty()) return;
  platform::TranslationRequest request{.processIdentifier = processIdentifier, .lookup = lookup};
  for (const auto* const text : asked) request.lines.push_back(text->shown);
  const auto texts = translations->sourceTexts(request);
  if (!texts) return;
  if (!isWhole(*texts)) isWholeMeaning = false;
  for (std::size_t i = 0; i < asked.size(); ++i) {
    if (!judgeText(*asked[i], texts->lines[i])) isWholeMeaning = false;
  }
}

}  // namespace quillard
