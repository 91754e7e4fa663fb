#include "audit/AuditEntry.h"

#include <algorithm>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

constexpr std::int64_t kVersion = 1;
constexpr std::size_t kLongestText = 1000;  // Bytes, of a title, a label, an error.
constexpr std::size_t kMostTexts = 40;      // Of a list.
constexpr std::size_t kLongestOfList = 400;
constexpr JsonLimits kLimits{.bytes = kLongestAuditLine, .depth = 4, .members = 64, .values = 512};
constexpr std::size_t kDigestLength = 64;
constexpr std::string_view kEllipsis = "…";

// Not within a character. What is no UTF-8 may be cut anywhere.
void shorten(std::string& text, std::size_t longest) {
  if (text.size() <= longest) return;
  auto end = longest;
  while (end > 0 && longest - end < 4 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  text.resize(end);
  text += kEllipsis;
}

void shorten(std::vector<std::string>& texts) {
  if (texts.size() > kMostTexts) {
    texts.resize(kMostTexts);
    texts.back() = kEllipsis;
  }
  for (auto& text : texts) shorten(text, kLongestOfList);
}

void add(Json& json, const char* name, const std::string& text) {
  if (!text.empty()) json[name] = text;
}
void add(Json& json, const char* name, const std::vector<std::string>& texts) {
  if (!texts.empty()) json[name] = texts;
}
void add(Json& json, const char* name, std::int64_t number) {
  if (number != 0) json[name] = number;
}

std::vector<std::string> optionalStrings(JsonReader& reader, std::string_view name) {
  return reader.member(name) ? reader.strings(name) : std::vector<std::string>{};
}

AuditEntry readEntry(JsonReader& reader) {
  const auto text = [&](std::string_view name) { return reader.optionalString(name).value_or(""); };
  const auto number = [&](std::string_view name) {
    return reader.optionalInteger(name, 0, kMostAuditLines).value_or(0);
  };
  return {.at = reader.date("at"),
          .event = reader.string("event"),
          .approvalID = reader.optionalUuid("approvalID"),
          .decisionID = text("decisionID"),
          .program = text("program"),
          .title = text("title"),
          .lines = optionalStrings(reader, "lines"),
          .buttons = optionalStrings(reader, "buttons"),
          .textDigest = text("textDigest"),
          .label = text("label"),
          .status = text("status"),
          .error = text("error"),
          .pairing = number("pairing"),
          .phones = optionalStrings(reader, "phones"),
          .how = text("how"),
          .until = reader.optionalDate("until"),
          .note = text("note"),
          .sequence = number("concerns"),
          .leftOut = number("leftOut")};
}

}  // namespace

AuditEntry boundedAuditEntry(AuditEntry entry) {
  for (auto* text : {&entry.event, &entry.decisionID, &entry.program, &entry.title, &entry.textDigest, &entry.label,
                     &entry.status, &entry.error, &entry.how, &entry.note}) {
    shorten(*text, kLongestText);
  }
  for (auto* texts : {&entry.lines, &entry.buttons, &entry.phones}) shorten(*texts);
  AuditLine widest{.sequence = kMostAuditLines, .previous = std::string(kDigestLength, '0'), .entry = entry};
  // Characters that are escaped take six times as much.
  while (auditLineText(widest).size() > kLongestAuditLine && !widest.entry.lines.empty()) widest.entry.lines.pop_back();
  if (auditLineText(widest).size() > kLongestAuditLine) widest.entry.buttons.clear();
  return widest.entry;
}

Json auditJson(const AuditLine& line) {
  const auto& entry = line.entry;
  Json json{{"version", kVersion},
            {"sequence", line.sequence},
            {"previous", line.previous},
            {"at", isoDateText(entry.at)},
            {"event", entry.event}};
  if (entry.approvalID) json["approvalID"] = entry.approvalID->text();
  add(json, "decisionID", entry.decisionID);
  add(json, "program", entry.program);
  add(json, "title", entry.title);
  add(json, "lines", entry.lines);
  add(json, "buttons", entry.buttons);
  add(json, "textDigest", entry.textDigest);
  add(json, "label", entry.label);
  add(json, "status", entry.status);
  add(json, "error", entry.error);
  add(json, "pairing", entry.pairing);
  add(json, "phones", entry.phones);
  add(json, "how", entry.how);
  if (entry.until) json["until"] = isoDateText(*entry.until);
  add(json, "note", entry.note);
  add(json, "concerns", entry.sequence);
  add(json, "leftOut", entry.leftOut);
  return json;
}

std::string auditLineText(const AuditLine& line) {
  return auditJson(line).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::variant<AuditLine, JsonError> readAuditLine(std::string_view text) {
  const auto json = parseStrictJson(text, kLimits);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  JsonReader reader{std::get<Json>(json)};
  const auto version = reader.integer("version", 0, kMostAuditLines);
  if (!reader.error() && version != kVersion) reader.failAt("version", "Only version 1 is known.");
  AuditLine line{.sequence = reader.integer("sequence", 1, kMostAuditLines),
                 .previous = reader.string("previous"),
                 .entry = readEntry(reader)};
  const bool isDigest =
      line.previous.size() == kDigestLength && line.previous.find_first_not_of("0123456789abcdef") == std::string::npos;
  if (!isDigest) reader.failAt("previous", "Expected a digest.");
  if (reader.error()) return *reader.error();
  return line;
}

}  // namespace quillard
