#include "agent/DecisionArrivals.h"

#include <algorithm>
#include <utility>

namespace quillard {

void DecisionArrivals::note(const ApprovalRequestEnvelope& decision, std::vector<std::string> present) {
  if (arrivals.size() >= kMost) arrivals.pop_front();
  arrivals.push_back({decision.pairing, decision.decisionID, std::move(present)});
}

std::vector<std::string> DecisionArrivals::presentAt(const ApprovalRequestEnvelope& decision) const {
  const auto found = std::find_if(arrivals.begin(), arrivals.end(), [&](const Arrival& one) {
    return one.pairing == decision.pairing && one.decisionID == decision.decisionID;
  });
  return found == arrivals.end() ? std::vector<std::string>{} : found->present;
}

}  // namespace quillard
