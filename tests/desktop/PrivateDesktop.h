#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "desktop/DesktopProgram.h"
#include "desktop/ProgramKeeper.h"
#include "desktop/Waiting.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

struct PrivateDesktopOptions {
  enum class Accessibility {
    on,       // The bus is there, and toolkits are told to use it.
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

// A desktop of the test's own: X server, window manager, session bus and accessibility bus, home folder. Several live
// side by side and know nothing of each other. All of it goes with this object, and also when the test is killed.
// Whatever does not come up ends the test with an exception that says what, and what it wrote.
//
// While it lives, a failed expectation leaves a picture of its screen below the build folder, and prints where.
class PrivateDesktop {
 public:
  using Options = PrivateDesktopOptions;
  using Variables = std::vector<std::pair<std::string, std::string>>;

  explicit PrivateDesktop(const Options& options = {});
  PrivateDesktop(const PrivateDesktop&) = delete;
  PrivateDesktop& operator=(const PrivateDesktop&) = delete;
  ~PrivateDesktop();

  // ":7"; empty without a display.
  [[nodiscard]] const std::string& display() const { return displayName; }
  [[nodiscard]] const std::string& sessionBusAddress() const { return sessionBus; }
  // Empty when there is no accessibility bus.
  [[nodiscard]] const std::string& accessibilityBusAddress() const { return accessibilityBus; }
  // Below the folder of this desktop: "home", "run", "data", "config", "state", "cache", "tmp" are there.
  [[nodiscard]] std::string folder(const std::string& name) const { return root.path() + "/" + name; }
  // From the first step to the last.
  [[nodiscard]] std::chrono::milliseconds startTime() const { return upAfter; }

  // What programs on this desktop get: "NAME=value". Nothing of it comes from the test's own environment but PATH and
  // the options of sanitizers.
  [[nodiscard]] std::vector<std::string> environment() const;
  // Makes it the environment of the test itself, for code in this process that reads DISPLAY or the addresses of buses,
  // until the desktop goes. Call it while no other thread runs.
  void adoptEnvironment();

  // Starts a sample program by its name, any program by its path or by PATH. `variables` come on top of the
  // environment; an empty value takes one away. Does not wait for a window: sample programs say "ready".
  [[nodiscard]] DesktopProgram launch(const std::string& program, const std::vector<std::string>& arguments = {},
                                      const Variables& variables = {});
  // Copies a program (named as for launch) into this desktop under another name, and returns the path to launch.
  [[nodiscard]] std::string copyProgram(const std::string& program, const std::string& name) const;
  // Describes a program as installed ones are: `id` is without ".desktop"; `contents` begins with "[Desktop Entry]".
  void addDesktopEntry(const std::string& id, const std::string& contents) const;
  // Lets the session bus start `command` when somebody asks for `name`.
  void addBusService(const std::string& name, const std::string& command) const;

  // Switches the toolkits' accessibility on or off as a desktop's settings do.
  void setAccessibilityEnabled(bool isEnabled);
  // Writes the whole screen as PNG. There must be a display.
  void screenshot(const std::string& path) const;

  // The X server answers nobody until it goes on.
  void stopDisplay() { xServer.at(0).stop(); }
  void resumeDisplay() { xServer.at(0).resume(); }

  // End without a warning to programs, for tests of what happens then, and wait until they have gone.
  void killDisplay();
  void killSessionBus() { busServer.at(0).kill(); }
  void killAccessibilityBus();

 private:
  void makeFolders() const;
  void startDisplayAndBus();
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
  Variables replaced;  // The test's own, an empty value for what was not set.
  int startedPrograms = 0;
  const TemporaryFolder root;
  std::vector<DesktopProgram> xServer;  // Each of these holds one at most.
  std::vector<DesktopProgram> busServer;
  std::vector<DesktopProgram> accessibilityServer;
  std::vector<DesktopProgram> otherServers;
  ProgramKeeper keeper;  // Goes first, and lets servers tidy up; each of them alone would be killed.
};

}  // namespace quillard::test
