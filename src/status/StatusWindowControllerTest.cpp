#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedApplication.h"
#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedLoginService.h"
#include "platform/simulated/SimulatedStatusWindow.h"
#include "platform/simulated/SimulatedWorld.h"
#include "status/StatusWindowController.h"

namespace quillard {
namespace {

using platform::ActivationPolicy;
using platform::simulated::Seed;
using testing::ElementsAre;
using testing::IsEmpty;

const char* nameOf(NotificationPauseOption option) {
  switch (option) {
    case NotificationPauseOption::twoHours:
      return "pause two hours";
    case NotificationPauseOption::fourHours:
      return "pause four hours";
    case NotificationPauseOption::untilTomorrow:
      return "pause until tomorrow";
    case NotificationPauseOption::indefinitely:
      return "pause indefinitely";
  }
  return "?";
}

class StatusWindowControllerTest : public testing::Test {
 protected:
  StatusWindowCallbacks callbacks() {
    return {.snapshotProvider =
                [this] {
                  EXPECT_TRUE(world.time().mainThread().isCurrent());
                  ++snapshotCount;
                  return snapshot;
                },
            .onEnableLoginItem =
                [this] {
                  asked.emplace_back("enable login item");
                  snapshot.loginItemStatus.state = LoginItemState::enabled;
                },
            .onUnpairPhone =
                [this] {
                  asked.emplace_back("unpair");
                  snapshot.phoneCount = 0;
                },
            .onCheckForUpdates = [this] { asked.emplace_back("check for updates"); },
            .onPauseNotifications =
                [this](NotificationPauseOption option) {
                  asked.emplace_back(nameOf(option));
                  snapshot.notificationPause.pausesIndefinitely = true;
                },
            .onResumeNotifications =
                [this] {
                  asked.emplace_back("resume");
                  snapshot.notificationPause = {};
                },
            .onMakeReadable = [this](const std::string& entry) { asked.push_back("make readable " + entry); },
            .onUndoReadable = [this](const std::string& entry) { asked.push_back("undo " + entry); }};
  }
  std::unique_ptr<StatusWindowController> make(StatusWindowCallbacks with) {
    return std::make_unique<StatusWindowController>(
        std::move(with), StatusWindowDependencies{application, world.time(), views, world.workspace(), installLocation,
                                                  loginItems, permissions});
  }
  // As the agent does: from turns of the main thread.
  void show() {
    world.time().runOnMainThread([this] { controller->show(); });
  }
  void close() {
    world.time().runOnMainThread([this] { controller->close(); });
  }
  void refresh() {
    world.time().runOnMainThread([this] { controller->refresh(); });
  }
  [[nodiscard]] auto& window() { return views.window(); }
  // What came of a click, the agent being asked and the system being opened.
  std::vector<std::string> click(StatusWindowButton button) {
    asked.clear();
    EXPECT_TRUE(window().click(button));
    world.advance(Seconds{0});
    return asked;
  }
  std::vector<std::string> choose(const char* title) {
    asked.clear();
    EXPECT_TRUE(window().click(StatusWindowButton::notificationPauseSecondary));
    world.advance(Seconds{0});
    EXPECT_TRUE(window().chooseMenuItem(title));
    world.advance(Seconds{0});
    return asked;
  }

