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

void ForeignTexts::judgeLabel(PromptText& label, const std::vector<platform::SourceText>& sources) const {
  if (senseOf(label.shown) != LabelSense::unknown) return;  // English stays on.
  auto judged = judgedLabel(label.shown, sources, [this](std::string_view text) { return senseOf(text); });
  label.judged = std::move(judged.text);
  label.mayBeSafe = judged.isSafeDismissal;
}

bool ForeignTexts::judge(std::int32_t processIdentifier, PromptReading& reading) const {
  if (!isToBeAsked(reading)) return true;
  auto& [title, lines, labels, beyond] = reading.texts;
  auto allLines = shownTexts(lines);
  allLines.insert(allLines.begin(), title.shown);
  const auto texts = translations->sourceTexts({processIdentifier, shownTexts(labels), allLines});
  if (!texts) return true;
  for (std::size_t i = 0; i < labels.size(); ++i) judgeLabel(labels[i], texts->labels[i]);
  title.judged = judgedLine(title.shown, texts->lines[0]);
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i].judged = judgedLine(lines[i].shown, texts->lines[i + 1]);
  return texts->isComplete;
}

void ForeignTexts::judgeBeyond(std::int32_t processIdentifier, PromptReading& reading) const {
  auto& beyond = reading.texts.beyond;
  if (!translations || beyond.empty()) return;
  const auto texts = translations->sourceTexts({processIdentifier, {}, shownTexts(beyond)});
  for (std::size_t i = 0; texts && i < beyond.size(); ++i) {
    beyond[i].judged = judgedLine(beyond[i].shown, texts->lines[i]);
  }
}

}  // namespace quillard
