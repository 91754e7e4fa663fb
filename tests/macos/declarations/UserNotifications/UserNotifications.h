#pragma once

// What the binding uses of the user-notification framework, from public documentation.

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class UNNotification;
@class UNNotificationTrigger;
@class UNUserNotificationCenter;

typedef NS_OPTIONS(NSUInteger, UNAuthorizationOptions) {
  UNAuthorizationOptionSound = 2,
  UNAuthorizationOptionAlert = 4
};

typedef NS_OPTIONS(NSUInteger, UNNotificationPresentationOptions) {
  UNNotificationPresentationOptionSound = 2,
  UNNotificationPresentationOptionList QUILLARD_SINCE(11.0) = 8,
  UNNotificationPresentationOptionBanner QUILLARD_SINCE(11.0) = 16,
};

QUILLARD_SINCE(10.14)
@interface UNNotificationSound : NSObject <NSCopying>
@property(class, readonly, copy) UNNotificationSound* defaultSound;
@end

QUILLARD_SINCE(10.14)
@interface UNNotificationContent : NSObject <NSCopying>
@end

QUILLARD_SINCE(10.14)
@interface UNMutableNotificationContent : UNNotificationContent
@property(copy) NSString* title;
@property(copy) NSString* body;
@property(nullable, copy) UNNotificationSound* sound;
@end

QUILLARD_SINCE(10.14)
@interface UNNotificationRequest : NSObject <NSCopying>
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(nullable UNNotificationTrigger*)trigger;
@end

QUILLARD_SINCE(10.14)
@protocol UNUserNotificationCenterDelegate <NSObject>
@optional
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler;
@end

QUILLARD_SINCE(10.14)
@interface UNUserNotificationCenter : NSObject
@property(nullable, weak) id<UNUserNotificationCenterDelegate> delegate;
+ (UNUserNotificationCenter*)currentNotificationCenter;
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* _Nullable error))completionHandler;
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
- (instancetype)init QUILLARD_NOT_AVAILABLE;
@end

NS_ASSUME_NONNULL_END
