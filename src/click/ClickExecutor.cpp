#include "click/ClickExecutor.h"

#include "click/ClickAttempt.h"

namespace quillard {

std::string_view localizedDescription(ClickError error) {
  switch (error) {
    case ClickError::unableToCreateEvent:
      return "Unable to create a synthetic click event.";
    case ClickError::pendingApprovalNotFound:
      return "The approval request is no longer pending.";
    case ClickError::buttonNotFound:
      return "The approved button no longer exists on screen.";
    case ClickError::promptStillPresent:
      break;
  }
  return "The dialog was still visible after Quillard tried every safe click path.";
}

std::optional<ClickError> ClickExecutor::click(const ResolvedDialogButton& button,
                                               const ClickDependencies& dependencies, const ClickQuestions& questions) {
  return ClickAttempt{button, dependencies, questions}.run();
}

}  // namespace quillard
