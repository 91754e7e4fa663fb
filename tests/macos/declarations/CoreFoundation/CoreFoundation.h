#pragma once

// Declarations of what the binding uses of the system's object model, written from its public documentation, so that
// the sources for macOS can be checked and run elsewhere. Only what is used; types and values as documented.

#include <stdint.h>

#if defined(__has_attribute)
#if __has_attribute(cf_returns_retained)
#define QUILLARD_RETURNS_RETAINED __attribute__((cf_returns_retained))
#endif
#endif
#ifndef QUILLARD_RETURNS_RETAINED
#define QUILLARD_RETURNS_RETAINED
#endif

#if defined(__clang__) && defined(__APPLE__)
#define QUILLARD_SINCE(version) __attribute__((availability(macos, introduced = version)))
#define QUILLARD_DEPRECATED(version, until) \
  __attribute__((availability(macos, introduced = version, deprecated = until)))
#else
#define QUILLARD_SINCE(version)
#define QUILLARD_DEPRECATED(version, until)
#endif

// A real enumeration, and options as an integer, as the system's own macros of these names make them. Unnamed:
// constants of an integer.
#ifdef __clang__
#define QUILLARD_OPEN_ENUM __attribute__((enum_extensibility(open)))
#else
#define QUILLARD_OPEN_ENUM
#endif
// What "typedef" before it names is not used: GCC knows no typedef of an enumeration that is declared there.
#define CF_ENUM(type, name) \
  type name##AsInteger;     \
  enum QUILLARD_OPEN_ENUM name : type
#define CF_OPTIONS(type, name) \
  type name;                   \
  enum : name

extern "C" {

// ---- Base
typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef uint16_t UniChar;
typedef int32_t SInt32;
typedef int64_t SInt64;
typedef int32_t OSStatus;
typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFHashCode;
typedef unsigned long CFOptionFlags;
typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFNull* CFNullRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef const struct __CFData* CFDataRef;
typedef const struct __CFDate* CFDateRef;
typedef const struct __CFURL* CFURLRef;
typedef struct __CFError* CFErrorRef;
typedef struct __CFBundle* CFBundleRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef struct __CFRunLoopSource* CFRunLoopSourceRef;
typedef struct __CFNotificationCenter* CFNotificationCenterRef;

typedef struct {
  CFIndex location;
  CFIndex length;
} CFRange;
static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
  CFRange range;
  range.location = location;
  range.length = length;
  return range;
}

extern const CFAllocatorRef kCFAllocatorDefault;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
Boolean CFEqual(CFTypeRef one, CFTypeRef other);
CFHashCode CFHash(CFTypeRef object);

extern const CFNullRef kCFNull;
CFTypeID CFNullGetTypeID(void);

// ---- Texts
typedef uint32_t CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

#ifdef __APPLE__
#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))
#else
// The immortal text with these characters.
CFStringRef quillardConstantString(const char* text);
#define CFSTR(text) quillardConstantString("" text "")
#endif

CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean isExternalRepresentation, UInt8* buffer, CFIndex longest, CFIndex* used);

// ---- Numbers and truth values
typedef CF_ENUM(CFIndex, CFNumberType) { kCFNumberSInt32Type = 3, kCFNumberSInt64Type = 4, kCFNumberDoubleType = 13 };

extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);
CFTypeID CFNumberGetTypeID(void);
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);
Boolean CFNumberIsFloatType(CFNumberRef number);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

// ---- Bytes and moments
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
extern const CFTimeInterval kCFAbsoluteTimeIntervalSince1970;

CFTypeID CFDataGetTypeID(void);
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CFIndex CFDataGetLength(CFDataRef data);
const UInt8* CFDataGetBytePtr(CFDataRef data);
CFTypeID CFDateGetTypeID(void);
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);

// ---- Arrays and dictionaries
typedef struct QuillardArrayCallBacks CFArrayCallBacks;
typedef struct QuillardDictionaryKeyCallBacks CFDictionaryKeyCallBacks;
typedef struct QuillardDictionaryValueCallBacks CFDictionaryValueCallBacks;
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFArrayGetTypeID(void);
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks);
CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
CFTypeID CFDictionaryGetTypeID(void);
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values, CFIndex count,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values);

// ---- Property lists and preferences
typedef CF_ENUM(CFIndex, CFPropertyListFormat) {
  kCFPropertyListXMLFormat_v1_0 = 100,
  kCFPropertyListBinaryFormat_v1_0 = 200,
};
typedef CF_OPTIONS(CFOptionFlags, CFPropertyListMutabilityOptions) { kCFPropertyListImmutable = 0 };
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat* format, CFErrorRef* error);
CFStringRef CFErrorCopyDescription(CFErrorRef error);

extern const CFStringRef kCFPreferencesCurrentApplication;
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef application);
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef application);
Boolean CFPreferencesAppSynchronize(CFStringRef application);

// ---- Bundles and file addresses
CFBundleRef CFBundleGetMainBundle(void);
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef folder);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex longest);

// ---- Run loops and notices
typedef CFStringRef CFRunLoopMode;
typedef CFStringRef CFNotificationName;
extern const CFRunLoopMode kCFRunLoopDefaultMode;
CFRunLoopRef CFRunLoopGetMain(void);
void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

typedef CF_ENUM(CFIndex, CFNotificationSuspensionBehavior) { CFNotificationSuspensionBehaviorDeliverImmediately = 4 };
typedef void (*CFNotificationCallback)(CFNotificationCenterRef center, void* observer, CFNotificationName name,
                                       const void* object, CFDictionaryRef userInfo);
CFNotificationCenterRef CFNotificationCenterGetDistributedCenter(void);
void CFNotificationCenterAddObserver(CFNotificationCenterRef center, const void* observer,
                                     CFNotificationCallback callBack, CFStringRef name, const void* object,
                                     CFNotificationSuspensionBehavior suspensionBehavior);
void CFNotificationCenterRemoveObserver(CFNotificationCenterRef center, const void* observer, CFNotificationName name,
                                        const void* object);

}  // extern "C"
