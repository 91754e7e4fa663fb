#include "companion/relay/rules/RoomMessages.h"

#include <algorithm>
#include <limits>

#include "companion/relay/rules/RelayNames.h"
#include "foundation/BrokenPromise.h"
#include "foundation/IsoDate.h"

namespace quillard::relayserver {
namespace {

// No message that is known here goes deeper than an object in an object.
constexpr JsonLimits kShape{.depth = 8, .members = 64};
constexpr std::size_t kLongestDate = 40;
constexpr std::size_t kLongestNonce = 64;
constexpr std::size_t kLongestSnapshotID = 128;
constexpr std::int64_t kMostApprovals = 1'000'000;

bool isBase64Character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/' || c == '=';
}

// The characters, not what they mean: the ends check that.
std::string base64(JsonReader& reader, std::string_view name, std::size_t longest) {
  std::string text = reader.string(name);
  if (text.size() > longest || !std::all_of(text.begin(), text.end(), isBase64Character)) {
    reader.failAt(name, "Expected base64.");
  }
  return text;
}

Json payload(JsonReader& reader, std::string_view name) {
  return reader.object(name, [](JsonReader& sealed) {
    Json json = Json::object();
    json["version"] = sealed.integer("version", 0, std::numeric_limits<std::int32_t>::max());
    json["nonce"] = base64(sealed, "nonce", kLongestNonce);
    json["ciphertext"] = base64(sealed, "ciphertext", std::numeric_limits<std::size_t>::max());
    return json;
  });
}

std::string decisionID(JsonReader& reader) {
  std::string text = reader.string("decisionID");
  if (!isDeviceOrDecisionID(text)) reader.failAt("decisionID", "Expected an identifier.");
  return text;
}

// As it was written.
std::string date(JsonReader& reader, std::string_view name) {
  std::string text = reader.string(name);
  if (text.size() > kLongestDate || !quillardISO8601(text)) reader.failAt(name, kExpectedIsoDate);
  return text;
}

std::string snapshotID(JsonReader& reader) {
  std::string text = reader.string("snapshotID");
  const auto isPlain = [](char c) { return c > ' ' && c < '\x7F'; };
  if (text.size() > kLongestSnapshotID || !std::all_of(text.begin(), text.end(), isPlain)) {
    reader.failAt("snapshotID", "Expected an identifier.");
  }
  return text;
}

SnapshotMessage readSnapshot(JsonReader& reader) {
  Json json = {{"type", "mac.snapshot"}};
  json["observedAt"] = date(reader, "observedAt");
  json["accessibilityTrusted"] = reader.boolean("accessibilityTrusted");
  json["encryptedApprovals"] = payload(reader, "encryptedApprovals");
  json["approvalCount"] = reader.integer("approvalCount", 0, kMostApprovals);
  json["snapshotID"] = snapshotID(reader);
  return {std::move(json)};
}

ClockMessage readClock(JsonReader& reader) {
  Json json = {{"type", "mac.clock"}};
  json["encryptedClock"] = payload(reader, "encryptedClock");
  return {std::move(json)};
}

ResultMessage readResult(JsonReader& reader) {
  ResultMessage message{.decisionID = decisionID(reader), .json = {{"type", "approval.result"}}};
  message.json["decisionID"] = message.decisionID;
  message.json["encryptedResult"] = payload(reader, "encryptedResult");
  message.json["issuedAt"] = date(reader, "issuedAt");
  return message;
}

UnpairMessage readUnpair(JsonReader& reader) {
  UnpairMessage message{.deviceID = reader.optionalString("deviceID")};
  if (message.deviceID && !isDeviceOrDecisionID(*message.deviceID)) {
    reader.failAt("deviceID", "Expected an identifier.");
  }
  (void)date(reader, "issuedAt");
  return message;
}

template <class Message>
Message readFromPhone(JsonReader& reader, const std::string& type, std::string_view sealedName) {
  Message message{.decisionID = decisionID(reader), .json = {{"type", type}}};
  message.json["decisionID"] = message.decisionID;
  message.json[std::string(sealedName)] = payload(reader, sealedName);
  if (reader.member("issuedAt")) message.json["issuedAt"] = date(reader, "issuedAt");
  return message;
}

// `read(reader, type)` where the text is a message; its failures make it none.
template <class Message, class Read>
Message readMessage(std::string_view text, std::size_t longest, Read read) {
  auto limits = kShape;
  limits.bytes = longest;
  const auto parsed = parseStrictJson(text, limits);
  const auto* json = std::get_if<Json>(&parsed);
  if (!json) return MalformedMessage{};
  JsonReader reader{*json};
  const std::string type = reader.string("type");
  if (reader.error()) return MalformedMessage{};
  Message message = read(reader, type);
  if (reader.error()) return MalformedMessage{};
  return message;
}

Json describe(const PhoneDescription& phone) {
  Json json = {{"deviceID", phone.deviceID}, {"deviceName", phone.deviceName}};
  if (phone.platform) json["platform"] = *phone.platform;
  return json;
}

}  // namespace

AgentMessage readAgentMessage(std::string_view text, std::size_t longest) {
  return readMessage<AgentMessage>(text, longest, [](JsonReader& reader, const std::string& type) -> AgentMessage {
    if (type == "mac.snapshot") return readSnapshot(reader);
    if (type == "mac.clock") return readClock(reader);
    if (type == "approval.result") return readResult(reader);
    if (type == "phone.unpair") return readUnpair(reader);
    return UnknownMessage{};
  });
}

PhoneMessage readPhoneMessage(std::string_view text, std::size_t longest) {
  return readMessage<PhoneMessage>(text, longest, [](JsonReader& reader, const std::string& type) -> PhoneMessage {
    if (type == "approval.request") return readFromPhone<RequestMessage>(reader, type, "encryptedRequest");
    if (type == "approval.suppress" || type == "approval.unsuppress") {
      return readFromPhone<SuppressionMessage>(reader, type, "encryptedSuppression");
    }
    return UnknownMessage{};
  });
}

std::string messageText(const Json& json) {
  auto text = jsonText(json);
  if (!text) stopForBrokenPromise("What was read as UTF-8 can be written as such.");
  return std::move(*text);
}

std::string phoneStatusText(const std::vector<PhoneDescription>& phones) {
  Json list = Json::array();
  for (const auto& phone : phones) {
    list.push_back(describe(phone));
    list.back()["connected"] = true;
  }
  return messageText({{"type", "phone.status"},
                      {"phoneConnected", !phones.empty()},
                      {"phoneCount", phones.size()},
                      {"phones", std::move(list)}});
}

std::string macStatusText(bool isConnected, std::optional<long long> secondsSinceReceived) {
  Json json = {{"type", "mac.status"}, {"macConnected", isConnected}};
  if (secondsSinceReceived) json["heardSecondsAgo"] = *secondsSinceReceived;
  return messageText(json);
}

std::string receiptText(const std::string& decisionID, std::optional<NotDelivered> reason) {
  Json json = {{"type", "relay.receipt"}, {"decisionID", decisionID}, {"delivered", !reason}};
  if (reason) json["reason"] = *reason == NotDelivered::macBusy ? "macBusy" : "macNotConnected";
  return messageText(json);
}

std::string resultText(ResultMessage message, const std::optional<PhoneDescription>& phone) {
  if (phone) message.json["phone"] = {{"deviceID", phone->deviceID}, {"deviceName", phone->deviceName}};
  return messageText(message.json);
}

}  // namespace quillard::relayserver
