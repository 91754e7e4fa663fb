#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "companion/relay/push/PushStore.h"
#include "companion/relay/rules/TokenHash.h"

// What the relays of a cluster keep in its store: keys such as "pairing/NAME", and values in JSON. Keys of other kinds
// are for later versions, and ignored; so are values that cannot be read.
namespace quillard::relayserver {

// pairing/NAME
struct PairingRecord {
  TokenHash token{};
  std::int64_t lastUsed = 0;  // Seconds since 1970.
  bool isJoined = false;
  std::optional<TokenHash> computerKey = std::nullopt;  // See PairingStore::Entry.
  bool operator==(const PairingRecord&) const = default;
};

// revoked/NAME
struct TombstoneRecord {
  std::int64_t at = 0;  // Seconds since 1970.
  bool operator==(const TombstoneRecord&) const = default;
};

// home/NAME: the relay that has the pairing's room. It counts while relay/RELAY names the same run.
struct HomeRecord {
  std::string relay;
  std::string run;
  bool operator==(const HomeRecord&) const = default;
};

// relay/NAME: a relay that lives, under its lease.
struct RelayRecord {
  std::string address;    // Where other relays reach it: "HOST:PORT".
  std::string run;        // Another one each time that the relay is started.
  std::int64_t beat = 0;  // Counts up for as long as it lives.
  bool operator==(const RelayRecord&) const = default;
};

// push/NAME/DEVICE holds a PushSubscription; vapid/secret the secret of the key by which push services know the
// cluster.
struct PushSecretRecord {
  std::string secret;  // Bytes.
  bool operator==(const PushSecretRecord&) const = default;
};

[[nodiscard]] std::string pairingKey(std::string_view pairingID);
[[nodiscard]] std::string revokedKey(std::string_view pairingID);
// `deviceID` empty: what all of the pairing's begin with.
[[nodiscard]] std::string pushKey(std::string_view pairingID, std::string_view deviceID = {});
[[nodiscard]] std::string pushSecretKey();
[[nodiscard]] std::string homeKey(std::string_view pairingID);
[[nodiscard]] std::string relayKey(std::string_view relay);

// What a key names.
struct PairingName {
  std::string pairingID;
};
struct RevokedName {
  std::string pairingID;
};
struct PushName {
  std::string pairingID;
  std::string deviceID;
};
struct PushSecretName {};
struct HomeName {
  std::string pairingID;
};
struct RelayName {
  std::string relay;
};
struct OtherName {};
using ClusterName = std::variant<OtherName, PairingName, RevokedName, PushName, PushSecretName, HomeName, RelayName>;
[[nodiscard]] ClusterName readKey(std::string_view key);

[[nodiscard]] std::string valueOf(const PairingRecord& record);
[[nodiscard]] std::string valueOf(const TombstoneRecord& record);
[[nodiscard]] std::string valueOf(const PushSubscription& record);
[[nodiscard]] std::string valueOf(const PushSecretRecord& record);
[[nodiscard]] std::string valueOf(const HomeRecord& record);
[[nodiscard]] std::string valueOf(const RelayRecord& record);

// Absent: it is no such record.
[[nodiscard]] std::optional<PairingRecord> readPairingRecord(std::string_view value);
[[nodiscard]] std::optional<TombstoneRecord> readTombstoneRecord(std::string_view value);
// `deviceID`: of its key.
[[nodiscard]] std::optional<PushSubscription> readPushSubscription(std::string_view value, const std::string& deviceID);
[[nodiscard]] std::optional<PushSecretRecord> readPushSecretRecord(std::string_view value);
[[nodiscard]] std::optional<HomeRecord> readHomeRecord(std::string_view value);
[[nodiscard]] std::optional<RelayRecord> readRelayRecord(std::string_view value);

// 1 to 64 of a-z 0-9 -: how the operator names a relay.
[[nodiscard]] bool isRelayName(std::string_view text);

// "relay-2.internal:8443", "10.0.0.2:8443", "[2001:db8::2]:8443".
struct PeerAddress {
  std::string host;  // Without brackets.
  std::uint16_t port = 0;
  [[nodiscard]] static std::optional<PeerAddress> parse(std::string_view text);
  // As it stands in a URL.
  [[nodiscard]] std::string text() const;
  bool operator==(const PeerAddress&) const = default;
};

}  // namespace quillard::relayserver
