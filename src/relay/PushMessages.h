#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "foundation/UserTexts.h"
#include "relay/EncryptedRelayPayload.h"
#include "values/Secret.h"
#include "values/Time.h"

// What agent and relay say to each other about phones that are woken: see docs/relay-protocol.md. The relay knows where
// a phone can be reached, and never its keys; the agent has the keys, and never learns where.
namespace quillard {

inline constexpr std::string_view kPushSubscriptionsType = "push.subscriptions";
inline constexpr std::string_view kPushResultType = "push.result";
inline constexpr std::string_view kPushSendType = "push.send";

// A relay that says more is not believed: the rest is left out.
inline constexpr std::size_t kMostSubscriptions = 8;

// Relay to agent: one phone of the pairing that can be woken.
struct PushSubscriptionRecord {
  std::string deviceID;
  std::string subscriptionID;
  EncryptedRelayPayload encryptedSubscription;  // A `SubscriptionCommand`.
  bool isRefused = false;                       // The push service refused the relay the last time.
  bool operator==(const PushSubscriptionRecord&) const = default;
};

// Relay to agent: all of them, in the place of what it said before.
struct PushSubscriptionsRelayMessage {
  std::vector<PushSubscriptionRecord> subscriptions;
  bool operator==(const PushSubscriptionsRelayMessage&) const = default;
};

enum class PushStatus { accepted, replaced, gone, refused, unreachable };
[[nodiscard]] std::string_view nameOf(PushStatus status);

// Relay to agent: what became of a push.
struct PushResultRelayMessage {
  std::string pushID;
  std::string deviceID;
  PushStatus status = PushStatus::unreachable;
  std::string reason{};  // For programs; empty: there is none, or it is no plain word.
  bool operator==(const PushResultRelayMessage&) const = default;
};

// Agent to relay.
struct PushSendRelayMessage {
  std::string pushID;
  std::string deviceID;
  std::string subscriptionID;
  std::string body;  // Base64 of what was encrypted for that phone.
  std::int64_t ttl = 0;
  std::string topic;
  bool operator==(const PushSendRelayMessage&) const = default;
};

// The keys for which a phone's browser wants its pushes encrypted (RFC 8291).
struct PushKeys {
  static constexpr std::size_t kPoint = 65;
  static constexpr std::size_t kAuth = 16;
  std::array<std::uint8_t, kPoint>
      p256dh{};   // An uncompressed point: begins with 4. Whether it is on the curve: later.
  Secret auth{};  // `kAuth` bytes.
  bool operator==(const PushKeys&) const = default;
};

// What may stand on a phone's lock screen.
enum class PushContent {
  prompt,    // Who asks, and what.
  computer,  // Only that something waits there.
};

// 2^53 - 1: what every reader of JSON takes for the same number.
inline constexpr std::int64_t kLatestSequence = 9'007'199'254'740'991;

// Phone to agent, sealed: how it is woken.
struct SubscriptionCommand {
  std::string deviceID;
  PushKeys keys;
  std::string keyText{};  // `p256dh` as it came, by which the phone knows itself.
  std::string page{};     // Of the phone: an address without fragment. Empty: the relay's own.
  PushContent content = PushContent::prompt;
  std::string computer{};                 // What the phone calls this computer. Empty: nothing.
  Language language = Language::english;  // Of its page.
  // Greater than that of each box that this phone sealed before. 0: its page is an older one, which does not count.
  std::int64_t sequence = 0;
  bool operator==(const SubscriptionCommand&) const = default;
};

// One phone that can be woken, opened. Never sent, and never printed.
struct PhoneSubscription {
  std::string subscriptionID;
  SubscriptionCommand command;
  bool isRefused = false;
  bool operator==(const PhoneSubscription&) const = default;
};

[[nodiscard]] Json toJson(const PushSendRelayMessage& message);

// Each fails as a whole, naming the member that failed first.
[[nodiscard]] std::variant<PushSubscriptionsRelayMessage, JsonError> readPushSubscriptions(const Json& json);
[[nodiscard]] std::variant<PushResultRelayMessage, JsonError> readPushResult(const Json& json);
// `text` holds a secret, which its owner wipes afterwards.
[[nodiscard]] std::variant<SubscriptionCommand, JsonError> readSubscription(std::string_view text);

}  // namespace quillard
