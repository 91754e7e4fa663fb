#include "platform/linux/x11/RunningPrograms.h"

namespace quillard::x11 {

std::optional<ProgramIdentity> RunningPrograms::program(std::int32_t processIdentifier,
                                                        const std::string& windowClass) {
  const auto process = processes.process(processIdentifier);
  if (!process) return std::nullopt;
  return identify(*process, windowClass, entries);
}

}  // namespace quillard::x11
