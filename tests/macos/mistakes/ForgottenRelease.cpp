// Rejected: Potential leak of an object
#include <CoreFoundation/CoreFoundation.h>

CFIndex lengthOfSomething() {
  const UInt8 byte = 'x';
  CFStringRef text = CFStringCreateWithBytes(kCFAllocatorDefault, &byte, 1, kCFStringEncodingUTF8, false);
  if (!text) return 0;
  return CFStringGetLength(text);
}
