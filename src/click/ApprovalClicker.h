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

// Finds the button of a decision, and presses it away from the main thread, one press after another. Main thread.
class ApprovalClicker {
 public:
  // Absent: the prompt is gone.
  using Completion = std::function<void(std::optional<ClickError>)>;

  // All outlive the clicker.
  ApprovalClicker(DialogDetector& detector, DialogFocusResolver& focusResolver, const ClickDependencies& dependencies,
                  platform::Executors& executors);
  // Stops, and waits for the press under way, a tenth of a second or the answer of one request.
  ~ApprovalClicker();
  ApprovalClicker(const ApprovalClicker&) = delete;
  ApprovalClicker& operator=(const ApprovalClicker&) = delete;

  // Brings the prompt's application to the front, waits for it to come, and looks for the live button, twice. Blocks
  // the calling thread on purpose: 0.2 s, and 0.25 s more when the button is not there at first.
  [[nodiscard]] std::optional<ResolvedDialogButton> focusAndResolve(const PendingApproval& approval,
                                                                    const std::string& buttonLabel);

  // Presses `button` and sees to it that the prompt goes. `completion` comes once, in a later turn of the main thread;
  // never when this is destroyed before.
  void click(const PendingApproval& approval, const std::string& buttonLabel, const ResolvedDialogButton& button,
             Completion completion);

  // The press under way ends within a tenth of a second, before it acts again, as one that failed.
  void stop();

 private:
  struct Attempt;

  DialogDetector& detector;
  DialogFocusResolver& focusResolver;
  const ClickDependencies dependencies;
  platform::SerialExecutor& mainThread;
  std::shared_ptr<std::atomic<bool>> stopRequested;  // Of the newest press; shared with it. Empty before the first.
  std::unique_ptr<platform::SerialExecutor> queue;   // Last: its turns use the rest.
};

}  // namespace quillard
