#include "platform/linux/processes/RunningPrograms.h"

namespace quillard::proc {

std::optional<ProgramIdentity> RunningPrograms::program(std::int32_t processIdentifier,
                                                        const std::string& windowClass) {
  const auto process = processes.process(processIdentifier);
  if (!process) return std::nullopt;
  return identify(*process, windowClass, entries);
}

}  // namespace quillard::proc
