#include <memory>

#include "app/LinuxDoctorChecks.h"
#include "app/Program.h"
#include "platform/linux/LinuxPlatform.h"

namespace {

using quillard::desktop::LinuxPlatform;

quillard::app::OpenSystem openLinux(int consoleDescriptor) {
  auto system = std::make_unique<LinuxPlatform>(consoleDescriptor);
  quillard::app::DoctorTraits doctor{.hasDisplay = [&system = *system] { return system.windows.isAvailable(); },
                                     .unseenPrograms = [&system = *system] { return system.unseenPrograms(); },
                                     .checks = quillard::app::linuxDoctorChecks};
  return {std::move(system), std::move(doctor)};
}

}  // namespace

int main(int argc, char** argv) {
  return quillard::app::runProgram(argc, argv, {LinuxPlatform::prepareWindows, openLinux});
}
