#include "companion/relay/cluster/ClusterRecords.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/RelayNames.h"
#include "foundation/HexText.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::string_view kPairing = "pairing/";
constexpr std::string_view kRevoked = "revoked/";
constexpr std::string_view kPush = "push/";
constexpr std::string_view kPushSecret = "vapid/secret";
constexpr std::string_view kHome = "home/";
constexpr std::string_view kRelay = "relay/";
constexpr JsonLimits kLimits{.bytes = 16'384, .depth = 8, .members = 64};
constexpr std::int64_t kLatest = std::int64_t{1} << 53;
constexpr std::size_t kLongestRun = 64;
constexpr std::size_t kLongestHost = 253;

std::string keyOf(std::string_view kind, std::string_view name) { return std::string(kind).append(name); }

std::optional<TokenHash> readHash(std::string_view text) {
  TokenHash hash{};
  if (text.size() != hash.size() * 2) return std::nullopt;
  for (std::size_t i = 0; i < hash.size(); ++i) {
    const auto byte = hexByte(text[2 * i], text[2 * i + 1]);
    if (!byte) return std::nullopt;
    hash[i] = *byte;
  }
  return hash;
}

// `read` makes the record with a JsonReader.
template <class Record, class Read>
std::optional<Record> readRecord(std::string_view value, Read read) {
  const auto parsed = parseStrictJson(value, kLimits);
  const auto* json = std::get_if<Json>(&parsed);
  if (!json || !json->is_object()) return std::nullopt;
  JsonReader reader{*json};
  std::optional<Record> record = read(reader);
  if (reader.error()) return std::nullopt;
  return record;
}

bool isRun(std::string_view text) {
  return !text.empty() && text.size() <= kLongestRun &&
         std::all_of(text.begin(), text.end(), [](char c) { return kHexDigits.find(c) != std::string_view::npos; });
}

bool isHost(std::string_view text) {
  return !text.empty() && text.size() <= kLongestHost && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
  });
}

// One member of a message and nothing beside it.
bool isSealedMember(const std::string& text) {
  const auto parsed = parseStrictJson("{" + text + "}", kLimits);
  const auto* json = std::get_if<Json>(&parsed);
  return json && json->size() == 1 && text.starts_with("\"encryptedSubscription\":{");
}

}  // namespace

std::string pairingKey(std::string_view pairingID) { return keyOf(kPairing, pairingID); }
std::string revokedKey(std::string_view pairingID) { return keyOf(kRevoked, pairingID); }
std::string pushKey(std::string_view pairingID, std::string_view deviceID) {
  return keyOf(kPush, pairingID).append("/").append(deviceID);
}
std::string pushSecretKey() { return std::string(kPushSecret); }
std::string homeKey(std::string_view pairingID) { return keyOf(kHome, pairingID); }
std::string relayKey(std::string_view relay) { return keyOf(kRelay, relay); }

ClusterName readKey(std::string_view key) {
  const auto slash = key.find('/');
  if (slash == std::string_view::npos) return OtherName{};
  const auto kind = key.substr(0, slash + 1);
  const auto name = key.substr(slash + 1);
  if (kind == kRelay && isRelayName(name)) return RelayName{std::string(name)};
  if (key == kPushSecret) return PushSecretName{};
  if (kind == kPush) {
    const auto second = std::min(name.find('/'), name.size());
    const auto device = name.substr(std::min(second + 1, name.size()));
    if (!isPairingID(name.substr(0, second)) || !isDeviceOrDecisionID(device)) return OtherName{};
    return PushName{std::string(name.substr(0, second)), std::string(device)};
  }
  if (!isPairingID(name)) return OtherName{};
  if (kind == kPairing) return PairingName{std::string(name)};
  if (kind == kRevoked) return RevokedName{std::string(name)};
  if (kind == kHome) return HomeName{std::string(name)};
  return OtherName{};
}

std::string valueOf(const PairingRecord& record) {
  Json json{{"token", hexText(record.token)}, {"lastUsed", record.lastUsed}, {"joined", record.isJoined}};
  if (record.computerKey) json["computer"] = hexText(*record.computerKey);
  return json.dump();
}

std::string valueOf(const TombstoneRecord& record) { return Json{{"at", record.at}}.dump(); }

std::string valueOf(const PushSubscription& record) {
  return Json{{"id", record.id},
              {"endpoint", record.endpoint},
              {"sealed", record.sealed},
              {"state", static_cast<int>(record.state)},
              {"at", record.at}}
      .dump();
}

