#include "support/PrivateBus.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

#include "private-desktop/BusConfiguration.h"

namespace quillard::test {
PrivateBus::PrivateBus() {
  std::ofstream(folder("bus.conf")) << privatedesktop::busConfiguration(folder("bus"));
  for (const char* name : {"run", "data", "config", "cache"}) ::mkdir(folder(name).c_str(), 0700);
  start();
}

void PrivateBus::start() {
  ::unlink(folder("bus").c_str());
  bus = std::make_unique<ChildProcess>(ChildProcess::Start{
      .command = {"dbus-daemon", "--config-file=" + folder("bus.conf"), "--nofork", "--nopidfile", "--print-address=1"},
      .environment = environment(),
      .input = {}});
  // Without what tells one daemon from the next: programs find the bus by its place.
  const auto printed = bus->readLine().value_or("");
  if (printed.empty()) throw std::runtime_error("No bus: is dbus-daemon installed?");
  busAddress = "unix:path=" + folder("bus");
}

std::vector<std::string> PrivateBus::environment(const std::vector<std::string>& more) const {
  const char* const path = std::getenv("PATH");
  std::vector<std::string> variables{"HOME=" + home.path(),
                                     "XDG_RUNTIME_DIR=" + folder("run"),
                                     "XDG_DATA_HOME=" + folder("data"),
                                     "XDG_CONFIG_HOME=" + folder("config"),
                                     "XDG_CACHE_HOME=" + folder("cache"),
                                     "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder("bus"),
                                     "LC_ALL=C.UTF-8",
                                     std::string("PATH=") + (path ? path : "/usr/bin:/bin")};
  variables.insert(variables.end(), more.begin(), more.end());
  return variables;
}

}  // namespace quillard::test
