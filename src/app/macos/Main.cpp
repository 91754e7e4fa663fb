#include <memory>

#include <unistd.h>

#include "app/MacDoctorChecks.h"
#include "app/Program.h"
#include "platform/macos/MacPlatform.h"

namespace {

using quillard::macos::MacPlatform;

// What the system answers about permissions, it answers about the program that is responsible: about this one when the
// system itself has started it, otherwise about the one that has. The question for notifications would reach the user.
quillard::app::OpenSystem openMac(int consoleDescriptor) {
  constexpr pid_t kSystem = 1;
  return {std::make_unique<MacPlatform>(consoleDescriptor),
          {.mayAskForNotifications = false,
           .isAskedAlone = ::getppid() == kSystem,
           .checks = quillard::app::macDoctorChecks}};
}

}  // namespace

int main(int argc, char** argv) {
  return quillard::app::runProgram(argc, argv, {MacPlatform::prepareWindows, nullptr, openMac});
}
