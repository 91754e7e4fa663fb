#include "private-desktop/DesktopBus.h"

#include <cstdint>
#include <stdexcept>

#include <systemd/sd-bus.h>

namespace quillard::privatedesktop {
namespace {

constexpr const char* kBusName = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kAccessibilityName = "org.a11y.Bus";
constexpr const char* kAccessibilityPath = "/org/a11y/bus";

struct Unreference {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreference>;

// Null when there is no answer, or one of failure.
template <typename... Arguments>
Message call(sd_bus* bus, const char* name, const char* path, const char* interface, const char* member,
             const char* types, Arguments... arguments) {
  sd_bus_message* reply = nullptr;
  sd_bus_call_method(bus, name, path, interface, member, nullptr, &reply, types, arguments...);
  return Message(reply);
}

}  // namespace

void DesktopBus::Closing::operator()(sd_bus* open) const { sd_bus_flush_close_unref(open); }

DesktopBus::DesktopBus(const std::string& address) {
  sd_bus* made = nullptr;
  const bool isMade = sd_bus_new(&made) >= 0;
  bus.reset(made);
  if (!isMade || sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
      sd_bus_start(made) < 0) {
    throw std::runtime_error("No bus at " + address);
  }
}

bool DesktopBus::isNameOwned(const std::string& name) {
  const Message reply = call(bus.get(), kBusName, kBusPath, kBusName, "NameHasOwner", "s", name.c_str());
  int isOwned = 0;
  return reply && sd_bus_message_read(reply.get(), "b", &isOwned) >= 0 && isOwned != 0;
}

pid_t DesktopBus::processOf(const std::string& name) {
  const Message reply = call(bus.get(), kBusName, kBusPath, kBusName, "GetConnectionUnixProcessID", "s", name.c_str());
  std::uint32_t pid = 0;
  return reply && sd_bus_message_read(reply.get(), "u", &pid) >= 0 ? static_cast<pid_t>(pid) : 0;
}

bool DesktopBus::ping(const std::string& name, const std::string& path) {
  return call(bus.get(), name.c_str(), path.c_str(), "org.freedesktop.DBus.Peer", "Ping", "") != nullptr;
}

std::string DesktopBus::accessibilityBusAddress() {
  const Message reply = call(bus.get(), kAccessibilityName, kAccessibilityPath, kAccessibilityName, "GetAddress", "");
  const char* address = "";
  return reply && sd_bus_message_read(reply.get(), "s", &address) >= 0 ? address : "";
}

bool DesktopBus::setAccessibilityEnabled(bool isEnabled) {
  return sd_bus_set_property(bus.get(), kAccessibilityName, kAccessibilityPath, "org.a11y.Status", "IsEnabled", nullptr,
                             "b", isEnabled ? 1 : 0) >= 0;
}

bool DesktopBus::isAccessibilityEnabled() {
  int isEnabled = 0;
  return sd_bus_get_property_trivial(bus.get(), kAccessibilityName, kAccessibilityPath, "org.a11y.Status", "IsEnabled",
                                     nullptr, 'b', &isEnabled) >= 0 &&
         isEnabled != 0;
}

void DesktopBus::reloadConfiguration() {
  if (!call(bus.get(), kBusName, kBusPath, kBusName, "ReloadConfig", "")) throw std::runtime_error("No new services");
}

bool DesktopBus::setServiceEnvironment(const std::vector<std::string>& variables) {
  sd_bus_message* made = nullptr;
  if (sd_bus_message_new_method_call(bus.get(), &made, kBusName, kBusPath, kBusName, "UpdateActivationEnvironment") < 0)
    return false;
  const Message message(made);
  sd_bus_message_open_container(made, 'a', "{ss}");
  for (const auto& variable : variables) {
    const auto equals = variable.find('=');
    sd_bus_message_append(made, "{ss}", variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str());
  }
  sd_bus_message_close_container(made);
  sd_bus_message* reply = nullptr;
  const bool isDone = sd_bus_call(bus.get(), made, 0, nullptr, &reply) >= 0;
  sd_bus_message_unref(reply);
  return isDone;
}

}  // namespace quillard::privatedesktop
