#include "approvals/PendingApprovalJson.h"

#include <cstdint>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

void addIfPresent(Json& json, const char* name, const std::optional<std::string>& value) {
  if (value) json[name] = *value;
}

DialogFrame readFrame(JsonReader& reader) {
  return {reader.number("x"), reader.number("y"), reader.number("width"), reader.number("height")};
}

DialogButton readButton(JsonReader& reader) {
  return {.label = reader.string("label"),
          .role = reader.string("role"),
          .x = reader.number("x"),
          .y = reader.number("y"),
          .width = reader.number("width"),
          .height = reader.number("height"),
          .isEnabled = reader.optionalBoolean("isEnabled").value_or(true),
          .isKnownDismissal = reader.optionalBoolean("isKnownDismissal").value_or(false)};
}

PendingApproval readApproval(JsonReader& reader) {
  PendingApproval approval;
  approval.id = reader.uuid("id");
  const auto suppressionID = reader.optionalUuid("suppressionID");
  approval.detectedAt = reader.date("detectedAt");
  approval.appName = reader.string("appName");
  approval.bundleIdentifier = reader.optionalString("bundleIdentifier");
  approval.processIdentifier = static_cast<std::int32_t>(reader.integer("processIdentifier", INT32_MIN, INT32_MAX));
  approval.windowTitle = reader.string("windowTitle");
  approval.windowRole = reader.string("windowRole");
  approval.windowFrame = reader.object("windowFrame", readFrame);
  approval.messageLines = reader.strings("messageLines");
  approval.reason = reader.string("reason");
  approval.buttons = reader.objects("buttons", readButton);
  approval.recommendedButtonLabel = reader.optionalString("recommendedButtonLabel");
  approval.requiresDirectAccess = reader.boolean("requiresDirectAccess");
  approval.directAccessReason = reader.optionalString("directAccessReason");
  approval.isFallbackDetection = reader.boolean("isFallbackDetection");
  return PendingApproval::make(std::move(approval), suppressionID);
}

}  // namespace

Json toJson(const DialogFrame& frame) {
  return {{"x", frame.x}, {"y", frame.y}, {"width", frame.width}, {"height", frame.height}};
}

Json toJson(const DialogButton& button) {
  Json json = {{"label", button.label}, {"role", button.role},   {"x", button.x},
               {"y", button.y},         {"width", button.width}, {"height", button.height}};
  // What is usual is left out, so that the record of a usual button is the one that every phone has known.
  if (!button.isEnabled) json["isEnabled"] = false;
  if (button.isKnownDismissal) json["isKnownDismissal"] = true;
  return json;
}

Json toJson(const PendingApproval& approval) {
  Json json = Json::object();
  json["id"] = approval.id.text();
  json["suppressionID"] = approval.suppressionID.text();
  json["detectedAt"] = isoDateText(approval.detectedAt);
  json["appName"] = approval.appName;
  addIfPresent(json, "bundleIdentifier", approval.bundleIdentifier);
  json["processIdentifier"] = approval.processIdentifier;
  json["windowTitle"] = approval.windowTitle;
  json["windowRole"] = approval.windowRole;
  json["windowFrame"] = toJson(approval.windowFrame);
  json["messageLines"] = approval.messageLines;
  json["reason"] = approval.reason;
  json["buttons"] = Json::array();
  for (const auto& button : approval.buttons) json["buttons"].push_back(toJson(button));
  addIfPresent(json, "recommendedButtonLabel", approval.recommendedButtonLabel);
  json["requiresDirectAccess"] = approval.requiresDirectAccess;
  addIfPresent(json, "directAccessReason", approval.directAccessReason);
  json["isFallbackDetection"] = approval.isFallbackDetection;
  return json;
}

Json toJson(const std::vector<PendingApproval>& approvals) {
  Json json = Json::array();
  for (const auto& approval : approvals) json.push_back(toJson(approval));
  return json;
}

std::optional<std::string> pendingApprovalText(const PendingApproval& approval) { return jsonText(toJson(approval)); }

std::optional<std::string> pendingApprovalsText(const std::vector<PendingApproval>& approvals) {
  return jsonText(toJson(approvals));
}

std::variant<PendingApproval, JsonError> readPendingApproval(std::string_view text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  JsonReader reader{std::get<Json>(json)};
  PendingApproval approval = readApproval(reader);
  if (reader.error()) return *reader.error();
  return approval;
}

std::variant<std::vector<PendingApproval>, JsonError> readPendingApprovals(std::string_view text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  const auto& list = std::get<Json>(json);
  if (!list.is_array()) return JsonError{"", "Expected a list."};
  std::vector<PendingApproval> approvals;
  for (std::size_t i = 0; i < list.size(); ++i) {
    JsonReader reader{list[i], "[" + std::to_string(i) + "]"};
    approvals.push_back(readApproval(reader));
    if (reader.error()) return *reader.error();
  }
  return approvals;
}

}  // namespace quillard
