#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The members of a message, as the relay finds them: for RoomMessages' own sources only. Views into the message.
namespace quillard::relayserver {

// A member as it was found. A null is a missing member.
struct MemberValue {
  enum class Kind { missing, string, number, truth, other };
  Kind kind = Kind::missing;
  std::string_view raw;
  bool isEscaped = false;
  bool isBase64 = false;
};

struct MemberPayload {
  bool isThere = false;
  MemberValue version;
  MemberValue nonce;
  MemberValue ciphertext;
};

// All members that some kind of message has. Of any other name: none.
struct MessageMembers {
  MemberValue type, observedAt, accessibilityTrusted, approvalCount, snapshotID, decisionID, issuedAt, deviceID;
  MemberValue endpoint, key, pushID, subscriptionID, body, ttl, urgency, topic, asleep;
  MemberPayload encryptedApprovals, encryptedState, encryptedClock, encryptedResult, encryptedRequest,
      encryptedSuppression, encryptedSubscription;

  MemberValue* value(std::string_view name) {
    if (name == "type") return &type;
    if (name == "observedAt") return &observedAt;
    if (name == "accessibilityTrusted") return &accessibilityTrusted;
    if (name == "approvalCount") return &approvalCount;
    if (name == "snapshotID") return &snapshotID;
    if (name == "decisionID") return &decisionID;
    if (name == "issuedAt") return &issuedAt;
    if (name == "deviceID") return &deviceID;
    if (name == "endpoint") return &endpoint;
    if (name == "key") return &key;
    if (name == "pushID") return &pushID;
    if (name == "subscriptionID") return &subscriptionID;
    if (name == "body") return &body;
    if (name == "ttl") return &ttl;
    if (name == "urgency") return &urgency;
    if (name == "topic") return &topic;
    if (name == "asleep") return &asleep;
    return nullptr;
  }
  MemberPayload* payload(std::string_view name) {
    if (name == "encryptedApprovals") return &encryptedApprovals;
    if (name == "encryptedState") return &encryptedState;
    if (name == "encryptedClock") return &encryptedClock;
    if (name == "encryptedResult") return &encryptedResult;
    if (name == "encryptedRequest") return &encryptedRequest;
    if (name == "encryptedSuppression") return &encryptedSuppression;
    if (name == "encryptedSubscription") return &encryptedSubscription;
    return nullptr;
  }
};

// Goes through the text once. Absent: it is no JSON object, or one that goes beyond the limits of RoomMessages.h.
// `longest`: bytes.
[[nodiscard]] std::optional<MessageMembers> readMembers(std::string_view text, std::size_t longest);

// The text of a string; absent: it is none. Texts without escapes, which is nearly all, are not copied.
class MemberText {
 public:
  explicit MemberText(const MemberValue& value);
  MemberText(const MemberText&) = delete;
  MemberText& operator=(const MemberText&) = delete;

  [[nodiscard]] std::string_view view() const { return raw; }
  const bool isThere;

 private:
  std::string unescaped;
  std::string_view raw;
};

// Also when it is written as 412.0. Absent: it is no such number.
[[nodiscard]] std::optional<std::int64_t> wholeNumber(const MemberValue& value, std::int64_t lowest,
                                                      std::int64_t highest);

}  // namespace quillard::relayserver
