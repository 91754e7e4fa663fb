#include "relay/PhoneReports.h"

#include <algorithm>
#include <utility>

#include "foundation/IsoDate.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr std::int64_t kMostEntries = 9'007'199'254'740'991;
constexpr std::int64_t kMostSuppressionsLeftOut = 1'000'000;
constexpr std::string_view kSuppressions = "suppressions";
constexpr std::string_view kSuppressionsLeftOut = "suppressionsLeftOut";

Json toJson(const SuppressionReport& report) {
  Json json{{"suppressionID", report.suppressionID.text()},
            {"appName", report.appName},
            {"windowTitle", report.windowTitle},
            {"since", isoDateText(report.since)}};
  if (report.until) json["until"] = isoDateText(*report.until);
  if (report.endsWithRun) json["endsWithRun"] = true;
  return json;
}

SuppressionReport readSuppression(JsonReader& reader) {
  return {.suppressionID = reader.uuid("suppressionID"),
          .appName = reader.string("appName"),
          .windowTitle = reader.string("windowTitle"),
          .since = reader.date("since"),
          .until = reader.optionalDate("until"),
          .endsWithRun = reader.optionalBoolean("endsWithRun").value_or(false)};
}

void add(Json& json, const char* name, const std::string& text) {
  if (!text.empty()) json[name] = text;
}

Json toJson(const LogReport& report) {
  Json json{{"sequence", report.sequence},
            {"digest", report.digest},
            {"at", isoDateText(report.at)},
            {"event", report.event}};
  if (report.approvalID) json["approvalID"] = report.approvalID->text();
  add(json, "decisionID", report.decisionID);
  json["appName"] = report.appName;
  json["windowTitle"] = report.windowTitle;
  add(json, "buttonLabel", report.buttonLabel);
  add(json, "status", report.status);
  add(json, "error", report.error);
  if (!report.phones.empty()) json["phones"] = report.phones;
  return json;
}

LogReport readLogReport(JsonReader& reader) {
  const auto text = [&](std::string_view name) { return reader.optionalString(name).value_or(""); };
  return {.sequence = reader.integer("sequence", 1, kMostEntries),
          .digest = reader.string("digest"),
          .at = reader.date("at"),
          .event = reader.string("event"),
          .approvalID = reader.optionalUuid("approvalID"),
          .decisionID = text("decisionID"),
          .appName = reader.string("appName"),
          .windowTitle = reader.string("windowTitle"),
          .buttonLabel = text("buttonLabel"),
          .status = text("status"),
          .error = text("error"),
          .phones = reader.member("phones") ? reader.strings("phones") : std::vector<std::string>{}};
}

LogHead readLogHead(JsonReader& reader) {
  return {.sequence = reader.integer("sequence", 0, kMostEntries),
          .digest = reader.string("digest"),
          .at = reader.date("at")};
}

}  // namespace

SuppressionReports boundedReports(std::vector<SuppressionReport> newestFirst) {
  std::size_t count = 0;
  std::size_t bytes = 0;
  for (; count < std::min(newestFirst.size(), kMostSuppressionReports); ++count) {
    bytes += toJson(newestFirst[count]).dump(-1, ' ', false, Json::error_handler_t::replace).size() + 1;
    if (bytes > kLongestSuppressionReports) break;
  }
  SuppressionReports reports{.kinds = {}, .leftOut = newestFirst.size() - count};
  newestFirst.resize(count);
  reports.kinds = std::move(newestFirst);
  return reports;
}

Json toJson(const SuppressionReports& reports) {
  Json json = Json::object();
  auto& list = json[kSuppressions] = Json::array();
  for (const auto& kind : reports.kinds) list.push_back(toJson(kind));
  if (reports.leftOut > 0) json[kSuppressionsLeftOut] = reports.leftOut;
  return json;
}

Json toJson(const LogHead& head) {
  return {{"sequence", head.sequence}, {"digest", head.digest}, {"at", isoDateText(head.at)}};
}

Json toJson(const LogExcerpt& excerpt) {
  Json json{{"head", toJson(excerpt.head)}, {"entries", Json::array()}};
  for (const auto& entry : excerpt.entries) json["entries"].push_back(toJson(entry));
  return json;
}

std::optional<SuppressionReports> readOptionalSuppressions(JsonReader& reader) {
  if (!reader.member(kSuppressions)) return std::nullopt;
  return SuppressionReports{.kinds = reader.objects(kSuppressions, readSuppression),
                            .leftOut = static_cast<std::size_t>(
                                reader.optionalInteger(kSuppressionsLeftOut, 0, kMostSuppressionsLeftOut).value_or(0))};
}

std::optional<LogHead> readOptionalLogHead(JsonReader& reader, std::string_view name) {
  if (!reader.member(name)) return std::nullopt;
  return reader.object(name, readLogHead);
}

std::optional<LogExcerpt> readOptionalLogExcerpt(JsonReader& reader) {
  if (!reader.member("log")) return std::nullopt;
  return reader.object("log", [](JsonReader& log) {
    return LogExcerpt{.head = log.object("head", readLogHead), .entries = log.objects("entries", readLogReport)};
  });
}

Json toJson(const PushReport& report) {
  Json json{{"p256dh", report.keyText}, {"status", report.status}};
  if (!report.reason.empty()) json["reason"] = report.reason;
  if (report.acceptedAt) json["acceptedAt"] = isoDateText(*report.acceptedAt);
  return json;
}

PushReport readPushReport(JsonReader& reader) {
  return {reader.string("p256dh"), reader.string("status"), reader.optionalString("reason").value_or(""),
          reader.optionalDate("acceptedAt")};
}

std::string reportedText(std::string text) {
  if (!text::isValidUtf8(text)) return {};
  if (text.size() <= kLongestReportedText) return text;
  auto end = kLongestReportedText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "…";
}

}  // namespace quillard
