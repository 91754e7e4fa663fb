#pragma once

#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "detection/DialogPromptClassifier.h"
#include "detection/PromptReader.h"
#include "detection/PromptStructure.h"
#include "detection/WindowDebugSnapshot.h"
#include "detection/WindowSource.h"
#include "platform/desktop/PromptSupplement.h"

namespace quillard {

// What a prompt is shown as, and what may be done with it from afar.
struct JudgedPrompt {
  std::vector<std::string> lines;     // To be shown, as they stand.
  std::vector<std::string> options;   // The same of its boxes and menus, to be shown behind the lines.
  std::vector<DialogButton> buttons;  // Those that were read, with what is known of them.
  std::optional<std::string> recommendedLabel;
  std::optional<std::string> directAccessReason;  // Absent: it may be approved from afar.

  // Lines, and boxes and menus behind them.
  [[nodiscard]] std::vector<std::string> allLines() const {
    auto all = lines;
    all.insert(all.end(), options.begin(), options.end());
    return all;
  }
};

// The one place where texts and labels of a window are judged: by the rules that hold everywhere, and by what this
// desktop adds to them. Rules and word lists are asked about a text as it is judged; whether a prompt asks for a secret
// is asked about the text as it stands as well, so that no meaning ever takes that mark away. Any thread.
class PromptJudge {
 public:
  // `supplement` outlives this. Empty: the rules hold to the letter.
  explicit PromptJudge(const platform::PromptSupplement& supplement) : supplement(supplement) {}

  // What the classifier is handed.
  [[nodiscard]] DialogPromptEvidence evidence(const WindowSource& source, const PromptReading& reading) const;
  [[nodiscard]] DialogPromptClassification classify(const WindowSource& source, const PromptReading& reading) const;
  // All rules that fit, the deciding one first. Empty where windows are not judged by what they are made of.
  [[nodiscard]] std::vector<PromptStructure::Verdict> explain(const WindowSource& source,
                                                              const PromptReading& reading) const;

  // How each button is understood.
  [[nodiscard]] std::vector<DiagnosedButton> buttons(const PromptReading& reading) const;

  // Of a window that was accepted.
  [[nodiscard]] JudgedPrompt judge(const PromptReading& reading) const;

  // The titles of boxes and menus, of a window that was accepted and where windows are judged by what they are made of.
  void readOptions(platform::AXAttributeReader& reader, PromptReading& reading) const;
  // Absent: nothing that the prompt says is known to be at stake. Its boxes and menus count, on or off.
  [[nodiscard]] std::optional<PromptHazard> hazard(const PromptReading& reading) const;

  // Whether percentages in its texts may be progress: it shows a progress indicator, and asks nothing. One that does
  // may ask about the percentage, in whatever line that stands. Asked once all of the reading is there.
  [[nodiscard]] bool mayShowProgress(const PromptReading& reading) const;

  // Whether other dialogs of the same program wait until this one is answered.
  [[nodiscard]] bool blocksOthers(const PromptReading& reading) const;

 private:
  [[nodiscard]] bool isService(const WindowSource& source) const;
  [[nodiscard]] std::optional<std::string> directAccessReason(const PromptReading& reading) const;
  [[nodiscard]] std::optional<std::string> recommendedLabel(const PromptReading& reading) const;
  [[nodiscard]] std::vector<std::string> linesToShow(const PromptTexts& texts,
                                                     const std::vector<std::string>& options) const;
  [[nodiscard]] std::vector<std::string> optionsToShow(const PromptTexts& texts) const;
  // Whether something is known of what a title or line says. Of an empty one there is nothing to know.
  [[nodiscard]] bool isUnderstood(const PromptText& text) const;
  // Whether some label is known by its meaning alone while nothing is known of some title or line: what such a prompt
  // puts at stake is not known, so nothing is recommended.
  [[nodiscard]] bool isForeignAndNotUnderstood(const PromptTexts& texts) const;

  const platform::PromptSupplement& supplement;
};

}  // namespace quillard
