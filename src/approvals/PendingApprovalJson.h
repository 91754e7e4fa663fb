#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/StrictJson.h"

// The JSON form of the approval record: what the phone reads. Members stand in the order of the record's fields; absent
// optional fields are left out, never written as null. Dates and identities are written as their texts.
namespace quillard {

[[nodiscard]] Json toJson(const DialogFrame& frame);
[[nodiscard]] Json toJson(const DialogButton& button);
[[nodiscard]] Json toJson(const PendingApproval& approval);
[[nodiscard]] Json toJson(const std::vector<PendingApproval>& approvals);

// Compact text. Absent when a text of the record is no UTF-8.
[[nodiscard]] std::optional<std::string> pendingApprovalText(const PendingApproval& approval);
[[nodiscard]] std::optional<std::string> pendingApprovalsText(const std::vector<PendingApproval>& approvals);

// Members in any order; unknown members are ignored. A missing or null "suppressionID" becomes the `id`. Fails as a
// whole, naming the member that failed first.
[[nodiscard]] std::variant<PendingApproval, JsonError> readPendingApproval(std::string_view text);
[[nodiscard]] std::variant<std::vector<PendingApproval>, JsonError> readPendingApprovals(std::string_view text);

}  // namespace quillard
