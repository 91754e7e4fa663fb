// Rejected: requires a bridged cast
#import <Foundation/Foundation.h>

CFStringRef coreText(NSString* text) { return (CFStringRef)text; }
