#include "app/ToolRun.h"

#include "app/LinuxSystem.h"
#include "app/SystemTools.h"

namespace quillard::app {
namespace {

DoctorTraits traitsOf(LinuxSystem& system) { return {.notifications = &system.notifications}; }

}  // namespace

ExitCode runTool(const Command& command, char* programName, const Output& output) {
  return runToolOver(command, programName, output, traitsOf);
}

}  // namespace quillard::app
