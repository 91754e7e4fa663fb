#include "agent/DecisionRunner.h"

#include <utility>
#include <variant>

#include "agent/DecisionRules.h"

namespace quillard {

DecisionRunner::DecisionRunner(DecisionRunnerDependencies dependencies, DecisionRunnerEvents events)
    : store(dependencies.store),
      mainThread(dependencies.mainThread),
      clock(dependencies.clock),
      grantsNeedVerification(std::move(dependencies.grantsNeedVerification)),
      events(std::move(events)),
      press(std::move(dependencies.press)) {}

DecisionRunner::~DecisionRunner() { stop(); }

// What is known gets its old answer, however late it comes.
void DecisionRunner::handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope) {
  if (isStopped) return;
  const auto& command = envelope.command;
  const auto now = clock.now().time;
  auto arrival = decisions.known(envelope);
  if (!arrival && isTooLate(envelope, now)) {
    events.onResult(envelope, DecisionRules::tooLate(command));
    return;
  }
  if (!arrival) arrival = decisions.add(envelope, now);
  if (const auto* answered = std::get_if<DecisionQueue::Answered>(&*arrival)) {
    events.onResult(envelope, answered->result);
  } else if (std::holds_alternative<DecisionQueue::NameTaken>(*arrival)) {
    events.onResult(envelope, DecisionRules::nameTaken(command));
  } else if (std::holds_alternative<DecisionQueue::Full>(*arrival)) {
    events.onResult(envelope, DecisionRules::tooMany(command));
  } else {
    carryOutNextDecision();
  }
}

bool DecisionRunner::isTooLate(const ApprovalRequestEnvelope& envelope, DecisionQueue::Time receivedAt) const {
  return DecisionRules::isTooLate(envelope.command, receivedAt, clock);
}

// One for each turn, since each may block it.
void DecisionRunner::carryOutNextDecision() {
  if (isStopped) return;
  const auto next = decisions.begin();
  if (!next) return;
  events.onBegun(next->decision);
  if (isTooLate(next->decision, next->receivedAt)) {
    refuseAsTooLate(next->decision);
  } else {
    carryOut(next->decision);
  }
}

void DecisionRunner::refuseAsTooLate(const ApprovalRequestEnvelope& envelope) {
  finishDecision(envelope, DecisionRules::tooLate(envelope.command),
                 envelope.command.tappedAt ? DecisionQueue::Memory::forget : DecisionQueue::Memory::keep);
}

void DecisionRunner::carryOut(const ApprovalRequestEnvelope& envelope) {
  const auto& command = envelope.command;
  const auto approval = store.approval(command.approvalID);
  if (approval && !DecisionRules::isBlocked(*approval, command.buttonLabel) &&
      DecisionRules::lacksVerification(command, *approval, grantsNeedVerification())) {
    return finishDecision(envelope, DecisionRules::notVerified(command));
  }
  std::optional refusal{ClickError::buttonNotFound};
  if (approval && !DecisionRules::isBlocked(*approval, command.buttonLabel)) {
    refusal = press->begin(
        *approval, command.buttonLabel,
        callbacks.bind([this, envelope](const std::optional<ClickError>& error) { pressEnded(envelope, error); }));
  }
  if (!refusal) return;
  finishDecision(envelope, DecisionRules::refusal(command, store.approval(command.approvalID), *refusal));
}

void DecisionRunner::pressEnded(const ApprovalRequestEnvelope& envelope, const std::optional<ClickError>& error) {
  if (isStopped) return;
  if (!error) events.onAnswered(envelope.command.approvalID);
  finishDecision(envelope, DecisionRules::outcome(envelope.command, error));
}

void DecisionRunner::finishDecision(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result,
                                    DecisionQueue::Memory memory) {
  if (decisions.end(result, memory)) {
    events.onDecided(decision, result);
    events.onResult(decision, result);
  }
  mainThread.post(callbacks.bind([this] { carryOutNextDecision(); }));
}

void DecisionRunner::forget() {
  decisions.forget();
  press->takeBack();
}

void DecisionRunner::forget(int pairing) {
  if (decisions.forget(pairing)) press->takeBack();
}

void DecisionRunner::stop() {
  isStopped = true;
  press->stop();
}

}  // namespace quillard
