#include "platform/macos/objc/LoginCalls.h"

#import <ServiceManagement/ServiceManagement.h>

#include "platform/macos/objc/Text.h"

namespace quillard::macos::appkit {

using platform::LoginServiceStatus;

LoginServiceStatus loginItemStatus() {
  @autoreleasepool {
    switch (SMAppService.mainAppService.status) {
      case SMAppServiceStatusNotRegistered:
        return LoginServiceStatus::notRegistered;
      case SMAppServiceStatusEnabled:
        return LoginServiceStatus::enabled;
      case SMAppServiceStatusRequiresApproval:
        return LoginServiceStatus::requiresApproval;
      case SMAppServiceStatusNotFound:
        return LoginServiceStatus::notFound;
      default:
        return LoginServiceStatus::unknown;
    }
  }
}

LoginRegistration registerLoginItem() {
  @autoreleasepool {
    NSError* error = nil;
    const bool hasSucceeded = [SMAppService.mainAppService registerAndReturnError:&error];
    return {.hasSucceeded = hasSucceeded, .problem = textFrom(error.localizedDescription)};
  }
}

}  // namespace quillard::macos::appkit
