#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

  int width = 1280;  // Of the screen, in pixels.
  int height = 1024;
  bool hasDisplay = true;  // Without: no X server, as for a program that sees a Wayland session only.
  bool hasWindowManager = true;
  Accessibility accessibility = Accessibility::on;
  bool hasNotifications = false;                      // dunst.
  SecretService secretService = SecretService::none;  // gnome-keyring; locked, its prompter asks on this desktop.
};

// A desktop of this process's own: X server, window manager, session bus, accessibility bus and home folder. Several
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

  // ":1007"; empty without a display. No other private desktop of this machine gets the same number while this object
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
  void makeFolders() const;
  void startDisplayAndBus();
  void startDisplay();
  void waitForDisplay();
  void startAccessibility();
  void startServices();
  DesktopProgram startServer(std::vector<std::string> command, const std::string& input = {});
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
  ProgramKeeper keeper;  // Destroyed first, and lets servers clean up; each of them alone would be killed.
};

}  // namespace quillard::privatedesktop
