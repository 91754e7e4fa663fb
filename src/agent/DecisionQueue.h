#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>

#include "relay/RelayCommands.h"

namespace quillard {

// The phone's decisions in the order in which they were received: waiting -> under way -> answered. One is under way at
// a time. What was answered is remembered, so that a decision that is delivered again, during or after the first time,
// gets the same answer without being carried out twice. Main thread.
class DecisionQueue {
 public:
  static constexpr std::size_t kRememberedOutcomes = 1024;

  void add(ApprovalRequestEnvelope decision);

  // The oldest that waits is under way from now on. Absent: one is under way already, or none waits.
  [[nodiscard]] std::optional<ApprovalRequestEnvelope> begin();

  // What this decision was answered before. Absent: it was not, or longer ago than the newest `kRememberedOutcomes`.
  [[nodiscard]] std::optional<ApprovalResultCommand> outcome(const std::string& decisionID) const;

  // The one under way has its answer, which is remembered. False: no caller waits for it any more, since everything was
  // forgotten after it began, or none was under way; it is not remembered then.
  [[nodiscard]] bool end(const ApprovalResultCommand& result);

  // Another pairing: what waits is dropped, and answers no longer count. The one under way still has to end.
  void forget();

 private:
  struct UnderWay {
    std::string decisionID;
    bool isForgotten = false;
  };

  std::deque<ApprovalRequestEnvelope> waiting;
  std::optional<UnderWay> underWay;
  std::unordered_map<std::string, ApprovalResultCommand> outcomesByDecisionID;
  std::deque<std::string> decisionIDsByAge;  // Oldest first; those of `outcomesByDecisionID`.
};

}  // namespace quillard
