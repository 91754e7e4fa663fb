#include "desktop/AccessibleTree.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <systemd/sd-bus.h>

namespace quillard::test {
namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kRoot = "/org/a11y/atspi/accessible/root";
constexpr int kDeepest = 40;

struct Unreference {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreference>;

Message call(sd_bus* bus, const std::string& name, const std::string& path, const char* member) {
  sd_bus_message* reply = nullptr;
  sd_bus_call_method(bus, name.c_str(), path.c_str(), kAccessible, member, nullptr, &reply, "");
  return Message(reply);
}

std::vector<std::pair<std::string, std::string>> childrenOf(sd_bus* bus, const std::string& name,
                                                            const std::string& path) {
  std::vector<std::pair<std::string, std::string>> result;
  const Message reply = call(bus, name, path, "GetChildren");
  if (!reply || sd_bus_message_enter_container(reply.get(), 'a', "(so)") < 0) return result;
  const char* childName = nullptr;
  const char* childPath = nullptr;
  while (sd_bus_message_read(reply.get(), "(so)", &childName, &childPath) > 0)
    result.emplace_back(childName, childPath);
  return result;
}

std::uint64_t statesOf(sd_bus* bus, const std::string& name, const std::string& path) {
  const Message reply = call(bus, name, path, "GetState");
  const void* words = nullptr;
  std::size_t size = 0;
  if (!reply || sd_bus_message_read_array(reply.get(), 'u', &words, &size) < 0 || size != 8) return 0;
  const auto* const numbers = static_cast<const std::uint32_t*>(words);
  return numbers[0] | (std::uint64_t{numbers[1]} << 32U);
}

std::string textOf(sd_bus* bus, const std::string& name, const std::string& path, const char* property) {
  char* text = nullptr;
  sd_bus_get_property_string(bus, name.c_str(), path.c_str(), kAccessible, property, nullptr, &text);
  std::string result = text ? text : "";
  std::free(text);
  return result;
}

}  // namespace

const Accessible* Accessible::find(std::uint32_t withRole, const std::string& withName) const {
  if (role == withRole && name == withName) return this;
  for (const auto& child : children) {
    if (const auto* const found = child.find(withRole, withName)) return found;
  }
  return nullptr;
}

bool Accessible::holdsRole(std::uint32_t wanted) const {
  return role == wanted || std::any_of(children.begin(), children.end(),
                                       [wanted](const Accessible& child) { return child.holdsRole(wanted); });
}

std::vector<Accessible> Accessible::findAllShowing(const std::function<bool(const Accessible&)>& isWanted) const {
  std::vector<Accessible> found;
  if (isWanted(*this)) found.push_back(*this);
  for (const auto& child : children) {
    if (!child.isShowing()) continue;
    for (auto& below : child.findAllShowing(isWanted)) found.push_back(std::move(below));
  }
  return found;
}

std::string Accessible::text(int depth) const {
  std::string result(static_cast<std::size_t>(depth) * 2, ' ');
  result += roleName + " \"" + name + "\"";
  if (!description.empty()) result += " (" + description + ")";
  result += isShowing() ? "\n" : ", not showing\n";
  for (const auto& child : children) result += child.text(depth + 1);
  return result;
}

Accessible AccessibleTree::read(const std::string& busName, const std::string& path, int depth) {
  Accessible result{.bus = busName, .path = path};
  if (const Message reply = call(bus.get(), busName, path, "GetRole")) {
    sd_bus_message_read(reply.get(), "u", &result.role);
  }
  if (const Message reply = call(bus.get(), busName, path, "GetRoleName")) {
    const char* roleName = "";
    if (sd_bus_message_read(reply.get(), "s", &roleName) >= 0) result.roleName = roleName;
  }
  result.name = textOf(bus.get(), busName, path, "Name");
  result.description = textOf(bus.get(), busName, path, "Description");
  result.states = statesOf(bus.get(), busName, path);
  if (depth == kDeepest) return result;
  for (const auto& [childBus, childPath] : childrenOf(bus.get(), busName, path)) {
    result.children.push_back(read(childBus, childPath, depth + 1));
  }
  return result;
}

int AccessibleTree::programCount() {
  return static_cast<int>(childrenOf(bus.get(), "org.a11y.atspi.Registry", kRoot).size());
}

std::vector<Accessible> AccessibleTree::windowsOf(pid_t pid) {
  for (const auto& [name, path] : childrenOf(bus.get(), "org.a11y.atspi.Registry", kRoot)) {
    if (bus.processOf(name) == pid) return read(name, path, 0).children;
  }
  return {};
}

std::optional<Accessible> AccessibleTree::windowNamed(const std::string& name) {
  for (const auto& [program, root] : childrenOf(bus.get(), "org.a11y.atspi.Registry", kRoot)) {
    for (const auto& [owner, window] : childrenOf(bus.get(), program, root)) {
      if (textOf(bus.get(), owner, window, "Name") == name) return read(owner, window, 0);
    }
  }
  return std::nullopt;
}

bool AccessibleTree::press(const Accessible& object) {
  sd_bus_message* reply = nullptr;
  sd_bus_call_method(bus.get(), object.bus.c_str(), object.path.c_str(), "org.a11y.atspi.Action", "DoAction", nullptr,
                     &reply, "i", 0);
  const Message owned(reply);
  int isDone = 0;
  return reply && sd_bus_message_read(reply, "b", &isDone) >= 0 && isDone != 0;
}

}  // namespace quillard::test
