#include "platform/macos/DistributedNotice.h"

#include <utility>

#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

class Notice final : public platform::Subscription {
 public:
  Notice(std::string_view name, platform::SerialExecutor& mainThread, std::function<void()> onNotice)
      : name(makeString(name)),
        mainThread(mainThread),
        listener(std::make_shared<std::function<void()>>(std::move(onNotice))) {
    CFNotificationCenterAddObserver(CFNotificationCenterGetDistributedCenter(), this, received, this->name.get(),
                                    nullptr, CFNotificationSuspensionBehaviorDeliverImmediately);
  }
  ~Notice() override {
    CFNotificationCenterRemoveObserver(CFNotificationCenterGetDistributedCenter(), this, name.get(), nullptr);
  }

 private:
  static void received(CFNotificationCenterRef, void* observer, CFNotificationName, const void*, CFDictionaryRef) {
    const auto& notice = *static_cast<Notice*>(observer);
    notice.mainThread.post([weak = std::weak_ptr(notice.listener)] {
      if (const auto told = weak.lock()) (*told)();
    });
  }

  const CFHandle<CFStringRef> name;
  platform::SerialExecutor& mainThread;
  const std::shared_ptr<std::function<void()>> listener;
};

}  // namespace

platform::SubscriptionHandle observeDistributedNotice(std::string_view name, platform::SerialExecutor& mainThread,
                                                      std::function<void()> onNotice) {
  return std::make_unique<Notice>(name, mainThread, std::move(onNotice));
}

}  // namespace quillard::macos
