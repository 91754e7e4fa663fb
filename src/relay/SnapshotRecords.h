#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/StrictJson.h"
#include "relay/ClockStamp.h"

// The list of approvals as a phone gets it. What is sealed is a plain list of records, for phones that know nothing
// else; what is to be said of the list as a whole is a further member of each of its records, which those phones
// ignore.
namespace quillard {

// What each record says of the list.
struct SnapshotMarks {
  // When the list was sealed. Absent: the agent does not say, so it takes decisions without a time.
  std::optional<ClockStamp> clock;
  // How many prompts wait on the screen, but are not in the list because it would be too long.
  std::size_t leftOut = 0;
  bool operator==(const SnapshotMarks&) const = default;
};

// How much longer a record becomes by its marks, at most; and how many prompts can be counted as left out.
inline constexpr std::size_t kLongestMarks = 128;
inline constexpr std::size_t kMostLeftOut = 1'000'000;

// A list without records bears no marks.
[[nodiscard]] Json snapshotRecords(const std::vector<PendingApproval>& approvals, const SnapshotMarks& marks);

// The marks of the first record; none for an empty list. Fails when they are not as they are written above.
[[nodiscard]] std::variant<SnapshotMarks, JsonError> readSnapshotMarks(std::string_view text);

}  // namespace quillard
