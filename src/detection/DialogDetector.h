#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "agent/configuration/AgentConfiguration.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "approvals/PendingApproval.h"
#include "approvals/ScanOutcome.h"
#include "detection/ForeignTexts.h"
#include "detection/PromptCandidateGate.h"
#include "detection/PromptJudge.h"
#include "detection/PromptPresence.h"
#include "detection/PromptReader.h"
#include "detection/PromptSearch.h"
#include "detection/ResolvedDialogButton.h"
#include "detection/StableIDs.h"
#include "detection/WindowDebugSnapshot.h"
#include "detection/WindowSource.h"
#include "detection/WindowSources.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/PromptSupplement.h"
#include "platform/desktop/Translations.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"

namespace quillard {

// What a detector is made over. All of it outlives the detector.
struct DetectorDependencies {
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  const platform::Clock& clock;
  AgentConfiguration::Sources tunables;
  platform::Console& console;
  const StableIDs& stableIDs;
  platform::PromptSupplement supplement{};  // What this desktop adds to the rules. Empty: they hold to the letter.
  platform::Translations* translations = nullptr;  // Null: texts of other languages are judged as they stand.
};

// Turns the windows on screen into approvals: reads the windows of every application that may show a prompt, and the
// focused one, classifies each, and gives the prompts that two scans in a row have met. For a click, it checks whether
// one approval's prompt is still there, and finds its button again.
//
// Each operation reads in one scope of its own, so nothing that was read before is used again. An application that
// misses its time-out contributes no window whose reading it cut short: a prompt of which only a part was read may look
// more harmless than the whole, for example without the field for a password.
//
// Every operation waits for other processes, up to 0.2 s for each application that does not answer: never on the main
// thread, but for `resolveCurrentButton` right before a press. One scan at a time; the other operations change
// nothing here and may run at the same time.
class DialogDetector {
 public:
  // `ownProcessIdentifier`: the process whose windows are never read.
  DialogDetector(std::int32_t ownProcessIdentifier, const ApprovalSuppressionStore& suppressionStore,
                 const DetectorDependencies& dependencies);
  DialogDetector(const DialogDetector&) = delete;
  DialogDetector& operator=(const DialogDetector&) = delete;
  ~DialogDetector() = default;

  // The prompts on screen, suppressed ones left out. Each one's `id` is its fingerprint (`StableIDs`): owner, title,
  // place, labels, lines, and what its boxes and menus are set to, so a prompt that changes any of them is another one,
  // but for what runs in it (`LiveText`). The `suppressionID` is the same without boxes and menus, so that a kind of
  // prompt stays muted whatever they are set to. Of two dialogs of one program, the one that blocks the other is
  // listed. A scan that could not see the desktop, as without the permission, brings nothing but the reason. Without an
  // answer about the permission it tries: what can be read is known.
  [[nodiscard]] ScanOutcome scan();

  // Every window that a scan would read, with the verdict on it and why, in the order in which they were met.
  // Suppressed prompts and prompts met for the first time are among them. Changes nothing here.
  [[nodiscard]] DesktopDiagnosis diagnose();

  // Whether the prompt is still on screen, as `PromptSearch` proves it: in the window that the approval names, else in
  // some window of the same process and content, wherever it lies now. A window counts at the first check, without the
  // second scan that publishing takes, and whether its kind is suppressed or not.
  //
  // A prompt that is there costs a few requests to its own application, on a desktop of any size. Only of an approval
  // that names no window are the windows of the whole desktop read, before it counts as gone. Unknown when nothing
  // could be read, or when the prompt's application misses its time-out; that of another one proves nothing either way.
  [[nodiscard]] PromptPresence presenceOf(const PendingApproval& approval);
  // The same in the window in which the prompt was found for a press, whose end the window server may know.
  [[nodiscard]] PromptPresence presenceOf(const PendingApproval& approval, const PromptWindow& window);
  // The same as yes or no: an unknown presence is yes, since nothing has shown that the prompt went.
  [[nodiscard]] bool isPromptStillPresent(const PendingApproval& approval) { return !presenceOf(approval).isGone(); }

  // The live button labelled exactly `buttonLabel` in the window that the approval names, or else in the one that
  // matches it best; of equal ones the first met. Its window is restored and raised. Absent unless `resolve` finds it.
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel);
  // The same, and why there is none.
  [[nodiscard]] PromptResolution resolve(const PendingApproval& approval, const std::string& buttonLabel);

 private:
  [[nodiscard]] WindowSources windowsIn(platform::AXReadScope& scope);
  [[nodiscard]] bool isPermissionDenied() const;
  // Suppressed or not: that decides what a scan lists, never whether a prompt is there. Adds to `notLookedUp` the
  // processes of which some window may be a prompt, as its texts could not be looked up.
  [[nodiscard]] std::vector<PromptCandidate> visibleCandidates(platform::AXReadScope& scope, WindowSources& windows,
                                                               const std::vector<WindowSource>& sources,
                                                               std::vector<std::int32_t>& notLookedUp);
  [[nodiscard]] Uuid kindOf(const std::string& identity) const;
  [[nodiscard]] PendingApproval approvalOf(const WindowSource& source, const PromptReading& reading,
                                           const JudgedPrompt& judged);
  void confirm(ScanOutcome& outcome);
  [[nodiscard]] WindowContent contentOf(platform::AXReadScope& scope, const WindowSource& source,
                                        ForeignTexts::Lookup lookup);
  [[nodiscard]] PromptSearch searchWith(ForeignTexts::Lookup lookup);
  void printDiagnostics(const std::vector<WindowSource>& sources);

  const std::int32_t ownProcessIdentifier;
  const ApprovalSuppressionStore& suppressionStore;
  PromptCandidateGate candidateGate;
  std::unordered_map<Uuid, std::int32_t> processByFingerprint;  // Of the prompts that a scan has met.
  const DetectorDependencies dependencies;
  const PromptJudge judge;
  const ForeignTexts foreignTexts;
  const PromptSearch search;  // Reads as the scan does.
  // The same, but that what texts mean is taken from what is known: a press resolves its button on the main thread. A
  // scan has looked them up before.
  const PromptSearch quickSearch;
};

}  // namespace quillard
