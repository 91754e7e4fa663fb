#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quillard::relayserver {

struct MessageMembers;
struct MalformedMessage;

// A phone can be woken at `endpoint`, which is a secret: whoever knows it can have the push service wake that phone.
struct PushSubscribeMessage {
  std::string endpoint;  // As it came: printable ASCII, nothing else is known of it.
  std::string key;       // The relay's, that the subscription was made with.
  std::string sealed;    // The member "encryptedSubscription" of a message, name and all.
  std::size_t sealedBytes = 0;
};
struct PushUnsubscribeMessage {};

struct PushSendMessage {
  std::string pushID;
  std::string deviceID;
  std::string subscriptionID;
  std::string body;  // Bytes.
  std::int64_t ttl = 0;
  std::string urgency;
  std::string topic;   // Empty: none.
  std::string from{};  // The agent's address; filled in by the rooms. Empty: not known.
  std::size_t sealedBytes = 0;
};

inline constexpr std::size_t kLongestPushEndpoint = 2048;
inline constexpr std::size_t kLongestSealedSubscription = 2048;
// Of a body that RFC 8291 and 8188 allow: a header with a key of 65 bytes, a delimiter and a tag; one record that every
// push service has to take.
inline constexpr std::size_t kShortestPushBody = 103;
inline constexpr std::size_t kLongestPushBody = 4096;
inline constexpr std::int64_t kLongestPushTtl = 86'400;

[[nodiscard]] std::variant<PushSubscribeMessage, MalformedMessage> readPushSubscribe(const MessageMembers& members);
[[nodiscard]] std::variant<PushSendMessage, MalformedMessage> readPushSend(const MessageMembers& members);

// The relay's own messages.
enum class PushRefusal { expired, subscribeAnew, otherKey, endpointNotAllowed, unsubscribed, notNow };
// `refusal` absent: the phone is subscribed.
[[nodiscard]] std::string pushSubscriptionText(std::optional<PushRefusal> refusal);

enum class PushStatus { accepted, replaced, gone, refused, unreachable };
// `reason` empty: there is none to be told. See docs/relay-protocol.md.
[[nodiscard]] std::string pushResultText(const std::string& pushID, const std::string& deviceID, PushStatus status,
                                         std::string_view reason);
[[nodiscard]] std::string_view pushStatusName(PushStatus status);

}  // namespace quillard::relayserver
