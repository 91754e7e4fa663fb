#include <utility>

#include "agent/AppDelegate.h"
#include "agent/DecisionRules.h"

// What the phone decided, carried out one decision after another, and answered.
namespace quillard {

DialogFocusResolver& AppDelegate::focusResolver() {
  if (!madeFocusResolver) {
    madeFocusResolver = std::make_unique<DialogFocusResolver>(detector(), platform.accessibility, platform.workspace);
  }
  return *madeFocusResolver;
}

ApprovalClicker& AppDelegate::clicker() {
  if (!madeClicker) {
    madeClicker = std::make_unique<ApprovalClicker>(
        detector(), focusResolver(),
        ClickDependencies{platform.accessibility, platform.syntheticEvents, platform.clock}, platform.executors);
  }
  return *madeClicker;
}

void AppDelegate::handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope) {
  decisions.add(envelope);
  carryOutNextDecision();
}

// One a turn, since each may block it for a moment.
void AppDelegate::carryOutNextDecision() {
  if (isTerminating) return;
  const auto envelope = decisions.begin();
  if (!envelope) return;
  if (const auto known = decisions.outcome(envelope->decisionID)) {
    finishDecision(envelope->decisionID, *known, relayGeneration);
  } else {
    carryOut(*envelope);
  }
}

void AppDelegate::carryOut(const ApprovalRequestEnvelope& envelope) {
  const auto& command = envelope.command;
  const auto approval = store.approval(command.approvalID);
  if (approval && !DecisionRules::isBlocked(*approval, command.buttonLabel)) {
    if (const auto button = clicker().focusAndResolve(*approval, command.buttonLabel)) {
      click(envelope, *approval, *button);
      return;
    }
  }
  finishDecision(envelope.decisionID, DecisionRules::refusal(command, store.approval(command.approvalID)),
                 relayGeneration);
}

void AppDelegate::click(const ApprovalRequestEnvelope& envelope, const PendingApproval& approval,
                        const ResolvedDialogButton& button) {
  clicker().click(approval, envelope.command.buttonLabel, button,
                  [weak = weak_from_this(), envelope, generation = relayGeneration](std::optional<ClickError> error) {
                    const auto self = weak.lock();
                    if (!self || self->isTerminating) return;
                    if (!error) self->approvalWasAnswered(envelope.command.approvalID);
                    self->finishDecision(envelope.decisionID, DecisionRules::outcome(envelope.command, error),
                                         generation);
                  });
}

void AppDelegate::approvalWasAnswered(const Uuid& approvalID) {
  store.remove(approvalID);
  pendingApprovalsChanged();
  scheduleScan("approval-answered");
}

void AppDelegate::finishDecision(const std::string& decisionID, const ApprovalResultCommand& result,
                                 std::int64_t generation) {
  decisions.end(result);
  // A client of a later pairing would tell phones that never asked.
  if (relayClient && generation == relayGeneration) relayClient->publishResult(decisionID, result);
  platform.executors.mainThread().post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->carryOutNextDecision();
  });
}

}  // namespace quillard
