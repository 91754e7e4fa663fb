#include "platform/linux/system/SocketPeer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>
#include <variant>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/processes/ProcessTable.h"
#include "platform/linux/system/RuntimeFolder.h"
#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {
namespace {

using platform::ProcessDescription;

constexpr int kFirstInherited = 3;
constexpr int kMostInherited = 16;

std::string processFile(std::int32_t processIdentifier, const char* name) {
  return "/proc/" + std::to_string(processIdentifier) + "/" + name;
}

std::string linkTarget(const std::string& path) {
  std::array<char, 4096> target{};
  const auto length = ::readlink(path.c_str(), target.data(), target.size());
  return length > 0 && target[0] == '/' ? std::string(target.data(), static_cast<std::size_t>(length)) : "";
}

std::optional<std::int32_t> numberIn(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return std::nullopt;
  return number;
}

// The fourth field; the second is the process's own name in brackets, which may hold anything.
std::optional<std::int32_t> parentOf(std::int32_t processIdentifier) {
  const auto read = readSmallFile(processFile(processIdentifier, "stat"), 4096);
  const auto* const text = std::get_if<std::string>(&read);
  const auto end = text ? text->rfind(") ") : std::string::npos;
  if (end == std::string::npos || text->size() < end + 5) return std::nullopt;
  const auto parent = numberIn(std::string_view{*text}.substr(end + 4));
  return parent && *parent > 1 ? parent : std::nullopt;
}

constexpr std::string_view kManager = "systemd";

// The unit that the manager started a process in. Empty: it is in no service but the manager's own.
std::string serviceIn(std::string_view cgroups) {
  std::string service;
  while (!cgroups.empty()) {
    const auto line = cgroups.substr(0, cgroups.find('\n'));
    cgroups.remove_prefix(std::min(line.size() + 1, cgroups.size()));
    const bool isManagers = line.starts_with("0::/") || line.find(":name=systemd:/") != std::string_view::npos;
    const auto unit = line.substr(line.rfind('/') + 1);
    if (isManagers && unit.ends_with(".service") && !unit.starts_with("user@")) service = unit;
  }
  return service;
}

std::string cgroupsOf(std::int32_t processIdentifier) {
  auto read = readSmallFile(processFile(processIdentifier, "cgroup"), 64 * 1024);
  auto* const text = std::get_if<std::string>(&read);
  return text ? std::move(*text) : "";
}

bool listensAs(int descriptor, std::string_view name) {
  int isListening = 0;
  socklen_t length = sizeof(isListening);
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &length) != 0 || isListening == 0) return false;
  sockaddr_un address{};
  length = sizeof(address);
  if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) return false;
  if (address.sun_family != AF_UNIX || length <= sizeof(sa_family_t) || address.sun_path[0] != '/') return false;
  const std::string_view path{address.sun_path, ::strnlen(address.sun_path, sizeof(address.sun_path))};
  return path.substr(path.rfind('/') + 1) == name;
}

std::optional<OpenFolder> reachable(std::optional<int> folder) {
  if (!folder) return std::nullopt;
  return OpenFolder(*folder, "/proc/self/fd/" + std::to_string(*folder));
}

}  // namespace

ProcessDescription describeProcess(std::int32_t processIdentifier) {
  ProcessDescription description{.processIdentifier = processIdentifier};
  const auto facts = proc::ProcessTable().process(processIdentifier);
  if (!facts) return description;
  description.executable = facts->executable;
  description.programName = facts->executable.substr(facts->executable.rfind('/') + 1);
  description.workingFolder = linkTarget(processFile(processIdentifier, "cwd"));
  return description;
}

std::optional<ProcessDescription> starterOf(const ProcessDescription& parent, std::string_view cgroups) {
  if (parent.programName != kManager) return parent;
  auto starter = parent;
  starter.programName = serviceIn(cgroups);
  if (starter.programName.empty()) return std::nullopt;
  return starter;
}

std::optional<platform::LocalPeer> peerOf(int descriptor) {
  ucred credentials{};
  socklen_t length = sizeof(credentials);
  if (::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0 || credentials.uid != ::geteuid() ||
      credentials.pid <= 0) {
    return std::nullopt;
  }
  platform::LocalPeer peer{.process = describeProcess(credentials.pid)};
  if (const auto parent = parentOf(credentials.pid)) {
    peer.parent = starterOf(describeProcess(*parent), cgroupsOf(credentials.pid));
  }
  const auto& own = describeProcess(static_cast<std::int32_t>(::getpid())).executable;
  peer.isThisProgram = !own.empty() && peer.process.executable == own;
  return peer;
}

std::optional<int> inheritedSocket(const platform::Environment& environment, std::string_view name) {
  if (numberIn(environment.value("LISTEN_PID").value_or("")) != static_cast<std::int32_t>(::getpid())) {
    return std::nullopt;
  }
  const auto count = numberIn(environment.value("LISTEN_FDS").value_or("")).value_or(0);
  for (int descriptor = kFirstInherited; descriptor < kFirstInherited + std::min(count, kMostInherited); ++descriptor) {
    if (listensAs(descriptor, name)) return descriptor;
  }
  return std::nullopt;
}

qt::LocalSocketTraits localSocketTraits(const platform::Environment& environment) {
  return {.folder = [&environment] { return reachable(openRuntimeFolder(environment)); },
          .otherFolders =
              [] {
                std::vector<OpenFolder> folders;
                if (auto folder = reachable(openOwnFolder("/run/user/" + std::to_string(::geteuid())))) {
                  folders.push_back(std::move(*folder));
                }
                return folders;
              },
          .peer = peerOf,
          .inherited = [&environment](std::string_view name) { return inheritedSocket(environment, name); }};
}

}  // namespace quillard::desktop
