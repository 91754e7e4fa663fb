#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"

namespace quillard {

// A list of approvals that one relay message can carry.
struct TrimmedSnapshot {
  std::vector<PendingApproval> approvals;
  std::size_t shortened = 0;  // How many of these show less than was read.
  std::size_t leftOut = 0;    // How many are missing.

  [[nodiscard]] bool isWhole() const { return shortened == 0 && leftOut == 0; }
  // For a diagnostic line; holds nothing that a prompt says.
  [[nodiscard]] std::string description() const;
};

// Sealed, written as base64 and put into its message, a list of this length in JSON, marks included, stays well below
// the 1 MiB that the relay takes.
inline constexpr std::size_t kLongestSnapshotText = 700 * 1024;
// How much of a prompt's lines, and of its reason, is kept when not everything fits. Bytes of UTF-8, each.
inline constexpr std::size_t kShortenedText = 8 * 1024;
// What a phone reads: approvals in a list, lines and buttons of an approval, bytes of a label.
inline constexpr std::size_t kMostApprovals = 1000;
inline constexpr std::size_t kMostLines = 1000;
inline constexpr std::size_t kMostButtons = 200;
inline constexpr std::size_t kLongestLabel = 10'000;

// `approvals`, oldest first, as they are whenever they fit. Otherwise lines and reasons are cut, each cut marked with
// an ellipsis; and when that is not enough, the largest are left out, one after another, until the rest fits: whoever
// opens a huge prompt must not hide a small one. Of prompts of one size the newest goes first. The order stays.
//
// Titles and labels are never changed, since decisions go by them. So a prompt with more buttons or longer labels than
// a phone reads is shown without any button, as one that is answered at the computer. The same goes for the smallest
// prompt of a list of which nothing fits: a phone never gets an empty list while something waits.
[[nodiscard]] TrimmedSnapshot trimmedSnapshot(std::vector<PendingApproval> approvals,
                                              std::size_t longestText = kLongestSnapshotText);

}  // namespace quillard
