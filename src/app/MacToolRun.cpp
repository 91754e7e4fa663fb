#include <unistd.h>

#include "app/MacDoctorChecks.h"
#include "app/MacSystem.h"
#include "app/SystemTools.h"
#include "app/ToolRun.h"

namespace quillard::app {
namespace {

// What the system says of permissions, it says of the program that is responsible: of this one when the system itself
// has started it, otherwise of the one that has. The question for notifications would reach the user.
DoctorTraits traitsOf(MacSystem& /*system*/) {
  constexpr pid_t kSystem = 1;
  return {.isAskedAlone = ::getppid() == kSystem, .checks = macDoctorChecks};
}

}  // namespace

ExitCode runTool(const Command& command, char* programName, const Output& output) {
  return runToolOver(command, programName, output, traitsOf);
}

}  // namespace quillard::app
