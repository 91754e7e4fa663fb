#pragma once

// What the binding uses of the window list and of synthetic events, from public documentation.

#include <CoreFoundation/CoreFoundation.h>
#include <sys/types.h>

extern "C" {

typedef double CGFloat;
struct CGPoint {
  CGFloat x;
  CGFloat y;
};
struct CGSize {
  CGFloat width;
  CGFloat height;
};
struct CGRect {
  CGPoint origin;
  CGSize size;
};
typedef struct CGPoint CGPoint;
typedef struct CGSize CGSize;
typedef struct CGRect CGRect;

// ---- The window list
typedef uint32_t CGWindowID;
typedef CF_OPTIONS(uint32_t, CGWindowListOption) {
  kCGWindowListOptionAll = 0,
  kCGWindowListOptionOnScreenOnly = 1,
  kCGWindowListExcludeDesktopElements = 16,
};
enum : CGWindowID { kCGNullWindowID = 0 };
extern const CFStringRef kCGWindowNumber;
extern const CFStringRef kCGWindowOwnerPID;
extern const CFStringRef kCGWindowOwnerName;
extern const CFStringRef kCGWindowName;
extern const CFStringRef kCGWindowLayer;
extern const CFStringRef kCGWindowAlpha;
extern const CFStringRef kCGWindowBounds;
QUILLARD_RETURNS_RETAINED CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo);

// ---- Synthetic events
typedef struct __CGEvent* CGEventRef;
typedef struct __CGEventSource* CGEventSourceRef;
typedef uint16_t CGKeyCode;
typedef CF_ENUM(int32_t, CGEventSourceStateID) { kCGEventSourceStateHIDSystemState = 1 };
typedef CF_ENUM(uint32_t, CGEventType) { kCGEventLeftMouseDown = 1, kCGEventLeftMouseUp = 2, kCGEventMouseMoved = 5 };
typedef CF_ENUM(uint32_t, CGMouseButton) { kCGMouseButtonLeft = 0 };
typedef CF_ENUM(uint32_t, CGEventTapLocation) { kCGHIDEventTap = 0 };
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state);
CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType type, CGPoint position, CGMouseButton button);
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool isDown);
void CGEventPost(CGEventTapLocation tap, CGEventRef event);
void CGEventPostToPid(pid_t process, CGEventRef event) QUILLARD_SINCE(10.11);

}  // extern "C"
