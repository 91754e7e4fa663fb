#pragma once

// What the binding uses of AppKit, from public documentation.

#include <Foundation/Foundation.h>
#include <sys/types.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSImage;
@class NSMenu;
@class NSRunningApplication;

// ---- Applications
typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
  NSApplicationActivationPolicyRegular = 0,
  NSApplicationActivationPolicyAccessory = 1,
  NSApplicationActivationPolicyProhibited = 2,
};
typedef NS_OPTIONS(NSUInteger, NSApplicationActivationOptions) {
  NSApplicationActivateAllWindows = 1,
  NSApplicationActivateIgnoringOtherApps QUILLARD_DEPRECATED(10.6, 14.0) = 2,
};

@interface NSResponder : NSObject
@end

@interface NSWindow : NSResponder
@property(readonly, getter=isVisible) BOOL visible;
@property(readonly) BOOL canBecomeMainWindow;
@end

@interface NSApplication : NSResponder
@property(readonly, copy) NSArray<NSWindow*>* windows;
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
@property(nullable, strong) NSMenu* mainMenu;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
@property(readonly, getter=isActive) BOOL active;
- (void)activateIgnoringOtherApps:(BOOL)isForced;
- (void)hide:(nullable id)sender;
- (void)unhideWithoutActivation;
- (void)terminate:(nullable id)sender;
- (void)orderFrontStandardAboutPanel:(nullable id)sender;
@end

@interface NSRunningApplication : NSObject
@property(class, readonly, strong) NSRunningApplication* currentApplication;
@property(readonly, getter=isTerminated) BOOL terminated;
@property(readonly, getter=isHidden) BOOL hidden;
@property(readonly, getter=isActive) BOOL active;
@property(readonly) NSApplicationActivationPolicy activationPolicy;
@property(nullable, readonly, copy) NSString* localizedName;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(readonly) pid_t processIdentifier;
+ (nullable instancetype)runningApplicationWithProcessIdentifier:(pid_t)process;
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
- (BOOL)unhide;
- (BOOL)terminate;
@end

// ---- Workspace
extern NSString* const NSWorkspaceApplicationKey;
extern NSNotificationName const NSWorkspaceDidLaunchApplicationNotification;
extern NSNotificationName const NSWorkspaceDidTerminateApplicationNotification;
extern NSNotificationName const NSWorkspaceDidActivateApplicationNotification;
extern NSNotificationName const NSWorkspaceDidHideApplicationNotification;
extern NSNotificationName const NSWorkspaceDidUnhideApplicationNotification;
extern NSNotificationName const NSWorkspaceActiveSpaceDidChangeNotification;

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSNotificationCenter* notificationCenter;
@property(readonly, copy) NSArray<NSRunningApplication*>* runningApplications;
@property(nullable, readonly, strong) NSRunningApplication* frontmostApplication;
- (BOOL)openURL:(NSURL*)url;
- (BOOL)isFilePackageAtPath:(NSString*)path;
@end

// ---- Drawing
@interface NSColor : NSObject <NSCopying>
@property(class, readonly, strong) NSColor* labelColor;
- (void)set;
@end

typedef NS_ENUM(NSUInteger, NSLineCapStyle) {
  NSLineCapStyleButt = 0,
  NSLineCapStyleRound = 1,
  NSLineCapStyleSquare = 2
};
typedef NS_ENUM(NSUInteger, NSLineJoinStyle) {
  NSLineJoinStyleMiter = 0,
  NSLineJoinStyleRound = 1,
  NSLineJoinStyleBevel = 2
};

@interface NSBezierPath : NSObject <NSCopying>
@property CGFloat lineWidth;
@property NSLineCapStyle lineCapStyle;
@property NSLineJoinStyle lineJoinStyle;
+ (NSBezierPath*)bezierPath;
+ (NSBezierPath*)bezierPathWithOvalInRect:(NSRect)rect;
+ (NSBezierPath*)bezierPathWithRoundedRect:(NSRect)rect xRadius:(CGFloat)xRadius yRadius:(CGFloat)yRadius;
- (void)moveToPoint:(NSPoint)point;
- (void)lineToPoint:(NSPoint)point;
- (void)appendBezierPathWithArcWithCenter:(NSPoint)center
                                   radius:(CGFloat)radius
                               startAngle:(CGFloat)startDegrees
                                 endAngle:(CGFloat)endDegrees;
- (void)stroke;
- (void)fill;
@end

@interface NSImage : NSObject <NSCopying>
+ (instancetype)imageWithSize:(NSSize)size flipped:(BOOL)isFlipped drawingHandler:(BOOL (^)(NSRect rect))handler;
- (void)setTemplate:(BOOL)isTemplate;
@end

// ---- Menus and the menu bar
@interface NSMenuItem : NSObject <NSCopying>
@property(nullable, strong) NSMenu* submenu;
@property(nullable, weak) id target;
@property(nullable, strong) id representedObject;
@property(getter=isEnabled) BOOL enabled;
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)title action:(nullable SEL)action keyEquivalent:(NSString*)key;
@end

@interface NSMenu : NSObject <NSCopying>
@property BOOL autoenablesItems;
- (instancetype)initWithTitle:(NSString*)title;
- (void)addItem:(NSMenuItem*)item;
@end

typedef NS_ENUM(NSUInteger, NSCellImagePosition) { NSNoImage = 0, NSImageOnly = 1, NSImageLeft = 2 };

@interface NSView : NSResponder
@property(nullable, copy) NSString* toolTip;
@property(nullable, copy) NSString* accessibilityLabel;
@end
@interface NSControl : NSView
@property(nullable, weak) id target;
@property(nullable) SEL action;
@end
@interface NSButton : NSControl
@property(nullable, strong) NSImage* image;
@property NSCellImagePosition imagePosition;
@end
@interface NSStatusBarButton : NSButton
@end

@interface NSStatusItem : NSObject
@property CGFloat length;
@property(nullable, readonly, strong) NSStatusBarButton* button;
@end
@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
- (void)removeStatusItem:(NSStatusItem*)item;
@end

NS_ASSUME_NONNULL_END
