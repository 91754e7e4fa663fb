#include <optional>
#include <string>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard;
using fuzz::require;

namespace {

// The record that the text of `approval` reads as.
PendingApproval afterOneRound(const PendingApproval& approval) {
  const auto text = pendingApprovalText(approval);
  require(text.has_value(), "What was read can be written.");
  const auto outcome = readPendingApproval(*text);
  require(std::holds_alternative<PendingApproval>(outcome), "What was written reads.");
  return std::get<PendingApproval>(outcome);
}

}  // namespace

// What reads is written, and reads again as the same record; dates lose their fraction of a second on the way.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto outcome = readPendingApproval(fuzz::textOf(data, size));
  const auto* approval = std::get_if<PendingApproval>(&outcome);
  if (!approval) {
    require(!std::get<JsonError>(outcome).message.empty(), "A refusal says why.");
    return 0;
  }
  const auto once = afterOneRound(*approval);
  auto otherwise = once;
  otherwise.detectedAt = approval->detectedAt;
  require(otherwise == *approval, "Nothing but the date may change.");
  require(afterOneRound(once) == once, "A second round changes nothing at all.");
  require(std::hash<PendingApproval>{}(otherwise) == std::hash<PendingApproval>{}(*approval), "Equals hash alike.");
  return 0;
}
