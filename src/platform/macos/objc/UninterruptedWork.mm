#include "platform/macos/objc/UninterruptedWork.h"

#import <Foundation/Foundation.h>

namespace quillard::macos {

struct UninterruptedWork::Activity {
  const id<NSObject> token =
      [NSProcessInfo.processInfo beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                                   reason:@"Approval prompts are watched for."];
};

UninterruptedWork::UninterruptedWork() : activity(std::make_unique<Activity>()) {}

UninterruptedWork::~UninterruptedWork() {
  @autoreleasepool {
    [NSProcessInfo.processInfo endActivity:activity->token];
  }
}

}  // namespace quillard::macos
