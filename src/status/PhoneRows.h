#pragma once

#include <string>
#include <vector>

#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"

// The phones that are paired with this computer, as rows of the status window. Functions of the snapshot.
namespace quillard::PhoneRows {

// One for each phone, `kMostPhoneRows` at most; where there are more, the last one says how many are left out.
[[nodiscard]] std::vector<StatusRowContent> rows(const MacStatusSnapshot& snapshot);

// What is asked before the phones of a pairing are unpaired, which is what the row's button does: all that share a code
// lose their access together. Absent: there is no such row.
struct UnpairQuestion {
  int pairing = 1;
  std::string question;
  std::string answer;  // Of the button that does it.
};
[[nodiscard]] std::optional<UnpairQuestion> unpairQuestion(const MacStatusSnapshot& snapshot, std::size_t row);

}  // namespace quillard::PhoneRows
