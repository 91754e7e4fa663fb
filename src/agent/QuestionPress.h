#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "agent/ApprovalPress.h"
#include "foundation/CallbackScope.h"
#include "foundation/Uuid.h"
#include "questions/Questions.h"

namespace quillard {

// Carries out decisions of both kinds: what a window asks is pressed by `desktop`, what a program asks is answered to
// it, and has succeeded when the program took the answer. An answer that is taken back before is void; one is not by
// `stop`, after which there may be no questions any more.
class QuestionPress final : public ApprovalPress {
 public:
  // `questions`: asked for when it is needed first.
  QuestionPress(std::unique_ptr<ApprovalPress> desktop, std::function<Questions&()> questions)
      : desktop(std::move(desktop)), questions(std::move(questions)) {}

  std::optional<ClickError> begin(const PendingApproval& approval, const std::string& buttonLabel,
                                  Completion completion) override;
  void stop() override { desktop->stop(); }
  void takeBack() override;

 private:
  const std::unique_ptr<ApprovalPress> desktop;
  const std::function<Questions&()> questions;
  std::optional<Uuid> answered;  // Until it is known whether the program took the answer.
  CallbackScope scope;           // Last.
};

}  // namespace quillard
