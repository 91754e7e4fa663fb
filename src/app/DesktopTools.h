#pragma once

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "platform/Accessibility.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Environment.h"
#include "platform/Random.h"
#include "platform/UserDefaults.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"

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
