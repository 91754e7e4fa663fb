#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "detection/DialogDetector.h"
#include "platform/desktop/PromptSupplement.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::golden {

// What a window is for the person in front of it.
enum class Kind {
  prompt,       // It waits for a decision.
  secret,       // It waits for a secret: to be denied from afar at most.
  information,  // It only tells something.
  form,         // It is to be filled in or chosen from, or a tool.
  main,         // A main window or settings.
};
[[nodiscard]] std::string nameOf(Kind kind);
[[nodiscard]] bool isPrompt(Kind kind);

// One window with a person's verdict.
struct JudgedWindow {
  std::string name;
  Kind kind = Kind::prompt;
  bool isHeldBack = false;  // Was not looked at while the rules were made.
  // Why the detector may judge otherwise today. Absent: it has to agree.
  std::optional<std::string> knownMistake;
  // The buttons that a person says destroy, grant for ever, or trust an unknown party. Absent: this window has
  // no such mark.
  std::optional<std::vector<std::string>> hazards{};
};

// What the detector makes of a desktop with such a window.
struct Judgement {
  std::vector<PendingApproval> prompts;  // Of the second scan.
  DesktopDiagnosis diagnosis;
};
[[nodiscard]] Judgement judge(platform::simulated::SimulatedWorld& world, const platform::PromptSupplement& supplement);

// The windows of real programs in trees/, with the verdicts of trees/verdicts.txt; every third one is held back.
[[nodiscard]] std::vector<JudgedWindow> recordedWindows();
void loadRecordedWindow(const std::string& name, platform::simulated::SimulatedWorld& world);

}  // namespace quillard::golden
