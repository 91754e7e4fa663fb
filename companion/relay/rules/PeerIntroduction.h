#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companion/relay/rules/RequestTarget.h"

// How the two ends introduce themselves when they ask for a WebSocket.
namespace quillard::relayserver {

enum class Role { agent, phone };

// What a client says it is. The fields about the device are set for a phone only.
struct PeerIntroduction {
  Role role = Role::agent;
  std::string pairingID;
  std::string deviceID;
  std::string deviceName;  // Never in the log.
  std::optional<std::string> platform;
  bool operator==(const PeerIntroduction&) const = default;
};

// Absent when anything is missing, malformed or stands twice. Unknown items are ignored.
[[nodiscard]] std::optional<PeerIntroduction> readIntroduction(const std::vector<QueryItem>& query);

// The phone that a request is about. Absent when it is malformed or stands twice; empty when no phone is named.
[[nodiscard]] std::optional<std::string> readAskingPhone(const std::vector<QueryItem>& query);

// The token that a request carries, and whether it offered the subprotocol that the relay speaks.
struct OfferedToken {
  enum class Kind { none, malformed, given };
  Kind kind = Kind::none;
  std::string token;
  bool offersProtocol = false;
};

inline constexpr std::string_view kSubprotocol = "quillard.v1";

// `authorization` and `subprotocols` hold the values of all headers of those names. Two tokens that differ are
// malformed.
[[nodiscard]] OfferedToken readToken(const std::vector<std::string>& authorization,
                                     const std::vector<std::string>& subprotocols);

}  // namespace quillard::relayserver
