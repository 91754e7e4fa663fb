#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/processes/Programs.h"

namespace quillard::proc {

// The programs that this user's processes run. Any thread.
class RunningPrograms {
 public:
  // Both outlive this.
  RunningPrograms(const ProcessTable& processes, DesktopEntries& entries) : processes(processes), entries(entries) {}

  // Absent when no such process of this user is running.
  [[nodiscard]] std::optional<ProgramIdentity> program(std::int32_t processIdentifier, const std::string& windowClass);

 private:
  const ProcessTable& processes;
  DesktopEntries& entries;
};

}  // namespace quillard::proc
