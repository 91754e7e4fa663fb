#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"

namespace quillard::app {

// Runs one of the tools on this desktop. They show no window; what they have to say of themselves goes where complaints
// go. `programName`: as the program was called.
[[nodiscard]] ExitCode runTool(const Command& command, char* programName, const Output& output);

}  // namespace quillard::app
