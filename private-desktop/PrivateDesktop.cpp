#include "private-desktop/PrivateDesktop.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include <signal.h>
#include <sys/stat.h>

#include "private-desktop/BusConfiguration.h"
#include "private-desktop/DesktopBus.h"

namespace quillard::privatedesktop {
namespace {

namespace fs = std::filesystem;

// At-spi2-core is in one of these, by distribution.
constexpr const char* kLauncherPlaces[] = {"/usr/libexec/at-spi-bus-launcher",
                                           "/usr/lib/at-spi2-core/at-spi-bus-launcher", "/usr/lib/at-spi-bus-launcher"};
constexpr const char* kPrompterPlaces[] = {"/usr/libexec/gcr-prompter", "/usr/lib/gcr/gcr-prompter",
                                           "/usr/lib/gcr-prompter"};
constexpr int kMostDisplays = 20;  // Numbers that are tried before the X server counts as broken.
constexpr const char* kWindowManagerIsUp = "the window manager is up";

// What would lead programs to another desktop, or change how toolkits behave on this one.
constexpr const char* kForeign[] = {"DISPLAY",
                                    "XAUTHORITY",
                                    "WAYLAND_DISPLAY",
                                    "SWAYSOCK",
                                    "KDE_FULL_SESSION",
                                    "KDE_SESSION_VERSION",
                                    "DBUS_SYSTEM_BUS_ADDRESS",
                                    "DBUS_SESSION_BUS_ADDRESS",
                                    "AT_SPI_BUS_ADDRESS",
                                    "NO_AT_BRIDGE",
                                    "GTK_A11Y",
                                    "GTK_MODULES",
                                    "GTK_THEME",
                                    "QT_ACCESSIBILITY",
                                    "QT_LINUX_ACCESSIBILITY_ALWAYS_ON",
                                    "QT_QPA_PLATFORMTHEME",
                                    "QT_STYLE_OVERRIDE",
                                    "SESSION_MANAGER",
                                    "DESKTOP_SESSION",
                                    "XDG_CURRENT_DESKTOP"};
// Passed on to programs: where to find them, and how instrumented ones shall behave.
constexpr const char* kInherited[] = {"PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"};

template <std::size_t kCount>
std::string firstThere(const char* const (&places)[kCount]) {
  for (const char* place : places) {
    if (fs::exists(place)) return place;
  }
  throw std::runtime_error(std::string("Not installed: ") + places[0]);
}

[[noreturn]] void fail(const std::string& what, const DesktopProgram& program) {
  throw std::runtime_error(what + " is not up in time. It wrote: " + program.output() + program.errors());
}

// The first line that a server prints, which is how it says where it can be reached.
std::string firstLine(const std::string& what, DesktopProgram& program) {
  if (!program.waitForOutput("\n")) fail(what, program);
  const std::string output = program.output();
  return output.substr(0, output.find('\n'));
}

std::string serviceDescription(const std::string& name, const std::string& command) {
  return "[D-BUS Service]\nName=" + name + "\nExec=" + command + "\n";
}

void setVariable(const std::string& name, const std::string& value) {
  if (value.empty()) {
    ::unsetenv(name.c_str());
  } else {
    ::setenv(name.c_str(), value.c_str(), 1);
  }
}

}  // namespace

PrivateDesktop::PrivateDesktop(const Options& options)
    : options(options), keeper(root.lifelineDescriptor(), root.path()) {
  const auto begin = std::chrono::steady_clock::now();
  makeFolders();
  startDisplayAndBus();
  startServices();
  startAccessibility();
  const bool hasWindowManager = hasXServer() && options.hasWindowManager;
  if (hasWindowManager && !otherServers.front().waitForOutput(kWindowManagerIsUp)) {
    fail("The window manager", otherServers.back());
  }
  if (isWayland(options.kind)) startCompositor();
  upAfter = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

PrivateDesktop::~PrivateDesktop() {
  for (const auto& [name, value] : replaced) setVariable(name, value);
}

void PrivateDesktop::makeFolders() const {
  for (const char* name : {"home", "run", "data", "data/applications", "config", "config/dunst", "state", "cache",
                           "tmp", "bin", "streams", "services", "system-services", "compositor"}) {
    ::mkdir(folder(name).c_str(), 0700);
  }
}

// Each step waits for its server's own sign; those that do not need each other start together.
void PrivateDesktop::startDisplayAndBus() {
  const std::string configuration = folder("bus.conf");
  std::ofstream(configuration) << busConfiguration(folder("run/bus"), folder("services"));
  if (hasXServer()) startDisplay();
  if (isWayland(options.kind)) startSystemBus();
  busServer.push_back(
      startServer({"dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile", "--print-address=1"}));
  sessionBus = firstLine("The session bus", busServer.front());
  if (hasXServer()) waitForDisplay();
}

void PrivateDesktop::startSystemBus() {
  const std::string configuration = folder("system.conf");
  std::ofstream(configuration) << busConfiguration(folder("run/system"), folder("system-services"));
  for (const auto& [name, command] : options.systemServices) {
    std::ofstream(folder("system-services/" + name + ".service")) << serviceDescription(name, command);
  }
  otherServers.push_back(
      startServer({"dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile", "--print-address=1"}));
  static_cast<void>(firstLine("The system bus", otherServers.back()));
}

// Before it, so that its own toolkit finds the accessibility bus, and is asked to use it.
void PrivateDesktop::startCompositor() {
  if (options.kind == DesktopKind::gnome) {
    addInstalledBusService("org.gnome.Shell.Notifications");
    // It has warned already that it cannot lock the screen without its login manager. It shows one notification at a
    // time, and the first one for as long as nobody is at the computer: all others would wait for that warning.
    fs::create_directories(folder("data/gnome-shell"));
    std::ofstream(folder("data/gnome-shell/lock-warning-shown")) << "";
  }
  compositors.emplace_back(Compositor::Options{.kind = options.kind,
                                               .width = options.width,
                                               .height = options.height,
                                               .hasKeyboard = options.hasKeyboard,
                                               .hasXwayland = options.hasXwayland,
                                               .isUnlocked = options.isShellUnlocked,
                                               .preload = options.shellPreload,
                                               .runFolder = folder("run"),
                                               .ownFolder = folder("compositor"),
                                               .sessionBus = sessionBus},
                           [this](const auto& command, const auto& more) { return startServer(command, {}, more); });
  displayName = compositors.back().display();
  DesktopBus(sessionBus).setServiceEnvironment(environment());
}

// Openbox runs a command when it is up; of the others, the X server tells.
void PrivateDesktop::startWindowManager() {
  const std::string sayIt = std::string("echo ") + kWindowManagerIsUp;
  if (options.kind == DesktopKind::openbox) {
    otherServers.push_back(startServer({"openbox", "--sm-disable", "--startup", sayIt}));
    return;
  }
  const std::string wait = "until xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'; do sleep 0.01; done; ";
  otherServers.push_back(startServer({"sh", "-c", wait + sayIt}));
  if (options.kind == DesktopKind::xfwm4) addInstalledBusService("org.xfce.Xfconf");
  otherServers.push_back(startServer({nameOf(options.kind)}));
}

void PrivateDesktop::startDisplay() {
  displayNumber = DisplayNumber::next(displayNumber);
  const std::string screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
  xServer.clear();
  xServer.push_back(startServer({"Xvfb", displayNumber->name(), "-displayfd", "1", "-screen", "0", screen, "-nolisten",
                                 "tcp", "-noreset", "-ac"}));
}

// A server of a foreign program, or of a desktop whose process was killed just now, may have the number: the next one
// is taken then.
void PrivateDesktop::waitForDisplay() {
  for (int attempt = 1; !xServer.front().waitForOutput("\n"); ++attempt) {
    if (attempt == kMostDisplays || xServer.front().isRunning()) fail("The X server", xServer.front());
    startDisplay();
  }
  displayName = displayNumber->name();
}

void PrivateDesktop::startServices() {
  if (hasXServer() && options.hasWindowManager) startWindowManager();
  if (options.accessibility != Options::Accessibility::missing) {
    accessibilityServer.push_back(startServer({firstThere(kLauncherPlaces), "--launch-immediately"}));
  }
  DesktopBus bus(sessionBus);
  if (options.hasNotifications) {
    std::ofstream(folder("config/dunst/dunstrc")) << "[global]\n";
    otherServers.push_back(startServer({"dunst"}));
    if (!waitFor([&] { return bus.isNameOwned("org.freedesktop.Notifications"); })) fail("dunst", otherServers.back());
  }
  if (options.secretService != Options::SecretService::none) {
    bus.setServiceEnvironment(environment());
    addBusService("org.gnome.keyring.SystemPrompter", firstThere(kPrompterPlaces));
    std::vector<std::string> command{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    const bool isUnlocked = options.secretService == Options::SecretService::unlocked;
    if (isUnlocked) command.emplace_back("--unlock");
    otherServers.push_back(startServer(command, isUnlocked ? "a password of this desktop\n" : ""));
    if (!waitFor([&] { return bus.isNameOwned("org.freedesktop.secrets"); })) {
      fail("gnome-keyring", otherServers.back());
    }
  }
}

void PrivateDesktop::startAccessibility() {
  if (options.accessibility == Options::Accessibility::missing) return;
  DesktopBus bus(sessionBus);
  const bool isUp = waitFor([&] {
    accessibilityBus = bus.accessibilityBusAddress();
    return !accessibilityBus.empty();
  });
  // Asking for the registry starts it.
  if (!isUp || !DesktopBus(accessibilityBus).ping("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")) {
    fail("The accessibility bus", accessibilityServer.front());
  }
  if (options.accessibility == Options::Accessibility::on) setAccessibilityEnabled(true);
}

void PrivateDesktop::setAccessibilityEnabled(bool isEnabled) {
  if (!DesktopBus(sessionBus).setAccessibilityEnabled(isEnabled)) {
    throw std::runtime_error("Accessibility cannot be switched");
  }
}

void PrivateDesktop::killDisplay() {
  xServer.at(0).end();  // SIGKILL would leave its socket among those of the machine.
  static_cast<void>(xServer.at(0).wait());
}

void PrivateDesktop::killAccessibilityBus() {
  const pid_t bus = DesktopBus(accessibilityBus).processOf("org.freedesktop.DBus");
  accessibilityServer.at(0).kill();  // First, lest it starts another one.
  if (bus > 0) ::kill(bus, SIGKILL);
  const bool isGone = waitFor([&] {
    try {
      const DesktopBus another(accessibilityBus);
      return false;
    } catch (const std::runtime_error&) {
      return true;
    }
  });
  if (!isGone) throw std::runtime_error("The accessibility bus does not go");
}

PrivateDesktop::Variables PrivateDesktop::variables() const {
  const char* const platformOfQt = hasXServer() ? "xcb" : isWayland(options.kind) ? "wayland" : "offscreen";
  Variables result{{"HOME", folder("home")},
                   {"XDG_RUNTIME_DIR", folder("run")},
                   {"XDG_DATA_HOME", folder("data")},
                   {"XDG_CONFIG_HOME", folder("config")},
                   {"XDG_STATE_HOME", folder("state")},
                   {"XDG_CACHE_HOME", folder("cache")},
                   {"XDG_DATA_DIRS", "/usr/local/share:/usr/share"},
                   {"TMPDIR", folder("tmp")},
                   {"LC_ALL", "C.UTF-8"},
                   {"XDG_SESSION_TYPE", hasXServer() ? "x11" : "wayland"},
                   {"GDK_BACKEND", hasXServer() ? "x11" : "wayland"},
                   {"QT_QPA_PLATFORM", platformOfQt},
                   {"GSETTINGS_BACKEND", "memory"},  // No settings, file systems or portals of the machine.
                   {"GIO_USE_VFS", "local"},
                   {"GIO_USE_VOLUME_MONITOR", "unix"},
                   {"GTK_USE_PORTAL", "0"},
                   {"GSK_RENDERER", "cairo"}};  // With its default GTK 4 hangs for seconds on such an X server.
  if (hasXServer()) {
    if (!displayName.empty()) result.emplace_back("DISPLAY", displayName);
  } else if (isWayland(options.kind)) {
    result.emplace_back("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder("run/system"));
    for (const auto& compositor : compositors) {
      for (const auto& variable : compositor.variables()) result.push_back(variable);
    }
  } else {
    result.emplace_back("WAYLAND_DISPLAY", "wayland-0");
  }
  if (!sessionBus.empty()) result.emplace_back("DBUS_SESSION_BUS_ADDRESS", sessionBus);
  if (options.accessibility == Options::Accessibility::missing) {
    result.emplace_back("NO_AT_BRIDGE", "1");
    result.emplace_back("GTK_A11Y", "none");
  }
  return result;
}

std::vector<std::string> PrivateDesktop::environment() const {
  std::vector<std::string> result;
  for (const auto& [name, value] : variables()) result.push_back(name + "=" + value);
  for (const char* name : kInherited) {
    if (const char* const value = std::getenv(name)) result.push_back(std::string(name) + "=" + value);
  }
  return result;
}

void PrivateDesktop::adoptEnvironment() {
  Variables wanted = variables();
  for (const char* name : kForeign) {
    const bool isSet =
        std::any_of(wanted.begin(), wanted.end(), [&](const auto& entry) { return entry.first == name; });
    if (!isSet) wanted.emplace_back(name, "");
  }
  for (const auto& [name, value] : wanted) {
    const char* const present = std::getenv(name.c_str());
    replaced.emplace_back(name, present ? present : "");
    setVariable(name, value);
  }
}

DesktopProgram PrivateDesktop::launch(const std::string& program, const std::vector<std::string>& arguments,
                                      const Variables& variables) {
  ProgramRequest request{.folder = folder("home"), .environment = environmentWith(variables)};
  const std::string sample = std::string(QUILLARD_SAMPLE_PROGRAMS) + "/" + program;
  const bool isSample = program.find('/') == std::string::npos && fs::exists(sample);
  request.command.push_back(isSample ? sample : program);
  request.command.insert(request.command.end(), arguments.begin(), arguments.end());
  return keeper.start(request, nextFiles(), {});
}

DesktopProgram PrivateDesktop::startServer(std::vector<std::string> command, const std::string& input,
                                           const Variables& more) {
  return keeper.start(
      {.isServer = true, .folder = folder("home"), .command = std::move(command), .environment = environmentWith(more)},
      nextFiles(), input);
}

std::vector<std::string> PrivateDesktop::environmentWith(const Variables& more) const {
  std::vector<std::string> result = environment();
  for (const auto& [name, value] : more) {
    std::erase_if(result, [&, key = name + "="](const auto& entry) { return entry.rfind(key, 0) == 0; });
    if (!value.empty()) result.push_back(name + "=" + value);
  }
  return result;
}

std::string PrivateDesktop::nextFiles() { return folder("streams/") + std::to_string(startedPrograms++); }

std::string PrivateDesktop::copyProgram(const std::string& program, const std::string& name) const {
  const bool isPath = program.find('/') != std::string::npos;
  const std::string copy = folder("bin/" + name);
  fs::copy_file(isPath ? program : std::string(QUILLARD_SAMPLE_PROGRAMS) + "/" + program, copy);
  return copy;
}

void PrivateDesktop::addDesktopEntry(const std::string& id, const std::string& contents) const {
  std::ofstream(folder("data/applications/" + id + ".desktop")) << contents;
}

void PrivateDesktop::addBusService(const std::string& name, const std::string& command) const {
  std::ofstream(folder("services/" + name + ".service")) << serviceDescription(name, command);
  DesktopBus(sessionBus).reloadConfiguration();
}

void PrivateDesktop::addInstalledBusService(const std::string& name) const {
  const std::string file = "/" + name + ".service";
  if (!fs::exists("/usr/share/dbus-1/services" + file)) return;
  fs::copy_file("/usr/share/dbus-1/services" + file, folder("services") + file, fs::copy_options::overwrite_existing);
  DesktopBus(sessionBus).reloadConfiguration();
}

}  // namespace quillard::privatedesktop
