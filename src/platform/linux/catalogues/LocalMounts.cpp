#include "platform/linux/catalogues/LocalMounts.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace quillard::catalogues {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMostMounts = 4096;

bool isLocalKind(std::string_view kind) {
  constexpr std::array kKinds{"ext2"sv,     "ext3"sv,     "ext4"sv,  "xfs"sv,   "btrfs"sv,    "f2fs"sv,
                              "bcachefs"sv, "zfs"sv,      "jfs"sv,   "ntfs3"sv, "reiserfs"sv, "overlay"sv,
                              "aufs"sv,     "squashfs"sv, "erofs"sv, "tmpfs"sv, "ramfs"sv,    "iso9660"sv,
                              "udf"sv,      "vfat"sv,     "exfat"sv, "rootfs"sv};
  return std::find(kKinds.begin(), kKinds.end(), kind) != kKinds.end();
}

std::string_view takeField(std::string_view& line) {
  const auto field = line.substr(0, line.find(' '));
  line.remove_prefix(std::min(field.size() + 1, line.size()));
  return field;
}

// The kernel writes blanks and backslashes as three octal digits.
std::string unescaped(std::string_view field) {
  std::string text;
  const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
  for (std::size_t i = 0; i < field.size(); ++i) {
    const bool isEscape = field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) && isOctal(field[i + 2]) &&
                          isOctal(field[i + 3]);
    if (!isEscape) {
      text += field[i];
      continue;
    }
    text += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
    i += 3;
  }
  return text;
}

}  // namespace

LocalMounts::LocalMounts(std::string_view mountinfo, bool isRootLocal) {
  if (!mountinfo.ends_with('\n')) return;
  constexpr int kFieldsBeforeMountPoint = 4;
  constexpr std::string_view kSeparator = " - ";
  for (std::size_t count = 0; !mountinfo.empty() && count < kMostMounts; ++count) {
    auto line = mountinfo.substr(0, mountinfo.find('\n'));
    mountinfo.remove_prefix(std::min(line.size() + 1, mountinfo.size()));
    for (int field = 0; field < kFieldsBeforeMountPoint; ++field) takeField(line);
    const auto mountPoint = takeField(line);
    const auto separator = line.find(kSeparator);
    if (mountPoint.empty() || separator == std::string_view::npos) continue;
    line.remove_prefix(separator + kSeparator.size());
    localByMountPoint[unescaped(mountPoint)] = isLocalKind(takeField(line));  // The last one covers those before it.
  }
  isRestLocal = isRootLocal && mountinfo.empty() && !localByMountPoint.empty();
  if (!mountinfo.empty()) localByMountPoint.clear();
}

bool LocalMounts::contains(std::string_view path) const {
  while (!path.empty()) {
    const auto known = localByMountPoint.find(std::string(path));
    if (known != localByMountPoint.end()) return known->second;
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) return false;
    if (path == "/") return isRestLocal;
    path = path.substr(0, std::max<std::size_t>(slash, 1));
  }
  return false;
}

}  // namespace quillard::catalogues
