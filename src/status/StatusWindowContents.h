#pragma once

#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"

namespace quillard {

// All that the status window shows of a snapshot. A function of its argument; any thread.
[[nodiscard]] StatusWindowContent statusWindowContent(const MacStatusSnapshot& snapshot);

// Whether `pairAnotherButton` takes back the code instead: no phone is known, and one may have it all the same, as the
// list of phones is younger than pairings are, and may be lost.
[[nodiscard]] bool offersToRenewCode(const MacStatusSnapshot& snapshot);

}  // namespace quillard
