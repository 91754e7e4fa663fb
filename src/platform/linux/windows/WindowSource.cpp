#include "platform/linux/windows/WindowSource.h"

#include <string>
#include <string_view>

#include "platform/linux/kwin/KWinWindows.h"
#include "platform/linux/storage/SessionBusAddress.h"
#include "platform/linux/sway/SwayWatch.h"
#include "platform/linux/sway/SwayWindows.h"
#include "platform/linux/x11/DesktopWatch.h"
#include "platform/linux/x11/XcbWindows.h"

namespace quillard::desktop {
namespace {

WindowSource xSource(const platform::Environment& environment, platform::SerialExecutor& mainThread,
                     WindowCoverage whenThere) {
  const auto display = environment.value("DISPLAY");
  auto windows = std::make_shared<x11::XcbWindows>(display, whenThere);
  auto watch = std::make_shared<x11::DesktopWatch>(display, *windows, mainThread);
  return {.windows = std::move(windows), .changes = std::move(watch)};
}

WindowSource swaySource(const std::string& path, platform::SerialExecutor& mainThread) {
  auto windows = std::make_shared<sway::SwayWindows>(path);
  auto watch = std::make_shared<sway::SwayWatch>(path, *windows, mainThread);
  return {.windows = std::move(windows), .changes = std::move(watch)};
}

WindowSource kwinSource(const platform::Environment& environment, platform::SerialExecutor& mainThread) {
  const auto folder = environment.value("XDG_RUNTIME_DIR").value_or("");
  auto windows = std::make_shared<kwin::KWinWindows>(
      kwin::KWinOptions{.sessionBusAddress = xdg::sessionBusAddress(environment), .scriptFolder = folder}, mainThread);
  return {.windows = windows, .changes = windows};
}

// A variable of sway's may be left over in the user's session manager from another session.
bool isSway(const platform::Environment& environment) {
  const bool hasSocket = !environment.value("SWAYSOCK").value_or("").empty();
  return hasSocket && (environment.value("XDG_CURRENT_DESKTOP").value_or("").empty() || isDesktop(environment, "sway"));
}

}  // namespace

bool isDesktop(const platform::Environment& environment, const std::string& name) {
  const auto names = ":" + environment.value("XDG_CURRENT_DESKTOP").value_or("") + ":";
  return names.find(":" + name + ":") != std::string::npos;
}

bool isXSession(const platform::Environment& environment) {
  return environment.value("WAYLAND_DISPLAY").value_or("").empty() &&
         environment.value("XDG_SESSION_TYPE") != "wayland";
}

WindowSourceKind windowSourceKind(const platform::Environment& environment) {
  if (isXSession(environment)) return WindowSourceKind::xServer;
  if (isSway(environment)) return WindowSourceKind::sway;
  const bool hasRuntimeFolder = environment.value("XDG_RUNTIME_DIR").value_or("").starts_with("/");
  return isDesktop(environment, "KDE") && hasRuntimeFolder ? WindowSourceKind::kwin : WindowSourceKind::guestXServer;
}

atspi::WindowEventKinds windowEventKinds(const platform::Environment& environment) {
  switch (windowSourceKind(environment)) {
    case WindowSourceKind::xServer:
      // Its own dialogs are no windows of the X server.
      return {.created = false, .activated = isDesktop(environment, "GNOME"), .shown = isDesktop(environment, "GNOME")};
    case WindowSourceKind::guestXServer:
      return {.created = true, .activated = true, .shown = true};
    case WindowSourceKind::kwin:
    case WindowSourceKind::sway:
      break;
  }
  return {.created = true};
}

atspi::WindowEventKinds windowEventKindsWhileUnknown(const platform::Environment& environment) {
  const auto kind = windowSourceKind(environment);
  const bool mayComeOrGo = kind == WindowSourceKind::kwin || kind == WindowSourceKind::sway;
  return {.activated = mayComeOrGo, .shown = mayComeOrGo};
}

WindowSource makeWindowSource(const platform::Environment& environment, platform::SerialExecutor& mainThread) {
  switch (windowSourceKind(environment)) {
    case WindowSourceKind::xServer:
      break;
    case WindowSourceKind::guestXServer:
      return xSource(environment, mainThread, WindowCoverage::some);
    case WindowSourceKind::kwin:
      return kwinSource(environment, mainThread);
    case WindowSourceKind::sway:
      return swaySource(environment.value("SWAYSOCK").value_or(""), mainThread);
  }
  return xSource(environment, mainThread, WindowCoverage::all);
}

}  // namespace quillard::desktop
