// Rejected: null passed to a callee that requires a non-null argument
#import <AppKit/AppKit.h>

BOOL openNothing() { return [NSWorkspace.sharedWorkspace openURL:nil]; }
