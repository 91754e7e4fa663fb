#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/StrictJson.h"
#include "foundation/Uuid.h"
#include "values/Time.h"

// What the agent tells its phones besides the prompts: which kinds are muted, and what was decided while a phone was
// away. Only ever inside sealed payloads; phones that do not know it ignore it. Bounded in number and length.
namespace quillard {

// A kind of prompt that is not shown.
struct SuppressionReport {
  Uuid suppressionID;
  std::string appName;      // Empty: not known.
  std::string windowTitle;  // The same.
  Date since;
  std::optional<Date> until = std::nullopt;
  bool endsWithRun = false;  // With neither, until somebody ends it.
  bool operator==(const SuppressionReport&) const = default;
};

inline constexpr std::size_t kMostSuppressionReports = 200;
// Of all of them, in JSON: with a list of approvals that is as long as it may be (see SnapshotTrimming) they still fit
// one message of the relay. Bytes.
inline constexpr std::size_t kLongestSuppressionReports = std::size_t{48} * 1024;
inline constexpr std::size_t kLongestReportedText = 200;  // Bytes.

// Newest first. Within both bounds when it was made by `boundedReports`.
struct SuppressionReports {
  std::vector<SuppressionReport> kinds;
  std::size_t leftOut = 0;  // How many more there are.
  bool operator==(const SuppressionReports&) const = default;
};

// The newest entry of the log: who keeps it notices when the log is cut or changed.
struct LogHead {
  std::int64_t sequence = 0;
  std::string digest;  // 64 lower-case hexadecimal digits.
  // When this was said, by the computer's wall clock: a relay can hold an older word back, which says nothing.
  Date at{};
  bool operator==(const LogHead&) const = default;
};

// An entry of the log, as far as a phone shows it.
struct LogReport {
  std::int64_t sequence = 0;
  std::string digest;  // Of its line.
  Date at;
  std::string event;  // "outcome", "answered" or "gone".
  std::optional<Uuid> approvalID = std::nullopt;
  std::string decisionID{};
  std::string appName{};
  std::string windowTitle{};  // Empty: there is none, or texts are not kept.
  std::string buttonLabel{};
  std::string status{};
  std::string error{};
  std::vector<std::string> phones{};  // That may have decided it.
  bool operator==(const LogReport&) const = default;
};

inline constexpr std::size_t kMostLogReports = 30;

struct LogExcerpt {
  LogHead head;
  std::vector<LogReport> entries{};  // Oldest first.
  bool operator==(const LogExcerpt&) const = default;
};

// As many of the newest as may be told; the others are counted.
[[nodiscard]] SuppressionReports boundedReports(std::vector<SuppressionReport> newestFirst);

// What became of the last push for a phone.
struct PushReport {
  std::string keyText;                            // The phone's `p256dh`, by which it knows itself.
  std::string status;                             // As the relay said.
  std::string reason{};                           // For programs; empty: there is none.
  std::optional<Date> acceptedAt = std::nullopt;  // When a push service took one last. Absent: none ever did.
  bool operator==(const PushReport&) const = default;
};

[[nodiscard]] Json toJson(const PushReport& report);
[[nodiscard]] PushReport readPushReport(JsonReader& reader);
[[nodiscard]] Json toJson(const SuppressionReports& reports);
[[nodiscard]] Json toJson(const LogHead& head);
[[nodiscard]] Json toJson(const LogExcerpt& excerpt);

// Optional members of `reader`; their failures are the reader's.
[[nodiscard]] std::optional<SuppressionReports> readOptionalSuppressions(JsonReader& reader);
[[nodiscard]] std::optional<LogHead> readOptionalLogHead(JsonReader& reader, std::string_view name);
[[nodiscard]] std::optional<LogExcerpt> readOptionalLogExcerpt(JsonReader& reader);

// At most `kLongestReportedText` of it, cut between characters and marked. Nothing of what is no UTF-8.
[[nodiscard]] std::string reportedText(std::string text);

}  // namespace quillard
