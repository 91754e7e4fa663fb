#pragma once

#include <optional>
#include <unordered_set>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/Uuid.h"
#include "relay/RelayStatus.h"
#include "values/Time.h"

// Small decisions of the agent, as functions of what is known. No state; any thread.
namespace quillard::AgentRules {

// Those of `current` that were not announced yet, in order.
[[nodiscard]] std::vector<PendingApproval> approvalsToAnnounce(const std::vector<PendingApproval>& current,
                                                               const std::unordered_set<Uuid>& lastNotifiedIDs);
// What stays announced: whatever has left the list is forgotten, and announced again should it come back.
[[nodiscard]] std::unordered_set<Uuid> stillAnnounced(const std::unordered_set<Uuid>& lastNotifiedIDs,
                                                      const std::vector<PendingApproval>& current);

// How long to wait for the end of a pause: never less than half a second.
[[nodiscard]] Seconds resumeDelay(Date pausedUntil, Date now);

// Whether the news is that a phone came, or is another one: it has to be sent the list, whether or not that changed.
[[nodiscard]] bool phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now);

}  // namespace quillard::AgentRules
