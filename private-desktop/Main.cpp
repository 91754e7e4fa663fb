// Runs a command on a private desktop of any kind, for a look by hand:
//
//   private_desktop [--unlocked] KIND COMMAND...     KIND: openbox, xfwm4, marco, sway, weston, KWin or GNOME
//
// Ends with the command's exit code, and with its output on this one's.

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "private-desktop/PrivateDesktop.h"

namespace {

using namespace quillard::privatedesktop;

int run(DesktopKind kind, bool isUnlocked, const std::vector<std::string>& command) {
  if (const auto missing = missingFor(kind)) {
    std::fprintf(stderr, "%s\n", missing->c_str());
    return 1;
  }
  PrivateDesktop desktop({.kind = kind, .isShellUnlocked = isUnlocked});
  auto program = desktop.launch(command.front(), {command.begin() + 1, command.end()});
  const auto code = program.wait(std::chrono::hours{24});
  std::fputs(program.output().c_str(), stdout);
  std::fputs(program.errors().c_str(), stderr);
  return code.value_or(1);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool isUnlocked = !arguments.empty() && arguments.front() == "--unlocked";
  if (isUnlocked) arguments.erase(arguments.begin());
  const auto kind = arguments.empty() ? std::nullopt : kindNamed(arguments.front());
  if (!kind || arguments.size() < 2) {
    std::fprintf(stderr, "Usage: private_desktop [--unlocked] KIND COMMAND...\n");
    return 2;
  }
  try {
    return run(*kind, isUnlocked, {arguments.begin() + 1, arguments.end()});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
