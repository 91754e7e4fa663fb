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

bool SimulatedTranslations::isLookedUp(const TranslationRequest& request) {
  bool isAll = true;
  for (const auto* const texts : {&request.labels, &request.lines}) {
    for (const auto& text : *texts) {
      const std::pair key{request.processIdentifier, text};
      if (request.lookup == TranslationLookup::full) lookedUp.insert(key);
      if (!lookedUp.contains(key)) isAll = false;
    }
  }
  return isAll;
}

std::optional<SourceTexts> SimulatedTranslations::sourceTexts(const TranslationRequest& request) {
  received.push_back(request);
  if (taught.empty() && isWhole) return std::nullopt;
  SourceTexts texts;
  texts.isComplete = isLookedUp(request) && isWhole;
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
