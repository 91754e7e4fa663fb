#include <memory>
#include <utility>

#include "app/LinuxDoctorChecks.h"
#include "app/Program.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/shell/PortalColorScheme.h"

namespace {

using quillard::desktop::LinuxPlatform;

quillard::app::OpenSystem openLinux(int consoleDescriptor) {
  auto platform = std::make_unique<LinuxPlatform>(consoleDescriptor);
  const auto texts = platform->texts();
  return {std::move(platform), {.checks = quillard::app::linuxDoctorChecks}, texts};
}

}  // namespace

int main(int argc, char** argv) {
  return quillard::app::runProgram(
      argc, argv, {LinuxPlatform::prepareWindows, quillard::desktop::watchPortalColorScheme, openLinux});
}
