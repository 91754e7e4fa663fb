// Rejected: implicit conversion from nullable pointer
#import <AppKit/AppKit.h>

BOOL openText(NSString* text) {
  NSURL* _Nullable const address = [NSURL URLWithString:text];
  return [NSWorkspace.sharedWorkspace openURL:address];
}
