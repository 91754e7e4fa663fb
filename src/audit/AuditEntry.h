#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "values/Time.h"

// One line of the log: what happened, as a value and as JSON.
namespace quillard {

namespace audit_events {
inline constexpr std::string_view kStarted = "started";    // The agent began to run.
inline constexpr std::string_view kAsked = "asked";        // A prompt appeared, or a program asked.
inline constexpr std::string_view kDecided = "decided";    // A phone's decision, before anything was done about it.
inline constexpr std::string_view kOutcome = "outcome";    // What became of it.
inline constexpr std::string_view kAnswered = "answered";  // A question got its answer, and not from a phone.
inline constexpr std::string_view kGone = "gone";          // A prompt went away without a phone.
inline constexpr std::string_view kMuted = "muted";
inline constexpr std::string_view kUnmuted = "unmuted";
inline constexpr std::string_view kPaused = "paused";
inline constexpr std::string_view kResumed = "resumed";
inline constexpr std::string_view kUnpaired = "unpaired";
inline constexpr std::string_view kRemoved = "removed";  // Older lines were taken out, for size or age.
inline constexpr std::string_view kMended = "mended";    // The file was not as this agent had left it.
}  // namespace audit_events

// What happened. Which members are there depends on the event; an empty text, an empty list and zero are left out.
struct AuditEntry {
  Date at;            // By the wall clock, which may have been set.
  std::string event;  // One of `audit_events`; of a newer agent perhaps another one.
  std::optional<Uuid> approvalID{};
  std::string decisionID{};
  std::string program{};
  std::string title{};
  std::vector<std::string> lines{};
  std::vector<std::string> buttons{};
  std::string textDigest{};  // Instead of title, lines and buttons, where these are not to be kept.
  std::string label{};       // Of the button that was chosen.
  std::string status{};      // As a phone is told it.
  std::string error{};
  std::int64_t pairing = 0;           // By which of the pairings.
  std::vector<std::string> phones{};  // Of that pairing: those that were connected. Their own names for themselves.
  std::string how{};                  // More of the event, as a word for programs.
  std::optional<Date> until{};
  std::string note{};         // For people.
  std::int64_t sequence = 0;  // Of another line that is meant.
  std::int64_t leftOut = 0;   // How many entries before this one were not kept: there were too many at once.

  bool operator==(const AuditEntry&) const = default;
};

// Where an entry stands.
struct AuditLine {
  std::int64_t sequence = 1;  // From 1, without a gap.
  std::string previous;       // The digest of the line before: 64 lower-case hexadecimal digits.
  AuditEntry entry;

  bool operator==(const AuditLine&) const = default;
};

inline constexpr std::size_t kLongestAuditLine = std::size_t{64} * 1024;
inline constexpr std::int64_t kMostAuditLines = 9'007'199'254'740'991;

// The entry with texts of a length that a line can hold. What is no UTF-8 in them is replaced when it is written.
[[nodiscard]] AuditEntry boundedAuditEntry(AuditEntry entry);

// Without a line break; of a bounded entry at most `kLongestAuditLine` long.
[[nodiscard]] std::string auditLineText(const AuditLine& line);
// Strict: see parseStrictJson. Unknown members are ignored; another version is refused.
[[nodiscard]] std::variant<AuditLine, JsonError> readAuditLine(std::string_view text);

// The members of an entry and where it stands, for those who print it.
[[nodiscard]] Json auditJson(const AuditLine& line);

}  // namespace quillard
