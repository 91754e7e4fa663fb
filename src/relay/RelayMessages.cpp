#include "relay/RelayMessages.h"

#include <cstdint>
#include <utility>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

void addDate(Json& json, const char* name, const std::optional<Date>& date) {
  if (date) json[name] = isoDateText(*date);
}

Json toJson(const RelayPhoneStatus& phone) {
  Json json{{"deviceID", phone.deviceID}, {"deviceName", phone.deviceName}};
  if (phone.platform) json["platform"] = *phone.platform;
  if (phone.connected) json["connected"] = *phone.connected;
  if (phone.isAsleep) json["asleep"] = true;
  return json;
}

// ---- One `readMembers` for each record.

EncryptedRelayPayload readPayload(JsonReader& reader) {
  return {reader.integer("version", INT64_MIN, INT64_MAX), reader.string("nonce"), reader.string("ciphertext")};
}

RelayPhoneStatus readPhone(JsonReader& reader) {
  return {reader.string("deviceID"), reader.string("deviceName"), reader.optionalString("platform"),
          reader.optionalBoolean("connected"), reader.optionalBoolean("asleep").value_or(false)};
}

void readMembers(JsonReader& reader, EncryptedRelayPayload& payload) { payload = readPayload(reader); }

void readMembers(JsonReader& reader, RelayMessageTypeProbe& probe) { probe.type = reader.string("type"); }

void readMembers(JsonReader& reader, MacSnapshotRelayMessage& message) {
  message.type = reader.string("type");
  message.observedAt = reader.date("observedAt");
  message.accessibilityTrusted = reader.boolean("accessibilityTrusted");
  message.encryptedApprovals = reader.object("encryptedApprovals", readPayload);
  message.approvalCount = reader.integer("approvalCount", INT64_MIN, INT64_MAX);
  message.snapshotID = reader.string("snapshotID");
  if (reader.member("encryptedState")) message.encryptedState = reader.object("encryptedState", readPayload);
}

void readMembers(JsonReader& reader, ApprovalResultRelayMessage& message) {
  message.type = reader.string("type");
  message.decisionID = reader.string("decisionID");
  message.encryptedResult = reader.object("encryptedResult", readPayload);
  message.issuedAt = reader.date("issuedAt");
}

void readMembers(JsonReader& reader, MacClockRelayMessage& message) {
  message.type = reader.string("type");
  message.encryptedClock = reader.object("encryptedClock", readPayload);
}

void readMembers(JsonReader& reader, UnpairPhoneRelayMessage& message) {
  message.type = reader.string("type");
  message.deviceID = reader.optionalString("deviceID");
  message.issuedAt = reader.date("issuedAt");
}

void readMembers(JsonReader& reader, ApprovalRequestRelayMessage& message) {
  message.type = reader.string("type");
  message.decisionID = reader.string("decisionID");
  message.encryptedRequest = reader.object("encryptedRequest", readPayload);
  message.issuedAt = reader.optionalDate("issuedAt");
}

void readMembers(JsonReader& reader, ApprovalSuppressionRelayMessage& message) {
  message.type = reader.string("type");
  message.decisionID = reader.string("decisionID");
  message.encryptedSuppression = reader.object("encryptedSuppression", readPayload);
  message.issuedAt = reader.optionalDate("issuedAt");
}

void readMembers(JsonReader& reader, PhoneStatusRelayMessage& message) {
  message.type = reader.string("type");
  message.phoneConnected = reader.boolean("phoneConnected");
  message.phoneCount = reader.integer("phoneCount", INT64_MIN, INT64_MAX);
  if (reader.member("phones")) message.phones = reader.optionalObjects("phones", readPhone);
}

template <class Record>
std::variant<Record, JsonError> readRecord(const Json& json) {
  JsonReader reader{json};
  Record record;
  readMembers(reader, record);
  if (reader.error()) return *reader.error();
  return record;
}

template <class Outcome>
IncomingRelayMessage widened(Outcome outcome) {
  return std::visit([](auto&& one) -> IncomingRelayMessage { return std::forward<decltype(one)>(one); },
                    std::move(outcome));
}

