#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "relay/SnapshotRecords.h"
#include "values/Secret.h"

namespace quillard::simulation {

// One list as a phone reads it.
struct OpenedList {
  bool isOpen = false;      // The secret opened it.
  bool isReadable = false;  // And it is a list, with marks as they should be.
  std::vector<PendingApproval> approvals{};
  SnapshotMarks marks{};
};

// Opens the lists that the agent seals. Several phones and the judge get the same one, which is opened once. Keeps the
// newest few.
class OpenedLists {
 public:
  // Never null.
  std::shared_ptr<const OpenedList> open(const std::string& ciphertext, const Secret& secret);

 private:
  std::map<std::string, std::shared_ptr<const OpenedList>> kept;
};

}  // namespace quillard::simulation
