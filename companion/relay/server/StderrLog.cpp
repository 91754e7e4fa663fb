#include "companion/relay/server/StderrLog.h"

#include <string>

#include <unistd.h>

namespace quillard::relayserver {
namespace {

constexpr Rate kNotes{200, 20};

Instant now() { return std::chrono::steady_clock::now(); }

}  // namespace

StderrLog::StderrLog(LogFormat format) : format(format), notes(kNotes, now()) {}

void StderrLog::note(std::string_view line) {
  if (!notes.take(now())) {
    ++leftOut;
    return;
  }
  if (leftOut > 0) write(LogLevel::note, std::to_string(leftOut) + " lines were left out.");
  leftOut = 0;
  write(LogLevel::note, line);
}

void StderrLog::warn(std::string_view line) { write(LogLevel::warning, line); }

void StderrLog::write(LogLevel level, std::string_view line) const {
  const auto date = std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
  const std::string whole = logLine(format, level, date, line);
  // A failure cannot be reported anywhere.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, whole.data(), whole.size());
}

}  // namespace quillard::relayserver
