#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "relay/ClockStamp.h"
#include "values/Time.h"

// The commands of phone and agent inside sealed payloads, which the relay cannot read.
namespace quillard {

// Longer labels are refused: no button on the screen has one.
inline constexpr std::size_t kLongestButtonLabel = 64 * 1024;

// Phone to agent: press this button of this prompt. The last two members are left out by phones that do not know them,
// whose decisions can be told apart by their boxes only, and never grow too old.
struct ApprovalRequestCommand {
  Uuid approvalID;  // The `id` of a `PendingApproval`.
  std::string buttonLabel;
  std::optional<std::string> decisionID = std::nullopt;  // The same as in the message around the box.
  std::optional<ClockStamp> tappedAt = std::nullopt;  // When a person decided, at the earliest. Needs a `decisionID`.
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

// `reason` of a result: the decision was refused because of its age, and nothing was tried.
inline constexpr std::string_view kTooLateReason = "tooLate";

// Agent to phone: what became of a decision. The last three members are ignored by phones that do not know them.
struct ApprovalResultCommand {
  Uuid approvalID;
  std::string buttonLabel;                               // The one that was asked for.
  std::string status;                                    // One of the four above.
  std::optional<std::string> error;                      // For people to read.
  std::optional<std::string> reason = std::nullopt;      // For programs: `kTooLateReason`. Absent: none has a name.
  std::optional<std::string> decisionID = std::nullopt;  // The decision that it answers; filled in when it is sealed.
  std::optional<ClockStamp> clock = std::nullopt;        // When it was sealed.
  bool operator==(const ApprovalResultCommand&) const = default;
};

// Agent to phone, by itself: what time it is on the agent's clock.
struct ClockCommand {
  ClockStamp clock;
  bool operator==(const ClockCommand&) const = default;
};

// Agent to phone, with a list that is empty because of it.
struct ComputerState {
  bool isPaused = false;                           // Phones are not told of prompts now, whether any wait or not.
  std::optional<Date> pausedUntil = std::nullopt;  // Only while paused. Absent: until somebody there ends the pause.
  bool operator==(const ComputerState&) const = default;
};

// An opened request, as the agent gets it. Never sent.
struct ApprovalRequestEnvelope {
  std::string decisionID;
  ApprovalRequestCommand command;
  std::optional<Date> issuedAt;
  // Equal for two deliveries of one sealed box, and for nothing else. Not part of the JSON. Empty: not known.
  std::string boxID = {};
  // By which of this computer's identities it came, see PairingConfiguration. Not part of the JSON.
  int pairing = 1;
  bool operator==(const ApprovalRequestEnvelope&) const = default;
};

[[nodiscard]] Json toJson(const ApprovalRequestCommand& command);
[[nodiscard]] Json toJson(const ApprovalSuppressionCommand& command);
[[nodiscard]] Json toJson(const ApprovalResultCommand& command);
[[nodiscard]] Json toJson(const ClockCommand& command);
[[nodiscard]] Json toJson(const ComputerState& state);
[[nodiscard]] Json toJson(const ApprovalRequestEnvelope& envelope);

// Reads one of the records above. Members in any order; unknown ones are ignored. Fails as a whole, naming the member
// that failed first.
template <class Record>
[[nodiscard]] std::variant<Record, JsonError> readRelayCommand(std::string_view text);

}  // namespace quillard
