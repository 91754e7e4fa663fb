#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "detection/LabelMeaning.h"
#include "detection/PromptStructure.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// What the detector read of one window, and the verdict: one diagnostic line.
struct WindowDebugSnapshot {
  std::string appName;
  std::optional<std::string> bundleIdentifier;
  std::int32_t processIdentifier = 0;
  std::string role;
  std::string subrole;
  std::string title;
  DialogFrame windowFrame;
  bool isModal = false;
  int promptScore = 0;
  bool accepted = false;
  std::optional<std::string> rejectionReason;  // Absent when accepted.
  std::vector<std::string> messageLines;
  std::vector<std::string> buttonLabels;
  bool operator==(const WindowDebugSnapshot&) const = default;
};

// What a prompt puts at stake, by what it says.
struct PromptHazard {
  std::string words;   // That tell it: "always", "delet*" where more may follow.
  std::string reason;  // "It is granted for ever, or to whoever asks."

  bool operator==(const PromptHazard&) const = default;
};

// A button, and how its label is understood.
struct DiagnosedButton {
  std::string label;
  LabelKind kind = LabelKind::unknown;
  bool isEnabled = true;
};

// One window of a desktop, and what was found of it.
struct WindowDiagnosis {
  std::string appName;
  std::int32_t processIdentifier = 0;
  std::optional<WindowDebugSnapshot> snapshot;  // Absent when the application did not answer in time.
  // The rules that fit, the deciding one first. Empty where windows are judged by words alone.
  std::vector<PromptStructure::Verdict> verdicts{};
  std::optional<platform::AXUIElement> content{};  // What holds its texts and buttons. Absent: it was not read.
  bool blocksOthers = false;                       // Other dialogs of its program wait until it is answered.
  WindowStructure structure{};
  std::vector<DiagnosedButton> buttons{};
  // Of a prompt.
  std::optional<std::string> directAccessReason{};
  std::optional<std::string> recommendedLabel{};
  std::optional<PromptHazard> hazard{};  // Absent: nothing that it says is known to be at stake.
  std::vector<std::string> linesOnPhone{};
};

// A program that did not say which windows it has.
struct UnreadProgram {
  std::string appName;
  std::int32_t processIdentifier = 0;
  bool operator==(const UnreadProgram&) const = default;
};

// The windows of a desktop. `failure` present: it could not be read as a whole, and what is missing may be there.
struct DesktopDiagnosis {
  std::vector<WindowDiagnosis> windows;
  std::optional<platform::DesktopReadFailure> failure;
  std::vector<UnreadProgram> unread{};  // They may have windows that are not listed.

  // Whether another reading may know more. Programs that were slow once are asked less of the next time.
  [[nodiscard]] bool isIncomplete() const;
};

// One JSON object, its members sorted by name, absent ones left out. Absent when a text is no UTF-8.
[[nodiscard]] std::optional<std::string> sortedJsonText(const WindowDebugSnapshot& snapshot);

}  // namespace quillard
