#pragma once

#include "audit/AuditLog.h"
#include "relay/PhoneReports.h"

namespace quillard {

// What phones are told of the log: pure functions of it.
[[nodiscard]] LogHead logHead(const AuditLog& log, Date now);
// The newest entries that a phone shows, `kMostLogReports` at most.
[[nodiscard]] LogExcerpt logExcerpt(const AuditLog& log, Date now);

}  // namespace quillard
