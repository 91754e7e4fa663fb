// Rejected: Incorrect decrement of the reference count
#include <CoreFoundation/CoreFoundation.h>

void releaseWhatIsNotOurs(CFArrayRef array) {
  CFTypeRef element = CFArrayGetValueAtIndex(array, 0);
  CFRelease(element);
}
