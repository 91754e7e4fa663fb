#include "platform/macos/WindowInfo.h"

#include <limits>
#include <optional>

#include <CoreGraphics/CoreGraphics.h>

#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::WindowListEntry;

CFTypeRef valueAt(CFDictionaryRef dictionary, CFStringRef key) { return CFDictionaryGetValue(dictionary, key); }

std::optional<std::int32_t> processOf(CFTypeRef value) {
  const auto number = integerOf(value);
  if (!number || *number < std::numeric_limits<std::int32_t>::min() ||
      *number > std::numeric_limits<std::int32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(*number);
}

std::optional<Rect> boundsOf(CFTypeRef value) {
  const auto bounds = cfCast<CFDictionaryRef>(value);
  if (!bounds) return std::nullopt;
  const auto x = numberOf(valueAt(bounds, CFSTR("X")));
  const auto y = numberOf(valueAt(bounds, CFSTR("Y")));
  const auto width = numberOf(valueAt(bounds, CFSTR("Width")));
  const auto height = numberOf(valueAt(bounds, CFSTR("Height")));
  if (!x || !y || !width || !height) return std::nullopt;
  return Rect{.x = *x, .y = *y, .width = *width, .height = *height};
}

WindowListEntry entryFrom(CFDictionaryRef window) {
  return {.ownerProcessIdentifier = processOf(valueAt(window, kCGWindowOwnerPID)),
          .ownerName = textOf(valueAt(window, kCGWindowOwnerName)),
          .windowName = textOf(valueAt(window, kCGWindowName)),
          .layer = integerOf(valueAt(window, kCGWindowLayer)),
          .alpha = numberOf(valueAt(window, kCGWindowAlpha)),
          .bounds = boundsOf(valueAt(window, kCGWindowBounds)),
          .number = integerOf(valueAt(window, kCGWindowNumber))};
}

bool contains(const Rect& bounds, Point point) {
  return point.x >= bounds.x && point.x < bounds.x + bounds.width && point.y >= bounds.y &&
         point.y < bounds.y + bounds.height;
}

}  // namespace

std::optional<std::vector<WindowListEntry>> copyWindowInfo(platform::WindowListOptions options) {
  constexpr CGWindowListOption kAll = kCGWindowListExcludeDesktopElements;
  constexpr CGWindowListOption kOnScreenOnly = kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements;
  const auto windows = CFHandle<CFArrayRef>::adopt(
      CGWindowListCopyWindowInfo(options == platform::WindowListOptions::all ? kAll : kOnScreenOnly, kCGNullWindowID));
  if (!cfCast<CFArrayRef>(windows.get())) return std::nullopt;
  std::vector<WindowListEntry> entries;
  for (CFIndex i = 0; i < CFArrayGetCount(windows.get()); ++i) {
    const auto window = cfCast<CFDictionaryRef>(CFArrayGetValueAtIndex(windows.get(), i));
    if (window) entries.push_back(entryFrom(window));
  }
  return entries;
}

std::optional<std::vector<WindowListEntry>> windowsAt(Point point) {
  auto windows = copyWindowInfo(platform::WindowListOptions::onScreenOnly);
  if (!windows) return std::nullopt;
  std::erase_if(*windows, [&](const WindowListEntry& window) {
    return !window.bounds || !contains(*window.bounds, point) || window.alpha.value_or(1) <= 0;
  });
  return windows;
}

}  // namespace quillard::macos
