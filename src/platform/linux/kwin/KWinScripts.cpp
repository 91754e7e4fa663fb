#include "platform/linux/kwin/KWinScripts.h"

#include <algorithm>

namespace quillard::kwin {
namespace {

// What both scripts know of the differences between the versions.
constexpr std::string_view kCommon = R"js((function () {
  function all() {
    return typeof workspace.windowList === "function" ? workspace.windowList() : workspace.clientList();
  }
  function isNew() { return "activeWindow" in workspace; }
)js";

constexpr std::string_view kWatching = R"js(
  function connect(object, names, handler) {
    for (var i = 0; i < names.length; i++) {
      var signal = object[names[i]];
      if (signal && signal.connect) { signal.connect(handler); return; }
    }
  }
  function rect(r) { return r ? [r.x, r.y, r.width, r.height] : null; }
  function number(desktop) {
    return typeof desktop === "number" ? desktop : desktop ? desktop.x11DesktopNumber : 0;
  }
  function desktopOf(w) {
    if (w.onAllDesktops) { return 0; }
    if (typeof w.desktop === "number") { return w.desktop; }
    var some = w.desktops || [];
    for (var i = 0; i < some.length; i++) {
      if (some[i] === workspace.currentDesktop) { return number(some[i]); }
    }
    return some.length ? number(some[0]) : 0;
  }
  function kindOf(w) {
    var kinds = ["desktopWindow", "dock", "criticalNotification", "notification", "onScreenDisplay", "dialog",
                 "utility", "splash", "menu", "dropdownMenu", "popupMenu", "tooltip"];
    for (var i = 0; i < kinds.length; i++) { if (w[kinds[i]]) { return kinds[i]; } }
    return "";
  }
  function described(w) {
    return {id: String(w.internalId), pid: w.pid, title: w.caption, app: w.desktopFileName || w.resourceClass,
            kind: kindOf(w), x11: String(w).indexOf("X11") >= 0, minimized: w.minimized, desktop: desktopOf(w),
            modal: w.modal, parent: w.transientFor ? String(w.transientFor.internalId) : null,
            frame: rect(w.frameGeometry), buffer: rect(w.bufferGeometry), opacity: w.opacity, above: w.keepAbove,
            below: w.keepBelow, skipTaskbar: w.skipTaskbar, order: w.stackingOrder};
  }
  function tell() {
    var active = isNew() ? workspace.activeWindow : workspace.activeClient;
    var size = workspace.virtualScreenSize;
    callDBus("%1", "/windows", "com.quillard.Windows", "tell", JSON.stringify({
      active: active ? String(active.internalId) : null, current: number(workspace.currentDesktop),
      screen: size ? [size.width, size.height] : null,
      windows: all().filter(function (w) { return w && !w.deleted; }).map(described)}));
  }
  function timer(interval) {
    if (typeof QTimer !== "function") { return tell; }
    var made = new QTimer();
    made.singleShot = true;
    made.interval = interval;
    made.timeout.connect(tell);
    return function () { if (!made.active) { made.start(); } };
  }
  var soon = timer(20);
  var later = timer(250);
  function hook(w) {
    connect(w, ["minimizedChanged"], soon);
    connect(w, ["desktopsChanged", "desktopChanged"], soon);
    connect(w, ["modalChanged"], soon);
    connect(w, ["transientChanged"], soon);
    connect(w, ["captionChanged"], later);
    connect(w, ["frameGeometryChanged", "geometryChanged"], later);
  }
  all().forEach(hook);
  connect(workspace, ["windowAdded", "clientAdded"], function (w) { hook(w); soon(); });
  connect(workspace, ["windowRemoved", "clientRemoved"], soon);
  connect(workspace, ["windowActivated", "clientActivated"], soon);
  connect(workspace, ["currentDesktopChanged"], soon);
  tell();
})();
)js";

constexpr std::string_view kFind = R"js(
  all().forEach(function (w) {
    if (String(w.internalId) !== "%1") { return; }
)js";

constexpr std::string_view kActivate = R"js(
    w.minimized = false;
    if (isNew()) { workspace.activeWindow = w; } else { workspace.activeClient = w; }
  });
})();
)js";

constexpr std::string_view kClose = R"js(
    w.closeWindow();
  });
})();
)js";

std::string filled(std::string_view text, std::string_view value) {
  constexpr std::string_view kPlace = "%1";
  std::string script{text};
  return script.replace(script.find(kPlace), kPlace.size(), value);
}

}  // namespace

std::string watchingScript(std::string_view busName) { return std::string(kCommon) + filled(kWatching, busName); }

std::string requestScript(WindowRequest request, std::string_view identifier) {
  const auto act = request == WindowRequest::activate ? kActivate : kClose;
  return std::string(kCommon) + filled(kFind, identifier) + std::string(act);
}

bool isWindowIdentifier(std::string_view text) {
  constexpr std::size_t kLength = 38;
  const auto isPart = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-'; };
  return text.size() == kLength && text.front() == '{' && text.back() == '}' &&
         std::all_of(text.begin() + 1, text.end() - 1, isPart);
}

}  // namespace quillard::kwin
