#include "platform/macos/objc/MacLoginService.h"

#import <ServiceManagement/ServiceManagement.h>

#include "platform/macos/objc/LoginServiceMapping.h"
#include "platform/macos/objc/Text.h"

namespace quillard::macos {

platform::LoginServiceStatus MacLoginService::status() {
  @autoreleasepool {
    return loginServiceStatusFrom(SMAppService.mainAppService.status);
  }
}

std::optional<std::string> MacLoginService::registerMainApplication() {
  @autoreleasepool {
    NSError* error = nil;
    const bool hasSucceeded = [SMAppService.mainAppService registerAndReturnError:&error];
    return registrationProblem(hasSucceeded, status(), textFrom(error.localizedDescription));
  }
}

}  // namespace quillard::macos
