#include "detection/PromptJudge.h"

#include <algorithm>
#include <unordered_map>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DirectAccess.h"
#include "detection/LabelMeaning.h"
#include "foundation/ShownText.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

using TextOf = std::string PromptText::*;

std::vector<std::string> textsOf(const std::vector<PromptText>& texts, TextOf which) {
  std::vector<std::string> chosen;
  for (const auto& text : texts) chosen.push_back(text.*which);
  return chosen;
}

// Title and lines, those that are not shown among them.
std::vector<std::string> allLines(const PromptTexts& texts, TextOf which) {
  auto lines = textsOf(texts.lines, which);
  for (const auto& line : texts.beyond) lines.push_back(line.*which);
  return lines;
}

std::string normalizedText(const PromptTexts& texts, TextOf which) {
  std::string all = text::normalized(texts.title.*which);
  for (const auto& line : allLines(texts, which)) all += " " + text::normalized(line);
  return all;
}

// All that tells what is at stake: labels with all that they may mean, boxes and menus as well.
std::string allTextsOf(const PromptTexts& texts, TextOf which) {
  std::string all = normalizedText(texts, which);
  for (const auto& label : texts.labels) all += " " + text::normalized(label.*which + " " + label.alsoMeans);
  for (const auto& option : texts.options) all += " " + text::normalized(option.title.*which);
  return all;
}

// Empty: there is nothing to show of it.
std::string lineOf(const PromptOption& option) {
  if (option.isMenu) return option.setting.empty() ? "" : "▾ " + option.title.shown + ": " + option.setting;
  if (option.title.shown.empty() || !option.box) return "";
  switch (*option.box) {
    case BoxState::off:
      return "☐ " + option.title.shown;
    case BoxState::on:
      return "☑ " + option.title.shown;
    case BoxState::mixed:
      return "◪ " + option.title.shown;
  }
  return "";
}

// Whether an English text is known for it; that marks were taken from it tells nothing.
bool hasMeaning(const PromptText& text) {
  return text.judged != text.shown && text.judged != text::withoutMarks(text.shown);
}

// What a line says, without the colon of the one that names a field.
std::string sayingOf(std::string_view line) {
  std::string saying = text::normalized(line);
  while (saying.ends_with(':') || saying.ends_with(' ')) saying.pop_back();
  return saying;
}

bool namesAField(std::string_view line) { return text::trimmed(line).ends_with(':'); }

// Without a title that is said again, and without one of two lines that say the same but for a colon: the one that
// names the field stays.
std::vector<std::string> linesSayingSomething(const PromptTexts& texts) {
  const std::string title = sayingOf(texts.title.shown);
  std::unordered_map<std::string, std::size_t> places;
  std::vector<std::string> lines;
  for (const auto& line : texts.lines) {
    const std::string saying = sayingOf(line.shown);
    if (saying == title) continue;
    const auto [known, isNew] = places.try_emplace(saying, lines.size());
    if (isNew) {
      lines.push_back(line.shown);
    } else if (namesAField(line.shown)) {
      lines[known->second] = line.shown;
    }
  }
  // A prompt that says nothing but its title says that.
  return lines.empty() ? textsOf(texts.lines, &PromptText::shown) : lines;
}

}  // namespace

// Boxes, on or off, and what menus are set to, since what a button does depends on them. Without those that decide
// nothing ("Details").
std::vector<std::string> PromptJudge::optionsToShow(const PromptTexts& texts) const {
  std::vector<std::string> lines;
  const LabelMeaning meaning{supplement};
  for (const auto& option : texts.options) {
    auto line = lineOf(option);
    if (!line.empty() && meaning.kindOf(option.title.judged) != LabelKind::aside) lines.push_back(std::move(line));
  }
  return lines;
}

