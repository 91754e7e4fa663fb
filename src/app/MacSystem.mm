#include "app/MacSystem.h"

#import <AppKit/AppKit.h>

#include "platform/macos/objc/AutoreleasePool.h"
#include "platform/macos/objc/Text.h"

namespace quillard::app {
namespace {

// The one that the system makes for each user. Empty when it tells of none: then there is no lock.
std::string temporaryFolder() {
  @autoreleasepool {
    return macos::textFrom(NSTemporaryDirectory()).value_or("");
  }
}

// The system's own copy, which any thread may read.
bool hasFocus() {
  @autoreleasepool {
    return static_cast<bool>(NSRunningApplication.currentApplication.active);
  }
}

}  // namespace

MacSystem::MacSystem(int consoleDescriptor)
    : console(consoleDescriptor),
      executors(threads, macos::runInAutoreleasePool),
      lockFiles(temporaryFolder()),
      notifications(executors.mainThread()),
      accessibilityQueue(executors.makeSerialQueue("quillard.accessibility", platform::QualityOfService::standard)),
      accessibility(macos::AXCalls(accessibilityQueue.get(), hasFocus), executors),
      workspace(executors.mainThread()),
      windowList(workspace) {}

}  // namespace quillard::app
