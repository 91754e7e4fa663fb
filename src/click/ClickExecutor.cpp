#include "click/ClickExecutor.h"

#include <algorithm>

#include "click/ClickAttempt.h"
#include "click/semantics/DialogButtonSemantics.h"

namespace quillard {

using platform::KeyCode;
namespace ax = platform::ax;

namespace {

constexpr Seconds kLongestSlice{0.1};

}  // namespace

std::string_view localizedDescription(ClickError error) {
  switch (error) {
    case ClickError::unableToCreateEvent:
      return "Unable to create a synthetic click event.";
    case ClickError::pendingApprovalNotFound:
      return "The approval request is no longer pending.";
    case ClickError::buttonNotFound:
      return "The approved button no longer exists on screen.";
    case ClickError::requiresDirectAccess:
      return "This prompt requires direct Mac access.";
    case ClickError::promptNotReadable:
      return "The button was not pressed, since the dialog could not be read.";
    case ClickError::programStoppedAnswering:
      return "The button was pressed, but the program has stopped answering.";
    case ClickError::outcomeNotReadable:
      return "The button was pressed, but it could not be read whether the dialog has gone.";
    case ClickError::answerNotTaken:
      return "The program that asked has ended, or did not take the answer.";
    case ClickError::promptStillPresent:
      break;
  }
  return "The dialog was still visible after Quillard tried every safe click path.";
}

std::optional<ClickError> ClickExecutor::click(const ResolvedDialogButton& button,
                                               const ClickDependencies& dependencies, const ClickCallbacks& callbacks) {
  return ClickAttempt{button, dependencies, callbacks}.run();
}

std::vector<std::string_view> ClickExecutor::windowActionCandidates(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return {ax::kConfirmAction};
  if (DialogButtonSemantics::isCancelAction(label)) return {ax::kCancelAction};
  return {};
}

std::vector<std::string_view> ClickExecutor::buttonAttributeCandidates(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return {ax::kDefaultButton};
  if (DialogButtonSemantics::isCancelAction(label)) return {ax::kCancelButton};
  return {};
}

std::optional<KeyCode> ClickExecutor::keyCandidate(std::string_view label) {
  if (DialogButtonSemantics::isConfirmAction(label)) return KeyCode::returnKey;
  if (DialogButtonSemantics::isCancelAction(label)) return KeyCode::escape;
  return std::nullopt;
}

bool ClickExecutor::sleepUnlessStopped(platform::Clock& clock, Seconds duration,
                                       const std::function<bool()>& shouldStop) {
  // By the time of its end, so that slices that come late do not add up.
  const auto end = advanced(clock.monotonicNow(), duration);
  while (!shouldStop || !shouldStop()) {
    const Seconds remaining = end - clock.monotonicNow();
    if (remaining <= Seconds::zero()) return true;
    clock.sleep(std::min(remaining, kLongestSlice));
  }
  return false;
}

}  // namespace quillard
