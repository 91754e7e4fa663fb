#include "detection/DialogPromptClassifier.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/PromptStructure.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

using DialogButtonSemantics::LabelSet;
using DialogPromptClassifier::kTooManyButtons;
using DialogPromptClassifier::kTooManyButtonsReason;

// Phrases of prompts, as they stand in normalised text. Both apostrophes, since normalising does not fold them.
constexpr std::array<std::string_view, 26> strongPromptTextKeywords{"would like to access",
                                                                    "wants access",
                                                                    "permission",
                                                                    "grant access",
                                                                    "access files",
                                                                    "access your",
                                                                    "password",
                                                                    "keychain",
                                                                    "are you sure",
                                                                    "you can't undo",
                                                                    "you can’t undo",
                                                                    "permanently",
                                                                    "erase",
                                                                    "delete",
                                                                    "empty bin",
                                                                    "empty trash",
                                                                    "replace",
                                                                    "discard",
                                                                    "won't run",
                                                                    "won’t run",
                                                                    "ready to install",
                                                                    "ready to use",
                                                                    "install and relaunch",
                                                                    "downloaded and is ready",
                                                                    "save changes",
                                                                    "unsaved"};

constexpr std::array<std::string_view, 4> settingsContextKeywords{"system settings", "privacy & security",
                                                                  "privacy and security", "accessibility settings"};

// Labels that make a prompt even when they stand alone.
const LabelSet highSignalSingleActionLabels{"ok",
                                            "allow",
                                            "always allow",
                                            "continue",
                                            "yes",
                                            "empty bin",
                                            "empty trash",
                                            "delete",
                                            "erase",
                                            "replace",
                                            "discard",
                                            "save",
                                            "install",
                                            "install and relaunch",
                                            "relaunch",
                                            "restart",
                                            "open system settings",
                                            "open settings",
                                            "quit",
                                            "don't save",
                                            "don’t save"};

const LabelSet settingsOpeningLabels{"open system settings", "open settings"};

constexpr std::size_t kMostPromptButtons = 6;
constexpr std::size_t kMostTextLines = 10;

struct Features {
  bool dialogLike = false;
  int phraseMatches = 0;
  int labelMatches = 0;
  bool settingsSignal = false;
  bool pairedChoice = false;
  bool singleHighSignal = false;
  std::size_t buttonCount = 0;
  bool buttonsInRange = false;
  std::size_t textLineCount = 0;
  bool textInRange = false;
  bool settingsApp = false;
  bool settingsTitle = false;
};

std::string promptText(const DialogPromptEvidence& evidence) {
  std::string prompt = text::normalized(evidence.title);
  for (const auto& line : evidence.messageLines) {
    prompt += ' ';
    prompt += text::normalized(line);
  }
  return prompt;
}

LabelSet normalizedSet(const std::vector<std::string>& labels) {
  LabelSet set;
  for (const auto& label : labels) set.insert(text::normalized(label));
  return set;
}

int countShared(const LabelSet& labels, const LabelSet& known) {
  return static_cast<int>(
      std::count_if(labels.begin(), labels.end(), [&](const std::string& label) { return known.contains(label); }));
}

bool shareAny(const LabelSet& labels, const LabelSet& known) {
  return std::any_of(labels.begin(), labels.end(), [&](const std::string& label) { return known.contains(label); });
}

template <class Phrases>
int countPhrases(std::string_view prompt, const Phrases& phrases) {
  return static_cast<int>(std::count_if(phrases.begin(), phrases.end(), [&](std::string_view phrase) {
    return prompt.find(phrase) != std::string_view::npos;
  }));
}

bool isSettingsApp(const std::optional<std::string>& bundleIdentifier) {
  if (!bundleIdentifier) return false;
  const std::string identifier = text::lowercased(*bundleIdentifier);
  return identifier == "com.apple.systempreferences" || identifier == "com.apple.systemsettings";
}

bool isSettingsTitle(const std::string& title) {
  const std::string normalized = DialogButtonSemantics::normalized(title);
  return normalized == "settings" || normalized == "preferences" || normalized.ends_with(" settings") ||
         normalized.ends_with(" preferences");
}

