#include <memory>

#include "app/LinuxDoctorChecks.h"
#include "app/Program.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/shell/PortalColorScheme.h"

namespace {

using quillard::desktop::LinuxPlatform;

quillard::app::OpenSystem openLinux(int consoleDescriptor) {
  return {std::make_unique<LinuxPlatform>(consoleDescriptor), {.checks = quillard::app::linuxDoctorChecks}};
}

}  // namespace

int main(int argc, char** argv) {
  return quillard::app::runProgram(
      argc, argv, {LinuxPlatform::prepareWindows, quillard::desktop::watchPortalColorScheme, openLinux});
}
