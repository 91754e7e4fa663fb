#include "relay/RelayCommands.h"

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

// A result has all that a request needs. Should the relay return one as a request, it must not be taken for one.
ApprovalRequestCommand readRequest(JsonReader& reader) {
  ApprovalRequestCommand command{reader.uuid("approvalID"), reader.string("buttonLabel"),
                                 reader.optionalString("decisionID"), readOptionalClockStamp(reader, "tappedAt"),
                                 reader.optionalBoolean("userVerified").value_or(false)};
  if (reader.member("status")) reader.failAt("status", "A result is no request.");
  if (command.buttonLabel.size() > kLongestButtonLabel) reader.failAt("buttonLabel", "The text is too long.");
  if (command.tappedAt && !command.decisionID) reader.failAt("decisionID", "The member is missing.");
  return command;
}

void readMembers(JsonReader& reader, ApprovalRequestCommand& command) { command = readRequest(reader); }

void readMembers(JsonReader& reader, ApprovalSuppressionCommand& command) {
  command = {reader.string("action"), reader.optionalUuid("approvalID"), reader.uuid("suppressionID"),
             reader.optionalInteger("lasts", 0, kLongestSuppression), reader.optionalString("deviceID")};
}

void readMembers(JsonReader& reader, ApprovalResultCommand& command) {
  command = {reader.uuid("approvalID"),
             reader.string("buttonLabel"),
             reader.string("status"),
             reader.optionalString("error"),
             reader.optionalString("reason"),
             reader.optionalString("decisionID"),
             readOptionalClockStamp(reader, "clock"),
             reader.optionalString("decidedBy"),
             readOptionalLogHead(reader, "logHead")};
}

NewPhone readNewPhone(JsonReader& reader) {
  return {reader.uuid("id"), reader.string("deviceID"), reader.string("name"), reader.string("earlierName"),
          reader.date("since")};
}

void readMembers(JsonReader& reader, ClockCommand& command) {
  command = {reader.object("clock", readClockStamp),
             {.suppressions = readOptionalSuppressions(reader), .log = readOptionalLogExcerpt(reader)}};
  if (reader.member("newPhones")) command.reports.newPhones = reader.objects("newPhones", readNewPhone);
  command.reports.pushes = reader.optionalObjects("pushes", readPushReport);
}

void readMembers(JsonReader& reader, ComputerState& state) {
  state = {.isPaused = reader.boolean("isPaused"),
           .pausedUntil = reader.optionalDate("pausedUntil"),
           .grantsNeedVerification = reader.optionalBoolean("grantsNeedVerification").value_or(false),
           .suppressions = readOptionalSuppressions(reader)};
}

void readMembers(JsonReader& reader, ApprovalRequestEnvelope& envelope) {
  envelope = {reader.string("decisionID"), reader.object("command", readRequest), reader.optionalDate("issuedAt")};
}

}  // namespace

Json toJson(const ApprovalRequestCommand& command) {
  Json json{{"approvalID", command.approvalID.text()}, {"buttonLabel", command.buttonLabel}};
  if (command.decisionID) json["decisionID"] = *command.decisionID;
  if (command.tappedAt) json["tappedAt"] = toJson(*command.tappedAt);
  if (command.isUserVerified) json["userVerified"] = true;
  return json;
}

Json toJson(const ApprovalSuppressionCommand& command) {
  Json json{{"action", command.action}};
  if (command.approvalID) json["approvalID"] = command.approvalID->text();
  json["suppressionID"] = command.suppressionID.text();
  if (command.lasts) json["lasts"] = *command.lasts;
  if (command.deviceID) json["deviceID"] = *command.deviceID;
  return json;
}

Json toJson(const ApprovalResultCommand& command) {
  Json json{
      {"approvalID", command.approvalID.text()}, {"buttonLabel", command.buttonLabel}, {"status", command.status}};
  if (command.error) json["error"] = *command.error;
  if (command.reason) json["reason"] = *command.reason;
  if (command.decisionID) json["decisionID"] = *command.decisionID;
  if (command.clock) json["clock"] = toJson(*command.clock);
  if (command.decidedBy) json["decidedBy"] = *command.decidedBy;
  if (command.logHead) json["logHead"] = toJson(*command.logHead);
  return json;
}

Json toJson(const ClockCommand& command) {
  Json json{{"clock", toJson(command.clock)}};
  for (const auto& phone : command.reports.newPhones) {
    json["newPhones"].push_back({{"id", phone.id.text()},
                                 {"deviceID", phone.deviceID},
                                 {"name", phone.name},
                                 {"earlierName", phone.earlierName},
                                 {"since", isoDateText(phone.since)}});
  }
  if (command.reports.suppressions) json.update(toJson(*command.reports.suppressions));
  if (command.reports.log) json["log"] = toJson(*command.reports.log);
  for (const auto& push : command.reports.pushes) json["pushes"].push_back(toJson(push));
  return json;
}

Json toJson(const ComputerState& state) {
  Json json{{"isPaused", state.isPaused}};
  if (state.pausedUntil) json["pausedUntil"] = isoDateText(*state.pausedUntil);
  if (state.grantsNeedVerification) json["grantsNeedVerification"] = true;
  if (state.suppressions) json.update(toJson(*state.suppressions));
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
template std::variant<ClockCommand, JsonError> readRelayCommand(std::string_view);
template std::variant<ComputerState, JsonError> readRelayCommand(std::string_view);
template std::variant<ApprovalRequestEnvelope, JsonError> readRelayCommand(std::string_view);

}  // namespace quillard
