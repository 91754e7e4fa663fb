#include "platform/macos/objc/MacUpdateService.h"

#include <utility>

#include "platform/macos/objc/SparkleMessages.h"
#include "platform/macos/objc/Text.h"

@interface QuillardUpdateListener : NSObject <QuillardUserDriverDelegate>
- (instancetype)initWithEvents:(quillard::platform::UpdateEvents)someEvents;
// Nothing is told afterwards.
- (void)forget;
@end

@implementation QuillardUpdateListener {
  quillard::platform::UpdateEvents events;
}

- (instancetype)initWithEvents:(quillard::platform::UpdateEvents)someEvents {
  self = [super init];
  if (self) events = std::move(someEvents);
  return self;
}

- (void)forget {
  events = {};
}

- (BOOL)supportsGentleScheduledUpdateReminders {
  return YES;
}

// Scheduled updates are shown by the status window.
- (BOOL)standardUserDriverShouldHandleShowingScheduledUpdate:(id<QuillardAppcastItem>)update
                                         andInImmediateFocus:(BOOL)immediateFocus {
  return NO;
}

- (void)standardUserDriverWillHandleShowingUpdate:(BOOL)handleShowingUpdate
                                        forUpdate:(id<QuillardAppcastItem>)update
                                            state:(id)state {
  const auto handler = events.willHandleShowingUpdate;
  if (handler) handler(handleShowingUpdate, quillard::macos::textFrom(update.displayVersionString).value_or(""));
}

- (void)standardUserDriverDidReceiveUserAttentionForUpdate:(id<QuillardAppcastItem>)update {
  const auto handler = events.didReceiveUserAttention;
  if (handler) handler();
}

- (void)standardUserDriverWillFinishUpdateSession {
  const auto handler = events.willFinishUpdateSession;
  if (handler) handler();
}

@end

namespace quillard::macos {
namespace {

class MacUpdateController final : public platform::UpdateController {
 public:
  MacUpdateController(id<QuillardUpdaterController> controller, QuillardUpdateListener* listener)
      : listener(listener), controller(controller) {}
  ~MacUpdateController() override { [listener forget]; }

  void checkForUpdates() override { [controller checkForUpdates:nil]; }

 private:
  QuillardUpdateListener* const listener;  // Kept only by this.
  const id<QuillardUpdaterController> controller;
};

// Nil when the application brings no such framework, or the system does not let it in.
Class controllerClass() {
  NSString* const folder = NSBundle.mainBundle.privateFrameworksPath;
  if (!folder) return nil;
  NSBundle* const framework = [NSBundle bundleWithPath:[folder stringByAppendingPathComponent:@"Sparkle.framework"]];
  if (![framework loadAndReturnError:nil]) return nil;
  return [framework classNamed:@"SPUStandardUpdaterController"];
}

}  // namespace

std::unique_ptr<platform::UpdateController> MacUpdateService::makeController(platform::UpdateEvents events) {
  @autoreleasepool {
    const Class kind = controllerClass();
    if (!kind) return nullptr;
    QuillardUpdateListener* const listener = [[QuillardUpdateListener alloc] initWithEvents:std::move(events)];
    const id<QuillardUpdaterController> controller = [[kind alloc] initWithStartingUpdater:YES
                                                                           updaterDelegate:nil
                                                                        userDriverDelegate:listener];
    if (!controller) return nullptr;
    return std::make_unique<MacUpdateController>(controller, listener);
  }
}

}  // namespace quillard::macos
