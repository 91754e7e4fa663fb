#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/Platform.h"

// The tools that read the desktop once.
namespace quillard::app {

ExitCode scanOnce(const ScanOnce& command, const platform::Platform& platform, const Output& output);

ExitCode explainWindows(const ExplainWindows& command, const platform::Platform& platform, const Output& output);

// Makes the file, for its user alone; one that is there already is left as it is.
ExitCode recordDesktop(const RecordDesktop& command, const platform::Platform& platform, const Output& output);

}  // namespace quillard::app
