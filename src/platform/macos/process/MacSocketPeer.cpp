#include "platform/macos/process/MacSocketPeer.h"

#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <libproc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillard::macos {
namespace {

using platform::ProcessDescription;

constexpr mode_t kForOthers = 0077;

std::optional<proc_bsdinfo> informationOf(std::int32_t processIdentifier) {
  proc_bsdinfo information{};
  const int length = ::proc_pidinfo(processIdentifier, PROC_PIDTBSDINFO, 0, &information, sizeof(information));
  if (length != static_cast<int>(sizeof(information))) return std::nullopt;
  return information;
}

std::string executableOf(std::int32_t processIdentifier) {
  std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
  const int length = ::proc_pidpath(processIdentifier, path.data(), path.size());
  return length > 0 && path[0] == '/' ? std::string(path.data(), ::strnlen(path.data(), path.size())) : "";
}

std::string workingFolderOf(std::int32_t processIdentifier) {
  proc_vnodepathinfo paths{};
  const int length = ::proc_pidinfo(processIdentifier, PROC_PIDVNODEPATHINFO, 0, &paths, sizeof(paths));
  if (length != static_cast<int>(sizeof(paths))) return "";
  const auto& path = paths.pvi_cdir.vip_path;
  return std::string(path, ::strnlen(path, sizeof(path)));
}

std::optional<desktop::OpenFolder> openFolder(const std::string& path) {
  if (!path.starts_with('/')) return std::nullopt;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return std::nullopt;
  desktop::OpenFolder folder(descriptor, path);
  struct stat status {};
  const bool isOwn = ::fstat(descriptor, &status) == 0 && status.st_uid == ::geteuid();
  if (!isOwn || (status.st_mode & kForOthers) != 0) return std::nullopt;
  return folder;
}

}  // namespace

ProcessDescription describeProcess(std::int32_t processIdentifier) {
  ProcessDescription description{.processIdentifier = processIdentifier};
  const auto information = informationOf(processIdentifier);
  if (!information || information->pbi_uid != ::geteuid()) return description;
  description.executable = executableOf(processIdentifier);
  description.programName = description.executable.substr(description.executable.rfind('/') + 1);
  description.workingFolder = workingFolderOf(processIdentifier);
  return description;
}

std::optional<platform::LocalPeer> peerOf(int descriptor) {
  uid_t user = 0;
  gid_t group = 0;
  if (::getpeereid(descriptor, &user, &group) != 0 || user != ::geteuid()) return std::nullopt;
  pid_t process = 0;
  socklen_t length = sizeof(process);
  if (::getsockopt(descriptor, SOL_LOCAL, LOCAL_PEERPID, &process, &length) != 0 || process <= 0) return std::nullopt;
  platform::LocalPeer peer{.process = describeProcess(process)};
  if (const auto information = informationOf(process); information && information->pbi_ppid > 1) {
    peer.parent = describeProcess(static_cast<std::int32_t>(information->pbi_ppid));
  }
  const auto own = executableOf(static_cast<std::int32_t>(::getpid()));
  peer.isThisProgram = !own.empty() && peer.process.executable == own;
  return peer;
}

qt::LocalSocketTraits localSocketTraits(std::string folder) {
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  return {.folder = [folder = std::move(folder)] { return openFolder(folder); },
          .otherFolders = [] { return std::vector<desktop::OpenFolder>(); },
          .peer = peerOf,
          .inherited = [](std::string_view) { return std::optional<int>(); }};
}

}  // namespace quillard::macos
