#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

// A desktop that cannot be read for a while, and prompts that cannot be told apart by what they say.
namespace quillard {
namespace {

using platform::DesktopReadFailure;
using platform::simulated::DialogSpec;
using platform::simulated::ElementSpec;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

struct UnreadAgent : AgentWorld {
  UnreadAgent() {
    launchAndPair();
    application = desktop().launch({.name = "Disk Tool", .bundleIdentifier = "com.example.disktool"});
  }
  // Shown, and all that its coming has brought about is over.
  void showPrompt() {
    prompt = desktop().open(application, erasePrompt());
    advance(10);
    ASSERT_THAT(phone.shown(), SizeIs(1));
    id = phone.shown().at(0).id;
  }
  // Of prompts.
  [[nodiscard]] std::size_t announcements() {
    const auto& posted = world.userNotifications().posted();
    return static_cast<std::size_t>(std::count_if(
        posted.begin(), posted.end(), [](const auto& note) { return note.body == "Your Mac needs approval."; }));
  }
  // That the phone has had one list all the time since `begin`, the prompt in it.
  void expectSteadySince(std::size_t begin) {
    const auto snapshots = phone.snapshots();
    for (std::size_t i = begin; i < snapshots.size(); ++i) {
      ASSERT_THAT(snapshots[i].approvals, SizeIs(1)) << i;
      EXPECT_EQ(snapshots[i].approvals[0].id, id) << i;
      EXPECT_TRUE(snapshots[i].accessibilityTrusted);
    }
  }

