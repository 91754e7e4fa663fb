#include "agent/LogReports.h"

#include <algorithm>
#include <iterator>

namespace quillard {
namespace {

constexpr std::size_t kMostPhones = 8;

LogReport reportOf(const AuditShown& shown) {
  const auto& entry = shown.line.entry;
  LogReport report{.sequence = shown.line.sequence,
                   .digest = shown.digest,
                   .at = entry.at,
                   .event = entry.event,
                   .approvalID = entry.approvalID,
                   .decisionID = reportedText(entry.decisionID),
                   .appName = reportedText(entry.program),
                   .windowTitle = reportedText(entry.title),
                   .buttonLabel = reportedText(entry.label),
                   .status = reportedText(entry.status),
                   .error = reportedText(entry.error)};
  for (const auto& phone : entry.phones) {
    if (report.phones.size() < kMostPhones) report.phones.push_back(reportedText(phone));
  }
  return report;
}

}  // namespace

LogHead logHead(const AuditLog& log, Date now) {
  return {.sequence = log.head().sequence, .digest = log.head().digest, .at = now};
}

LogExcerpt logExcerpt(const AuditLog& log, Date now) {
  LogExcerpt excerpt{.head = logHead(log, now)};
  const auto& lines = log.newestLines();
  const auto end = std::find_if(lines.begin(), lines.end(),
                                [&](const AuditShown& shown) { return shown.line.sequence > excerpt.head.sequence; });
  const auto count = std::min(end - lines.begin(), static_cast<std::ptrdiff_t>(kMostLogReports));
  std::transform(end - count, end, std::back_inserter(excerpt.entries), reportOf);
  return excerpt;
}

}  // namespace quillard
