#include "platform/linux/storage/SessionBusAddress.h"

#include <sys/stat.h>

namespace quillard::xdg {

std::optional<std::string> sessionBusAddress(const platform::Environment& environment) {
  const auto set = environment.value("DBUS_SESSION_BUS_ADDRESS");
  if (set && !set->empty()) return set;
  const auto runtimeFolder = environment.value("XDG_RUNTIME_DIR");
  if (!runtimeFolder || !runtimeFolder->starts_with('/')) return std::nullopt;
  const std::string path = *runtimeFolder + "/bus";
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
  return "unix:path=" + path;
}

std::string systemBusAddress(const platform::Environment& environment) {
  const auto set = environment.value("DBUS_SYSTEM_BUS_ADDRESS").value_or("");
  return set.empty() ? "unix:path=/var/run/dbus/system_bus_socket" : set;
}

}  // namespace quillard::xdg
