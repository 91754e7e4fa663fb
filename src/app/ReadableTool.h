#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/ReadableStarts.h"

namespace quillard::app {

// Lists the programs that cannot be read, or changes how one of them is started, or undoes that. `starts`: null where
// no program has to be told at its start that it is read.
ExitCode makeReadable(const MakeReadable& command, platform::DesktopCapabilities& capabilities,
                      platform::ReadableStarts* starts, const Output& output);

}  // namespace quillard::app
