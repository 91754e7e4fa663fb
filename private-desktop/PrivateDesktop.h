#pragma once

#include <chrono>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "private-desktop/Compositor.h"
#include "private-desktop/DesktopKind.h"
#include "private-desktop/DesktopProgram.h"
#include "private-desktop/DisplayNumber.h"
#include "private-desktop/ProgramKeeper.h"
#include "private-desktop/TemporaryFolder.h"
#include "private-desktop/Waiting.h"

namespace quillard::privatedesktop {

struct PrivateDesktopOptions {
  enum class Accessibility {
    on,       // The bus is there, and toolkits are asked to use it.
    off,      // The bus is there, IsEnabled is false: GTK uses it nevertheless, Qt does not.
    missing,  // There is no such bus.
  };
  enum class SecretService { none, unlocked, locked };

  DesktopKind kind = DesktopKind::openbox;
  int width = 1280;  // Of the screen, in pixels.
  int height = 1024;
  // Without: no X server, and no compositor either, as for a program that cannot reach its own. Of kinds with an X
  // server only; those with a Wayland compositor have none anyway.
  bool hasDisplay = true;
  bool hasWindowManager = true;  // Of kinds with an X server.
  bool hasXwayland = false;      // An X server within sway, for X programs; `display` names it.
  bool hasKeyboard = true;       // Without one no program has the focus. X servers and KWin always have one.
  Accessibility accessibility = Accessibility::on;
  bool hasNotifications = false;                      // dunst.
  SecretService secretService = SecretService::none;  // gnome-keyring; locked, its prompter asks on this desktop.
  // GNOME Shell runs scripts and takes pictures for every program, which it never does on a user's desktop.
  bool isShellUnlocked = false;
  // A library that is loaded into GNOME Shell, to stand in for a login manager. Empty: none.
  std::string shellPreload;
  // Programs that the system bus starts when a client calls their names: name, command. Only kinds with a Wayland
  // compositor have a system bus, and programs there get it in place of the machine's.
  std::vector<std::pair<std::string, std::string>> systemServices;
};

// A desktop of this process's own: X server and window manager or a Wayland compositor, session bus, accessibility bus
// and home folder. It needs no rights of root, graphics card, login manager or running desktop. Several
// run side by side and are isolated from each other and from the user's desktop. All of it ends with this object, and
// also when this process is killed. The constructor throws when a server does not start, with what the server wrote.
// One thread.
class PrivateDesktop {
 public:
  using Options = PrivateDesktopOptions;
  using Variables = std::vector<std::pair<std::string, std::string>>;

  explicit PrivateDesktop(const Options& options = {});
  PrivateDesktop(const PrivateDesktop&) = delete;
  PrivateDesktop& operator=(const PrivateDesktop&) = delete;
  ~PrivateDesktop();

  [[nodiscard]] DesktopKind kind() const { return options.kind; }
  // ":1007"; empty without an X server. No other private desktop of this machine gets the same number while this object
  // lives, even after `killDisplay`.
  [[nodiscard]] const std::string& display() const { return displayName; }
  [[nodiscard]] const std::string& sessionBusAddress() const { return sessionBus; }
  // Empty when there is no accessibility bus.
  [[nodiscard]] const std::string& accessibilityBusAddress() const { return accessibilityBus; }
  // Below the folder of this desktop: "home", "run", "data", "config", "state", "cache", "tmp" are there.
  [[nodiscard]] std::string folder(const std::string& name) const { return root.path() + "/" + name; }
  // From the first step to the last.
  [[nodiscard]] std::chrono::milliseconds startTime() const { return upAfter; }

  // What programs on this desktop get: "NAME=value". Of this process's own environment they get PATH and the options of
  // sanitizers only.
  [[nodiscard]] std::vector<std::string> environment() const;
  // Makes it the environment of this process, for code here that reads DISPLAY or the addresses of buses, until this
  // object is destroyed. Call it while no other thread runs.
  void adoptEnvironment();

  // Starts a sample program by its name, any program by its path or by PATH. `variables` come on top of the
  // environment; an empty value takes one away. Does not wait for a window: sample programs say "ready".
  [[nodiscard]] DesktopProgram launch(const std::string& program, const std::vector<std::string>& arguments = {},
                                      const Variables& variables = {});
  // Copies a program (named as for launch) into this desktop under another name, and returns the path to launch.
  [[nodiscard]] std::string copyProgram(const std::string& program, const std::string& name) const;
  // Describes a program as installed ones are: `id` is without ".desktop"; `contents` begins with "[Desktop Entry]".
  void addDesktopEntry(const std::string& id, const std::string& contents) const;
  // Lets the session bus start `command` when a client calls `name`.
  void addBusService(const std::string& name, const std::string& command) const;
  // Lets the session bus start what this machine has installed for `name`. Nothing happens when there is none.
  void addInstalledBusService(const std::string& name) const;

  // The Wayland compositor. There must be one.
  [[nodiscard]] DesktopProgram& compositor() { return compositors.front().program(); }

  // Switches the toolkits' accessibility on or off as a desktop's settings do.
  void setAccessibilityEnabled(bool isEnabled);

  // Between the two calls the X server answers no client.
  void stopDisplay() { xServer.at(0).stop(); }
  void resumeDisplay() { xServer.at(0).resume(); }

  // End a server without a warning to programs, and wait until it has gone.
  void killDisplay();
  void killSessionBus() { busServer.at(0).kill(); }
  void killAccessibilityBus();

 private:
  [[nodiscard]] bool hasXServer() const { return options.hasDisplay && !isWayland(options.kind); }
  void makeFolders() const;
  void startDisplayAndBus();
  void startSystemBus();
  void startCompositor();
  void startWindowManager();
  void startDisplay();
  void waitForDisplay();
  void startAccessibility();
  void startServices();
  DesktopProgram startServer(std::vector<std::string> command, const std::string& input = {},
                             const Variables& more = {});
  // `more` on top of the environment.
  [[nodiscard]] std::vector<std::string> environmentWith(const Variables& more) const;
  [[nodiscard]] std::string nextFiles();
  [[nodiscard]] Variables variables() const;

  const Options options;
  std::string displayName;
  std::string sessionBus;
  std::string accessibilityBus;
  std::chrono::milliseconds upAfter{0};
  Variables replaced;  // This process's own, an empty value for what was not set.
  int startedPrograms = 0;
  const TemporaryFolder root;
  std::optional<DisplayNumber> displayNumber;  // Released after the X server has gone.
  std::vector<DesktopProgram> xServer;         // Each of these holds one at most.
  std::vector<DesktopProgram> busServer;
  std::vector<DesktopProgram> accessibilityServer;
  std::vector<DesktopProgram> otherServers;
  std::list<Compositor> compositors;
  ProgramKeeper keeper;  // Destroyed first, and lets servers clean up; each of them alone would be killed.
};

}  // namespace quillard::privatedesktop
