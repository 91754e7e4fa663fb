#include "platform/linux/kwin/KWinScripting.h"

#include <algorithm>
#include <charconv>
#include <memory>

#include <fcntl.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace quillard::kwin {
namespace {

using atspi::BusMessage;
using Microseconds = std::chrono::microseconds;

constexpr const char* kScriptingPath = "/Scripting";
constexpr const char* kScripting = "org.kde.kwin.Scripting";
constexpr const char* kScript = "org.kde.kwin.Script";
constexpr std::string_view kNamePrefix = "quillard-windows-";
constexpr std::string_view kRequestPrefix = "quillard-request-";
constexpr std::string_view kNameSuffix = ".js";

// Absent: it is no number, or none without a sign.
std::optional<std::int32_t> wholeNumber(std::string_view digits) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc{} && end == digits.data() + digits.size() && number >= 0;
  return isNumber ? std::optional{number} : std::nullopt;
}

std::optional<std::int32_t> positiveNumber(std::string_view digits) {
  const auto number = wholeNumber(digits);
  return number >= 1 ? number : std::nullopt;
}

BusMessage callTo(sd_bus* bus, const char* service, const char* path, const char* interface, const char* member) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus, &call, service, path, interface, member) < 0) return nullptr;
  sd_bus_message_set_auto_start(call, 0);
  return BusMessage{call};
}

// Null: no answer, or an error.
BusMessage ask(sd_bus* bus, const BusMessage& call, std::chrono::milliseconds timeout) {
  sd_bus_message* reply = nullptr;
  const auto limit = static_cast<std::uint64_t>(Microseconds(timeout).count());
  if (!call || sd_bus_call(bus, call.get(), limit, nullptr, &reply) < 0) return nullptr;
  return BusMessage{reply};
}

}  // namespace

std::string KWinScripting::owner() {
  const auto call = callTo(connection.handle(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "GetNameOwner");
  if (!call || sd_bus_message_append(call.get(), "s", kService) < 0) return {};
  const auto reply = ask(connection.handle(), call, timeout);
  const char* name = nullptr;
  return reply && sd_bus_message_read(reply.get(), "s", &name) > 0 ? name : "";
}

bool KWinScripting::run(const std::string& file, const std::string& name) {
  const auto call = callTo(connection.handle(), kService, kScriptingPath, kScripting, "loadScript");
  if (!call || sd_bus_message_append(call.get(), "ss", file.c_str(), name.c_str()) < 0) return false;
  const auto reply = ask(connection.handle(), call, timeout);
  std::int32_t number = -1;
  if (!reply || sd_bus_message_read(reply.get(), "i", &number) <= 0 || number < 0) return false;
  // Where a script's object lies is a matter of the version.
  return start("/Scripting/Script" + std::to_string(number)) || start("/" + std::to_string(number));
}

bool KWinScripting::start(const std::string& path) {
  return ask(connection.handle(), callTo(connection.handle(), kService, path.c_str(), kScript, "run"), timeout) !=
         nullptr;
}

void KWinScripting::unload(const std::string& name) {
  const auto call = callTo(connection.handle(), kService, kScriptingPath, kScripting, "unloadScript");
  if (call && sd_bus_message_append(call.get(), "s", name.c_str()) >= 0) ask(connection.handle(), call, timeout);
}

ScriptFile::ScriptFile(const std::string& folder, const std::string& name, std::string_view script)
    : file(folder + "/" + name) {
  ::unlink(file.c_str());
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) return;
  written = ::write(descriptor, script.data(), script.size()) == static_cast<ssize_t>(script.size());
  ::close(descriptor);
}

ScriptFile::~ScriptFile() {
  if (written) ::unlink(file.c_str());
}

std::string scriptNameOf(std::int32_t process) {
  return std::string(kNamePrefix) + std::to_string(process) + std::string(kNameSuffix);
}

std::string requestScriptNameOf(std::int32_t process, int number) {
  return std::string(kRequestPrefix) + std::to_string(process) + "-" + std::to_string(number) +
         std::string(kNameSuffix);
}

std::optional<std::int32_t> ownerOfScript(std::string_view fileName) {
  const bool isRequest = fileName.starts_with(kRequestPrefix);
  if (!(isRequest || fileName.starts_with(kNamePrefix)) || !fileName.ends_with(kNameSuffix)) return std::nullopt;
  fileName.remove_prefix((isRequest ? kRequestPrefix : kNamePrefix).size());
  fileName.remove_suffix(std::min(kNameSuffix.size(), fileName.size()));
  if (!isRequest) return positiveNumber(fileName);
  const auto dash = fileName.find('-');
  const bool hasNumber = dash != std::string_view::npos && wholeNumber(fileName.substr(dash + 1)).has_value();
  return hasNumber ? positiveNumber(fileName.substr(0, dash)) : std::nullopt;
}

}  // namespace quillard::kwin
