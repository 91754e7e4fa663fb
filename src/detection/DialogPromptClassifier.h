#pragma once

#include <optional>
#include <string>
#include <vector>

#include "detection/WindowStructure.h"
#include "platform/desktop/PromptSupplement.h"

namespace quillard {

// The facts about one window, as plain data. Texts are as they are judged (`PromptText`).
struct DialogPromptEvidence {
  std::string role;  // Empty when absent, as are subrole and title.
  std::string subrole;
  std::string title;
  bool isModal = false;                   // The window counts as a dialog container.
  std::vector<std::string> messageLines;  // The text lines, in reading order.
  std::vector<std::string> buttonLabels;  // Of the actionable buttons, in the order in which they were met.
  std::optional<std::string> bundleIdentifier;
  bool isKnownPromptService = false;  // The owner is one of the system's own prompting services.
  bool hasNavigationChrome = false;   // The window has a toolbar, an outline, tabs or a sidebar.
  WindowStructure structure{};        // Counts for nothing without a supplement.
  bool operator==(const DialogPromptEvidence&) const = default;
};

struct DialogPromptClassification {
  bool accepted = false;
  int score = 0;                               // How sure one may be. For people to read: it decides nothing.
  std::optional<std::string> rejectionReason;  // Absent when accepted.
  bool operator==(const DialogPromptClassification&) const = default;
};

// Decides whether a window is an approval prompt, and says why not. A pure function of its argument; any thread.
namespace DialogPromptClassifier {

// So many actionable buttons are those of an application's own window, whatever its texts say.
inline constexpr int kTooManyButtons = 13;
inline constexpr const char* kTooManyButtonsReason = "Too many buttons; likely a normal application window.";

[[nodiscard]] DialogPromptClassification classify(const DialogPromptEvidence& evidence);

// The same with what a desktop adds: where it says so, windows are judged by what they are made of (`PromptStructure`).
// With an empty supplement it is the same as without.
[[nodiscard]] DialogPromptClassification classify(const DialogPromptEvidence& evidence,
                                                  const platform::PromptSupplement& supplement);

// The signs of a prompt among the words of a window, by the rules that hold everywhere.
struct WordSigns {
  bool isDialogLike = false;
  bool hasPhrase = false;
  bool hasPairedChoice = false;
  bool hasSettingsSignal = false;
};
[[nodiscard]] WordSigns wordSigns(const DialogPromptEvidence& evidence);

// Whether a label makes a prompt even when it stands alone.
[[nodiscard]] bool isHighSignalLabel(const std::string& normalizedLabel);

}  // namespace DialogPromptClassifier

}  // namespace quillard
