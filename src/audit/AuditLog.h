#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audit/AuditChain.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/storage/AppendOnlyFile.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

namespace quillard {

struct AuditLimits {
  std::size_t bytes = std::size_t{1} << 20U;
  Seconds age{90 * 86400.0};
};

// A line and its digest.
struct AuditShown {
  AuditLine line;
  std::string digest;
};

// All of it outlives the log.
struct AuditLogDependencies {
  platform::AppendOnlyFile& file;
  platform::UserDefaults& userDefaults;
  const platform::Clock& clock;
  platform::Console& console;
  // Asked for whenever they matter.
  std::function<AuditLimits()> limits;
};

// The log of what was asked and decided: a chain of lines in a file. Nothing that goes wrong with the file stops
// anything: what cannot be written now waits in memory, `kMostWaiting` entries of it, and is written as soon as that is
// possible; the console is told once.
//
// The last line that was written is also kept in the settings, so that a file that was cut, replaced or taken away
// since is noticed at the next start, and while this runs it is noticed when the next line is written. Whatever is
// wrong with the file then, nothing of it is lost and the chain goes on: a line says "mended", and how. A last line
// that was not finished is kept as a note in that line; a file with other damage, or one that somebody changed under a
// running agent, is put aside under another name; a file that cannot be read at all is left alone, and nothing is
// written until it can be.
//
// Bounded by size and age: the oldest lines are taken out, and a line says so. By their age the newest `kKeptAnyway`
// are not, so that a clock that is set to another year does not cost the log.
//
// States: closed -> open; what is added before it is opened is dropped. Main thread.
class AuditLog {
 public:
  static constexpr std::string_view key = "quillard.log-head";
  static constexpr std::string_view lostKey = "quillard.log-lost";
  static constexpr std::size_t kMostWaiting = 1000;
  static constexpr std::size_t kKeptAnyway = 200;
  static constexpr std::size_t kMostNewest = 40;
  static constexpr Seconds kRetryInterval{30};
  static constexpr Seconds kAgeInterval{6 * 3600.0};

  explicit AuditLog(AuditLogDependencies dependencies) : dependencies(std::move(dependencies)) {}

  // Reads what is there. Once, by an agent that is the only one.
  void open();
  // `entry.at` and `entry.leftOut` are filled in here.
  void add(AuditEntry entry);
  // To be called every few seconds: tries again what failed, and takes out what has become too old.
  void tend();
  // The end of this run. Tries once more; what then still waits is lost, and the first line of the next run that is
  // written says how many they were.
  void flush();

  // The newest line that is in the file. One that waits may be lost, and another one be written in its place: nobody
  // may be told its digest before.
  [[nodiscard]] const AuditHead& head() const { return inFile; }
  // The newest lines of events that a phone shows, oldest first; some may wait.
  [[nodiscard]] const std::deque<AuditShown>& newestLines() const { return shown; }
  // Why the newest entries are not in the file. Absent: they are.
  [[nodiscard]] const std::optional<std::string>& problem() const { return lastProblem; }

 private:
  // False: it is not known how it is, and nothing can be written.
  bool examine();
  bool goOnAfter(const AuditReading& reading);
  bool keepTornLine(const AuditReading& reading, std::string_view bytes);
  bool putAside(const AuditReading& reading);
  void mend(const std::string& how, const std::string& note, std::int64_t missingTo = 0);
  void addLine(AuditEntry entry);
  void writeWaiting();
  void written(const std::string& lines);
  void settled();
  void bound(bool byAge);
  void failed(const platform::FileStatus& status);
  [[nodiscard]] std::int64_t lostByEarlierRuns() const;
  [[nodiscard]] std::optional<AuditHead> rememberedHead() const;
  void rememberHead();
  void show(const AuditLine& line, const std::string& digest);

  const AuditLogDependencies dependencies;
  bool isOpen = false;
  bool mustExamine = true;  // The file is not known to be as it was left.
  AuditHead newest;
  AuditHead inFile;  // Without those that wait.
  std::size_t fileLength = 0;
  std::vector<std::string> waiting;  // Lines that are not in the file, oldest first.
  std::int64_t leftOut = 0;
  std::int64_t lostBefore = 0;  // By earlier runs; a line that waits says so.
  std::deque<AuditShown> shown;
  std::optional<std::string> lastProblem;
  Instant retryAt;
  Instant boundAt;
};

}  // namespace quillard
