#pragma once

#include <vector>

#include "detection/WindowDebugSnapshot.h"
#include "detection/WindowSource.h"
#include "platform/desktop/Accessibility.h"
#include "platform/process/Console.h"

// Shows why a window was, or was not, taken for a prompt: one line a window, with what was read and the verdict. The
// agent's own windows are no sources, so they are not printed. May wait for other processes.
namespace quillard::DialogDiagnostics {

// Read as for detection, only with a longer walk. Absent when the application did not answer in time.
[[nodiscard]] std::optional<WindowDebugSnapshot> snapshotOf(platform::AXReadScope& scope, const WindowSource& source);

void print(platform::AXReadScope& scope, const std::vector<WindowSource>& sources, platform::Console& console);

}  // namespace quillard::DialogDiagnostics
