#include "agent/DecisionQueue.h"

#include <utility>

namespace quillard {

void DecisionQueue::add(ApprovalRequestEnvelope decision) { waiting.push_back(std::move(decision)); }

std::optional<ApprovalRequestEnvelope> DecisionQueue::begin() {
  if (underWay || waiting.empty()) return std::nullopt;
  auto decision = std::move(waiting.front());
  waiting.pop_front();
  underWay = UnderWay{.decisionID = decision.decisionID};
  return decision;
}

std::optional<ApprovalResultCommand> DecisionQueue::outcome(const std::string& decisionID) const {
  const auto known = outcomesByDecisionID.find(decisionID);
  return known == outcomesByDecisionID.end() ? std::nullopt : std::optional{known->second};
}

bool DecisionQueue::end(const ApprovalResultCommand& result) {
  const auto ended = std::exchange(underWay, std::nullopt);
  if (!ended || ended->isForgotten) return false;
  if (!outcomesByDecisionID.emplace(ended->decisionID, result).second) return true;
  decisionIDsByAge.push_back(ended->decisionID);
  if (decisionIDsByAge.size() > kRememberedOutcomes) {
    outcomesByDecisionID.erase(decisionIDsByAge.front());
    decisionIDsByAge.pop_front();
  }
  return true;
}

void DecisionQueue::forget() {
  waiting.clear();
  outcomesByDecisionID.clear();
  decisionIDsByAge.clear();
  if (underWay) underWay->isForgotten = true;
}

}  // namespace quillard
