#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "companion/relay/PeerIntroduction.h"
#include "foundation/StrictJson.h"

// The messages that the relay knows. What goes on is written anew from the members that are known here, so that two
// readers cannot read two things in one message. What is sealed is not looked into.
namespace quillard::relayserver {

// The known members in their order, checked, ready to be written.
struct SnapshotMessage {
  Json json;
};
struct ResultMessage {
  std::string decisionID;
  Json json;
};
struct UnpairMessage {
  std::optional<std::string> deviceID;  // Absent: the whole pairing.
};
struct RequestMessage {
  std::string decisionID;
  Json json;
};
struct SuppressionMessage {
  std::string decisionID;
  Json json;
};
// A message of a kind that is not known, or not for this role to send: to be ignored.
struct UnknownMessage {};
// No message at all, or one that breaks its own rules.
struct NoMessage {};

using AgentMessage = std::variant<SnapshotMessage, ResultMessage, UnpairMessage, UnknownMessage, NoMessage>;
using PhoneMessage = std::variant<RequestMessage, SuppressionMessage, UnknownMessage, NoMessage>;

// `longest`: bytes.
[[nodiscard]] AgentMessage readAgentMessage(std::string_view text, std::size_t longest);
[[nodiscard]] PhoneMessage readPhoneMessage(std::string_view text, std::size_t longest);

// A phone as others see it.
struct PhoneDescription {
  std::string deviceID;
  std::string deviceName;
  std::optional<std::string> platform;
};

// The relay's own messages, as they are sent.
[[nodiscard]] std::string phoneStatusText(const std::vector<PhoneDescription>& phones);
// `heardSecondsAgo`: absent when nothing was heard yet.
[[nodiscard]] std::string macStatusText(bool isConnected, std::optional<long long> heardSecondsAgo);
enum class NotDelivered { macNotConnected, macBusy };
[[nodiscard]] std::string receiptText(const std::string& decisionID, std::optional<NotDelivered> reason);
// The agent's message, with the phone that had asked, where it is known.
[[nodiscard]] std::string resultText(ResultMessage message, const std::optional<PhoneDescription>& phone);
[[nodiscard]] std::string messageText(const Json& json);

}  // namespace quillard::relayserver
