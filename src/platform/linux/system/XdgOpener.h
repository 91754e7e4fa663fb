#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/linux/system/DesktopOpener.h"

namespace quillard::desktop {

// What opening comes down to. All may be called from any thread that opens something.
struct OpenerActions {
  // Starts a program that lives on by itself. False when it cannot be started.
  std::function<bool(const std::vector<std::string>& command)> start;
  // Where the user lets this agent read other programs, and where they choose what starts at login. False when there is
  // no such place.
  std::function<bool()> openAccessibilitySettings;
  std::function<bool()> openLoginItems;
};

// Opens web addresses, files and folders with what the desktop's settings name for them (xdg-open). Addresses of any
// other kind are refused, but for the two settings pages that the agent knows by their names on macOS.
class XdgOpener final : public DesktopOpener {
 public:
  explicit XdgOpener(OpenerActions actions) : actions(std::move(actions)) {}

  bool openURL(std::string_view url) override;
  // False as well when there is no such folder.
  bool openFolder(std::string_view path) override;

 private:
  const OpenerActions actions;
};

// The programs that show this desktop's list of what starts at login, best first, by XDG_CURRENT_DESKTOP. Empty for
// desktops that have none.
[[nodiscard]] std::vector<std::vector<std::string>> loginItemPrograms(std::string_view currentDesktop);

}  // namespace quillard::desktop
