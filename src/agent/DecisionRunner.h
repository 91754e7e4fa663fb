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
#include "relay/ClockStamp.h"
#include "relay/RelayCommands.h"

namespace quillard {

// What decisions are carried out on. The references outlive the runner.
struct DecisionRunnerDependencies {
  const ApprovalStore& store;
  std::unique_ptr<ApprovalPress> press;
  platform::SerialExecutor& mainThread;
  const StampClock& clock;
  // Whether grants are refused for which the phone has not asked for its own lock.
  std::function<bool()> grantsNeedVerification = [] { return false; };
};

// What comes of decisions, on the main thread. None is empty.
struct DecisionRunnerEvents {
  // The prompt was answered and went away.
  std::function<void(const Uuid& approvalID)> onAnswered;
  // What the phone is to be answered: once for each decision that was received and not forgotten since, and once more
  // for each time that it is received after that.
  std::function<void(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result)> onResult;
  // The turn of a decision has come, and nothing was done about it yet: once.
  std::function<void(const ApprovalRequestEnvelope& decision)> onBegun = [](const auto&) {};
  // What became of a decision whose turn came: once, before `onResult`.
  std::function<void(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result)> onDecided =
      [](const auto&, const auto&) {};
};

// Carries out what the phone decided, one decision after another, in the order in which they were received. A decision
// that is received again gets the outcome that it had, without a second press; while it waits or is under way, that
// outcome is reported once, when it ends.
//
// A decision is: received -> waiting -> refused, or pressing -> accepted or failed. It is checked against the store and
// the desktop when its turn comes, not when it is received: what was true then may be over. So is its age, which is
// checked both times. A decision that says when it was made and comes too late is not remembered: nothing was done, and
// a phone that knows the agent's clock better by now may say so in another box. One that does not say it stays refused.
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

  // Another pairing: those who decided have no say any more. What waits is dropped, the press under way is taken back,
  // and no result is reported for either; what was answered is forgotten.
  void forget();
  // The same for those who decided by this pairing, see `ApprovalRequestEnvelope`.
  void forget(int pairing);

  // Nothing is pressed and no result is reported afterwards.
  void stop();

 private:
  [[nodiscard]] bool isTooLate(const ApprovalRequestEnvelope& envelope, DecisionQueue::Time receivedAt) const;
  void carryOutNextDecision();
  void carryOut(const ApprovalRequestEnvelope& envelope);
  void refuseAsTooLate(const ApprovalRequestEnvelope& envelope);
  void pressEnded(const ApprovalRequestEnvelope& envelope, const std::optional<ClickError>& error);
  void finishDecision(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result,
                      DecisionQueue::Memory memory = DecisionQueue::Memory::keep);

  const ApprovalStore& store;
  platform::SerialExecutor& mainThread;
  const StampClock& clock;
  const std::function<bool()> grantsNeedVerification;
  const DecisionRunnerEvents events;
  DecisionQueue decisions;
  bool isStopped = false;
  const std::unique_ptr<ApprovalPress> press;
  CallbackScope callbacks;  // Last.
};

}  // namespace quillard
