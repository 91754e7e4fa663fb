#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "values/Time.h"

// The commands of phone and agent inside sealed payloads, which the relay cannot read.
namespace quillard {

// Phone to agent: press this button of this prompt.
struct ApprovalRequestCommand {
  Uuid approvalID;  // The `id` of a `PendingApproval`.
  std::string buttonLabel;
  bool operator==(const ApprovalRequestCommand&) const = default;
};

inline constexpr std::string_view kSuppressAction = "suppress";
inline constexpr std::string_view kUnsuppressAction = "unsuppress";

// Phone to agent: mute this kind of prompt, or show it again.
struct ApprovalSuppressionCommand {
  std::string action;  // "suppress" or "unsuppress"; the agent ignores others.
  std::optional<Uuid> approvalID;
  Uuid suppressionID;  // The `suppressionID` of a `PendingApproval`.
  bool operator==(const ApprovalSuppressionCommand&) const = default;
};

inline constexpr std::string_view kAcceptedStatus = "accepted";
inline constexpr std::string_view kFailedStatus = "failed";
inline constexpr std::string_view kNotFoundStatus = "not_found";
inline constexpr std::string_view kRequiresDirectAccessStatus = "requires_direct_access";

// Agent to phone: what became of a decision.
struct ApprovalResultCommand {
  Uuid approvalID;
  std::string buttonLabel;           // The one that was asked for.
  std::string status;                // One of the four above.
  std::optional<std::string> error;  // For people to read.
  bool operator==(const ApprovalResultCommand&) const = default;
};

// An opened request, as the agent gets it. Never sent.
struct ApprovalRequestEnvelope {
  std::string decisionID;
  ApprovalRequestCommand command;
  std::optional<Date> issuedAt;
  bool operator==(const ApprovalRequestEnvelope&) const = default;
};

[[nodiscard]] Json toJson(const ApprovalRequestCommand& command);
[[nodiscard]] Json toJson(const ApprovalSuppressionCommand& command);
[[nodiscard]] Json toJson(const ApprovalResultCommand& command);
[[nodiscard]] Json toJson(const ApprovalRequestEnvelope& envelope);

// Reads one of the records above. Members in any order; unknown ones are ignored. Fails as a whole, naming the member
// that failed first.
template <class Record>
[[nodiscard]] std::variant<Record, JsonError> readRelayCommand(std::string_view text);

}  // namespace quillard