  platform::simulated::SimulatedWorld world{Seed{3}};
  platform::simulated::SimulatedApplication application{world.time()};
  platform::simulated::SimulatedStatusWindowViews views{world.time()};
  platform::simulated::SimulatedBundle bundle;
  platform::simulated::SimulatedLoginService loginService;
  InstallLocation installLocation{bundle};
  LoginItemManager loginItems{bundle, loginService, world.workspace(), world.console()};
  PermissionManager permissions{world.workspace()};
  MacStatusSnapshot snapshot{.installedInApplications = true,
                             .accessibilityTrusted = true,
                             .loginItemStatus = {LoginItemState::enabled, ""},
                             .relayConfigured = true,
                             .relayConnected = true};
  int snapshotCount = 0;
  std::vector<std::string> asked;
  std::unique_ptr<StatusWindowController> controller = make(callbacks());
};

TEST_F(StatusWindowControllerTest, IsHiddenUntilItIsShown) {
  EXPECT_EQ(views.windows().size(), 1U);
  EXPECT_FALSE(window().isVisible());
  world.advance(Seconds{60});
  EXPECT_EQ(snapshotCount, 0);
  EXPECT_THAT(application.activationPolicies(), IsEmpty());
}

TEST_F(StatusWindowControllerTest, ShowingBringsARegularApplicationToTheFront) {
  show();
  EXPECT_TRUE(window().isVisible());
  EXPECT_EQ(window().fitCount(), 1);
  EXPECT_EQ(window().appearanceUpdateCount(), 1);
  EXPECT_THAT(application.activationPolicies(), ElementsAre(ActivationPolicy::regular));
  EXPECT_EQ(application.activationCount(), 1);
}

TEST_F(StatusWindowControllerTest, ShowsAFreshSnapshotFromTheStart) {
  show();
  ASSERT_TRUE(window().content().has_value());
  EXPECT_EQ(window().content()->headline, "Pair iPhone");
}

TEST_F(StatusWindowControllerTest, RefreshesEveryTwoSeconds) {
  show();
  snapshot.phoneConnected = true;
  world.advance(Seconds{1.999});
  EXPECT_EQ(window().content()->headline, "Pair iPhone");
  world.advance(Seconds{0.001});
  EXPECT_EQ(window().content()->headline, "All OK");
  EXPECT_EQ(snapshotCount, 2);
  world.advance(Seconds{1.999});
  EXPECT_EQ(snapshotCount, 2);
  world.advance(Seconds{0.001});
  EXPECT_EQ(snapshotCount, 3);
  world.advance(Seconds{60});
  EXPECT_EQ(snapshotCount, 33);
}

TEST_F(StatusWindowControllerTest, ShowingAgainComesToTheFrontAndStartsTheTimerAnew) {
  show();
  world.advance(Seconds{1.5});
  show();
  EXPECT_EQ(window().showCount(), 2);
  EXPECT_EQ(application.activationCount(), 2);
  EXPECT_EQ(snapshotCount, 2);
  world.advance(Seconds{1.999});
  EXPECT_EQ(snapshotCount, 2) << "no tick of the first timer";
  world.advance(Seconds{0.001});
  EXPECT_EQ(snapshotCount, 3);
  EXPECT_EQ(views.windows().size(), 1U);
}

TEST_F(StatusWindowControllerTest, ClosingStopsTheTimerAndLeavesTheDock) {
  show();
  close();
  EXPECT_FALSE(window().isVisible());
  EXPECT_EQ(application.activationPolicy(), ActivationPolicy::accessory);
  snapshotCount = 0;
  world.advance(Seconds{60});
  EXPECT_EQ(snapshotCount, 0);
  EXPECT_FALSE(application.isTerminationRequested()) << "the agent goes on";
}

TEST_F(StatusWindowControllerTest, TheUsersClosingDoesTheSame) {
  show();
  window().closeByUser();
  world.advance(Seconds{0});
  EXPECT_FALSE(window().isVisible());
  EXPECT_THAT(application.activationPolicies(), ElementsAre(ActivationPolicy::regular, ActivationPolicy::accessory));
  snapshotCount = 0;
  world.advance(Seconds{60});
  EXPECT_EQ(snapshotCount, 0);
}

TEST_F(StatusWindowControllerTest, ReopeningRestartsTimerAndDock) {
  show();
  window().closeByUser();
  world.advance(Seconds{10});
  snapshot.phoneConnected = true;
  show();
  EXPECT_EQ(application.activationPolicy(), ActivationPolicy::regular);
  EXPECT_TRUE(window().isVisible());
  EXPECT_EQ(window().content()->headline, "All OK") << "nothing old is shown";
  snapshotCount = 0;
  world.advance(Seconds{1.999});
  EXPECT_EQ(snapshotCount, 0);
  world.advance(Seconds{0.001});
  EXPECT_EQ(snapshotCount, 1);
}

TEST_F(StatusWindowControllerTest, RefreshesAtOnceWhenTheAgentSaysSo) {
  show();
  snapshot.accessibilityTrusted = false;
  refresh();
  EXPECT_EQ(window().content()->headline, "Finish setup");
  EXPECT_EQ(window().content()->pairingStatus, "Accessibility required");
}

TEST_F(StatusWindowControllerTest, SaysInTheLanguageOfTheUserWhyARelayCannotBeUsed) {
  auto with = callbacks();
  with.onSetRelay = [](const std::string&) {
    return std::optional<std::string>{"This is not the address of a relay."};
  };
  controller = make(std::move(with));
  snapshot.texts = {Machine::computer, Language::german};
  snapshot.relay = RelayChoice{};
  show();
  click(StatusWindowButton::relayPrimary);
  ASSERT_TRUE(window().enterText("?"));
  world.advance(Seconds{0});
  ASSERT_TRUE(window().field().has_value()) << "it can be mended";
  EXPECT_EQ(window().field()->problem, "Das ist nicht die Adresse eines Relays.");
}

TEST_F(StatusWindowControllerTest, AsksForNothingWhileItIsHidden) {
  refresh();
  EXPECT_EQ(snapshotCount, 0);
  show();
  close();
  snapshotCount = 0;
  refresh();
  EXPECT_EQ(snapshotCount, 0);
}

TEST_F(StatusWindowControllerTest, NothingRunsAfterItHasGone) {
  show();
  window().changeAppearance();
  window().click(StatusWindowButton::notificationPausePrimary);
  controller.reset();
  snapshotCount = 0;
  world.advance(Seconds{60});
  EXPECT_EQ(snapshotCount, 0);
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(StatusWindowControllerTest, ManyChangesOfTheAppearanceAreOneUpdate) {
  show();
  const int before = window().appearanceUpdateCount();
  window().changeAppearance();
  window().changeAppearance();
  window().changeAppearance();
  world.advance(Seconds{0});
  EXPECT_EQ(window().appearanceUpdateCount(), before + 1);
  window().changeAppearance();
  world.advance(Seconds{0});
  EXPECT_EQ(window().appearanceUpdateCount(), before + 2);
  world.advance(Seconds{60});
  EXPECT_EQ(window().appearanceUpdateCount(), before + 2);
}

TEST_F(StatusWindowControllerTest, OpensTheFolderOfApplications) {
  snapshot.installedInApplications = false;
  show();
  EXPECT_THAT(click(StatusWindowButton::installLocationPrimary), IsEmpty());
  EXPECT_THAT(world.desktop().openedFolders(), ElementsAre("/Applications"));
  click(StatusWindowButton::installLocationSecondary);
  EXPECT_THAT(world.desktop().openedFolders(), ElementsAre("/Applications", "/Applications"));
}

TEST_F(StatusWindowControllerTest, OpensThePrivacySettings) {
  const std::string page = "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
  show();
  click(StatusWindowButton::accessibilitySecondary);
  snapshot.accessibilityTrusted = false;
  refresh();
  click(StatusWindowButton::accessibilityPrimary);
  EXPECT_THAT(world.desktop().openedURLs(), ElementsAre(page, page));
  click(StatusWindowButton::pairingAction);
  EXPECT_THAT(world.desktop().openedURLs(), ElementsAre(page, page, page));
}

TEST_F(StatusWindowControllerTest, LeavesThePairingCardsButtonToTheAgentWhereItTakesIt) {
  auto with = callbacks();
  with.onRequestPermissions = [this] {
    asked.emplace_back("request permissions");
    snapshot.accessibilityTrusted = true;
  };
  controller = make(std::move(with));
  snapshot.accessibilityTrusted = false;
  show();
  EXPECT_THAT(click(StatusWindowButton::pairingAction), ElementsAre("request permissions"));
  EXPECT_THAT(world.desktop().openedURLs(), IsEmpty());
  EXPECT_EQ(window().content()->pairingActionButton, std::nullopt) << "refreshed";
}

TEST_F(StatusWindowControllerTest, EnablesTheLoginItemAndShowsWhatCameOfIt) {
  snapshot.loginItemStatus.state = LoginItemState::disabled;
  show();
  EXPECT_THAT(click(StatusWindowButton::loginItemPrimary), ElementsAre("enable login item"));
  EXPECT_EQ(window().content()->loginItem.status, "Enabled");
}

TEST_F(StatusWindowControllerTest, OpensTheSettingsOfLoginItems) {
  show();
  EXPECT_THAT(click(StatusWindowButton::loginItemSecondary), IsEmpty());
  EXPECT_THAT(world.desktop().openedURLs(),
              ElementsAre("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
}

TEST_F(StatusWindowControllerTest, ChecksForUpdates) {
  snapshot.updateAvailability = {true, "2.1"};
  show();
  EXPECT_THAT(click(StatusWindowButton::updatePrimary), ElementsAre("check for updates"));
}

TEST_F(StatusWindowControllerTest, UnpairsThePhone) {
  snapshot.phoneCount = 1;
  show();
  EXPECT_THAT(click(StatusWindowButton::unpairPhone), ElementsAre("unpair"));
  EXPECT_EQ(window().content()->unpairPhoneButton, std::nullopt) << "refreshed";
}

TEST_F(StatusWindowControllerTest, RenewsACodeThatNoKnownPhoneHas) {
  snapshot.installedInApplications = snapshot.relayConfigured = true;
  show();
  ASSERT_EQ(window().content()->pairAnotherButton, ButtonContent{"Renew Code"});
  EXPECT_THAT(click(StatusWindowButton::pairAnother), ElementsAre("unpair"));
}

TEST_F(StatusWindowControllerTest, TheToggleStopsAlertsForTwoHoursAndLetsThemGoOn) {
  show();
  EXPECT_EQ(window().content()->notificationPause.primaryButton->title, "Pause 2h");
  EXPECT_THAT(click(StatusWindowButton::notificationPausePrimary), ElementsAre("pause two hours"));
  EXPECT_EQ(window().content()->notificationPause.primaryButton->title, "Resume");
  EXPECT_THAT(click(StatusWindowButton::notificationPausePrimary), ElementsAre("resume"));
  EXPECT_EQ(window().content()->notificationPause.primaryButton->title, "Pause 2h");
}

TEST_F(StatusWindowControllerTest, TheToggleGoesByWhatIsTrueNow) {
  show();
  snapshot.notificationPause.pausedUntil = world.time().now();
  EXPECT_THAT(click(StatusWindowButton::notificationPausePrimary), ElementsAre("resume"))
      << "paused since the last refresh";
}

TEST_F(StatusWindowControllerTest, TheMenuOffersThreePausesBesidesTheToggles) {
  show();
  click(StatusWindowButton::notificationPauseSecondary);
  EXPECT_EQ(window().menu()->under, StatusWindowButton::notificationPauseSecondary);
  EXPECT_THAT(window().menuTitles(), ElementsAre("Pause for 4 Hours", "Pause until Tomorrow", "Pause Forever"));
}

TEST_F(StatusWindowControllerTest, TheMenuEndsWithResumeNowWhilePaused) {
  const auto expectResume = [this] {
    click(StatusWindowButton::notificationPauseSecondary);
    EXPECT_THAT(window().menuTitles(),
                ElementsAre("Pause for 4 Hours", "Pause until Tomorrow", "Pause Forever", "", "Resume Now"));
    window().dismissMenu();
  };
  show();
  snapshot.notificationPause.pausesIndefinitely = true;
  expectResume();
  snapshot.notificationPause = {.pausedUntil = world.time().now() + std::chrono::hours{1}};
  expectResume();
}

TEST_F(StatusWindowControllerTest, EachItemOfTheMenuDoesWhatItSays) {
  show();
  EXPECT_THAT(choose("Pause for 4 Hours"), ElementsAre("pause four hours"));
  EXPECT_EQ(window().content()->notificationPause.status, "Paused") << "refreshed";
  EXPECT_THAT(choose("Pause until Tomorrow"), ElementsAre("pause until tomorrow"));
  EXPECT_THAT(choose("Pause Forever"), ElementsAre("pause indefinitely"));
  EXPECT_THAT(choose("Resume Now"), ElementsAre("resume"));
  EXPECT_NE(window().content()->notificationPause.status, "Paused") << "refreshed";
}

TEST_F(StatusWindowControllerTest, AMenuThatIsDismissedChangesNothing) {
  show();
  EXPECT_THAT(click(StatusWindowButton::notificationPauseSecondary), IsEmpty());
  window().dismissMenu();
  world.advance(Seconds{0});
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(StatusWindowControllerTest, AnAgentThatTakesNothingIsAskedNothing) {
  controller = make({.snapshotProvider = [this] { return snapshot; }});
  snapshot.phoneCount = 1;
  snapshot.loginItemStatus.state = LoginItemState::disabled;
  snapshot.updateAvailability = {true, "2.1"};
  show();
  for (const auto button : {StatusWindowButton::loginItemPrimary, StatusWindowButton::unpairPhone,
                            StatusWindowButton::updatePrimary, StatusWindowButton::notificationPausePrimary}) {
    EXPECT_THAT(click(button), IsEmpty());
  }
  EXPECT_TRUE(window().isVisible());
}

TEST_F(StatusWindowControllerTest, OffersOnceEachProgramWhoseStartCanBeMended) {
  snapshot.programs.unreadable = {
      {1, "Chat", "", "chat"}, {2, "Chat", "", "chat"}, {3, "xterm", "", ""}, {4, "Browser", "", "browser"}};
  show();
  EXPECT_TRUE(window().click(StatusWindowButton::programsPrimary));
  world.advance(Seconds{0});
  EXPECT_THAT(window().menuTitles(), ElementsAre("Chat", "Browser"));
  asked.clear();
  EXPECT_TRUE(window().chooseMenuItem("Browser"));
  world.advance(Seconds{0});
  EXPECT_THAT(asked, ElementsAre("make readable browser"));
}

TEST_F(StatusWindowControllerTest, OffersToUndoWhatWasMended) {
  snapshot.programs.changed = {{"chat", "Chat"}};
  show();
  EXPECT_TRUE(window().click(StatusWindowButton::programsSecondary));
  world.advance(Seconds{0});
  EXPECT_THAT(window().menuTitles(), ElementsAre("Chat"));
  asked.clear();
  EXPECT_TRUE(window().chooseMenuItem("Chat"));
  world.advance(Seconds{0});
  EXPECT_THAT(asked, ElementsAre("undo chat"));
}

TEST_F(StatusWindowControllerTest, OpensNoMenuForProgramsThatHaveGoneMeanwhile) {
  snapshot.programs.unreadable = {{1, "Chat", "", "chat"}};
  show();
  EXPECT_TRUE(window().click(StatusWindowButton::programsPrimary));
  snapshot.programs = {};
  world.advance(Seconds{0});
  EXPECT_EQ(window().menu(), std::nullopt);
  EXPECT_EQ(window().content()->programs, std::nullopt);
}

}  // namespace
}  // namespace quillard
