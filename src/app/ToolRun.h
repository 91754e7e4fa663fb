#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"

namespace quillard::app {

// Runs one of the tools on this desktop. They show no window; their messages go where errors are
// printed. `programName`: as the program was called.
[[nodiscard]] ExitCode runTool(const Command& command, char* programName, const Output& output);

}  // namespace quillard::app
