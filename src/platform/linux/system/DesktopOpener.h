#pragma once

#include <string_view>

namespace quillard::desktop {

// Opens things with whatever the user chose for them. Any thread.
class DesktopOpener {
 public:
  DesktopOpener() = default;
  DesktopOpener(const DesktopOpener&) = delete;
  DesktopOpener& operator=(const DesktopOpener&) = delete;
  virtual ~DesktopOpener() = default;

  // A web address, a settings page or a file address. False when the text is no address or nothing opens it.
  virtual bool openURL(std::string_view url) = 0;
  // Shows the folder in the file browser. `path` is absolute. False when it cannot be shown.
  virtual bool openFolder(std::string_view path) = 0;
};

}  // namespace quillard::desktop
