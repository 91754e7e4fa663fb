#include "platform/macos/objc/MacUserNotifications.h"

#include <utility>

#import <UserNotifications/UserNotifications.h>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/NotificationGuard.h"
#include "platform/macos/objc/Text.h"

// Without it, the system keeps notes of the application in front to itself.
@interface QuillardNotificationPresenter : NSObject <UNUserNotificationCenterDelegate>
@end

@implementation QuillardNotificationPresenter

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
  completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionList |
                    UNNotificationPresentationOptionSound);
}

@end

namespace quillard::macos {
namespace {

// Nil where there is none.
UNUserNotificationCenter* notificationCentre() {
  NSBundle* const bundle = NSBundle.mainBundle;
  if (!mayUseNotificationCenter(textFrom(bundle.bundleIdentifier), textFrom(bundle.bundlePath).value_or(""))) {
    return nil;
  }
  // The system's own judgement of what an application is has changed before, and is made known by an exception.
  @try {
    return [UNUserNotificationCenter currentNotificationCenter];
  } @catch (NSException* exception) {
    return nil;
  }
}

UNMutableNotificationContent* contentOf(const platform::UserNotification& notification) {
  UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
  content.title = nsText(notification.title);
  content.body = nsText(notification.body);
  if (notification.playsDefaultSound) content.sound = UNNotificationSound.defaultSound;
  return content;
}

}  // namespace

struct MacUserNotifications::Centre {
  explicit Centre(platform::SerialExecutor& mainThread) : listening(mainThread) { centre.delegate = presenter; }
  ~Centre() { centre.delegate = nil; }
  Centre(const Centre&) = delete;
  Centre& operator=(const Centre&) = delete;

  const MainThreadListening listening;
  UNUserNotificationCenter* const centre = notificationCentre();
  QuillardNotificationPresenter* const presenter = [[QuillardNotificationPresenter alloc] init];  // Kept only by this.
};

MacUserNotifications::MacUserNotifications(platform::SerialExecutor& mainThread)
    : centre(std::make_unique<Centre>(mainThread)) {}

MacUserNotifications::~MacUserNotifications() = default;

void MacUserNotifications::requestAuthorization(std::function<void(std::optional<std::string>)> completion) {
  @autoreleasepool {
    const std::shared_ptr<MainThreadLink> link = centre->listening.link();
    if (!centre->centre) {
      link->post([completion = std::move(completion)] { completion("This process is no application."); });
      return;
    }
    const auto shared = std::make_shared<std::function<void(std::optional<std::string>)>>(std::move(completion));
    [centre->centre requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                                  completionHandler:^(BOOL, NSError* error) {
                                    const auto problem = textFrom(error.localizedDescription);
                                    link->post([shared, problem] { (*shared)(problem); });
                                  }];
  }
}

void MacUserNotifications::post(const platform::UserNotification& notification) {
  @autoreleasepool {
    if (!centre->centre) return;
    UNNotificationRequest* const request = [UNNotificationRequest requestWithIdentifier:nsText(notification.identifier)
                                                                                content:contentOf(notification)
                                                                                trigger:nil];
    [centre->centre addNotificationRequest:request withCompletionHandler:nil];
  }
}

}  // namespace quillard::macos
