#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/DoctorFacts.h"
#include "app/DoctorReport.h"
#include "foundation/UserTexts.h"
#include "platform/SystemPlatform.h"
#include "platform/qt/window/DesktopColorScheme.h"

namespace quillard::app {

// How the examination of one system differs from that of another.
struct DoctorTraits {
  // False where the question would reach the user: notifications are not asked for then.
  bool mayAskForNotifications = true;
  // Not asked by another program, for which the system would then answer.
  bool isAskedAlone = true;
  // What the facts mean there.
  std::vector<DoctorCheck> (*checks)(const DoctorFacts&) = nullptr;
};

struct OpenSystem {
  std::unique_ptr<platform::SystemPlatform> platform;
  DoctorTraits doctor;  // May refer to `platform`.
  UserTexts texts{};    // The words of this machine, and its user's language.
};

// One system that the program runs on. Its entry point (app/linux, app/macos), the only place that names a binding,
// fills this in; all else is the same everywhere.
struct System {
  // Called before a toolkit's application object with windows is made. Why there can be none here; absent: there can.
  std::optional<std::string> (*prepareWindows)();
  // What a window watches to learn of the colours that the user chose. Null where the toolkit tells it all.
  qt::WatchColorScheme watchColorScheme;
  // Called within the life of such an object, with or without windows. `consoleDescriptor`: where diagnostic lines go.
  OpenSystem (*open)(int consoleDescriptor);
};

// The whole program: reads the command line, and runs the agent or one of the tools. Returns what it ends with.
[[nodiscard]] int runProgram(int argc, char** argv, const System& system);

}  // namespace quillard::app
