#include "agent/DecisionRunner.h"

#include <utility>

#include "agent/DecisionRules.h"

namespace quillard {

DecisionRunner::DecisionRunner(DecisionRunnerDependencies dependencies, DecisionRunnerEvents events)
    : store(dependencies.store),
      mainThread(dependencies.mainThread),
      events(std::move(events)),
      press(std::move(dependencies.press)) {}

DecisionRunner::~DecisionRunner() { stop(); }

void DecisionRunner::handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope) {
  decisions.add(envelope);
  carryOutNextDecision();
}

// One for each turn, since each may block it.
void DecisionRunner::carryOutNextDecision() {
  if (isStopped) return;
  const auto envelope = decisions.begin();
  if (!envelope) return;
  if (const auto known = decisions.outcome(envelope->decisionID)) {
    finishDecision(envelope->decisionID, *known);
  } else {
    carryOut(*envelope);
  }
}

void DecisionRunner::carryOut(const ApprovalRequestEnvelope& envelope) {
  const auto& command = envelope.command;
  const auto approval = store.approval(command.approvalID);
  std::optional refusal{ClickError::buttonNotFound};
  if (approval && !DecisionRules::isBlocked(*approval, command.buttonLabel)) {
    refusal = press->begin(
        *approval, command.buttonLabel,
        callbacks.bind([this, envelope](const std::optional<ClickError>& error) { pressEnded(envelope, error); }));
  }
  if (!refusal) return;
  finishDecision(envelope.decisionID, DecisionRules::refusal(command, store.approval(command.approvalID), *refusal));
}

void DecisionRunner::pressEnded(const ApprovalRequestEnvelope& envelope, const std::optional<ClickError>& error) {
  if (isStopped) return;
  if (!error) events.onAnswered(envelope.command.approvalID);
  finishDecision(envelope.decisionID, DecisionRules::outcome(envelope.command, error));
}

void DecisionRunner::finishDecision(const std::string& decisionID, const ApprovalResultCommand& result) {
  if (decisions.end(result)) events.onResult(decisionID, result);
  mainThread.post(callbacks.bind([this] { carryOutNextDecision(); }));
}

void DecisionRunner::forget() {
  decisions.forget();
  press->stop();
}

void DecisionRunner::stop() {
  isStopped = true;
  press->stop();
}

}  // namespace quillard
