#pragma once

#include "app/ExitCode.h"
#include "app/Output.h"
#include "app/Program.h"

namespace quillard::app {

// Runs the agent until it is told to quit: with its window and its place in the tray, so a display is needed.
// `programName`: as the program was called.
[[nodiscard]] ExitCode runAgent(const System& system, char* programName, const Output& output);

}  // namespace quillard::app