// Without a line that says the same as a box or menu that is shown.
std::vector<std::string> PromptJudge::linesToShow(const PromptTexts& texts,
                                                  const std::vector<std::string>& options) const {
  auto lines = linesSayingSomething(texts);
  for (const auto& option : texts.options) {
    const auto shown = lineOf(option);
    if (std::find(options.begin(), options.end(), shown) == options.end()) continue;
    const std::string saying = sayingOf(option.title.shown);
    std::erase_if(lines, [&](const std::string& line) { return sayingOf(line) == saying; });
  }
  return lines;
}

bool PromptJudge::mayShowProgress(const PromptReading& reading) const {
  if (reading.evidence.structure.progressBars == 0) return false;
  for (const auto which : {&PromptText::judged, &PromptText::shown}) {
    const std::string all = allTextsOf(reading.texts, which);
    if (text::holdsQuestion(all) || saysOneOf(all, supplement.questions)) return false;
  }
  return true;
}

void PromptJudge::readOptions(platform::AXAttributeReader& reader, PromptReading& reading) const {
  if (supplement.judgesByStructure) PromptReader::readOptions(reader, reading);
}

bool PromptJudge::isService(const WindowSource& source) const {
  const auto isNamed = [&](std::string_view name) {
    const std::string lower = text::lowercased(name);
    return platform::anyTextOf(supplement.promptServices,
                               [&](std::string_view service) { return lower.find(service) != std::string::npos; });
  };
  return isNamed(source.appName) || (source.bundleIdentifier && isNamed(*source.bundleIdentifier));
}

DialogPromptEvidence PromptJudge::evidence(const WindowSource& source, const PromptReading& reading) const {
  DialogPromptEvidence evidence = reading.evidence;
  evidence.title = reading.texts.title.judged;
  evidence.messageLines = textsOf(reading.texts.lines, &PromptText::judged);
  evidence.buttonLabels = textsOf(reading.texts.labels, &PromptText::judged);
  evidence.isKnownPromptService = evidence.isKnownPromptService || isService(source);
  return evidence;
}

DialogPromptClassification PromptJudge::classify(const WindowSource& source, const PromptReading& reading) const {
  return DialogPromptClassifier::classify(evidence(source, reading), supplement);
}

std::vector<PromptStructure::Verdict> PromptJudge::explain(const WindowSource& source,
                                                           const PromptReading& reading) const {
  if (!supplement.judgesByStructure) return {};
  return PromptStructure::allThatFit(evidence(source, reading), supplement);
}

std::vector<DiagnosedButton> PromptJudge::buttons(const PromptReading& reading) const {
  const LabelMeaning meaning{supplement};
  std::vector<DiagnosedButton> buttons;
  for (std::size_t i = 0; i < reading.buttons.size(); ++i) {
    buttons.push_back({.label = reading.buttons[i].label,
                       .kind = meaning.kindOf(reading.texts.labels[i].judged),
                       .isEnabled = reading.buttons[i].isEnabled});
  }
  return buttons;
}

bool PromptJudge::blocksOthers(const PromptReading& reading) const {
  return supplement.judgesByStructure && reading.evidence.structure.isModal;
}

JudgedPrompt PromptJudge::judge(const PromptReading& reading) const {
  JudgedPrompt judged{.lines = {},
                      .options = {},
                      .buttons = reading.buttons,
                      .recommendedLabel = std::nullopt,
                      .directAccessReason = directAccessReason(reading)};
  if (supplement.judgesByStructure) {
    judged.options = optionsToShow(reading.texts);
    judged.lines = linesToShow(reading.texts, judged.options);
  } else {
    judged.lines = textsOf(reading.texts.lines, &PromptText::shown);
  }
  const LabelMeaning meaning{supplement};
  for (std::size_t i = 0; i < judged.buttons.size(); ++i) {
    const auto& label = reading.texts.labels[i];
    const bool tellsByItself = DialogButtonSemantics::isSafeDismissal(label.shown);
    judged.buttons[i].isKnownDismissal = !tellsByItself && label.mayBeSafe && meaning.isSafeDismissal(label.judged);
  }
  // What a box or a menu adds to the answer may make a grant last for ever, whatever its title.
  const auto& parts = reading.evidence.structure;
  const bool mayMeanMore = parts.checkBoxes > 0 || parts.radioButtons > 0 || parts.comboBoxes > 0;
  const bool isOnlyDeniable = judged.directAccessReason.has_value();
  if (!supplement.judgesByStructure || (!isOnlyDeniable && !mayMeanMore))
    judged.recommendedLabel = recommendedLabel(reading);
  return judged;
}