template <class Record>
IncomingRelayMessage incoming(const Json& json) {
  return widened(readRecord<Record>(json));
}

}  // namespace

Json toJson(const EncryptedRelayPayload& payload) {
  return {{"version", payload.version}, {"nonce", payload.nonce}, {"ciphertext", payload.ciphertext}};
}

Json toJson(const MacSnapshotRelayMessage& message) {
  Json json{{"type", message.type},
            {"observedAt", isoDateText(message.observedAt)},
            {"accessibilityTrusted", message.accessibilityTrusted},
            {"encryptedApprovals", toJson(message.encryptedApprovals)},
            {"approvalCount", message.approvalCount},
            {"snapshotID", message.snapshotID}};
  if (message.encryptedState) json["encryptedState"] = toJson(*message.encryptedState);
  return json;
}

Json toJson(const ApprovalResultRelayMessage& message) {
  return {{"type", message.type},
          {"decisionID", message.decisionID},
          {"encryptedResult", toJson(message.encryptedResult)},
          {"issuedAt", isoDateText(message.issuedAt)}};
}

Json toJson(const MacClockRelayMessage& message) {
  return {{"type", message.type}, {"encryptedClock", toJson(message.encryptedClock)}};
}

Json toJson(const UnpairPhoneRelayMessage& message) {
  Json json{{"type", message.type}};
  if (message.deviceID) json["deviceID"] = *message.deviceID;
  json["issuedAt"] = isoDateText(message.issuedAt);
  return json;
}

Json toJson(const ApprovalRequestRelayMessage& message) {
  Json json{{"type", message.type},
            {"decisionID", message.decisionID},
            {"encryptedRequest", toJson(message.encryptedRequest)}};
  addDate(json, "issuedAt", message.issuedAt);
  return json;
}

Json toJson(const ApprovalSuppressionRelayMessage& message) {
  Json json{{"type", message.type},
            {"decisionID", message.decisionID},
            {"encryptedSuppression", toJson(message.encryptedSuppression)}};
  addDate(json, "issuedAt", message.issuedAt);
  return json;
}

Json toJson(const PhoneStatusRelayMessage& message) {
  Json json{{"type", message.type}, {"phoneConnected", message.phoneConnected}, {"phoneCount", message.phoneCount}};
  if (!message.phones) return json;
  json["phones"] = Json::array();
  for (const auto& phone : *message.phones) json["phones"].push_back(toJson(phone));
  return json;
}

template <class Record>
std::variant<Record, JsonError> readRelayRecord(std::string_view text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  return readRecord<Record>(std::get<Json>(json));
}

template std::variant<EncryptedRelayPayload, JsonError> readRelayRecord(std::string_view);
template std::variant<MacSnapshotRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<ApprovalResultRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<MacClockRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<UnpairPhoneRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<ApprovalRequestRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<ApprovalSuppressionRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<PhoneStatusRelayMessage, JsonError> readRelayRecord(std::string_view);
template std::variant<RelayMessageTypeProbe, JsonError> readRelayRecord(std::string_view);

IncomingRelayMessage decodeIncomingRelayMessage(std::string_view frame) {
  const auto json = parseStrictJson(frame);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  const auto& object = std::get<Json>(json);
  const auto probe = readRecord<RelayMessageTypeProbe>(object);
  if (const auto* error = std::get_if<JsonError>(&probe)) return *error;
  const auto& type = std::get<RelayMessageTypeProbe>(probe).type;
  if (type == kApprovalRequestType) return incoming<ApprovalRequestRelayMessage>(object);
  if (type == kPhoneStatusType) return incoming<PhoneStatusRelayMessage>(object);
  if (type == kSuppressType || type == kUnsuppressType) return incoming<ApprovalSuppressionRelayMessage>(object);
  if (type == kPushSubscriptionsType) return widened(readPushSubscriptions(object));
  if (type == kPushResultType) return widened(readPushResult(object));
  return UnknownRelayMessage{};
}

}  // namespace quillard
