#include "window/AccessibleTree.h"

#include <cstdint>
#include <cstdlib>

#include <systemd/sd-bus.h>

namespace quillard::test {
namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";

struct Unreference {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreference>;

template <typename... Arguments>
Message call(sd_bus* bus, const AccessibleObject& object, const char* interface, const char* member, const char* types,
             Arguments... arguments) {
  sd_bus_message* reply = nullptr;
  sd_bus_call_method(bus, object.service.c_str(), object.path.c_str(), interface, member, nullptr, &reply, types,
                     arguments...);
  return Message(reply);
}

}  // namespace

std::optional<AccessibleNode> AccessibleTree::window(const std::string& name) {
  for (const auto& program : children({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
    for (const auto& window : children(program)) {
      if (text(window, "Name") == name) return read(window);
    }
  }
  return std::nullopt;
}

bool AccessibleTree::press(const AccessibleObject& object) {
  const Message reply = call(bus.get(), object, "org.a11y.atspi.Action", "DoAction", "i", 0);
  int isDone = 0;
  return reply && sd_bus_message_read(reply.get(), "b", &isDone) >= 0 && isDone != 0;
}

std::vector<AccessibleObject> AccessibleTree::children(const AccessibleObject& object) {
  std::vector<AccessibleObject> found;
  const Message reply = call(bus.get(), object, kAccessible, "GetChildren", "");
  if (!reply || sd_bus_message_enter_container(reply.get(), 'a', "(so)") < 0) return found;
  const char* service = nullptr;
  const char* path = nullptr;
  while (sd_bus_message_read(reply.get(), "(so)", &service, &path) > 0) found.push_back({service, path});
  return found;
}

std::string AccessibleTree::text(const AccessibleObject& object, const char* property) {
  char* value = nullptr;
  if (sd_bus_get_property_string(bus.get(), object.service.c_str(), object.path.c_str(), kAccessible, property, nullptr,
                                 &value) < 0) {
    return {};
  }
  std::string result{value};
  std::free(value);
  return result;
}

std::string AccessibleTree::role(const AccessibleObject& object) {
  const Message reply = call(bus.get(), object, kAccessible, "GetRoleName", "");
  const char* name = "";
  return reply && sd_bus_message_read(reply.get(), "s", &name) >= 0 ? name : "";
}

bool AccessibleTree::isShowing(const AccessibleObject& object) {
  const Message reply = call(bus.get(), object, kAccessible, "GetState", "");
  const void* words = nullptr;
  std::size_t size = 0;
  if (!reply || sd_bus_message_read_array(reply.get(), 'u', &words, &size) < 0 || size < sizeof(std::uint32_t))
    return false;
  constexpr std::uint32_t kShowing = 1U << 25;
  return (*static_cast<const std::uint32_t*>(words) & kShowing) != 0;
}

AccessibleNode AccessibleTree::read(const AccessibleObject& object) {
  AccessibleNode node{.object = object,
                      .role = role(object),
                      .name = text(object, "Name"),
                      .description = text(object, "Description"),
                      .children = {}};
  for (const auto& child : children(object)) {
    if (isShowing(child)) node.children.push_back(read(child));
  }
  return node;
}

std::string described(const AccessibleNode& node, int depth) {
  std::string line(static_cast<std::size_t>(depth) * 2, ' ');
  line += node.role + " \"" + node.name + "\"";
  if (!node.description.empty()) line += " (" + node.description + ")";
  line += "\n";
  for (const auto& child : node.children) line += described(child, depth + 1);
  return line;
}

}  // namespace quillard::test
