#include "agent/AgentRules.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace quillard::AgentRules {
namespace {

constexpr Seconds kShortestResumeDelay{0.5};

bool isPhonePresent(const RelayConnectionStatus& status) {
  return status.phoneConnected || status.phoneCount > 0 || !status.phones.empty();
}

bool phonePartDiffers(const RelayConnectionStatus& one, const RelayConnectionStatus& other) {
  return one.phoneConnected != other.phoneConnected || one.phoneCount != other.phoneCount || one.phones != other.phones;
}

}  // namespace

std::vector<PendingApproval> approvalsToAnnounce(const std::vector<PendingApproval>& current,
                                                 const std::unordered_set<Uuid>& lastNotifiedIDs) {
  std::vector<PendingApproval> fresh;
  std::copy_if(current.begin(), current.end(), std::back_inserter(fresh),
               [&](const PendingApproval& approval) { return !lastNotifiedIDs.contains(approval.id); });
  return fresh;
}

std::unordered_set<Uuid> stillAnnounced(const std::unordered_set<Uuid>& lastNotifiedIDs,
                                        const std::vector<PendingApproval>& current) {
  std::unordered_set<Uuid> kept;
  for (const auto& approval : current) {
    if (lastNotifiedIDs.contains(approval.id)) kept.insert(approval.id);
  }
  return kept;
}

Seconds resumeDelay(Date pausedUntil, Date now) {
  if (pausedUntil <= now) return kShortestResumeDelay;
  // Unsigned, since moments may lie further apart than a signed difference can say.
  const auto microseconds = static_cast<std::uint64_t>(pausedUntil.time_since_epoch().count()) -
                            static_cast<std::uint64_t>(now.time_since_epoch().count());
  // Half a microsecond more, so that rounding never ends the wait before the pause.
  const Seconds left{(static_cast<double>(microseconds) + 0.5) / 1e6};
  return std::max(kShortestResumeDelay, left);
}

bool phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now) {
  return now.relayConnected && isPhonePresent(now) && phonePartDiffers(before, now);
}

}  // namespace quillard::AgentRules
