#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "private-desktop/DesktopBus.h"
#include "private-desktop/DesktopKind.h"
#include "private-desktop/DesktopProgram.h"

namespace quillard::privatedesktop {

// A Wayland compositor of a private desktop, without a graphics card, a login manager or input devices. One thread.
class Compositor {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;
  // Starts a server of the desktop with these variables on top of its environment; an empty value takes one away.
  using Start = std::function<DesktopProgram(const std::vector<std::string>& command, const Variables& variables)>;
  struct Options {
    DesktopKind kind = DesktopKind::sway;
    int width = 1280;
    int height = 1024;
    bool hasKeyboard = true;   // Without one no program has the focus. KWin always has one.
    bool hasXwayland = false;  // Sway.
    bool isUnlocked = false;   // GNOME: whether it runs scripts and takes pictures for everyone.
    std::string preload;       // GNOME: a library that stands in for a login manager. Empty: none.
    std::string runFolder;     // Of the desktop's XDG_RUNTIME_DIR.
    std::string ownFolder;     // For files of its own; is there.
    std::string sessionBus;    // Where the session bus listens.
  };

  // Waits until programs can show windows; throws when that does not come, with what the compositor wrote.
  Compositor(const Options& options, const Start& start);
  Compositor(const Compositor&) = delete;
  Compositor& operator=(const Compositor&) = delete;

  // What programs need to find it.
  [[nodiscard]] Variables variables() const;
  // Of its X server. Empty: it has none.
  [[nodiscard]] const std::string& display() const { return displayName; }
  [[nodiscard]] DesktopProgram& program() { return server.at(0); }

 private:
  void startSway(const Start& start);
  void startWeston(const Start& start);
  void startKWin(const Start& start);
  void startGnome(const Start& start);
  void addGnomeKeyboard();
  void leaveOverview();
  [[noreturn]] void fail(const std::string& what);

  const Options options;
  std::string socketName;  // Of the Wayland display.
  std::string displayName;
  std::string swaySocket;              // Empty: it is not sway.
  std::vector<DesktopProgram> server;  // One at most.
  std::vector<DesktopProgram> others;
  std::optional<DesktopBus> keyboard;  // GNOME keeps a virtual keyboard for as long as its client is connected.
};

}  // namespace quillard::privatedesktop
