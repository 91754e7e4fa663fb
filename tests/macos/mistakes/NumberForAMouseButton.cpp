// Rejected: no matching function for call to 'CGEventCreateMouseEvent'
#include <CoreGraphics/CoreGraphics.h>

CGEventRef press(CGEventSourceRef source, CGPoint point) {
  return CGEventCreateMouseEvent(source, kCGEventLeftMouseDown, point, 0);
}
