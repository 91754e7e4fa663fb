// The window list and synthetic events, over the simulated desktop.

#include <map>

#include "macos/fakes/MacSystem.h"

using namespace quillard::fakes;
using quillard::platform::KeyCode;
using quillard::platform::MouseEventType;
using quillard::platform::SyntheticEvent;
using quillard::platform::WindowListEntry;
using quillard::platform::WindowListOptions;

namespace {

Held windowObject(const WindowListEntry& window) {
  std::vector<std::pair<Held, Held>> entries;
  const auto put = [&](CFStringRef key, Held value) { entries.emplace_back(Held::share(key), std::move(value)); };
  if (window.number) put(kCGWindowNumber, integerObject(*window.number));
  if (window.ownerProcessIdentifier) put(kCGWindowOwnerPID, integerObject(*window.ownerProcessIdentifier));
  if (window.ownerName) put(kCGWindowOwnerName, stringObject(*window.ownerName));
  // Without the permission to record the screen, the server keeps the names of windows to itself.
  if (window.windowName && MacSystem::current().mayRecordScreen) put(kCGWindowName, stringObject(*window.windowName));
  if (window.layer) put(kCGWindowLayer, integerObject(*window.layer));
  if (window.alpha) put(kCGWindowAlpha, realObject(*window.alpha));
  if (window.bounds) {
    put(kCGWindowBounds, dictionaryObject({{Held::share(CFSTR("X")), realObject(window.bounds->x)},
                                           {Held::share(CFSTR("Y")), realObject(window.bounds->y)},
                                           {Held::share(CFSTR("Width")), realObject(window.bounds->width)},
                                           {Held::share(CFSTR("Height")), realObject(window.bounds->height)}}));
  }
  return dictionaryObject(entries);
}

CGEventRef eventObject(CGEventSourceRef source, std::unique_ptr<SyntheticEvent> event, const char* function) {
  static_cast<void>(checked(source, Type::eventSource, function));
  return event ? new __CGEvent(std::move(event)) : nullptr;
}

MouseEventType mouseType(CGEventType type) {
  switch (type) {
    case kCGEventLeftMouseDown:
      return MouseEventType::leftMouseDown;
    case kCGEventLeftMouseUp:
      return MouseEventType::leftMouseUp;
    case kCGEventMouseMoved:
      return MouseEventType::moved;
  }
  stopForMisuse(__func__, "called for another event");
}

}  // namespace

extern "C" {

const CFStringRef kCGWindowNumber = CFSTR("kCGWindowNumber");
const CFStringRef kCGWindowOwnerPID = CFSTR("kCGWindowOwnerPID");
const CFStringRef kCGWindowOwnerName = CFSTR("kCGWindowOwnerName");
const CFStringRef kCGWindowName = CFSTR("kCGWindowName");
const CFStringRef kCGWindowLayer = CFSTR("kCGWindowLayer");
const CFStringRef kCGWindowAlpha = CFSTR("kCGWindowAlpha");
const CFStringRef kCGWindowBounds = CFSTR("kCGWindowBounds");

CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo) {
  MacSystem& system = MacSystem::current();
  if (!system.hasGraphicalSession || !system.desktop) return nullptr;
  constexpr auto kOnScreen = kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements;
  if (relativeTo != kCGNullWindowID || (option != kOnScreen && option != kCGWindowListExcludeDesktopElements)) {
    stopForMisuse(__func__, "called for another list");
  }
  std::vector<Held> windows = system.furtherWindows;
  for (const auto& window : system.desktop->windowList().copyWindowInfo(
           option == kOnScreen ? WindowListOptions::onScreenOnly : WindowListOptions::all)) {
    windows.push_back(windowObject(window));
  }
  return static_cast<CFArrayRef>(arrayObject(windows).give());
}

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state) {
  if (state != kCGEventSourceStateHIDSystemState) stopForMisuse(__func__, "called for another state");
  return MacSystem::current().hasEventSource ? new __CGEventSource : nullptr;
}

CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType type, CGPoint position, CGMouseButton) {
  return eventObject(source, MacSystem::current().events->createMouseEvent(mouseType(type), {position.x, position.y}),
                     __func__);
}

CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool isDown) {
  // By the numbers of the system's own keyboards.
  static const std::map<CGKeyCode, KeyCode> keys{{36, KeyCode::returnKey}, {49, KeyCode::space}, {53, KeyCode::escape}};
  if (!keys.contains(key)) stopForMisuse(__func__, "called for a key that no test needs");
  return eventObject(source, MacSystem::current().events->createKeyboardEvent(keys.at(key), isDown), __func__);
}

void CGEventPost(CGEventTapLocation, CGEventRef event) {
  MacSystem::current().events->postToDesktop(*checkedAs<__CGEvent>(event, Type::event, __func__).event, std::nullopt);
}

void CGEventPostToPid(pid_t process, CGEventRef event) {
  MacSystem::current().events->postToProcess(process, *checkedAs<__CGEvent>(event, Type::event, __func__).event);
}

}  // extern "C"
