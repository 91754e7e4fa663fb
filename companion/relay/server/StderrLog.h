#pragma once

#include <cstdint>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/LogLine.h"
#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// Lines on standard error, each with its time. Where too many notes come in a short time, it counts those that it
// leaves out.
class StderrLog final : public EventLog {
 public:
  explicit StderrLog(LogFormat format);
  void note(std::string_view line) override;
  void warn(std::string_view line) override;

 private:
  void write(LogLevel level, std::string_view line) const;

  const LogFormat format;
  TokenBucket notes;
  std::uint64_t leftOut = 0;
};

}  // namespace quillard::relayserver
