#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/ApprovalAnnouncer.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::approval;
using samples::uuid;
using testing::ElementsAre;
using testing::IsEmpty;

struct ApprovalAnnouncerTest : testing::Test {
  // The numbers of the approvals that this announces.
  std::vector<std::string> announced(const std::vector<std::uint64_t>& numbers, bool isPaused = false) {
    std::vector<PendingApproval> current;
    for (const auto number : numbers) current.push_back(approval(number));
    const auto before = world.userNotifications().posted().size();
    announcer.announce(current, isPaused);
    std::vector<std::string> identifiers;
    const auto& posted = world.userNotifications().posted();
    for (auto i = before; i < posted.size(); ++i) identifiers.push_back(posted[i].identifier);
    return identifiers;
  }
  static std::string id(std::uint64_t number) { return uuid(number).text(); }

  SimulatedWorld world{Seed{1}};
  ApprovalAnnouncer announcer{
      ApprovalAnnouncerDependencies{world.bundle(), world.userNotifications(), world.console()}};
};

TEST_F(ApprovalAnnouncerTest, AnnouncesWhatIsNewInOrder) {
  EXPECT_THAT(announced({3, 1}), ElementsAre(id(3), id(1)));
  EXPECT_THAT(announced({3, 4, 1, 2}), ElementsAre(id(4), id(2)));
  EXPECT_THAT(announced({3, 4, 1, 2}), IsEmpty());
}

TEST_F(ApprovalAnnouncerTest, AnnouncesWhatLeftAndCameBack) {
  announced({1, 2});
  EXPECT_THAT(announced({2}), IsEmpty());
  EXPECT_THAT(announced({1, 2}), ElementsAre(id(1)));
}

TEST_F(ApprovalAnnouncerTest, AnnouncesAfterAPauseWhatIsStillPending) {
  announced({1});
  EXPECT_THAT(announced({1, 2}, /*isPaused=*/true), IsEmpty());
  EXPECT_THAT(announced({1, 2}), ElementsAre(id(2))) << "What was announced before the pause stays quiet.";
}

TEST_F(ApprovalAnnouncerTest, ForgetsDuringAPauseWhatHasLeft) {
  announced({1, 2});
  announced({2}, /*isPaused=*/true);
  EXPECT_THAT(announced({1, 2}), ElementsAre(id(1)));
}

TEST_F(ApprovalAnnouncerTest, AnnouncesEverythingAgainOnceItForgot) {
  announced({1, 2});
  announcer.forget();
  EXPECT_THAT(announced({1, 2}), ElementsAre(id(1), id(2)));
}

TEST_F(ApprovalAnnouncerTest, SaysNothingOfWhatThePromptSays) {
  announced({1});
  const auto& notification = world.userNotifications().posted().at(0);
  EXPECT_EQ(notification.title, "Quillard");
  EXPECT_EQ(notification.body, "Your Mac needs approval.");
  EXPECT_TRUE(notification.playsDefaultSound);
}

TEST_F(ApprovalAnnouncerTest, PrintsWithoutABundleIdentifier) {
  world.bundle().setIdentifier(std::nullopt);
  auto prompt = approval(1);
  prompt.windowTitle = "Erase\x1b[31m disk?";
  announcer.announce({prompt}, /*isPaused=*/false);
  announcer.announce({prompt}, /*isPaused=*/false);
  EXPECT_THAT(world.console().lines(), ElementsAre("Approval needed: Disk Tool: Erase?[31m disk?"));
  EXPECT_THAT(world.userNotifications().posted(), IsEmpty());
}

TEST_F(ApprovalAnnouncerTest, AsksForThePermissionOnlyWithABundleIdentifier) {
  announcer.requestNotificationPermission();
  EXPECT_EQ(world.userNotifications().authorizationRequestCount(), 1);
  world.bundle().setIdentifier(std::nullopt);
  announcer.requestNotificationPermission();
  EXPECT_EQ(world.userNotifications().authorizationRequestCount(), 1);
  world.advance(Seconds{0});
  EXPECT_THAT(world.console().lines(), IsEmpty());
}

TEST_F(ApprovalAnnouncerTest, PrintsWhyThePermissionCouldNotBeAskedFor) {
  world.userNotifications().setAuthorizationError("No\nservice.");
  announcer.requestNotificationPermission();
  world.advance(Seconds{0});
  EXPECT_THAT(world.console().lines(), ElementsAre("Unable to request notification permission: No?service."));
}

TEST_F(ApprovalAnnouncerTest, TellsOfOtherThingsAndLogsThoseThatMatterLater) {
  announcer.tell("note", "A phone has had %1 removed.", {"Ann"}, /*isLogged=*/false);
  announcer.tell("alarm", "%1 has answered a prompt for the first time.", {"Mallory"}, /*isLogged=*/true);
  ASSERT_EQ(world.userNotifications().posted().size(), 2U);
  EXPECT_EQ(world.userNotifications().posted()[0].identifier, "note");
  EXPECT_EQ(world.userNotifications().posted()[1].body, "Mallory has answered a prompt for the first time.");
  EXPECT_THAT(world.console().lines(), ElementsAre("Mallory has answered a prompt for the first time."));
  world.bundle().setIdentifier(std::nullopt);
  announcer.tell("note", "A phone has had %1 removed.", {"Ann\nand others"}, /*isLogged=*/false);
  EXPECT_THAT(world.console().lines(), ElementsAre("Mallory has answered a prompt for the first time.",
                                                   "A phone has had Ann?and others removed."));
  EXPECT_EQ(world.userNotifications().posted().size(), 2U);
}

}  // namespace
}  // namespace quillard
