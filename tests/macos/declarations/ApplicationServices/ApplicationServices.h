#pragma once

// What the binding uses of the accessibility interface, from public documentation.

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <sys/types.h>

extern "C" {

typedef CF_ENUM(int32_t, AXError) {
  kAXErrorSuccess = 0,
  kAXErrorFailure = -25200,
  kAXErrorIllegalArgument = -25201,
  kAXErrorInvalidUIElement = -25202,
  kAXErrorInvalidUIElementObserver = -25203,
  kAXErrorCannotComplete = -25204,
  kAXErrorAttributeUnsupported = -25205,
  kAXErrorActionUnsupported = -25206,
  kAXErrorNotificationUnsupported = -25207,
  kAXErrorNotImplemented = -25208,
  kAXErrorNotificationAlreadyRegistered = -25209,
  kAXErrorNotificationNotRegistered = -25210,
  kAXErrorAPIDisabled = -25211,
  kAXErrorNoValue = -25212,
  kAXErrorParameterizedAttributeUnsupported = -25213,
  kAXErrorNotEnoughPrecision = -25214,
};

typedef const struct __AXUIElement* AXUIElementRef;
typedef struct __AXObserver* AXObserverRef;
typedef const struct __AXValue* AXValueRef;

extern CFStringRef kAXTrustedCheckOptionPrompt QUILLARD_SINCE(10.9);
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) QUILLARD_SINCE(10.9);

CFTypeID AXUIElementGetTypeID(void);
AXUIElementRef AXUIElementCreateApplication(pid_t process);
AXUIElementRef AXUIElementCreateSystemWide(void);
AXError AXUIElementSetMessagingTimeout(AXUIElementRef element, float seconds);
AXError AXUIElementGetPid(AXUIElementRef element, pid_t* process);
AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef* value);
typedef CF_OPTIONS(uint32_t, AXCopyMultipleAttributeOptions) { kAXCopyMultipleAttributeOptionStopOnError = 1 };
AXError AXUIElementCopyMultipleAttributeValues(AXUIElementRef element, CFArrayRef attributes,
                                               AXCopyMultipleAttributeOptions options, CFArrayRef* values);
AXError AXUIElementCopyActionNames(AXUIElementRef element, CFArrayRef* names);
AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef value);
AXError AXUIElementPerformAction(AXUIElementRef element, CFStringRef action);
AXError AXUIElementCopyElementAtPosition(AXUIElementRef within, float x, float y, AXUIElementRef* element);

typedef CF_ENUM(uint32_t, AXValueType) {
  kAXValueTypeIllegal = 0,
  kAXValueTypeCGPoint = 1,
  kAXValueTypeCGSize = 2,
  kAXValueTypeCGRect = 3,
  kAXValueTypeCFRange = 4,
  kAXValueTypeAXError = 5,
};
CFTypeID AXValueGetTypeID(void);
AXValueRef AXValueCreate(AXValueType type, const void* value);
AXValueType AXValueGetType(AXValueRef value);
Boolean AXValueGetValue(AXValueRef value, AXValueType type, void* result);

AXError AXObserverRemoveNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef notification);
CFRunLoopSourceRef AXObserverGetRunLoopSource(AXObserverRef observer);

}  // extern "C"
