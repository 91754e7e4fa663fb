#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "approvals/PendingApproval.h"
#include "click/ClickExecutor.h"
#include "click/DialogFocusResolver.h"
#include "detection/DialogDetector.h"
#include "platform/process/Executors.h"

namespace quillard {

// The way from a decision to a press, and the one entry to this folder: `focusAndResolve` finds the button on the main
// thread, `click` presses it on a queue of its own, one press after another.
//
//     ApprovalClicker -> DialogFocusResolver -> DialogDetector    finds the button
//                     -> ClickExecutor -> ApprovedButton          presses it, and proves that it is the approved one
//                                      -> DialogDetector          proves that the prompt went
//
// Main thread.
class ApprovalClicker {
 public:
  // Absent: the approved button was pressed, and the prompt is gone.
  using Completion = std::function<void(std::optional<ClickError>)>;

  // All outlive the clicker.
  ApprovalClicker(DialogDetector& detector, DialogFocusResolver& focusResolver, const ClickDependencies& dependencies,
                  platform::Executors& executors);
  // Stops, and waits for the press under way: a tenth of a second, or the answer of one request.
  ~ApprovalClicker();
  ApprovalClicker(const ApprovalClicker&) = delete;
  ApprovalClicker& operator=(const ApprovalClicker&) = delete;

  // Brings the prompt's application to the front, waits for it to come, and searches for the live button, twice. Blocks
  // the main thread on purpose, so that the application comes to the front before anything is pressed: 0.2 s, and
  // 0.25 s more when the button is not there at first.
  [[nodiscard]] PromptResolution focusAndResolve(const PendingApproval& approval, const std::string& buttonLabel);

  // Presses `button` until the prompt is gone, as `ClickExecutor` does, after every press asked for before. From here
  // on the prompt is the one in `button.promptWindow`: a twin neither counts as present nor is pressed in its place.
  // `completion` comes once, in a later turn of the main thread; never when this is destroyed before.
  void click(const PendingApproval& approval, const std::string& buttonLabel, const ResolvedDialogButton& button,
             Completion completion);

  // The newest press ends within a tenth of a second, before it acts again, and fails with `promptStillPresent`.
  void stop();

 private:
  DialogDetector& detector;
  DialogFocusResolver& focusResolver;
  const ClickDependencies dependencies;
  platform::SerialExecutor& mainThread;
  std::shared_ptr<std::atomic<bool>> stopRequested;  // Of the newest press; shared with it. Empty before the first.
  std::unique_ptr<platform::SerialExecutor> queue;   // Last: its turns use the rest.
};

}  // namespace quillard
