#pragma once

#include <vector>

#include "detection/ForeignTexts.h"
#include "detection/PromptJudge.h"
#include "detection/WindowDebugSnapshot.h"
#include "detection/WindowSource.h"
#include "platform/desktop/Accessibility.h"
#include "platform/process/Console.h"

// Shows why a window was, or was not, taken for a prompt: one line a window, with what was read and the verdict. The
// agent's own windows are no sources, so they are not printed. May wait for other processes.
namespace quillard::DialogDiagnostics {

// What windows are judged by. Both outlive the call.
struct WindowJudges {
  const PromptJudge& judge;
  const ForeignTexts& foreignTexts;
};

// Read as for detection, with a walk of so many descendants.
[[nodiscard]] WindowDiagnosis diagnose(platform::AXReadScope& scope, const WindowSource& source,
                                       const WindowJudges& judges, int descendantLimit);

// Takes no window for a prompt that another prompt of its program blocks.
void rejectBlocked(DesktopDiagnosis& diagnosis);

void print(platform::AXReadScope& scope, const std::vector<WindowSource>& sources, const WindowJudges& judges,
           platform::Console& console);

}  // namespace quillard::DialogDiagnostics
