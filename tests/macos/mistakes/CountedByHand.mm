// Rejected: ARC forbids explicit message send of 'release'
#import <Foundation/Foundation.h>

@interface NSObject (Counts)
- (void)release;
@end

void letGo(NSObject* object) { [object release]; }
