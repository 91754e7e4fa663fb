#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Environment.h"
#include "platform/process/Random.h"
#include "platform/storage/UserDefaults.h"

// The tools that look at the desktop once.
namespace quillard::app {

// What they look at and look with.
struct DesktopView {
  platform::Accessibility& accessibility;
  platform::Workspace& workspace;
  platform::WindowList& windowList;
  const platform::Clock& clock;
  const platform::Environment& environment;
  platform::Console& console;
  platform::Random& random;
  platform::UserDefaults& userDefaults;
  std::int32_t ownProcessIdentifier = 0;
};

ExitCode scanOnce(const ScanOnce& command, const DesktopView& view, const Output& output);

// Makes the file, for its user alone; one that is there already is left as it is.
ExitCode recordDesktop(const RecordDesktop& command, const DesktopView& view, const Output& output);

}  // namespace quillard::app
