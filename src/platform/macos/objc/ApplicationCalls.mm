#include "platform/macos/objc/ApplicationCalls.h"

#include <utility>

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>

#include "platform/macos/objc/Text.h"

// What menus and events are sent to, since they cannot call functions.
@interface QuillardReceiver : NSObject
- (instancetype)initWithTurn:(quillard::platform::Turn)aTurn;
- (void)menuItemWasChosen:(id)sender;
- (void)applicationWasReopened:(NSAppleEventDescriptor*)event withReply:(NSAppleEventDescriptor*)reply;
@end

@implementation QuillardReceiver {
  quillard::platform::Turn turn;
}

- (instancetype)initWithTurn:(quillard::platform::Turn)aTurn {
  self = [super init];
  if (self) turn = std::move(aTurn);
  return self;
}

- (void)menuItemWasChosen:(id)sender {
  turn();
}

- (void)applicationWasReopened:(NSAppleEventDescriptor*)event withReply:(NSAppleEventDescriptor*)reply {
  turn();
}

@end

namespace quillard::macos::appkit {

using platform::ActivationPolicy;
using platform::ApplicationMenuAction;
using platform::ApplicationMenuItem;

namespace {

NSApplication* application() { return [NSApplication sharedApplication]; }

NSApplicationActivationPolicy systemPolicy(ActivationPolicy policy) {
  switch (policy) {
    case ActivationPolicy::regular:
      return NSApplicationActivationPolicyRegular;
    case ActivationPolicy::accessory:
      return NSApplicationActivationPolicyAccessory;
    case ActivationPolicy::prohibited:
      break;
  }
  return NSApplicationActivationPolicyProhibited;
}

SEL actionOf(ApplicationMenuAction action) {
  switch (action) {
    case ApplicationMenuAction::standardAboutPanel:
      return @selector(orderFrontStandardAboutPanel:);
    case ApplicationMenuAction::terminate:
      return @selector(terminate:);
    case ApplicationMenuAction::custom:
      break;
  }
  return @selector(menuItemWasChosen:);
}

NSMenuItem* menuItem(ApplicationMenuItem item) {
  if (item.title.empty()) return [NSMenuItem separatorItem];
  NSMenuItem* const made = [[NSMenuItem alloc] initWithTitle:nsText(item.title)
                                                      action:actionOf(item.action)
                                               keyEquivalent:nsText(item.keyEquivalent)];
  const bool isOwn = item.action == ApplicationMenuAction::custom;
  const id target = isOwn ? [[QuillardReceiver alloc] initWithTurn:std::move(item.onChoice)] : application();
  made.target = target;
  made.representedObject = target;  // An item does not keep what it is sent to.
  made.enabled = item.isEnabled ? YES : NO;
  return made;
}

class ReopenObservation final : public platform::Subscription {
 public:
  explicit ReopenObservation(platform::Turn onReopen)
      : receiver([[QuillardReceiver alloc] initWithTurn:std::move(onReopen)]) {
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:receiver
                                                       andSelector:@selector(applicationWasReopened:withReply:)
                                                     forEventClass:kCoreEventClass
                                                        andEventID:kAEReopenApplication];
  }
  ~ReopenObservation() override {
    [[NSAppleEventManager sharedAppleEventManager] removeEventHandlerForEventClass:kCoreEventClass
                                                                        andEventID:kAEReopenApplication];
  }

 private:
  QuillardReceiver* const receiver;
};

}  // namespace

void setActivationPolicy(ActivationPolicy policy) { [application() setActivationPolicy:systemPolicy(policy)]; }

void activateApplication() { [application() activateIgnoringOtherApps:YES]; }

bool isApplicationActive() { return static_cast<bool>(application().active); }

bool hasApplicationWindow() {
  @autoreleasepool {
    for (NSWindow* window in application().windows) {
      if (window.visible && window.canBecomeMainWindow) return true;
    }
    return false;
  }
}

void hideApplication() { [application() hide:nil]; }

void unhideApplication() { [application() unhideWithoutActivation]; }

void setMainMenu(const std::string& title, std::vector<ApplicationMenuItem> items) {
  @autoreleasepool {
    NSMenu* const submenu = [[NSMenu alloc] initWithTitle:nsText(title)];
    submenu.autoenablesItems = NO;  // What is enabled is said by the items.
    for (auto& item : items) [submenu addItem:menuItem(std::move(item))];
    NSMenuItem* const entry = [[NSMenuItem alloc] initWithTitle:nsText(title) action:nil keyEquivalent:@""];
    entry.submenu = submenu;
    NSMenu* const bar = [[NSMenu alloc] initWithTitle:@""];
    [bar addItem:entry];
    application().mainMenu = bar;
  }
}

platform::SubscriptionHandle observeReopen(platform::Turn onReopen) {
  @autoreleasepool {
    return std::make_unique<ReopenObservation>(std::move(onReopen));
  }
}

}  // namespace quillard::macos::appkit