Features featuresOf(const DialogPromptEvidence& evidence) {
  const std::string prompt = promptText(evidence);
  const LabelSet labels = normalizedSet(evidence.buttonLabels);
  const bool hasConfirm =
      shareAny(labels, DialogButtonSemantics::confirmActionLabels()) || shareAny(labels, highSignalSingleActionLabels);
  Features features;
  features.dialogLike = evidence.isModal || evidence.subrole == "AXDialog" || evidence.role == "AXSheet";
  features.phraseMatches = countPhrases(prompt, strongPromptTextKeywords);
  features.labelMatches = countShared(labels, DialogButtonSemantics::promptButtonLabels());
  features.settingsSignal =
      shareAny(labels, settingsOpeningLabels) && countPhrases(prompt, settingsContextKeywords) > 0;
  features.pairedChoice = hasConfirm && shareAny(labels, DialogButtonSemantics::cancelActionLabels());
  features.singleHighSignal = labels.size() == 1 && shareAny(labels, highSignalSingleActionLabels);
  features.buttonCount = evidence.buttonLabels.size();
  features.buttonsInRange = features.buttonCount >= 1 && features.buttonCount <= kMostPromptButtons;
  features.textLineCount = evidence.messageLines.size() + (evidence.title.empty() ? 0 : 1);
  features.textInRange = features.textLineCount >= 1 && features.textLineCount <= kMostTextLines;
  features.settingsApp = isSettingsApp(evidence.bundleIdentifier);
  features.settingsTitle = isSettingsTitle(evidence.title);
  return features;
}

int scoreOf(const Features& features, bool isKnownPromptService) {
  int score = 0;
  if (features.dialogLike) score += 4;
  if (features.buttonsInRange) score += 2;
  if (features.textInRange) score += 2;
  if (features.pairedChoice) score += 4;
  if (features.singleHighSignal) score += 3;
  if (features.settingsSignal) score += 4;
  if (isKnownPromptService) score += 4;
  score += std::min(2 * features.labelMatches, 6);
  score += std::min(2 * features.phraseMatches, 8);
  return score;
}

std::string notActionableMessage(const DialogPromptEvidence& evidence, const Features& features) {
  return "Not actionable enough: role=" + evidence.role + ", subrole=" + evidence.subrole +
         ", buttons=" + std::to_string(features.buttonCount) + ", textLines=" + std::to_string(features.textLineCount) +
         ".";
}

// A dialog is taken on any one sign of a prompt. A plain window needs a prompt's phrase and a prompt's buttons both,
// and belonging to a prompting service does not replace either.
bool isActionable(const Features& features, bool isKnownPromptService) {
  const bool buttonsSignal = features.pairedChoice || features.singleHighSignal || features.settingsSignal;
  if (!features.buttonsInRange) return false;
  if (features.dialogLike) return isKnownPromptService || features.phraseMatches > 0 || buttonsSignal;
  return features.textInRange && features.phraseMatches > 0 && buttonsSignal;
}

// Why the window is none, by the first rule that says so; absent for a prompt.
std::optional<std::string> rejectionReason(const DialogPromptEvidence& evidence, const Features& features) {
  if (features.buttonCount == 0) return "No actionable buttons exposed through Accessibility.";
  if (features.buttonCount >= kTooManyButtons) return kTooManyButtonsReason;
  if (!features.dialogLike) {
    if (features.settingsApp) return "Ordinary System Settings windows are not approval prompts.";
    if (features.settingsTitle) return "Ordinary settings and preferences windows are not approval prompts.";
    if (evidence.hasNavigationChrome) return "Window has navigation or settings chrome and is not modal.";
  }
  if (!isActionable(features, evidence.isKnownPromptService)) return notActionableMessage(evidence, features);
  return std::nullopt;
}

}  // namespace

DialogPromptClassification DialogPromptClassifier::classify(const DialogPromptEvidence& evidence) {
  const Features features = featuresOf(evidence);
  DialogPromptClassification classification;
  classification.score = scoreOf(features, evidence.isKnownPromptService);
  classification.rejectionReason = rejectionReason(evidence, features);
  classification.accepted = !classification.rejectionReason;
  return classification;
}

DialogPromptClassification DialogPromptClassifier::classify(const DialogPromptEvidence& evidence,
                                                            const platform::PromptSupplement& supplement) {
  auto classification = classify(evidence);
  if (!supplement.judgesByStructure) return classification;
  const auto verdict = PromptStructure::judge(evidence, supplement);
  classification.accepted = verdict.isPrompt;
  classification.rejectionReason = verdict.isPrompt ? std::nullopt : std::optional(verdict.because);
  return classification;
}

DialogPromptClassifier::WordSigns DialogPromptClassifier::wordSigns(const DialogPromptEvidence& evidence) {
  const Features features = featuresOf(evidence);
  return {.isDialogLike = features.dialogLike,
          .hasPhrase = features.phraseMatches > 0,
          .hasPairedChoice = features.pairedChoice,
          .hasSettingsSignal = features.settingsSignal};
}

bool DialogPromptClassifier::isHighSignalLabel(const std::string& normalizedLabel) {
  return highSignalSingleActionLabels.contains(normalizedLabel);
}

}  // namespace quillard
