#include "relay/SnapshotRecords.h"

#include <algorithm>

#include "approvals/PendingApprovalJson.h"

namespace quillard {

Json snapshotRecords(const std::vector<PendingApproval>& approvals, const SnapshotMarks& marks) {
  Json records = toJson(approvals);
  for (auto& record : records) {
    if (marks.clock) record["clock"] = toJson(*marks.clock);
    if (marks.leftOut > 0) record["leftOut"] = std::min(marks.leftOut, kMostLeftOut);
  }
  return records;
}

std::variant<SnapshotMarks, JsonError> readSnapshotMarks(std::string_view text) {
  const auto json = parseStrictJson(text);
  if (const auto* error = std::get_if<JsonError>(&json)) return *error;
  const auto& records = std::get<Json>(json);
  if (!records.is_array()) return JsonError{"", "Expected a list."};
  if (records.empty()) return SnapshotMarks{};
  JsonReader reader{records.front(), "[0]"};
  SnapshotMarks marks{.clock = readOptionalClockStamp(reader, "clock")};
  const auto leftOut = reader.optionalInteger("leftOut", 1, kMostLeftOut);
  if (reader.error()) return *reader.error();
  marks.leftOut = static_cast<std::size_t>(leftOut.value_or(0));
  return marks;
}

}  // namespace quillard
