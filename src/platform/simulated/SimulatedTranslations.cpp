#include "platform/simulated/SimulatedTranslations.h"

namespace quillard::platform::simulated {

void SimulatedTranslations::teach(const std::string& shown, const SourceText& source) {
  taught[std::nullopt].emplace(shown, source);
}

void SimulatedTranslations::teach(std::int32_t processIdentifier, const std::string& shown, const SourceText& source) {
  taught[processIdentifier].emplace(shown, source);
}

std::vector<SourceText> SimulatedTranslations::answer(std::int32_t processIdentifier, const std::string& shown) const {
  std::vector<SourceText> found;
  for (const auto& key : {std::optional<std::int32_t>{}, std::optional{processIdentifier}}) {
    const auto texts = taught.find(key);
    if (texts == taught.end()) continue;
    const auto [begin, end] = texts->second.equal_range(shown);
    for (auto each = begin; each != end; ++each) found.push_back(each->second);
  }
  return found;
}

std::optional<SourceTexts> SimulatedTranslations::sourceTexts(const TranslationRequest& request) {
  received.push_back(request);
  if (taught.empty() && isWhole) return std::nullopt;
  SourceTexts texts;
  texts.isComplete = isWhole;
  texts.isCutOff = isCutOff;
  for (const auto& label : request.labels) {
    texts.labels.push_back(answer(request.processIdentifier, label));
    texts.areLabelsCutOff.push_back(isCutOff || cutOffTexts.contains(label));
    if (texts.areLabelsCutOff.back()) texts.isCutOff = true;
  }
  for (const auto& line : request.lines) {
    texts.lines.push_back(answer(request.processIdentifier, line));
    if (cutOffTexts.contains(line)) texts.isCutOff = true;
  }
  return texts;
}

}  // namespace quillard::platform::simulated
