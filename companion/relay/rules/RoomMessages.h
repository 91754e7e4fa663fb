#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "companion/relay/rules/PeerIntroduction.h"
#include "companion/relay/rules/PushMessages.h"

// The messages that the relay knows. A message is passed on by writing it anew from its known members, so that two
// parsers cannot read one message differently. It is gone through once; nothing is built of it but the text that goes
// on. Sealed content is not examined.
namespace quillard::relayserver {

// `text`: what is passed on, the known members in their order. `sealedBytes`: of what was read, nonce and ciphertext.
struct SnapshotMessage {
  std::string text;
  std::size_t sealedBytes = 0;
};
// What time it is on the agent's clock. Passed on, never kept.
struct ClockMessage {
  std::string text;
  std::size_t sealedBytes = 0;
};
struct ResultMessage {
  std::string decisionID;
  std::string text;
  std::size_t sealedBytes = 0;
};
struct UnpairMessage {
  std::optional<std::string> deviceID;  // Absent: the whole pairing.
};
struct RequestMessage {
  std::string decisionID;
  std::string text;
  std::size_t sealedBytes = 0;
};
struct SuppressionMessage {
  std::string_view type;  // A constant.
  std::string decisionID;
  std::string text;
  std::size_t sealedBytes = 0;
};
// Its page is hidden, so that nobody sees what is on it; or visible again.
struct AsleepMessage {
  bool isAsleep = false;
};
// A message of a kind that is not known, or not for this role to send: to be ignored.
struct UnknownMessage {};
// Not JSON, or a known kind whose members break its rules.
struct MalformedMessage {};

using AgentMessage = std::variant<SnapshotMessage, ClockMessage, ResultMessage, UnpairMessage, PushSendMessage,
                                  UnknownMessage, MalformedMessage>;
using PhoneMessage = std::variant<RequestMessage, SuppressionMessage, PushSubscribeMessage, PushUnsubscribeMessage,
                                  AsleepMessage, UnknownMessage, MalformedMessage>;

// What a message may hold, whether it is known or not: its size alone then says what reading it costs.
inline constexpr std::size_t kMostValuesOfAMessage = 1024;
inline constexpr std::size_t kMostMembersOfAMessage = 64;  // Of each object in it.
inline constexpr std::size_t kDeepestMessage = 8;          // Objects and lists inside one another.

// `longest`: bytes.
[[nodiscard]] AgentMessage readAgentMessage(std::string_view text, std::size_t longest);
[[nodiscard]] PhoneMessage readPhoneMessage(std::string_view text, std::size_t longest);

// A phone as others see it.
struct PhoneDescription {
  std::string deviceID;
  std::string deviceName;
  std::optional<std::string> platform;
  bool isAsleep = false;  // By its own word.
};

// The relay's own messages, as they are sent.
[[nodiscard]] std::string phoneStatusText(const std::vector<PhoneDescription>& phones);
// `connection`: of the agent, another number for each; absent when it is not connected. `secondsSinceReceived`: absent
// when the agent has sent nothing yet.
[[nodiscard]] std::string macStatusText(std::optional<std::uint64_t> connection,
                                        std::optional<long long> secondsSinceReceived);
enum class NotDelivered { macNotConnected, macBusy };
[[nodiscard]] std::string receiptText(const std::string& decisionID, std::optional<NotDelivered> reason);
// The agent's message, and the phone that sent the decision. Absent: it is not known any more.
[[nodiscard]] std::string resultText(ResultMessage message, const std::optional<PhoneDescription>& phone);

}  // namespace quillard::relayserver