  platform::simulated::ApplicationHandle application;
  platform::simulated::NodeHandle prompt;
  Uuid id;
};

// ---- Programs and desktops that give no answer

TEST(AppDelegateUnread, APromptOfAProgramThatMissesASweepStaysWithItsIdentityAndIsLookedAtSoon) {
  UnreadAgent agent;
  agent.showPrompt();
  const auto begin = agent.phone.snapshots().size();
  agent.advance(270);
  agent.desktop().hang(agent.application);
  agent.advance(30);  // The sweep.
  EXPECT_THAT(agent.phone.shown(), SizeIs(1));
  EXPECT_EQ(agent.status().scanProblem, (ScanProblem{.failure = std::nullopt, .unreadProgramCount = 1}));
  agent.desktop().unhang(agent.application);
  agent.advance(5);
  EXPECT_EQ(agent.status().scanProblem, ScanProblem{}) << "It was looked at again long before the next sweep.";
  agent.advance(600);
  agent.expectSteadySince(begin);
  EXPECT_EQ(agent.announcements(), 1U);
}

TEST(AppDelegateUnread, APromptThatComesWhileItsProgramIsSilentIsFoundLongBeforeTheNextSweep) {
  UnreadAgent agent;
  agent.advance(10);
  agent.desktop().hang(agent.application);
  agent.desktop().open(agent.application, erasePrompt());
  agent.advance(10);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  agent.desktop().unhang(agent.application);
  agent.advance(20);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST(AppDelegateUnread, ARegistryThatIsSilentForTwoSecondsTakesNoPromptAway) {
  for (const auto failure : {DesktopReadFailure::applicationList, DesktopReadFailure::accessibilityService,
                             DesktopReadFailure::windowServer}) {
    UnreadAgent agent;
    agent.showPrompt();
    agent.advance(100);
    const auto begin = agent.phone.snapshots().size();
    agent.desktop().setDesktopFailure(failure);
    agent.desktop().changeSpace();
    agent.advance(2);
    EXPECT_EQ(agent.status().scanProblem.failure, failure);
    EXPECT_EQ(agent.phone.shown().size(), 1U);
    agent.desktop().setDesktopFailure(std::nullopt);
    agent.advance(30);
    EXPECT_EQ(agent.status().scanProblem, ScanProblem{});
    agent.expectSteadySince(begin);
    EXPECT_EQ(agent.announcements(), 1U);
  }
}

TEST(AppDelegateUnread, APromptThatWentWhileNothingCouldBeReadLeavesOnceItCan) {
  UnreadAgent agent;
  agent.showPrompt();
  agent.desktop().setDesktopFailure(DesktopReadFailure::applicationList);
  agent.desktop().close(agent.prompt);
  agent.advance(20);
  EXPECT_THAT(agent.phone.shown(), SizeIs(1)) << "Nobody could tell.";
  agent.desktop().setDesktopFailure(std::nullopt);
  agent.advance(30);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
}

TEST(AppDelegateUnread, ALauncherThatIsSilentForLessThanHalfAMinuteEmptiesNothingAndAnnouncesNothingAgain) {
  UnreadAgent agent;
  agent.showPrompt();
  for (const double seconds : {1.0, 5.0, 27.0}) {
    const auto begin = agent.phone.snapshots().size();
    agent.desktop().setTrustSilent(true);
    agent.desktop().changeSpace();
    agent.advance(seconds);
    agent.desktop().setTrustSilent(false);
    agent.advance(60);
    agent.expectSteadySince(begin);
    EXPECT_THAT(agent.phone.shown(), SizeIs(1));
    EXPECT_EQ(agent.announcements(), 1U);
  }
}

TEST(AppDelegateUnread, ALauncherThatStaysSilentHasTakenThePermission) {
  UnreadAgent agent;
  agent.showPrompt();
  agent.desktop().setTrustSilent(true);
  agent.advance(33);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_FALSE(agent.phone.snapshots().back().accessibilityTrusted);
  EXPECT_FALSE(agent.status().accessibilityTrusted);
  agent.desktop().setTrustSilent(false);
  agent.advance(5);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

// ---- One identity for one appearance

DialogSpec promptInOnePlace() {
  auto spec = erasePrompt("Delete?");
  spec.frame = Rect{100, 100, 400, 180};
  return spec;
}

TEST(AppDelegateIdentity, TheSameTextAfterAnAnswerIsANewPromptToldAnew) {
  UnreadAgent agent;
  agent.desktop().open(agent.application, promptInOnePlace());
  agent.advance(5);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  const auto first = agent.phone.shown().at(0).id;
  const auto decision = agent.phone.decide(first, "Erase");
  agent.advance(3);
  ASSERT_THAT(agent.phone.answers(decision.value_or("")), ElementsAre("accepted"));

  agent.desktop().open(agent.application, promptInOnePlace());
  agent.advance(3);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  EXPECT_NE(agent.phone.shown().at(0).id, first);
  EXPECT_EQ(agent.announcements(), 2U);
  for (const auto* repeated : {"again", "and again"}) {
    agent.phone.send(repeated, first, "Erase");
    agent.advance(4);
    EXPECT_THAT(agent.phone.answers(repeated), SizeIs(1));
  }
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1)) << "What was answered is over.";
}

TEST(AppDelegateIdentity, TheSameTextInAnotherWindowIsANewPromptToldAnew) {
  UnreadAgent agent;
  const auto first = agent.desktop().open(agent.application, promptInOnePlace());
  agent.advance(5);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  const auto id = agent.phone.shown().at(0).id;
  agent.desktop().close(first);
  agent.desktop().open(agent.application, promptInOnePlace());
  agent.desktop().changeSpace();
  agent.advance(1);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  EXPECT_NE(agent.phone.shown().at(0).id, id);
  EXPECT_EQ(agent.announcements(), 2U);
}

TEST(AppDelegateIdentity, AScanThatBeganBeforeAnAnswerBringsNothingBack) {
  UnreadAgent agent;
  const auto slow = agent.desktop().launch({.name = "Slow", .bundleIdentifier = "com.example.slow"});
  agent.desktop().open(slow, erasePrompt("Slow"));
  agent.desktop().open(agent.application, erasePrompt("Delete?"));
  agent.advance(10);
  ASSERT_THAT(agent.phone.shown(), SizeIs(2));
  const auto all = agent.phone.shown();
  const auto& asked = all[0].windowTitle == "Delete?" ? all[0] : all[1];
  agent.desktop().slow(slow, Seconds{0.19});
  agent.phone.decide(asked.id, "Erase");
  for (int i = 0; i < 40; ++i) {
    agent.desktop().changeSpace();
    agent.advance(0.25);
    for (const auto& shown : agent.phone.shown()) {
      if (shown.windowTitle == "Delete?") {
        EXPECT_EQ(shown.id, asked.id) << i;
      }
    }
  }
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Slow"));
}

TEST(AppDelegateIdentity, TwinsAreOnePromptAndThenTheSecondIsOneOfItsOwn) {
  UnreadAgent agent;
  const auto first = agent.desktop().open(agent.application, promptInOnePlace());
  const auto second = agent.desktop().open(agent.application, promptInOnePlace());
  agent.advance(5);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  const auto id = agent.phone.shown().at(0).id;
  for (const auto raised : {first, second, first}) {
    agent.desktop().focusWindow(raised);
    agent.desktop().changeSpace();
    agent.advance(5);
    ASSERT_THAT(agent.phone.shown(), SizeIs(1));
    EXPECT_EQ(agent.phone.shown().at(0).id, id) << "whichever of them is in front";
  }
  EXPECT_EQ(agent.announcements(), 1U);
  agent.desktop().close(first);
  agent.desktop().changeSpace();
  agent.advance(5);
  ASSERT_THAT(agent.phone.shown(), SizeIs(1));
  EXPECT_NE(agent.phone.shown().at(0).id, id);
  EXPECT_EQ(agent.announcements(), 2U);
  agent.desktop().close(second);
  agent.advance(20);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
}

// ---- Texts that cannot be read

TEST(AppDelegateUnread, APromptWhoseTellingTextCannotBeReadIsNotApprovedFromAfar) {
  const std::string tooLong = std::string(70'000, 'x') + " Enter your password.";
  const std::string broken = "Enter your password.\xFF";
  for (const auto& telling : {tooLong, broken}) {
    UnreadAgent agent;
    auto spec = erasePrompt();
    spec.extra = {ElementSpec{.role = "AXStaticText", .value = telling, .frame = Rect{10, 10, 100, 20}}};
    agent.desktop().open(agent.application, spec);
    agent.advance(5);
    ASSERT_THAT(agent.phone.shown(), SizeIs(1));
    const auto shown = agent.phone.shown().at(0);
    EXPECT_TRUE(shown.requiresDirectAccess);
    EXPECT_THAT(shown.directAccessReason,
                Optional(Eq("Part of this dialog's text cannot be read, so it may ask for a password. Use TeamViewer, "
                            "AnyDesk, Screen Sharing, or physical access to approve it. You can still deny it "
                            "remotely.")));
    EXPECT_THAT(shown.messageLines, ElementsAre("Erasing cannot be undone.")) << "Nothing of half a text.";
    const auto decision = agent.phone.decide(shown.id, "Erase");
    agent.advance(5);
    EXPECT_THAT(agent.phone.answers(decision.value_or("")), ElementsAre(testing::StartsWith("requires_direct_access")));
    EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  }
}

// ---- Mutes

TEST(AppDelegateUnread, AMuteDuringAScanKeepsThePromptAwayForGood) {
  UnreadAgent agent;
  agent.showPrompt();
  agent.desktop().slow(agent.application, Seconds{0.15});
  agent.desktop().changeSpace();
  agent.advance(0.5);  // In the middle of the scan.
  agent.phone.suppress(agent.phone.shown().at(0).suppressionID);
  agent.advance(0.1);
  const auto begin = agent.phone.snapshots().size();
  agent.advance(30);
  const auto snapshots = agent.phone.snapshots();
  for (std::size_t i = begin; i < snapshots.size(); ++i) EXPECT_THAT(snapshots[i].approvals, IsEmpty()) << i;
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
}

TEST(AppDelegateUnread, APromptThatIsUnmutedIsShownAfterASecondLook) {
  UnreadAgent agent;
  agent.showPrompt();
  const auto kind = agent.phone.shown().at(0).suppressionID;
  agent.phone.suppress(kind);
  agent.advance(60);
  ASSERT_THAT(agent.phone.shown(), IsEmpty());
  agent.phone.unsuppress(kind);
  agent.advance(2);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

}  // namespace
}  // namespace quillard
