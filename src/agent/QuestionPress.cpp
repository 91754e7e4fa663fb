#include "agent/QuestionPress.h"

#include <utility>

namespace quillard {

std::optional<ClickError> QuestionPress::begin(const PendingApproval& approval, const std::string& buttonLabel,
                                               Completion completion) {
  if (!approval.isAsked) return desktop->begin(approval, buttonLabel, std::move(completion));
  const bool isAnswered =
      questions().answer(approval.id, buttonLabel, AnsweredBy::phone,
                         scope.bind([this, completion = std::move(completion)](bool wasTaken) {
                           answered.reset();
                           completion(wasTaken ? std::nullopt : std::optional(ClickError::answerNotTaken));
                         }));
  if (!isAnswered) return ClickError::buttonNotFound;
  answered = approval.id;
  return std::nullopt;
}

void QuestionPress::takeBack() {
  desktop->takeBack();
  if (answered) questions().takeBack(*answered);
}

}  // namespace quillard
