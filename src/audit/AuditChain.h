#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audit/AuditEntry.h"

// Lines of the log hold the digest of the line before, so that none can be changed, moved or taken out of the middle
// without every line after it being written anew. Pure functions of the file's bytes.
namespace quillard {

// The last line of a chain: who knows it knows whether a line up to it was changed.
struct AuditHead {
  std::int64_t sequence = 0;  // 0: there is none yet.
  std::string digest = std::string(64, '0');
  bool operator==(const AuditHead&) const = default;
};

// The SHA-256 of `text`: 64 lower-case hexadecimal digits.
[[nodiscard]] std::string auditDigest(std::string_view text);

enum class AuditFault {
  none,
  torn,       // The file ends within a line, as after a loss of power; what stands before it is whole.
  damaged,    // A line cannot be read, or is not the one that follows the line before.
  beginning,  // The first lines are missing, and no line says that they were taken out.
};

// What a file holds, up to its first fault.
struct AuditReading {
  std::vector<AuditLine> lines{};
  std::vector<std::string> digests{};  // Of each of them.
  AuditFault fault = AuditFault::none;
  std::string problem{};      // For people. Empty: there is no fault.
  std::size_t goodBytes = 0;  // How long the part is that `lines` were read from.

  // After the lines that were read.
  [[nodiscard]] AuditHead head() const;
  // Of the line of that number. Absent: it is not among those that were read.
  [[nodiscard]] std::optional<std::string> digestOf(std::int64_t sequence) const;
};

[[nodiscard]] AuditReading readAuditChain(std::string_view bytes);

// The line that follows `head`, which becomes it. Ends in a line break.
[[nodiscard]] std::string nextAuditLine(const AuditEntry& entry, AuditHead& head);

}  // namespace quillard
