#include "platform/linux/system/RuntimeFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kForOthers = 0077;

std::optional<std::string> absolutePath(const platform::Environment& environment, std::string_view variable) {
  auto path = environment.value(variable);
  return path && path->starts_with('/') ? path : std::nullopt;
}

}  // namespace

std::optional<int> openOwnFolder(const std::string& path) {
  const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (folder < 0) return std::nullopt;
  struct stat status {};
  if (::fstat(folder, &status) == 0 && status.st_uid == ::geteuid() && (status.st_mode & kForOthers) == 0) {
    return folder;
  }
  ::close(folder);
  return std::nullopt;
}

std::optional<std::string> sessionFolder(const platform::Environment& environment, std::string_view sessionFolders) {
  if (auto path = absolutePath(environment, "XDG_RUNTIME_DIR")) return path;
  auto path = std::string(sessionFolders) + "/" + std::to_string(::geteuid());
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return path;
}

std::optional<int> openRuntimeFolder(const platform::Environment& environment, std::string_view sessionFolders) {
  if (const auto path = sessionFolder(environment, sessionFolders)) {
    if (const auto folder = openOwnFolder(*path)) return folder;
  }
  const std::string path =
      absolutePath(environment, "TMPDIR").value_or("/tmp") + "/quillard-" + std::to_string(::geteuid());
  ::mkdir(path.c_str(), kOwnerOnly);  // What fails here shows when it is opened.
  return openOwnFolder(path);
}

}  // namespace quillard::desktop
