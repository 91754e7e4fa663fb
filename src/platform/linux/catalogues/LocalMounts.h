#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace quillard::catalogues {

// Which paths of a process lie on file systems that the kernel serves from this computer, by its list of mounts
// (/proc/PID/mountinfo).
//
// A file system that another program or computer serves (FUSE, a network) may let whoever opens a file wait for ever,
// and may name any owner for it. So files there are neither opened nor trusted.
class LocalMounts {
 public:
  // `isRootLocal`: what the root folder lies on, where the list does not say it: a process whose root folder was
  // changed (chroot) is told of the mounts below that folder only.
  explicit LocalMounts(std::string_view mountinfo, bool isRootLocal = false);

  // By the mount nearest above it. An unknown kind counts as not local, as does everything when there is no list,
  // or one that is cut off or too long: what is left of it may cover any other.
  [[nodiscard]] bool contains(std::string_view path) const;

 private:
  bool isRestLocal = false;
  std::unordered_map<std::string, bool> localByMountPoint;
};

}  // namespace quillard::catalogues
