#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "relay/EncryptedRelayPayload.h"
#include "relay/PushMessages.h"
#include "relay/RelayStatus.h"
#include "values/Time.h"

// What crosses the relay's WebSocket: one JSON object for each message, with its kind in "type". The relay can read
// these members only; what it must not read is sealed inside them.
namespace quillard {

inline constexpr std::string_view kMacSnapshotType = "mac.snapshot";
inline constexpr std::string_view kApprovalResultType = "approval.result";
inline constexpr std::string_view kMacClockType = "mac.clock";
inline constexpr std::string_view kUnpairPhoneType = "phone.unpair";
inline constexpr std::string_view kApprovalRequestType = "approval.request";
inline constexpr std::string_view kPhoneStatusType = "phone.status";
inline constexpr std::string_view kSuppressType = "approval.suppress";
inline constexpr std::string_view kUnsuppressType = "approval.unsuppress";

// Agent to relay: what waits for an answer now.
struct MacSnapshotRelayMessage {
  std::string type{kMacSnapshotType};
  Date observedAt;  // When this message was built.
  bool accessibilityTrusted = false;
  EncryptedRelayPayload encryptedApprovals;  // The list of `PendingApproval`, in the agent's order.
  std::int64_t approvalCount = 0;
  std::string snapshotID;  // The snapshot's signature: equal for lists that are the same to a phone.
  std::optional<EncryptedRelayPayload> encryptedState;  // A `ComputerState`. Absent: one with nothing to say.
  bool operator==(const MacSnapshotRelayMessage&) const = default;
};

// Agent to relay: what became of a decision.
struct ApprovalResultRelayMessage {
  std::string type{kApprovalResultType};
  std::string decisionID;                 // As it came in the request.
  EncryptedRelayPayload encryptedResult;  // An `ApprovalResultCommand`.
  Date issuedAt;
  bool operator==(const ApprovalResultRelayMessage&) const = default;
};

// Agent to relay, which passes it on to the phones that are connected, and does not store it.
struct MacClockRelayMessage {
  std::string type{kMacClockType};
  EncryptedRelayPayload encryptedClock;  // A `ClockCommand`.
  bool operator==(const MacClockRelayMessage&) const = default;
};

// Agent to relay.
struct UnpairPhoneRelayMessage {
  std::string type{kUnpairPhoneType};
  std::optional<std::string> deviceID;  // Absent: all phones of the pairing.
  Date issuedAt;
  bool operator==(const UnpairPhoneRelayMessage&) const = default;
};

// Relay to agent: a phone's decision.
struct ApprovalRequestRelayMessage {
  std::string type{kApprovalRequestType};
  std::string decisionID;                  // Opaque; the phone's choice.
  EncryptedRelayPayload encryptedRequest;  // An `ApprovalRequestCommand`.
  std::optional<Date> issuedAt;
  bool operator==(const ApprovalRequestRelayMessage&) const = default;
};

// Relay to agent, as "approval.suppress" or "approval.unsuppress": to the agent they are the same.
struct ApprovalSuppressionRelayMessage {
  std::string type{kSuppressType};
  std::string decisionID;
  EncryptedRelayPayload encryptedSuppression;  // An `ApprovalSuppressionCommand`, whose own action counts.
  std::optional<Date> issuedAt;
  bool operator==(const ApprovalSuppressionRelayMessage&) const = default;
};

// Relay to agent.
struct PhoneStatusRelayMessage {
  std::string type{kPhoneStatusType};
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::optional<std::vector<RelayPhoneStatus>> phones;
  bool operator==(const PhoneStatusRelayMessage&) const = default;
};

// What is read first of any message.
struct RelayMessageTypeProbe {
  std::string type;
  bool operator==(const RelayMessageTypeProbe&) const = default;
};

[[nodiscard]] Json toJson(const EncryptedRelayPayload& payload);
[[nodiscard]] Json toJson(const MacSnapshotRelayMessage& message);
[[nodiscard]] Json toJson(const ApprovalResultRelayMessage& message);
[[nodiscard]] Json toJson(const MacClockRelayMessage& message);
[[nodiscard]] Json toJson(const UnpairPhoneRelayMessage& message);
[[nodiscard]] Json toJson(const ApprovalRequestRelayMessage& message);
[[nodiscard]] Json toJson(const ApprovalSuppressionRelayMessage& message);
[[nodiscard]] Json toJson(const PhoneStatusRelayMessage& message);

// Reads one of the records above. Members in any order; unknown ones are ignored. Fails as a whole, naming the member
// that failed first.
template <class Record>
[[nodiscard]] std::variant<Record, JsonError> readRelayRecord(std::string_view text);

// A type that this agent does not know. Ignored, so that the relay can add types.
struct UnknownRelayMessage {
  bool operator==(const UnknownRelayMessage&) const = default;
};
using IncomingRelayMessage =
    std::variant<UnknownRelayMessage, ApprovalRequestRelayMessage, PhoneStatusRelayMessage,
                 ApprovalSuppressionRelayMessage, PushSubscriptionsRelayMessage, PushResultRelayMessage, JsonError>;

// Reads a frame from the relay: its type first, compared case-sensitively, then the record of that type.
[[nodiscard]] IncomingRelayMessage decodeIncomingRelayMessage(std::string_view frame);

}  // namespace quillard
