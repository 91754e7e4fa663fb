#include "agent/QuestionPress.h"

#include <utility>

namespace quillard {

std::optional<ClickError> QuestionPress::begin(const PendingApproval& approval, const std::string& buttonLabel,
                                               Completion completion) {
  if (!approval.isAsked) return desktop->begin(approval, buttonLabel, std::move(completion));
  const bool isAnswered = questions().answer(
      approval.id, buttonLabel, AnsweredBy::phone, scope.bind([completion = std::move(completion)](bool wasTaken) {
        completion(wasTaken ? std::nullopt : std::optional(ClickError::answerNotTaken));
      }));
  if (isAnswered) return std::nullopt;
  return ClickError::buttonNotFound;
}

}  // namespace quillard
