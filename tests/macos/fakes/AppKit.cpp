// AppKit's workspace, application object and notification centre, over the simulated desktop: the calls that the
// binding's Objective-C++ makes on a Mac.

#include <memory>
#include <utility>

#include <unistd.h>

#include "macos/fakes/MacSystem.h"
#include "platform/macos/objc/ApplicationCalls.h"
#include "platform/macos/objc/LoginCalls.h"
#include "platform/macos/objc/NotificationCalls.h"
#include "platform/macos/objc/WorkspaceCalls.h"

namespace quillard::macos::appkit {

using fakes::MacSystem;
using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WorkspaceEvent;

namespace {

fakes::AppKitFacts& facts() { return MacSystem::current().appKit; }

platform::Workspace& workspace() {
  if (!MacSystem::current().desktop) fakes::stopForMisuse("NSWorkspace", "called without a desktop");
  return MacSystem::current().desktop->workspace();
}

}  // namespace

// ---- The workspace

std::vector<RunningApplication> runningApplications() { return workspace().runningApplications(); }

std::optional<RunningApplication> frontmostApplication() {
  if (const auto stale = facts().staleFrontmost) return runningApplication(*stale);
  if (MacSystem::current().hasFocus) {
    return RunningApplication{.processIdentifier = ::getpid(), .isActive = true};
  }
  return workspace().frontmostApplication();
}

std::optional<RunningApplication> runningApplication(std::int32_t process) {
  if (process < 1) fakes::stopForMisuse(__func__, "called for what is no process");
  return workspace().runningApplication(process);
}

bool activate(std::int32_t process) {
  if (!runningApplication(process) || facts().refusesActivation) return false;
  return facts().ignoresActivation || workspace().activate(process);
}

bool unhide(std::int32_t process) { return runningApplication(process) && workspace().unhide(process); }

bool terminate(std::int32_t process) { return runningApplication(process) && workspace().terminate(process); }

bool openAddress(std::string_view address) { return !facts().isOpeningRefused && workspace().openURL(address); }

bool isPackage(std::string_view path) { return facts().packages.contains(std::string(path)); }

bool openFolder(std::string_view path) { return !facts().isOpeningRefused && workspace().openFolder(path); }

platform::SubscriptionHandle observeWorkspace(platform::WorkspaceEventKind kind,
                                              std::function<void(std::optional<RunningApplication>)> onNotice) {
  return workspace().observe([kind, onNotice = std::move(onNotice)](const WorkspaceEvent& event) {
    if (event.kind != kind) return;
    MacSystem& system = MacSystem::current();
    if (!system.loop || system.appKit.noticeDelay == Seconds::zero()) return onNotice(event.application);
    system.underWay.push_back(system.loop->postAfter(
        system.appKit.noticeDelay, [onNotice, application = event.application] { onNotice(application); }));
  });
}

// ---- The application object

void setActivationPolicy(ActivationPolicy policy) {
  facts().policy = policy;
  facts().calls.emplace_back(policy == ActivationPolicy::regular     ? "regular"
                             : policy == ActivationPolicy::accessory ? "accessory"
                                                                     : "prohibited");
}

void activateApplication() {
  facts().isActive = true;
  facts().calls.emplace_back("activate");
}

bool isApplicationActive() { return facts().isActive; }

bool hasApplicationWindow() { return facts().showsWindow; }

void unhideApplication() { facts().calls.emplace_back("unhide"); }

// Belief: the application that was in front before comes to the front.
void hideApplication() {
  facts().isActive = false;
  facts().calls.emplace_back("hide");
}

void setMainMenu(const std::string& title, std::vector<platform::ApplicationMenuItem> items) {
  facts().menuTitle = title;
  facts().menu = std::move(items);
}

platform::SubscriptionHandle observeReopen(platform::Turn onReopen) {
  struct Observation final : platform::Subscription {
    ~Observation() override { facts().onReopen = nullptr; }
  };
  facts().onReopen = std::move(onReopen);
  return std::make_unique<Observation>();
}

// ---- The login item

platform::LoginServiceStatus loginItemStatus() { return facts().loginItem; }

LoginRegistration registerLoginItem() {
  if (facts().loginItemSucceeds) facts().loginItem = platform::LoginServiceStatus::enabled;
  return {.hasSucceeded = facts().loginItemSucceeds, .problem = facts().loginItemProblem};
}

// ---- The notification centre

namespace {

class FakeNotificationCenter final : public NotificationCenter {
 public:
  void requestAuthorization(std::function<void(std::optional<std::string>)> completion) override {
    facts().authorization = std::move(completion);
  }
  void post(const platform::UserNotification& notification) override { facts().notes.push_back(notification); }
};

}  // namespace

std::unique_ptr<NotificationCenter> notificationCenter() {
  ++facts().centersMade;
  return facts().hasNotificationCenter ? std::make_unique<FakeNotificationCenter>() : nullptr;
}

}  // namespace quillard::macos::appkit
