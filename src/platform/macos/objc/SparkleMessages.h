#pragma once

#import <Foundation/Foundation.h>

// The messages of the update framework that are sent and answered here. The framework is loaded while the program runs,
// so that nothing of it is needed to build; these are its own names and types.

NS_ASSUME_NONNULL_BEGIN

// An update that was found.
@protocol QuillardAppcastItem <NSObject>
@property(readonly, copy, nonatomic) NSString* displayVersionString;
@end

// What answers the framework's questions. It keeps only a weak reference.
@protocol QuillardUserDriverDelegate <NSObject>
@property(nonatomic, readonly) BOOL supportsGentleScheduledUpdateReminders;
- (BOOL)standardUserDriverShouldHandleShowingScheduledUpdate:(id<QuillardAppcastItem>)update
                                         andInImmediateFocus:(BOOL)immediateFocus;
- (void)standardUserDriverWillHandleShowingUpdate:(BOOL)handleShowingUpdate
                                        forUpdate:(id<QuillardAppcastItem>)update
                                            state:(id)state;
- (void)standardUserDriverDidReceiveUserAttentionForUpdate:(id<QuillardAppcastItem>)update;
- (void)standardUserDriverWillFinishUpdateSession;
@end

// The controller, an object of the class "SPUStandardUpdaterController".
@protocol QuillardUpdaterController <NSObject>
- (instancetype)initWithStartingUpdater:(BOOL)startsUpdater
                        updaterDelegate:(nullable id)updaterDelegate
                     userDriverDelegate:(nullable id<QuillardUserDriverDelegate>)userDriverDelegate
    __attribute__((objc_method_family(init)));
- (void)checkForUpdates:(nullable id)sender;
@end

NS_ASSUME_NONNULL_END
