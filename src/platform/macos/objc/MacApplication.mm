#include "platform/macos/objc/MacApplication.h"

#include <utility>

#import <AppKit/AppKit.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/Text.h"
#include "platform/macos/objc/WorkspaceMapping.h"

// What menus and events are sent to, since they cannot call functions.
@interface QuillardReceiver : NSObject
- (instancetype)initWithLink:(std::shared_ptr<quillard::macos::MainThreadLink>)aLink
                        turn:(quillard::platform::Turn)aTurn;
- (void)menuItemWasChosen:(id)sender;
- (void)applicationWasReopened:(NSAppleEventDescriptor*)event withReply:(NSAppleEventDescriptor*)reply;
@end

@implementation QuillardReceiver {
  std::shared_ptr<quillard::macos::MainThreadLink> link;
  quillard::platform::Turn turn;
}

- (instancetype)initWithLink:(std::shared_ptr<quillard::macos::MainThreadLink>)aLink
                        turn:(quillard::platform::Turn)aTurn {
  self = [super init];
  if (self) {
    link = std::move(aLink);
    turn = std::move(aTurn);
  }
  return self;
}

- (void)menuItemWasChosen:(id)sender {
  link->post(turn);
}

- (void)applicationWasReopened:(NSAppleEventDescriptor*)event withReply:(NSAppleEventDescriptor*)reply {
  link->post(turn);
}

@end

namespace quillard::macos {

using platform::ApplicationMenuAction;
using platform::ApplicationMenuItem;

namespace {

constexpr AEEventClass kCoreEvents = 'aevt';
constexpr AEEventID kReopen = 'rapp';

NSApplication* application() { return [NSApplication sharedApplication]; }

}  // namespace

struct MacApplication::Cocoa {
  explicit Cocoa(platform::SerialExecutor& mainThread) : listening(mainThread) {}
  ~Cocoa() { forgetReopen(); }
  Cocoa(const Cocoa&) = delete;
  Cocoa& operator=(const Cocoa&) = delete;

  NSMenuItem* menuItem(ApplicationMenuItem item) {
    if (item.title.empty()) return [NSMenuItem separatorItem];
    id target = application();
    SEL action = nil;
    switch (item.action) {
      case ApplicationMenuAction::standardAboutPanel:
        action = @selector(orderFrontStandardAboutPanel:);
        break;
      case ApplicationMenuAction::terminate:
        action = @selector(terminate:);
        break;
      case ApplicationMenuAction::custom:
        target = receiverOf(std::move(item.onChoice));
        action = @selector(menuItemWasChosen:);
        break;
    }
    NSMenuItem* const made = [[NSMenuItem alloc] initWithTitle:nsText(item.title)
                                                        action:action
                                                 keyEquivalent:nsText(item.keyEquivalent)];
    made.target = target;
    made.enabled = item.isEnabled ? YES : NO;
    return made;
  }

  // A menu item does not keep what it is sent to: this does.
  QuillardReceiver* receiverOf(platform::Turn onChoice) {
    QuillardReceiver* const receiver = [[QuillardReceiver alloc] initWithLink:listening.link()
                                                                         turn:[onChoice = std::move(onChoice)] {
                                                                           if (onChoice) onChoice();
                                                                         }];
    [menuReceivers addObject:receiver];
    return receiver;
  }

  void observeReopen(platform::Turn onReopen) {
    reopenReceiver = [[QuillardReceiver alloc] initWithLink:listening.link() turn:std::move(onReopen)];
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:reopenReceiver
                                                       andSelector:@selector(applicationWasReopened:withReply:)
                                                     forEventClass:kCoreEvents
                                                        andEventID:kReopen];
  }

  void forgetReopen() {
    if (!reopenReceiver) return;
    [[NSAppleEventManager sharedAppleEventManager] removeEventHandlerForEventClass:kCoreEvents andEventID:kReopen];
    reopenReceiver = nil;
  }

  const MainThreadListening listening;
  NSMutableArray<QuillardReceiver*>* const menuReceivers = [NSMutableArray array];
  QuillardReceiver* reopenReceiver = nil;
};

void MacApplication::keepQtFromTakingTheFocus() { ::setenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1", 1); }

MacApplication::MacApplication(platform::SerialExecutor& mainThread)
    : loopEnd(mainThread), cocoa(std::make_unique<Cocoa>(mainThread)) {}

MacApplication::~MacApplication() = default;

void MacApplication::setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) {
  loopEnd.setDelegate(delegate);
  cocoa->listening.link()->post([this, delegate = std::move(delegate)] {
    cocoa->observeReopen([delegate] {
      if (const auto told = delegate.lock()) told->applicationShouldHandleReopen(false);
    });
    if (const auto told = delegate.lock()) told->applicationDidFinishLaunching();
  });
}

std::int32_t MacApplication::processIdentifier() const { return ::getpid(); }

void MacApplication::setActivationPolicy(platform::ActivationPolicy policy) {
  [application() setActivationPolicy:activationPolicyNumber(policy)];
}

void MacApplication::activateIgnoringOtherApplications() { [application() activateIgnoringOtherApps:YES]; }

void MacApplication::setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) {
  @autoreleasepool {
    NSMenu* const submenu = [[NSMenu alloc] initWithTitle:nsText(title)];
    submenu.autoenablesItems = NO;  // What is enabled is said by the items.
    [cocoa->menuReceivers removeAllObjects];
    for (auto& item : items) [submenu addItem:cocoa->menuItem(std::move(item))];
    NSMenuItem* const entry = [[NSMenuItem alloc] initWithTitle:nsText(title) action:nil keyEquivalent:@""];
    entry.submenu = submenu;
    NSMenu* const bar = [[NSMenu alloc] initWithTitle:@""];
    [bar addItem:entry];
    application().mainMenu = bar;
  }
}

}  // namespace quillard::macos
