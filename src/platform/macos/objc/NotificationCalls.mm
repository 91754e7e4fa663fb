#include "platform/macos/objc/NotificationCalls.h"

#include <utility>

#import <UserNotifications/UserNotifications.h>

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

namespace quillard::macos::appkit {
namespace {

UNMutableNotificationContent* contentOf(const platform::UserNotification& notification) {
  UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
  content.title = nsText(notification.title);
  content.body = nsText(notification.body);
  if (notification.playsDefaultSound) content.sound = UNNotificationSound.defaultSound;
  return content;
}

class SystemNotificationCenter final : public NotificationCenter {
 public:
  explicit SystemNotificationCenter(UNUserNotificationCenter* center) : center(center) { center.delegate = presenter; }
  ~SystemNotificationCenter() override { center.delegate = nil; }

  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override {
    @autoreleasepool {
      const auto shared = std::make_shared<decltype(completion)>(std::move(completion));
      [center requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                            completionHandler:^(BOOL, NSError* error) {
                              (*shared)(textFrom(error.localizedDescription));
                            }];
    }
  }

  void post(const platform::UserNotification& notification) override {
    @autoreleasepool {
      [center addNotificationRequest:[UNNotificationRequest requestWithIdentifier:nsText(notification.identifier)
                                                                          content:contentOf(notification)
                                                                          trigger:nil]
               withCompletionHandler:nil];
    }
  }

 private:
  UNUserNotificationCenter* const center;
  QuillardNotificationPresenter* const presenter = [[QuillardNotificationPresenter alloc] init];  // Kept only by this.
};

}  // namespace

std::unique_ptr<NotificationCenter> notificationCenter() {
  // The system's own judgement of what an application is has changed before, and is made known by an exception.
  @try {
    return std::make_unique<SystemNotificationCenter>([UNUserNotificationCenter currentNotificationCenter]);
  } @catch (NSException* exception) {
    return nullptr;
  }
}

}  // namespace quillard::macos::appkit