// Something to be done at the computer is never recommended, and the words that tell may come in either language.
std::optional<std::string> PromptJudge::directAccessReason(const PromptReading& reading) const {
  if (reading.hasSecureTextField) return secretRequiredReason();
  const auto& texts = reading.texts;
  for (const auto which : {&PromptText::judged, &PromptText::shown}) {
    const auto reason =
        directAccessRequiredReason(texts.title.*which, allLines(texts, which), textsOf(texts.labels, which));
    if (reason) return reason;
    if (saysOneOf(normalizedText(texts, which), supplement.secretPhrases)) return secretRequiredReason();
  }
  if (reading.hasUnreadableText || !texts.isWholeMeaning) return unreadableTextReason();
  if (!supplement.judgesByStructure) return std::nullopt;
  const auto& parts = reading.evidence.structure;
  const bool isChosenFrom =
      parts.lists > 0 && !parts.isAlert && !saysOneOf(normalizedText(texts, &PromptText::judged), supplement.questions);
  const auto& options = texts.options;
  const bool hasUnknownMenu = std::any_of(options.begin(), options.end(), [](const PromptOption& option) {
    return option.isMenu && option.setting.empty();
  });
  if (parts.textFields > 0 || parts.radioButtons > 0 || isChosenFrom || hasUnknownMenu) return toBeFilledInReason();
  const LabelMeaning meaning{supplement};
  for (std::size_t i = 0; i < reading.buttons.size(); ++i) {
    const auto kind = meaning.kindOf(texts.labels[i].judged);
    const bool isUnderstood = kind != LabelKind::unknown && kind != LabelKind::form;
    if (reading.buttons[i].isEnabled && !isUnderstood) return notUnderstoodReason();
  }
  return std::nullopt;
}

std::optional<PromptHazard> PromptJudge::hazard(const PromptReading& reading) const {
  for (const auto which : {&PromptText::judged, &PromptText::shown}) {
    const std::string all = allTextsOf(reading.texts, which);
    for (const auto& group : supplement.hazards) {
      if (const auto words = firstMatch(all, {&group, 1})) {
        return PromptHazard{.words = std::string(*words), .reason = std::string(group.reason)};
      }
    }
  }
  return std::nullopt;
}

bool PromptJudge::isUnderstood(const PromptText& text) const {
  const std::string plain = text::normalized(text.shown);
  return plain.empty() || hasMeaning(text) || saysOneOf(plain, supplement.phrases) ||
         saysOneOf(plain, supplement.questions);
}

bool PromptJudge::isForeignAndNotUnderstood(const PromptTexts& texts) const {
  if (std::none_of(texts.labels.begin(), texts.labels.end(), hasMeaning)) return false;
  const auto isNot = [this](const PromptText& text) { return !isUnderstood(text); };
  return isNot(texts.title) || std::any_of(texts.lines.begin(), texts.lines.end(), isNot) ||
         std::any_of(texts.beyond.begin(), texts.beyond.end(), isNot);
}

std::optional<std::string> PromptJudge::recommendedLabel(const PromptReading& reading) const {
  const bool isHazard = hazard(reading).has_value() || isForeignAndNotUnderstood(reading.texts);
  for (std::size_t i = 0; i < reading.buttons.size(); ++i) {
    const auto& label = reading.texts.labels[i];
    if (!reading.buttons[i].isEnabled) continue;
    if (!DialogButtonSemantics::recommendedLabels().contains(text::normalized(label.judged))) continue;
    if (!isHazard) return label.shown;
  }
  return std::nullopt;
}

}  // namespace quillard
