#pragma once

#include <functional>
#include <memory>
#include <string>

#include "agent/ApprovalPress.h"
#include "agent/DecisionQueue.h"
#include "approvals/ApprovalStore.h"
#include "foundation/CallbackScope.h"
#include "foundation/Uuid.h"
#include "platform/process/Executors.h"
#include "relay/RelayCommands.h"

namespace quillard {

// What decisions are carried out on. The references outlive the runner.
struct DecisionRunnerDependencies {
  const ApprovalStore& store;
  std::unique_ptr<ApprovalPress> press;
  platform::SerialExecutor& mainThread;
};

// What comes of decisions, on the main thread. Neither is empty.
struct DecisionRunnerEvents {
  // The prompt was answered and went away.
  std::function<void(const Uuid& approvalID)> onAnswered;
  // What the phone is to be answered; exactly once for each decision that was received and not forgotten since.
  std::function<void(const std::string& decisionID, const ApprovalResultCommand& result)> onResult;
};

// Carries out what the phone decided, one decision after another, in the order in which they were received. A decision
// that is received again gets the outcome that it had, without a second press.
//
// A decision is: received -> waiting -> refused, or pressing -> accepted or failed. It is checked against the store and
// the desktop when its turn comes, not when it is received: what was true then may be over.
//
// States: idle, pressing, stopped. Main thread.
class DecisionRunner {
 public:
  DecisionRunner(DecisionRunnerDependencies dependencies, DecisionRunnerEvents events);
  // Stops, and waits for the press under way.
  ~DecisionRunner();
  DecisionRunner(const DecisionRunner&) = delete;
  DecisionRunner& operator=(const DecisionRunner&) = delete;

  // May block for the time that `ApprovalPress::begin` takes.
  void handleRelayApprovalRequest(const ApprovalRequestEnvelope& envelope);

  // Another pairing: those who decided have no say any more. What waits is dropped, the press under way is stopped, and
  // no result is reported for either; what was answered is forgotten.
  void forget();

  // Nothing is pressed and no result is reported afterwards.
  void stop();

 private:
  void carryOutNextDecision();
  void carryOut(const ApprovalRequestEnvelope& envelope);
  void pressEnded(const ApprovalRequestEnvelope& envelope, const std::optional<ClickError>& error);
  void finishDecision(const std::string& decisionID, const ApprovalResultCommand& result);

  const ApprovalStore& store;
  platform::SerialExecutor& mainThread;
  const DecisionRunnerEvents events;
  DecisionQueue decisions;
  bool isStopped = false;
  const std::unique_ptr<ApprovalPress> press;
  CallbackScope callbacks;  // Last.
};

}  // namespace quillard
