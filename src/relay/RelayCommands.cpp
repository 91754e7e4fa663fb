#include "relay/RelayCommands.h"

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

ApprovalRequestCommand readRequest(JsonReader& reader) {
  return {reader.uuid("approvalID"), reader.string("buttonLabel")};
}

void readMembers(JsonReader& reader, ApprovalRequestCommand& command) { command = readRequest(reader); }

void readMembers(JsonReader& reader, ApprovalSuppressionCommand& command) {
  command = {reader.string("action"), reader.optionalUuid("approvalID"), reader.uuid("suppressionID")};
}

void readMembers(JsonReader& reader, ApprovalResultCommand& command) {
  command = {reader.uuid("approvalID"), reader.string("buttonLabel"), reader.string("status"),
             reader.optionalString("error")};
}

void readMembers(JsonReader& reader, ApprovalRequestEnvelope& envelope) {
  envelope = {reader.string("decisionID"), reader.object("command", readRequest), reader.optionalDate("issuedAt")};
}

}  // namespace

Json toJson(const ApprovalRequestCommand& command) {
  return {{"approvalID", command.approvalID.text()}, {"buttonLabel", command.buttonLabel}};
}

Json toJson(const ApprovalSuppressionCommand& command) {
  Json json{{"action", command.action}};
  if (command.approvalID) json["approvalID"] = command.approvalID->text();
  json["suppressionID"] = command.suppressionID.text();
  return json;
}

Json toJson(const ApprovalResultCommand& command) {
  Json json{
      {"approvalID", command.approvalID.text()}, {"buttonLabel", command.buttonLabel}, {"status", command.status}};
  if (command.error) json["error"] = *command.error;
  return json;
}

Json toJson(const ApprovalRequestEnvelope& envelope) {
  Json json{{"decisionID", envelope.decisionID}, {"command", toJson(envelope.command)}};
  if (envelope.issuedAt) json["issuedAt"] = isoDateText(*envelope.issuedAt);
  return json;
}

template <class Record>
std::variant<Record, JsonError> readRelayCommand(std::string_view text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  JsonReader reader{std::get<Json>(json)};
  Record record;
  readMembers(reader, record);
  if (reader.error()) return *reader.error();
  return record;
}

template std::variant<ApprovalRequestCommand, JsonError> readRelayCommand(std::string_view);
template std::variant<ApprovalSuppressionCommand, JsonError> readRelayCommand(std::string_view);
template std::variant<ApprovalResultCommand, JsonError> readRelayCommand(std::string_view);
template std::variant<ApprovalRequestEnvelope, JsonError> readRelayCommand(std::string_view);

}  // namespace quillard
