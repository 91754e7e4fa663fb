#pragma once

#include <optional>
#include <string>

#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"

// The five setting rows of the status window, and the one for what programs ask. Dots and symbols are green where all
// is well, amber where something is left to do, and in the colour of secondary text where there is nothing to say or do
// now. Functions of the snapshot.
namespace quillard::StatusRows {

[[nodiscard]] StatusRowContent installLocationRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRowContent accessibilityRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRowContent loginItemRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRowContent updateRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] StatusRowContent notificationPauseRow(const MacStatusSnapshot& snapshot);
// A sixth row, only while there is something to say of programs. Absent: there is not.
[[nodiscard]] std::optional<StatusRowContent> programsRow(const MacStatusSnapshot& snapshot);
// A seventh, only while something is muted; and what its menu calls a kind of prompt.
[[nodiscard]] std::optional<StatusRowContent> mutedRow(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string mutedName(const MutedKind& kind, const UserTexts& say = {});

// The relay that is used and who names it, with a button where another one can be set. Absent: nothing is said of it.
[[nodiscard]] std::optional<StatusRowContent> relayRow(const MacStatusSnapshot& snapshot);

// What a program asks, the oldest question first. Absent: none waits.
[[nodiscard]] std::optional<StatusRowContent> questionRow(const MacStatusSnapshot& snapshot);

}  // namespace quillard::StatusRows
