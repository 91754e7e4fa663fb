#include "private-desktop/DesktopKind.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <vector>

#include <unistd.h>

namespace quillard::privatedesktop {
namespace {

bool isOnPath(const std::string& program) {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path ? path : "/usr/local/bin:/usr/bin:/bin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (::access((folder + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

std::vector<std::string> programsOf(DesktopKind kind) {
  switch (kind) {
    case DesktopKind::openbox:
      return {"Xvfb", "openbox"};
    case DesktopKind::xfwm4:
      return {"Xvfb", "xfwm4", "xprop"};
    case DesktopKind::marco:
      return {"Xvfb", "marco", "xprop"};
    case DesktopKind::sway:
      return {"sway", "wtype"};
    case DesktopKind::weston:
      return {"weston"};
    case DesktopKind::kwin:
      return {"kwin_wayland"};
    case DesktopKind::gnome:
      return {"gnome-shell", "gjs"};
  }
  return {};
}

bool mayOthersEnterTheRootFolder() {
  return (std::filesystem::status("/").permissions() & std::filesystem::perms::others_exec) !=
         std::filesystem::perms::none;
}

}  // namespace

std::string nameOf(DesktopKind kind) {
  switch (kind) {
    case DesktopKind::openbox:
      return "openbox";
    case DesktopKind::xfwm4:
      return "xfwm4";
    case DesktopKind::marco:
      return "marco";
    case DesktopKind::sway:
      return "sway";
    case DesktopKind::weston:
      return "weston";
    case DesktopKind::kwin:
      return "KWin";
    case DesktopKind::gnome:
      return "GNOME";
  }
  return {};
}

std::optional<DesktopKind> kindNamed(std::string_view name) {
  for (const auto kind : {DesktopKind::openbox, DesktopKind::xfwm4, DesktopKind::marco, DesktopKind::sway,
                          DesktopKind::weston, DesktopKind::kwin, DesktopKind::gnome}) {
    if (nameOf(kind) == name) return kind;
  }
  return std::nullopt;
}

std::optional<std::string> missingFor(DesktopKind kind) {
  for (const auto& program : programsOf(kind)) {
    if (!isOnPath(program)) return "For " + nameOf(kind) + ", " + program + " is not installed.";
  }
  if (kind == DesktopKind::sway && ::geteuid() == 0 && !mayOthersEnterTheRootFolder()) {
    return "sway runs as no superuser, and other users may not enter this machine's root folder: chmod 755 /";
  }
  return std::nullopt;
}

}  // namespace quillard::privatedesktop
