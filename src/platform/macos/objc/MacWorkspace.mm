#include "platform/macos/objc/MacWorkspace.h"

#include <utility>

#import <AppKit/AppKit.h>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/Text.h"
#include "platform/macos/objc/WorkspaceMapping.h"

namespace quillard::macos {

using platform::RunningApplication;
using platform::WorkspaceEvent;

namespace {

using OnEvent = std::function<void(const WorkspaceEvent&)>;

// Absent for nil, and for what has no process (any more).
std::optional<RunningApplication> applicationFrom(NSRunningApplication* application) {
  if (!application || application.processIdentifier < 0) return std::nullopt;
  return RunningApplication{.processIdentifier = application.processIdentifier,
                            .localizedName = textFrom(application.localizedName),
                            .bundleIdentifier = textFrom(application.bundleIdentifier),
                            .activationPolicy = activationPolicyFrom(application.activationPolicy),
                            .isActive = static_cast<bool>(application.active),
                            .isHidden = static_cast<bool>(application.hidden),
                            .isTerminated = static_cast<bool>(application.terminated)};
}

// Nil when there is no such application. Numbers below 1 are no processes.
NSRunningApplication* applicationOf(std::int32_t processIdentifier) {
  if (processIdentifier < 1) return nil;
  return [NSRunningApplication runningApplicationWithProcessIdentifier:processIdentifier];
}

std::optional<WorkspaceEvent> eventFrom(NSNotification* notification) {
  const auto kind = eventKindFrom(textFrom(notification.name).value_or(""));
  if (!kind) return std::nullopt;
  WorkspaceEvent event{.kind = *kind, .application = {}};
  const id application = notification.userInfo[NSWorkspaceApplicationKey];
  if ([application isKindOfClass:[NSRunningApplication class]]) event.application = applicationFrom(application);
  return event;
}

class WorkspaceObservation final : public platform::Subscription {
 public:
  WorkspaceObservation(platform::SerialExecutor& mainThread, OnEvent onEvent)
      : onEvent(std::make_shared<OnEvent>(std::move(onEvent))), listening(mainThread) {
    // They come through the workspace's own centre only.
    for (NSNotificationName name in @[
           NSWorkspaceDidLaunchApplicationNotification, NSWorkspaceDidTerminateApplicationNotification,
           NSWorkspaceDidActivateApplicationNotification, NSWorkspaceDidHideApplicationNotification,
           NSWorkspaceDidUnhideApplicationNotification, NSWorkspaceActiveSpaceDidChangeNotification
         ]) {
      [registrations addObject:registrationFor(name)];
    }
  }
  ~WorkspaceObservation() override {
    for (id registration in registrations) [center() removeObserver:registration];
  }

 private:
  static NSNotificationCenter* center() { return NSWorkspace.sharedWorkspace.notificationCenter; }

  [[nodiscard]] id registrationFor(NSNotificationName name) const {
    const std::shared_ptr<MainThreadLink> link = listening.link();
    const std::shared_ptr<OnEvent> handler = onEvent;
    return [center() addObserverForName:name
                                 object:nil
                                  queue:nil
                             usingBlock:^(NSNotification* notification) {
                               if (const auto event = eventFrom(notification)) {
                                 link->post([handler, event = *event] { (*handler)(event); });
                               }
                             }];
  }

  const std::shared_ptr<OnEvent> onEvent;
  const MainThreadListening listening;
  NSMutableArray* const registrations = [NSMutableArray array];
};

}  // namespace

std::vector<RunningApplication> MacWorkspace::runningApplications() {
  @autoreleasepool {
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* running in NSWorkspace.sharedWorkspace.runningApplications) {
      if (auto application = applicationFrom(running)) applications.push_back(std::move(*application));
    }
    return applications;
  }
}

std::optional<RunningApplication> MacWorkspace::frontmostApplication() {
  @autoreleasepool {
    return applicationFrom(NSWorkspace.sharedWorkspace.frontmostApplication);
  }
}

std::optional<RunningApplication> MacWorkspace::runningApplication(std::int32_t processIdentifier) {
  @autoreleasepool {
    return applicationFrom(applicationOf(processIdentifier));
  }
}

bool MacWorkspace::activate(std::int32_t processIdentifier) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"  // From macOS 14 on the second one means nothing.
  constexpr NSApplicationActivationOptions kOptions =
      NSApplicationActivateAllWindows | NSApplicationActivateIgnoringOtherApps;
#pragma clang diagnostic pop
  @autoreleasepool {
    return static_cast<bool>([applicationOf(processIdentifier) activateWithOptions:kOptions]);
  }
}

bool MacWorkspace::unhide(std::int32_t processIdentifier) {
  @autoreleasepool {
    return static_cast<bool>([applicationOf(processIdentifier) unhide]);
  }
}

bool MacWorkspace::terminate(std::int32_t processIdentifier) {
  @autoreleasepool {
    return static_cast<bool>([applicationOf(processIdentifier) terminate]);
  }
}

bool MacWorkspace::openURL(std::string_view url) {
  @autoreleasepool {
    NSString* const text = nsTextOrNil(url);
    if (!text) return false;
    NSURL* const address = [NSURL URLWithString:text];
    // Without a scheme it is no address, and the system would take it for a file.
    if (!address || address.scheme.length == 0) return false;
    return static_cast<bool>([NSWorkspace.sharedWorkspace openURL:address]);
  }
}

bool MacWorkspace::openFolder(std::string_view path) {
  @autoreleasepool {
    NSString* const text = nsTextOrNil(path);
    if (!text || !path.starts_with('/')) return false;
    BOOL isFolder = NO;
    if (![NSFileManager.defaultManager fileExistsAtPath:text isDirectory:&isFolder] || !isFolder) return false;
    NSWorkspace* const workspace = NSWorkspace.sharedWorkspace;
    if ([workspace isFilePackageAtPath:text]) return false;
    return static_cast<bool>([workspace openURL:[NSURL fileURLWithPath:text isDirectory:YES]]);
  }
}

platform::SubscriptionHandle MacWorkspace::observe(OnEvent onEvent) {
  return std::make_unique<WorkspaceObservation>(mainThread, std::move(onEvent));
}

}  // namespace quillard::macos
