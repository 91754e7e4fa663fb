#include "private-desktop/Compositor.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <systemd/sd-bus.h>
#include <unistd.h>

#include "private-desktop/FileContents.h"
#include "private-desktop/Waiting.h"

namespace quillard::privatedesktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSocket = "wayland-0";
// Sway refuses to run as root. This is the user whom systems keep for such needs.
// It draws its first pictures by the processor, where others wait for nothing.
constexpr std::chrono::seconds kGnomeTimeout{60};
constexpr uid_t kNobody = 65534;
constexpr const char* kRemoteDesktop = "org.gnome.Mutter.RemoteDesktop";
constexpr const char* kRemoteDesktopSession = "org.gnome.Mutter.RemoteDesktop.Session";
constexpr std::uint32_t kShiftKey = 42;  // As the kernel numbers keys.

// Toolkits of the compositor itself choose as they do on a real desktop.
Compositor::Variables ownVariables(Compositor::Variables more) {
  more.insert(more.end(), {{"LIBGL_ALWAYS_SOFTWARE", "1"}, {"GDK_BACKEND", ""}, {"QT_QPA_PLATFORM", ""}});
  return more;
}

std::string foundOnPath(const std::string& program) {
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path ? path : "/usr/bin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (fs::exists(folder + "/" + program)) return folder + "/" + program;
  }
  return program;
}

}  // namespace

Compositor::Compositor(const Options& options, const Start& start) : options(options) {
  switch (options.kind) {
    case DesktopKind::sway:
      startSway(start);
      break;
    case DesktopKind::weston:
      startWeston(start);
      break;
    case DesktopKind::kwin:
      startKWin(start);
      break;
    case DesktopKind::gnome:
      startGnome(start);
      break;
    case DesktopKind::openbox:
    case DesktopKind::xfwm4:
    case DesktopKind::marco:
      throw std::logic_error(nameOf(options.kind) + " is no compositor");
  }
}

Compositor::Variables Compositor::variables() const {
  Variables result{{"WAYLAND_DISPLAY", socketName}, {"LIBGL_ALWAYS_SOFTWARE", "1"}};
  if (!displayName.empty()) result.emplace_back("DISPLAY", displayName);
  const auto add = [&](const char* name, const char* value) { result.emplace_back(name, value); };
  switch (options.kind) {
    case DesktopKind::sway:
      result.emplace_back("SWAYSOCK", swaySocket);
      add("XDG_CURRENT_DESKTOP", "sway");
      break;
    case DesktopKind::kwin:
      add("XDG_CURRENT_DESKTOP", "KDE");
      add("KDE_FULL_SESSION", "true");
      add("KDE_SESSION_VERSION", "5");
      break;
    case DesktopKind::gnome:
      add("XDG_CURRENT_DESKTOP", "GNOME");
      break;
    default:
      break;
  }
  return result;
}

void Compositor::fail(const std::string& what) {
  throw std::runtime_error(what + " is not up in time. It wrote: " + server.at(0).output() + server.at(0).errors());
}

