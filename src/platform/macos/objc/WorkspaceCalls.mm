#include "platform/macos/objc/WorkspaceCalls.h"

#include <utility>

#import <AppKit/AppKit.h>

#include "platform/macos/objc/Text.h"

namespace quillard::macos::appkit {

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WorkspaceEventKind;

namespace {

// One that is new to us counts as `prohibited`: nothing is known of the windows of such a program.
ActivationPolicy policyFrom(NSApplicationActivationPolicy policy) {
  switch (policy) {
    case NSApplicationActivationPolicyRegular:
      return ActivationPolicy::regular;
    case NSApplicationActivationPolicyAccessory:
      return ActivationPolicy::accessory;
    case NSApplicationActivationPolicyProhibited:
    default:
      return ActivationPolicy::prohibited;
  }
}

std::optional<RunningApplication> applicationFrom(NSRunningApplication* application) {
  if (!application) return std::nullopt;
  return RunningApplication{.processIdentifier = application.processIdentifier,
                            .localizedName = textFrom(application.localizedName),
                            .bundleIdentifier = textFrom(application.bundleIdentifier),
                            .activationPolicy = policyFrom(application.activationPolicy),
                            .isActive = static_cast<bool>(application.active),
                            .isHidden = static_cast<bool>(application.hidden),
                            .isTerminated = static_cast<bool>(application.terminated)};
}

NSRunningApplication* applicationOf(std::int32_t process) {
  return [NSRunningApplication runningApplicationWithProcessIdentifier:process];
}

NSNotificationName nameOf(WorkspaceEventKind kind) {
  switch (kind) {
    case WorkspaceEventKind::didLaunchApplication:
      return NSWorkspaceDidLaunchApplicationNotification;
    case WorkspaceEventKind::didTerminateApplication:
      return NSWorkspaceDidTerminateApplicationNotification;
    case WorkspaceEventKind::didActivateApplication:
      return NSWorkspaceDidActivateApplicationNotification;
    case WorkspaceEventKind::didHideApplication:
      return NSWorkspaceDidHideApplicationNotification;
    case WorkspaceEventKind::didUnhideApplication:
      return NSWorkspaceDidUnhideApplicationNotification;
    case WorkspaceEventKind::activeSpaceDidChange:
      break;
  }
  return NSWorkspaceActiveSpaceDidChangeNotification;
}

// The workspace's notices come through its own centre only.
NSNotificationCenter* center() { return NSWorkspace.sharedWorkspace.notificationCenter; }

class Observation final : public platform::Subscription {
 public:
  explicit Observation(id registration) : registration(registration) {}
  ~Observation() override {
    @autoreleasepool {
      [center() removeObserver:registration];
    }
  }

 private:
  const id registration;
};

}  // namespace

std::vector<RunningApplication> runningApplications() {
  @autoreleasepool {
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* running in NSWorkspace.sharedWorkspace.runningApplications) {
      if (auto application = applicationFrom(running)) applications.push_back(std::move(*application));
    }
    return applications;
  }
}

std::optional<RunningApplication> frontmostApplication() {
  @autoreleasepool {
    return applicationFrom(NSWorkspace.sharedWorkspace.frontmostApplication);
  }
}

std::optional<RunningApplication> runningApplication(std::int32_t process) {
  @autoreleasepool {
    return applicationFrom(applicationOf(process));
  }
}

bool activate(std::int32_t process) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"  // From macOS 14 on the second one means nothing.
  constexpr NSApplicationActivationOptions kOptions =
      NSApplicationActivateAllWindows | NSApplicationActivateIgnoringOtherApps;
#pragma clang diagnostic pop
  @autoreleasepool {
    return static_cast<bool>([applicationOf(process) activateWithOptions:kOptions]);
  }
}

bool unhide(std::int32_t process) {
  @autoreleasepool {
    return static_cast<bool>([applicationOf(process) unhide]);
  }
}

bool terminate(std::int32_t process) {
  @autoreleasepool {
    return static_cast<bool>([applicationOf(process) terminate]);
  }
}

bool openAddress(std::string_view address) {
  @autoreleasepool {
    NSString* const text = nsTextOrNil(address);
    NSURL* const url = text ? [NSURL URLWithString:text] : nil;
    return url && static_cast<bool>([NSWorkspace.sharedWorkspace openURL:url]);
  }
}

bool isPackage(std::string_view path) {
  @autoreleasepool {
    return static_cast<bool>([NSWorkspace.sharedWorkspace isFilePackageAtPath:nsText(path)]);
  }
}

bool openFolder(std::string_view path) {
  @autoreleasepool {
    return static_cast<bool>([NSWorkspace.sharedWorkspace openURL:[NSURL fileURLWithPath:nsText(path)
                                                                             isDirectory:YES]]);
  }
}

platform::SubscriptionHandle observeWorkspace(WorkspaceEventKind kind,
                                              std::function<void(std::optional<RunningApplication>)> onNotice) {
  @autoreleasepool {
    const auto handler = std::make_shared<decltype(onNotice)>(std::move(onNotice));
    const id registration = [center() addObserverForName:nameOf(kind)
                                                  object:nil
                                                   queue:nil
                                              usingBlock:^(NSNotification* notice) {
                                                const id about = notice.userInfo[NSWorkspaceApplicationKey];
                                                const bool isOne = [about isKindOfClass:[NSRunningApplication class]];
                                                (*handler)(isOne ? applicationFrom(about) : std::nullopt);
                                              }];
    return std::make_unique<Observation>(registration);
  }
}

}  // namespace quillard::macos::appkit