std::string valueOf(const PushSecretRecord& record) { return Json{{"secret", hexText(record.secret)}}.dump(); }

std::string valueOf(const HomeRecord& record) { return Json{{"relay", record.relay}, {"run", record.run}}.dump(); }

std::string valueOf(const RelayRecord& record) {
  return Json{{"address", record.address}, {"run", record.run}, {"beat", record.beat}}.dump();
}

std::optional<PairingRecord> readPairingRecord(std::string_view value) {
  return readRecord<PairingRecord>(value, [](JsonReader& reader) -> std::optional<PairingRecord> {
    const auto token = readHash(reader.string("token"));
    PairingRecord record{.lastUsed = reader.integer("lastUsed", 0, kLatest), .isJoined = reader.boolean("joined")};
    const auto computer = reader.optionalString("computer");
    if (computer) record.computerKey = readHash(*computer);
    if (!token || (computer && !record.computerKey)) return std::nullopt;
    record.token = *token;
    return record;
  });
}

std::optional<TombstoneRecord> readTombstoneRecord(std::string_view value) {
  return readRecord<TombstoneRecord>(
      value, [](JsonReader& reader) { return TombstoneRecord{.at = reader.integer("at", 0, kLatest)}; });
}

std::optional<PushSubscription> readPushSubscription(std::string_view value, const std::string& deviceID) {
  return readRecord<PushSubscription>(value, [&](JsonReader& reader) -> std::optional<PushSubscription> {
    constexpr int kLastState = static_cast<int>(PushSubscription::State::expired);
    PushSubscription record{.deviceID = deviceID,
                            .id = reader.string("id"),
                            .endpoint = reader.string("endpoint"),
                            .sealed = reader.string("sealed")};
    record.state = static_cast<PushSubscription::State>(reader.integer("state", 0, kLastState));
    record.at = reader.integer("at", 0, kLatest);
    const bool isID = record.id.size() == 32 && record.id.find_first_not_of(kHexDigits) == std::string::npos;
    // It becomes a part of a message as it stands.
    const bool isGood = isID && (record.sealed.empty() || isSealedMember(record.sealed));
    return isGood ? std::optional(std::move(record)) : std::nullopt;
  });
}

std::optional<PushSecretRecord> readPushSecretRecord(std::string_view value) {
  return readRecord<PushSecretRecord>(value, [](JsonReader& reader) -> std::optional<PushSecretRecord> {
    const auto secret = readHash(reader.string("secret"));
    if (!secret) return std::nullopt;
    return PushSecretRecord{.secret = std::string(secret->begin(), secret->end())};
  });
}

std::optional<HomeRecord> readHomeRecord(std::string_view value) {
  return readRecord<HomeRecord>(value, [](JsonReader& reader) -> std::optional<HomeRecord> {
    HomeRecord record{.relay = reader.string("relay"), .run = reader.string("run")};
    if (!isRelayName(record.relay) || !isRun(record.run)) return std::nullopt;
    return record;
  });
}

std::optional<RelayRecord> readRelayRecord(std::string_view value) {
  return readRecord<RelayRecord>(value, [](JsonReader& reader) -> std::optional<RelayRecord> {
    RelayRecord record{
        .address = reader.string("address"), .run = reader.string("run"), .beat = reader.integer("beat", 0, kLatest)};
    if (!PeerAddress::parse(record.address) || !isRun(record.run)) return std::nullopt;
    return record;
  });
}

bool isRelayName(std::string_view text) {
  constexpr std::size_t kLongest = 64;
  return !text.empty() && text.size() <= kLongest && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
  });
}

std::optional<PeerAddress> PeerAddress::parse(std::string_view text) {
  const auto colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  auto host = text.substr(0, colon);
  const auto digits = text.substr(colon + 1);
  unsigned port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  const bool isPort = error == std::errc{} && end == digits.data() + digits.size() && port >= 1 &&
                      port <= std::numeric_limits<std::uint16_t>::max();
  const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isBracketed) host = host.substr(1, host.size() - 2);
  const bool isAddress =
      isBracketed ? host.find(':') != std::string_view::npos && IpAddress::parse(host) : isHost(host);
  if (!isPort || !isAddress) return std::nullopt;
  return PeerAddress{std::string(host), static_cast<std::uint16_t>(port)};
}

std::string PeerAddress::text() const {
  const bool isIpv6 = host.find(':') != std::string::npos;
  return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

}  // namespace quillard::relayserver
