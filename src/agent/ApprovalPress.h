#pragma once

#include <functional>
#include <optional>
#include <string>

#include "approvals/PendingApproval.h"
#include "click/ClickExecutor.h"

namespace quillard {

// Presses the button that a decision names: all that the decisions know of the desktop. Main thread.
class ApprovalPress {
 public:
  // Absent: the prompt went away. Otherwise why it did not.
  using Completion = std::function<void(std::optional<ClickError>)>;

  ApprovalPress() = default;
  ApprovalPress(const ApprovalPress&) = delete;
  ApprovalPress& operator=(const ApprovalPress&) = delete;
  // Stops, and waits for the press under way; its completion does not come any more.
  virtual ~ApprovalPress() = default;

  // Brings the prompt's application to the front and finds the button, which blocks the main thread on purpose, for
  // less than half a second; then presses it elsewhere. Absent: `completion` comes once, in a later turn of the main
  // thread. Otherwise why nothing is pressed, and `completion` never comes: `buttonNotFound`; `promptNotReadable`
  // when nobody could look; or `requiresDirectAccess` of the prompt on screen. One press at a time.
  [[nodiscard]] virtual std::optional<ClickError> begin(const PendingApproval& approval, const std::string& buttonLabel,
                                                        Completion completion) = 0;

  // The press under way ends within a tenth of a second, before it acts again, as one that failed.
  virtual void stop() = 0;

  // As `stop`, where whoever decided has no say any more: what was not carried out in full is taken back, too.
  virtual void takeBack() { stop(); }
};

}  // namespace quillard
