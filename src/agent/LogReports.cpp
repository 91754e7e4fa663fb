#include "agent/LogReports.h"

#include <algorithm>

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
  const auto count = std::min(lines.size(), kMostLogReports);
  for (auto shown = lines.end() - static_cast<std::ptrdiff_t>(count); shown != lines.end(); ++shown) {
    excerpt.entries.push_back(reportOf(*shown));
  }
  return excerpt;
}

}  // namespace quillard
