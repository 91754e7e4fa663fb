#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "app/Program.h"

namespace quillard::app {

// Runs one of the tools in an event loop of its own. They show no window; diagnostic lines go where errors are printed.
// `programName`: as the program was called.
[[nodiscard]] ExitCode runTool(const Command& command, const System& system, char* programName, const Output& output);

}  // namespace quillard::app
