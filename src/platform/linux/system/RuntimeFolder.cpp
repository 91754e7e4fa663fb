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

std::optional<int> openRuntimeFolder(const platform::Environment& environment) {
  if (const auto path = absolutePath(environment, "XDG_RUNTIME_DIR")) {
    if (const auto folder = openOwnFolder(*path)) return folder;
  }
  const std::string path =
      absolutePath(environment, "TMPDIR").value_or("/tmp") + "/quillard-" + std::to_string(::geteuid());
  ::mkdir(path.c_str(), kOwnerOnly);  // What fails here shows when it is opened.
  return openOwnFolder(path);
}

}  // namespace quillard::desktop
