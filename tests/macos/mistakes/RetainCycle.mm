// Rejected: capturing 'self' strongly in this block is likely to lead to a retain cycle
#import <AppKit/AppKit.h>

@interface Watcher : NSObject
@property(copy) void (^onNotice)(void);
- (void)look;
@end

@implementation Watcher
- (void)look {
  self.onNotice = ^{
    [self look];
  };
}
@end
