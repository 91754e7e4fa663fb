// Rejected: no matching function for call to 'CFStringGetLength'
#include <CoreFoundation/CoreFoundation.h>

CFIndex lengthOf(CFArrayRef array) { return CFStringGetLength(array); }
