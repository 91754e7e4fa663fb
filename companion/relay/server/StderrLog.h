#pragma once

#include <cstdint>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// Lines on standard error, each with its time. Where too many notes come at once, it counts those that it leaves out.
class StderrLog final : public EventLog {
 public:
  StderrLog();
  void note(std::string_view line) override;
  void warn(std::string_view line) override;

 private:
  static void write(std::string_view line);

  TokenBucket notes;
  std::uint64_t leftOut = 0;
};

}  // namespace quillard::relayserver
