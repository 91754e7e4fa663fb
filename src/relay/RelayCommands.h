#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "relay/ClockStamp.h"
#include "relay/PhoneReports.h"
#include "values/Time.h"

// The commands of phone and agent inside sealed payloads, which the relay cannot read.
namespace quillard {

// Longer labels are refused: no button on the screen has one.
inline constexpr std::size_t kLongestButtonLabel = 64 * 1024;

// Phone to agent: press this button of this prompt. The members after the first two are left out by phones that do not
// know them: decisions without a name can be told apart by their boxes only, and those without a time never grow too
// old.
struct ApprovalRequestCommand {
  Uuid approvalID;  // The `id` of a `PendingApproval`.
  std::string buttonLabel;
  std::optional<std::string> decisionID = std::nullopt;  // The same as in the message around the box.
  std::optional<ClockStamp> tappedAt = std::nullopt;  // When a person decided, at the earliest. Needs a `decisionID`.
  bool isUserVerified = false;  // The phone has asked for its own lock (a face, a finger, a code) for this decision.
  bool operator==(const ApprovalRequestCommand&) const = default;
};

// A year and a day.
inline constexpr std::int64_t kLongestSuppression = std::int64_t{366} * 86400;

inline constexpr std::string_view kSuppressAction = "suppress";
inline constexpr std::string_view kUnsuppressAction = "unsuppress";
inline constexpr std::string_view kRemovePhoneAction = "removePhone";
inline constexpr std::string_view kTestPushAction = "testPush";

// Phone to agent: mute this kind of prompt, or show it again; or take back a pairing that a phone joined which nobody
// expected there; or be sent a push. Agents and relays that do not know the latter two ignore them and pass them on.
struct ApprovalSuppressionCommand {
  std::string action;  // One of the four above; the agent ignores others.
  std::optional<Uuid> approvalID;
  Uuid suppressionID;  // The `suppressionID` of a `PendingApproval`; to remove a phone, its `NewPhone::id`.
  // How many seconds it is to last; 0: until somebody ends it. Absent, as phones leave it that do not know it: until
  // the agent ends.
  std::optional<std::int64_t> lasts = std::nullopt;
  std::optional<std::string> deviceID = std::nullopt;  // Of the phone that wants to be sent a push.
  // By which of this computer's identities it came. Not part of the JSON.
  int pairing = 1;
  bool operator==(const ApprovalSuppressionCommand&) const = default;
};

inline constexpr std::string_view kAcceptedStatus = "accepted";
inline constexpr std::string_view kFailedStatus = "failed";
inline constexpr std::string_view kNotFoundStatus = "not_found";
inline constexpr std::string_view kRequiresDirectAccessStatus = "requires_direct_access";

// `reason` of a result: the decision was refused because of its age, and nothing was tried.
inline constexpr std::string_view kTooLateReason = "tooLate";
// The same: this computer wants `isUserVerified` for a grant, and nothing was tried.
inline constexpr std::string_view kNotVerifiedReason = "notVerified";

// Agent to phone: what became of a decision. The last four members are ignored by phones that do not know them.
struct ApprovalResultCommand {
  Uuid approvalID;
  std::string buttonLabel;                               // The one that was asked for.
  std::string status;                                    // One of the four above.
  std::optional<std::string> error;                      // For people to read.
  std::optional<std::string> reason = std::nullopt;      // For programs, one of those above. Absent: none has a name.
  std::optional<std::string> decisionID = std::nullopt;  // The decision that it answers; filled in when it is sealed.
  std::optional<ClockStamp> clock = std::nullopt;        // When it was sealed.
  // The name of the phone that decided, for phones of other pairings. Absent: it is not known which of several it was.
  std::optional<std::string> decidedBy = std::nullopt;
  std::optional<LogHead> logHead = std::nullopt;  // The log's newest entry: this outcome's, or a later one.
  bool operator==(const ApprovalResultCommand&) const = default;
};

// A phone that joined a pairing which had its phone already: somebody else has the code.
struct NewPhone {
  Uuid id;               // To name it in a `kRemovePhoneAction`.
  std::string deviceID;  // What it calls itself at the relay; not for people.
  std::string name;
  std::string earlierName;  // Of the phone that was there first.
  Date since;
  bool operator==(const NewPhone&) const = default;
};
inline constexpr std::size_t kMostNewPhones = 8;

// What a phone that comes back is told besides. Absent: nothing is said of it.
struct MeetingReports {
  std::vector<NewPhone> newPhones{};
  std::optional<SuppressionReports> suppressions = std::nullopt;
  std::optional<LogExcerpt> log = std::nullopt;
  std::vector<PushReport> pushes{};  // Of the phones to which one was sent.
  bool operator==(const MeetingReports&) const = default;
};

// Agent to phone, when one comes online: what time it is on the agent's clock, and what it may have missed. Phones that
// know nothing of the reports read the time alone.
struct ClockCommand {
  ClockStamp clock;
  MeetingReports reports{};
  bool operator==(const ClockCommand&) const = default;
};

// Agent to phone, with the list: why it is empty, or what is not in it.
struct ComputerState {
  bool isPaused = false;                           // Phones are not told of prompts now, whether any wait or not.
  std::optional<Date> pausedUntil = std::nullopt;  // Only while paused. Absent: until somebody there ends the pause.
  bool grantsNeedVerification = false;             // A grant without `isUserVerified` is refused.
  std::optional<SuppressionReports> suppressions = std::nullopt;  // Absent: nothing is said of it.
  // States that differ in it are told to the phones even where the list is the same. Not part of the JSON.
  std::int64_t revision = 0;
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
