#pragma once

#include "platform/shell/StatusWindowView.h"
#include "status/MacStatusSnapshot.h"

// The five setting rows of the status window. Dots and symbols are green where all is well, amber where something is
// left to do, and in the colour of secondary text where there is nothing to say or do now. Functions of the snapshot.
namespace quillard::StatusRows {

[[nodiscard]] platform::StatusRowContent installLocationRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] platform::StatusRowContent accessibilityRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] platform::StatusRowContent loginItemRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] platform::StatusRowContent updateRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] platform::StatusRowContent notificationPauseRow(const MacStatusSnapshot& snapshot);

}  // namespace quillard::StatusRows
