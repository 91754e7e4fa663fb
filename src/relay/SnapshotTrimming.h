#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"

namespace quillard {

// A list of approvals that one relay message can carry.
struct TrimmedSnapshot {
  std::vector<PendingApproval> approvals;
  std::size_t shortened = 0;  // How many of these show less of their text than was read.
  std::size_t leftOut = 0;    // How many are missing, the oldest of all.

  [[nodiscard]] bool isWhole() const { return shortened == 0 && leftOut == 0; }
  // For a diagnostic line; holds nothing that a prompt says.
  [[nodiscard]] std::string description() const;
};

// Sealed, written as base64 and put into its message, a list of this length in JSON stays well below the 1 MiB that the
// relay takes.
inline constexpr std::size_t kLongestSnapshotText = 700 * 1024;
// How much of a prompt's lines, and of its reason, is kept when not everything fits. Bytes of UTF-8, each.
inline constexpr std::size_t kShortenedText = 8 * 1024;

// `approvals`, oldest first, as they are whenever they fit. Otherwise lines and reasons are cut, each cut marked with
// an ellipsis; and when that is not enough, the oldest are left out until the rest fits. Titles and labels are never
// changed, since decisions go by them.
[[nodiscard]] TrimmedSnapshot trimmedSnapshot(std::vector<PendingApproval> approvals,
                                              std::size_t longestText = kLongestSnapshotText);

}  // namespace quillard