// As another user where this one is root: in a folder that is that user's, which root can reach all the same.
void Compositor::startSway(const Start& start) {
  const std::string sign = options.ownFolder + "/up";
  std::ofstream(options.ownFolder + "/config")
      << "output HEADLESS-1 resolution " << options.width << "x" << options.height << "\nxwayland "
      << (options.hasXwayland ? "force" : "disable") << "\nexec echo \"$WAYLAND_DISPLAY $SWAYSOCK $DISPLAY\" >" << sign
      << ".new && mv " << sign << ".new " << sign << "\n";
  // Programs of another user than sway's are let in.
  const std::string xwayland = options.ownFolder + "/Xwayland";
  std::ofstream(xwayland) << "#!/bin/sh\nexec Xwayland \"$@\" -ac\n";
  fs::permissions(xwayland, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  std::vector<std::string> command{"sway", "-c", options.ownFolder + "/config"};
  if (::geteuid() == 0) {
    fs::permissions(fs::path(options.ownFolder).parent_path(), fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
    if (::chown(options.ownFolder.c_str(), kNobody, kNobody) != 0) throw std::runtime_error("chown");
    const std::string nobody = std::to_string(kNobody);
    command.insert(command.begin(), {"setpriv", "--reuid=" + nobody, "--regid=" + nobody, "--clear-groups"});
  }
  server.push_back(start(command, ownVariables({{"XDG_RUNTIME_DIR", options.ownFolder},
                                                {"HOME", options.ownFolder},
                                                {"WLR_BACKENDS", "headless"},
                                                {"WLR_LIBINPUT_NO_DEVICES", "1"},
                                                {"WLR_RENDERER", "pixman"},
                                                {"WLR_XWAYLAND", xwayland}})));
  if (!waitFor([&] { return fs::exists(sign) || !server[0].isRunning(); }) || !fs::exists(sign)) fail("sway");
  std::istringstream(fileContents(sign)) >> socketName >> swaySocket >> displayName;
  fs::create_symlink(options.ownFolder + "/" + socketName, options.runFolder + "/" + socketName);
  if (!options.hasKeyboard) return;
  // A keyboard is there for as long as this waits to press its key, which is longer than any test.
  others.push_back(start({"wtype", "-s", "86400000", "-k", "Shift_L"}, {{"WAYLAND_DISPLAY", socketName}}));
}

void Compositor::startWeston(const Start& start) {
  socketName = kSocket;
  server.push_back(
      start({"weston", "--backend=headless-backend.so", "--use-pixman", "--width=" + std::to_string(options.width),
             "--height=" + std::to_string(options.height), std::string("--socket=") + kSocket},
            ownVariables({})));
  const std::string socket = options.runFolder + "/" + kSocket;
  if (!waitFor([&] { return fs::exists(socket) || !server[0].isRunning(); }) || !fs::exists(socket)) fail("weston");
}

// From a copy: the installed file asks for a capability that containers withhold, and then does not start at all.
void Compositor::startKWin(const Start& start) {
  socketName = kSocket;
  const std::string copy = options.ownFolder + "/kwin_wayland";
  fs::copy_file(foundOnPath("kwin_wayland"), copy);
  server.push_back(start(
      {copy, "--virtual", "--width", std::to_string(options.width), "--height", std::to_string(options.height),
       "--no-lockscreen", "--socket", kSocket},
      ownVariables({{"XDG_CURRENT_DESKTOP", "KDE"}, {"KDE_FULL_SESSION", "true"}, {"KDE_SESSION_VERSION", "5"}})));
  DesktopBus bus(options.sessionBus);
  const std::string socket = options.runFolder + "/" + kSocket;
  const auto isUp = [&] { return fs::exists(socket) && bus.isNameOwned("org.kde.KWin"); };
  if (!waitFor([&] { return isUp() || !server[0].isRunning(); }) || !isUp()) fail("KWin");
}

void Compositor::startGnome(const Start& start) {
  socketName = kSocket;
  std::vector<std::string> command{
      "gnome-shell", "--headless",        "--wayland",
      "--no-x11",    "--virtual-monitor", std::to_string(options.width) + "x" + std::to_string(options.height)};
  if (options.isUnlocked) command.emplace_back("--unsafe-mode");
  server.push_back(start(command, ownVariables({{"XDG_CURRENT_DESKTOP", "GNOME"}, {"LD_PRELOAD", options.preload}})));
  // Its name is owned long before it is ready.
  const auto isUp = [&] {
    return (server[0].output() + server[0].errors()).find("GNOME Shell started") != std::string::npos;
  };
  if (!waitFor([&] { return isUp() || !server[0].isRunning(); }, kGnomeTimeout) || !isUp()) fail("GNOME Shell");
  leaveOverview();
  if (options.hasKeyboard) addGnomeKeyboard();
}

void Compositor::addGnomeKeyboard() {
  keyboard.emplace(options.sessionBus);
  sd_bus_message* reply = nullptr;
  const char* session = nullptr;
  const bool isMade = sd_bus_call_method(keyboard->get(), kRemoteDesktop, "/org/gnome/Mutter/RemoteDesktop",
                                         kRemoteDesktop, "CreateSession", nullptr, &reply, "") >= 0 &&
                      sd_bus_message_read(reply, "o", &session) >= 0;
  const std::string path = isMade ? session : "";
  sd_bus_message_unref(reply);
  const auto call = [&](const char* member, const char* types, auto... arguments) {
    return sd_bus_call_method(keyboard->get(), kRemoteDesktop, path.c_str(), kRemoteDesktopSession, member, nullptr,
                              nullptr, types, arguments...) >= 0;
  };
  const auto key = [&](int isDown) { return call("NotifyKeyboardKeycode", "ub", kShiftKey, isDown); };
  // The keyboard is there from its first key on.
  if (!isMade || !call("Start", "") || !key(1) || !key(0)) throw std::runtime_error("GNOME Shell gives no keyboard");
}

// In the overview, with which it begins, no program has the focus.
void Compositor::leaveOverview() {
  DesktopBus bus(options.sessionBus);
  if (sd_bus_set_property(bus.get(), "org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell", "OverviewActive",
                          nullptr, "b", 0) < 0) {
    throw std::runtime_error("GNOME Shell does not leave its overview");
  }
}

}  // namespace quillard::privatedesktop
