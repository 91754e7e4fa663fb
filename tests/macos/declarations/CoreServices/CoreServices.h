#pragma once

// What the binding uses of Apple events, from public documentation.

#include <CoreFoundation/CoreFoundation.h>

typedef uint32_t FourCharCode;
typedef FourCharCode AEEventClass;
typedef FourCharCode AEEventID;

enum { kCoreEventClass = 'aevt' };
enum { kAEReopenApplication = 'rapp' };
