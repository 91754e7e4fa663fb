#pragma once

#include <vector>

#include "agent/PairedPhones.h"
#include "approvals/PendingApproval.h"
#include "approvals/SuppressionList.h"
#include "relay/PairingConfiguration.h"
#include "status/MacStatusSnapshot.h"
#include "values/Time.h"

// What the status window lists, made of what its owners keep. `now`: of the wall clock.
namespace quillard::StatusLines {

[[nodiscard]] std::vector<PhoneLine> phones(const std::vector<PairedPhone>& phones, Date now);
// One whose end has passed, and which was not ended yet, has no time left.
[[nodiscard]] std::vector<MutedKind> muted(const std::vector<Suppression>& suppressions, Date now);
// Of what waits, that which programs ask.
[[nodiscard]] std::vector<WaitingQuestion> questions(const std::vector<PendingApproval>& waiting);
// Without an address when no relay is configured; one that is no URL is shown as far as it can be printed.
[[nodiscard]] RelayChoice relay(PairingConfiguration& configuration);

}  // namespace quillard::StatusLines
