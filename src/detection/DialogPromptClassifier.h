#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillard {

// The facts about one window, as plain data.
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

[[nodiscard]] DialogPromptClassification classify(const DialogPromptEvidence& evidence);

}  // namespace DialogPromptClassifier

}  // namespace quillard
