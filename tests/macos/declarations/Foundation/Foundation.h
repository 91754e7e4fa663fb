#pragma once

// Declarations of what the Objective-C part of the binding uses of Foundation, written from its public documentation,
// so that it can be checked on systems that have no such framework. Only what is used; types and values as documented.

#include <CoreGraphics/CoreGraphics.h>
#include <CoreServices/CoreServices.h>
#include <objc/BaseTypes.h>

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define QUILLARD_DESIGNATED __attribute__((objc_designated_initializer))
#define QUILLARD_NOT_AVAILABLE __attribute__((unavailable))

// A real enumeration: neither a number nor another enumeration passes for it. Options are integers, since they are
// combined.
#define NS_ENUM(type, name) CF_ENUM(type, name)
#define NS_OPTIONS(type, name) CF_OPTIONS(type, name)

NS_ASSUME_NONNULL_BEGIN

typedef double NSTimeInterval;
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;

static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) {
  NSPoint point;
  point.x = x;
  point.y = y;
  return point;
}
static inline NSSize NSMakeSize(CGFloat width, CGFloat height) {
  NSSize size;
  size.width = width;
  size.height = height;
  return size;
}
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  NSRect rect;
  rect.origin = NSMakePoint(x, y);
  rect.size = NSMakeSize(width, height);
  return rect;
}

@class NSArray<ObjectType>;
@class NSAppleEventDescriptor;
@class NSDictionary<KeyType, ObjectType>;
@class NSError;
@class NSNotification;
@class NSOperationQueue;
@class NSString;
@class NSURL;

@protocol NSObject
- (BOOL)isEqual:(nullable id)object;
- (BOOL)respondsToSelector:(SEL)selector;
- (BOOL)isKindOfClass:(Class)kind;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
- (instancetype)init;
@end

@protocol NSCopying
@end

// What a loop over a collection asks it for.
typedef struct {
  unsigned long state;
  __unsafe_unretained id _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(__unsafe_unretained id _Nullable* _Nonnull)buffer
                                    count:(NSUInteger)count;
@end

typedef NSUInteger NSStringEncoding;  // An integer, of which some are named.
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

@interface NSString : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(nullable, readonly) const char* UTF8String;
@property(readonly, copy) NSString* pathExtension;
- (nullable instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)count encoding:(NSStringEncoding)encoding;
- (BOOL)isEqualToString:(NSString*)other;
- (NSString*)stringByAppendingPathComponent:(NSString*)component;
@end

// The class of texts in the source.
@interface NSConstantString : NSString
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull* _Nonnull)objects count:(NSUInteger)count;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
+ (instancetype)array;
- (void)addObject:(ObjectType)object;
- (void)removeAllObjects;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject <NSCopying>
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

@interface NSURL : NSObject <NSCopying>
@property(nullable, readonly, copy) NSString* scheme;
+ (nullable instancetype)URLWithString:(NSString*)text;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDirectory;
@end

@interface NSError : NSObject <NSCopying>
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedDescription;
@end

typedef NSString* NSExceptionName;
@interface NSException : NSObject <NSCopying>
@property(readonly, copy) NSExceptionName name;
@property(nullable, readonly, copy) NSString* reason;
@end

typedef NSString* NSNotificationName;
@interface NSNotification : NSObject <NSCopying>
@property(readonly, copy) NSNotificationName name;
@property(nullable, readonly, copy) NSDictionary* userInfo;
@end

@interface NSNotificationCenter : NSObject
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)object
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* note))block;
- (void)removeObserver:(id)observer;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(readonly, copy) NSString* bundlePath;
@property(nullable, readonly, copy) NSString* privateFrameworksPath;
+ (nullable instancetype)bundleWithPath:(NSString*)path;
- (BOOL)loadAndReturnError:(NSError* _Nullable* _Nullable)error;
- (nullable Class)classNamed:(NSString*)name;
@end

typedef NS_OPTIONS(uint64_t, NSActivityOptions) {
  NSActivityIdleSystemSleepDisabled = 1ULL << 20,
  NSActivityUserInitiated = 0x00FFFFFFULL | NSActivityIdleSystemSleepDisabled,
  NSActivityUserInitiatedAllowingIdleSystemSleep = NSActivityUserInitiated & ~NSActivityIdleSystemSleepDisabled,
};

@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason QUILLARD_SINCE(10.9);
- (void)endActivity:(id<NSObject>)activity QUILLARD_SINCE(10.9);
@end

@interface NSAppleEventManager : NSObject
+ (NSAppleEventManager*)sharedAppleEventManager;
- (void)setEventHandler:(id)handler
            andSelector:(SEL)selector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID;
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID;
@end

extern "C" {
NSString* NSHomeDirectory(void);
NSString* NSTemporaryDirectory(void);
}

NS_ASSUME_NONNULL_END
