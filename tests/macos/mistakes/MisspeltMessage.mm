// Rejected: no visible @interface for 'NSRunningApplication' declares the selector 'unhideNow'
#import <AppKit/AppKit.h>

BOOL show(NSRunningApplication* application) { return [application unhideNow]; }
