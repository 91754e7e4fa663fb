// The binding's own part of what it does through AppKit, over fakes of the calls.

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "macos/fakes/MacSystem.h"
#include "platform/macos/objc/MacApplication.h"
#include "platform/macos/objc/MacLoginService.h"
#include "platform/macos/objc/MacUserNotifications.h"
#include "platform/macos/objc/MacWorkspace.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/TemporaryFolder.h"

namespace quillard::macos {
namespace {

using platform::ActivationPolicy;
using platform::LoginServiceStatus;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using testing::ElementsAre;
using testing::IsEmpty;

class MacAppKit : public testing::Test {
 protected:
  MacAppKit() { system.loop = &world.time().mainThread(); }
  ~MacAppKit() override = default;

  SimulatedWorld world{Seed{7}};
  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
  fakes::MacSystem system{world.desktop(), events};
  fakes::AppKitFacts& appKit = system.appKit;
};

// ---- The application

struct Delegate final : platform::ApplicationDelegate {
  void applicationDidFinishLaunching() override { calls.emplace_back("launched"); }
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override {
    calls.emplace_back(hasVisibleWindows ? "reopened with windows" : "reopened");
    return true;
  }
  void applicationWillTerminate() override { calls.emplace_back("terminating"); }
  std::vector<std::string> calls;
};

class MacApplicationTest : public MacAppKit {
 protected:
  void inATurn(const std::function<void()>& act) { world.time().runOnMainThread(act); }
  std::unique_ptr<MacApplication> application = std::make_unique<MacApplication>(world.time().mainThread());
};

TEST_F(MacApplicationTest, ComesToTheFrontInATurnAfterTheOneThatMakesItRegular) {
  inATurn([&] {
    application->setActivationPolicy(ActivationPolicy::regular);
    application->activateIgnoringOtherApplications();
    EXPECT_THAT(appKit.calls, ElementsAre("regular", "unhide"));
  });
  world.advance(Seconds{0});
  EXPECT_THAT(appKit.calls, ElementsAre("regular", "unhide", "activate"));
}

TEST_F(MacApplicationTest, GivesTheKeyboardBackWhenItIsRegularNoMore) {
  inATurn([&] {
    application->setActivationPolicy(ActivationPolicy::regular);
    application->activateIgnoringOtherApplications();
  });
  world.advance(Seconds{0});
  appKit.calls.clear();
  inATurn([&] { application->setActivationPolicy(ActivationPolicy::accessory); });
  world.advance(Seconds{0});
  EXPECT_THAT(appKit.calls, ElementsAre("accessory", "hide"));
}

TEST_F(MacApplicationTest, KeepsTheKeyboardWhileAnotherWindowOfItIsOnScreen) {
  appKit.isActive = true;
  appKit.showsWindow = true;
  inATurn([&] { application->setActivationPolicy(ActivationPolicy::accessory); });
  world.advance(Seconds{0});
  EXPECT_THAT(appKit.calls, ElementsAre("accessory"));
}

TEST_F(MacApplicationTest, HidesNothingWhereAnotherApplicationIsInFront) {
  inATurn([&] { application->setActivationPolicy(ActivationPolicy::accessory); });
  world.advance(Seconds{0});
  EXPECT_THAT(appKit.calls, ElementsAre("accessory"));
}

TEST_F(MacApplicationTest, DoesNotComeToTheFrontOnceItsWindowHasClosedAgain) {
  inATurn([&] {
    application->setActivationPolicy(ActivationPolicy::regular);
    application->activateIgnoringOtherApplications();
    application->setActivationPolicy(ActivationPolicy::accessory);
  });
  world.advance(Seconds{1});
  EXPECT_THAT(appKit.calls, ElementsAre("regular", "unhide", "accessory"));
}

TEST_F(MacApplicationTest, StaysWhereItIsWhenItsWindowOpensAgainImmediately) {
  appKit.isActive = true;
  inATurn([&] {
    application->setActivationPolicy(ActivationPolicy::accessory);
    application->setActivationPolicy(ActivationPolicy::regular);
  });
  world.advance(Seconds{1});
  EXPECT_THAT(appKit.calls, ElementsAre("accessory", "regular", "unhide"));
}

TEST_F(MacApplicationTest, TellsItsDelegateOfLaunchAndReopeningInTurnsOfTheirOwn) {
  const auto delegate = std::make_shared<Delegate>();
  inATurn([&] {
    application->setDelegate(delegate);
    EXPECT_THAT(delegate->calls, IsEmpty());
  });
  world.advance(Seconds{0});
  EXPECT_THAT(delegate->calls, ElementsAre("launched"));
  appKit.onReopen();
  EXPECT_THAT(delegate->calls, ElementsAre("launched"));
  world.advance(Seconds{0});
  EXPECT_THAT(delegate->calls, ElementsAre("launched", "reopened"));
  const auto late = appKit.onReopen;
  application.reset();
  EXPECT_FALSE(appKit.onReopen) << "Nothing is observed any more.";
  late();
  world.advance(Seconds{0});
  EXPECT_EQ(delegate->calls.size(), 2U);
}

TEST_F(MacApplicationTest, AChoiceInItsMenuComesOnceTheMenuHasClosed) {
  int chosen = 0;
  inATurn([&] {
    application->setApplicationMenu(
        "Quillard", {{.title = "About", .action = platform::ApplicationMenuAction::standardAboutPanel},
                     {.title = "Check", .isEnabled = false, .onChoice = [&] { ++chosen; }},
                     {},
                     {.title = "Quit", .action = platform::ApplicationMenuAction::terminate, .keyEquivalent = "q"}});
  });
  EXPECT_EQ(appKit.menuTitle, "Quillard");
  ASSERT_EQ(appKit.menu.size(), 4U);
  EXPECT_FALSE(appKit.menu[1].isEnabled);
  EXPECT_EQ(appKit.menu[3].keyEquivalent, "q");
  for (const auto& item : appKit.menu) item.onChoice();  // Whatever AppKit makes of those that have none.
  EXPECT_EQ(chosen, 0);
  world.advance(Seconds{0});
  EXPECT_EQ(chosen, 1);
}

TEST_F(MacApplicationTest, IsThisProcess) { EXPECT_EQ(application->processIdentifier(), ::getpid()); }

// ---- The workspace, apart from its contract

class MacWorkspaceTest : public MacAppKit {
 protected:
  MacWorkspace workspace{world.time().mainThread()};
};

TEST_F(MacWorkspaceTest, NumbersThatAreNoProcessesAreAskedForNothing) {
  for (const std::int32_t number : {0, -1}) {
    EXPECT_FALSE(workspace.runningApplication(number));
    EXPECT_FALSE(workspace.activate(number));
    EXPECT_FALSE(workspace.unhide(number));
    EXPECT_FALSE(workspace.terminate(number));
  }
}

TEST_F(MacWorkspaceTest, ARefusedActivationIsSaidWhereTheSystemSaysSo) {
  const auto application = world.desktop().launch();
  appKit.refusesActivation = true;
  EXPECT_FALSE(workspace.activate(application.processIdentifier));
  appKit.refusesActivation = false;
  appKit.ignoresActivation = true;
  EXPECT_TRUE(workspace.activate(application.processIdentifier)) << "In silence: look again.";
  EXPECT_FALSE(workspace.frontmostApplication());
}

TEST_F(MacWorkspaceTest, EachKindOfEventComesInATurnOfTheMainThread) {
  std::vector<std::pair<WorkspaceEventKind, std::int32_t>> events;
  const auto subscription = workspace.observe([&](const WorkspaceEvent& event) {
    events.emplace_back(event.kind, event.application ? event.application->processIdentifier : 0);
  });
  const auto application = world.desktop().launch({.processIdentifier = 77});
  world.desktop().activate(application);
  world.desktop().hide(application);
  world.desktop().unhide(application);
  world.desktop().changeSpace();
  world.desktop().terminate(application);
  EXPECT_THAT(events, IsEmpty());
  world.advance(Seconds{1});
  using Kind = WorkspaceEventKind;
  for (const auto& [kind, process] : {std::pair{Kind::didLaunchApplication, 77},
                                      {Kind::didActivateApplication, 77},
                                      {Kind::didHideApplication, 77},
                                      {Kind::didUnhideApplication, 77},
                                      {Kind::activeSpaceDidChange, 0},
                                      {Kind::didTerminateApplication, 77}}) {
    EXPECT_THAT(events, testing::Contains(std::pair{kind, process})) << static_cast<int>(kind);
  }
}

TEST_F(MacWorkspaceTest, OpensAddressesButNoFilesInTheirPlace) {
  EXPECT_TRUE(workspace.openURL("https://example.org/a?b"));
  EXPECT_TRUE(workspace.openURL("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
  EXPECT_THAT(world.desktop().openedURLs().size(), 2U);
  for (const char* none : {"", "/Applications", "example.org", ":nothing", "1x:y", "a b:c"}) {
    EXPECT_FALSE(workspace.openURL(none)) << none;
  }
  EXPECT_THAT(world.desktop().openedURLs().size(), 2U);
  appKit.isOpeningRefused = true;
  EXPECT_FALSE(workspace.openURL("https://example.org/"));
}

TEST_F(MacWorkspaceTest, ShowsFoldersAndStartsNoPackage) {
  const test::TemporaryFolder folder;
  const std::string package = folder.path() + "/Quillard.app";
  std::filesystem::create_directory(package);
  appKit.packages = {package};
  EXPECT_TRUE(workspace.openFolder(folder.path()));
  EXPECT_THAT(world.desktop().openedFolders(), ElementsAre(folder.path()));
  for (const std::string& none : {package, folder.path() + "/missing", std::string("relative"), std::string()}) {
    EXPECT_FALSE(workspace.openFolder(none)) << none;
  }
  EXPECT_EQ(world.desktop().openedFolders().size(), 1U);
}

// ---- The login item

using MacLoginServiceTest = MacAppKit;

TEST_F(MacLoginServiceTest, AnApplicationThatWasNeverRegisteredIsNotRegisteredRatherThanNotFound) {
  MacLoginService service;
  EXPECT_EQ(service.status(), LoginServiceStatus::notRegistered);
  EXPECT_EQ(service.registerMainApplication(), std::nullopt);
  EXPECT_EQ(service.status(), LoginServiceStatus::enabled);
}

TEST_F(MacLoginServiceTest, OneThatIsNotFoundAfterAnAttemptIsNotFound) {
  appKit.loginItemSucceeds = false;
  MacLoginService service;
  EXPECT_EQ(service.registerMainApplication(), "The system gave no reason.");
  EXPECT_EQ(service.status(), LoginServiceStatus::notFound);
  appKit.loginItemProblem = "";
  EXPECT_EQ(service.registerMainApplication(), "The system gave no reason.");
  appKit.loginItemProblem = "Operation not permitted";
  EXPECT_EQ(service.registerMainApplication(), "Operation not permitted");
}

TEST_F(MacLoginServiceTest, NothingIsWrongWithOneThatWasRegisteredBefore) {
  appKit.loginItem = LoginServiceStatus::enabled;
  appKit.loginItemSucceeds = false;
  appKit.loginItemProblem = "Service already registered";
  EXPECT_EQ(MacLoginService{}.registerMainApplication(), std::nullopt);
}

TEST_F(MacLoginServiceTest, EveryOtherAnswerIsPassedOn) {
  for (const auto status : {LoginServiceStatus::notRegistered, LoginServiceStatus::enabled,
                            LoginServiceStatus::requiresApproval, LoginServiceStatus::unknown}) {
    appKit.loginItem = status;
    EXPECT_EQ(MacLoginService{}.status(), status);
  }
}

// ---- Notifications

class MacUserNotificationsTest : public MacAppKit {
 protected:
  std::unique_ptr<MacUserNotifications> make() {
    return std::make_unique<MacUserNotifications>(world.time().mainThread(), world.bundle());
  }
  std::vector<std::optional<std::string>> answers;
  std::function<void(std::optional<std::string>)> keep = [this](auto problem) { answers.push_back(problem); };
};

TEST_F(MacUserNotificationsTest, TheAnswerComesOnTheMainThreadFromWhicheverItWasGiven) {
  world.bundle().setPath("/Applications/Quillard.app");
  const auto notifications = make();
  notifications->requestAuthorization(keep);
  std::thread([&] { appKit.authorization("Refused by the system"); }).join();
  EXPECT_THAT(answers, IsEmpty());
  world.advance(Seconds{0});
  EXPECT_THAT(answers, ElementsAre("Refused by the system"));
  notifications->post({.identifier = "1", .title = "Title", .body = "Body", .playsDefaultSound = true});
  ASSERT_EQ(appKit.notes.size(), 1U);
  EXPECT_EQ(appKit.notes[0].title, "Title");
}

TEST_F(MacUserNotificationsTest, AnAnswerThatComesTooLateIsDropped) {
  auto notifications = make();
  notifications->requestAuthorization(keep);
  notifications.reset();
  appKit.authorization(std::nullopt);
  world.advance(Seconds{1});
  EXPECT_THAT(answers, IsEmpty());
}

TEST_F(MacUserNotificationsTest, AProcessThatIsNoApplicationIsNotEndedByAsking) {
  world.bundle().setPath("/Users/ann/build");
  const auto notifications = make();
  EXPECT_EQ(appKit.centersMade, 0);
  notifications->requestAuthorization(keep);
  notifications->post({.identifier = "1", .title = "Title", .body = "Body"});
  world.advance(Seconds{0});
  EXPECT_THAT(answers, ElementsAre("This process is no application."));
}

TEST_F(MacUserNotificationsTest, WhereTheSystemSaysByAnExceptionThatThereIsNoneThereIsNone) {
  appKit.hasNotificationCenter = false;
  const auto notifications = make();
  EXPECT_EQ(appKit.centersMade, 1);
  notifications->requestAuthorization(keep);
  world.advance(Seconds{0});
  EXPECT_THAT(answers, ElementsAre("This process is no application."));
}

}  // namespace
}  // namespace quillard::macos
