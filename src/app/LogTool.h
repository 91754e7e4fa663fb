#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "audit/AuditChain.h"
#include "platform/storage/AppendOnlyFile.h"
#include "values/Time.h"

// `quillard log`: prints the log of what was asked and decided. It reads the file itself, so that it needs no agent.
namespace quillard::app {

// "2h", "3d", "90m", "10s" before `now`, "2026-03-01", or "2026-03-01T12:00:00Z". Absent: none of these.
[[nodiscard]] std::optional<Date> dateOf(std::string_view text, Date now);

// One line for people, ended.
[[nodiscard]] std::string logText(const AuditLine& line);

// Prints the entries, and what has been added since when it is asked again. What is wrong with the file is printed as
// an error, after what could be read of it.
class LogTool {
 public:
  // All of it outlives the tool.
  LogTool(ShowLog command, platform::AppendOnlyFile& file, Date now, const Output& output);

  // Prints what is new. `fine`: the file is whole, or there is none; `problemFound`: it is damaged; `cannotDoHere`: it
  // cannot be read.
  [[nodiscard]] ExitCode print();

 private:
  void printNew(const AuditReading& reading);
  [[nodiscard]] ExitCode verify(const AuditReading& reading) const;

  const ShowLog command;
  platform::AppendOnlyFile& file;
  const Output& output;
  std::optional<Date> since;
  std::int64_t printedTo = 0;
  std::string lastBytes;
};

}  // namespace quillard::app
