#include <algorithm>
#include <chrono>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/BusMonitor.h"
#include "desktop/ClientList.h"
#include "desktop/StoppedProcess.h"
#include "e2e/AgentOnDesktop.h"

// One tap is one press of that very button, and what is answered is true, however badly programs, the desktop and the
// relay behave. The agent is a process of its own, the prompts are real.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using test::BusMonitor;
using test::DesktopBus;
using test::DesktopProgram;
using test::kFirstButton;
using test::PhoneKind;
using test::PrivateDesktop;
using test::prompt;
using test::SealedDecision;
using test::StoppedProcess;
using test::TestRelay;
using test::titled;
using test::waitFor;

constexpr auto kLongestPress = 90s;  // A press that is in doubt waits long before it is given up.

class HostileDesktop : public test::AgentOnDesktop {
 protected:
  explicit HostileDesktop(const PrivateDesktop::Options& options = {}) : AgentOnDesktop(options) {}

  ApprovalResultCommand resultOf(const std::string& decisionID) {
    const auto result = relay.waitForResult(decisionID, kLongestPress);
    EXPECT_TRUE(result) << printed();
    return result.value_or(ApprovalResultCommand{});
  }
  // Until the agent has dealt with all that the relay has sent to it.
  void waitUntilAllIsHandled() {
    EXPECT_EQ(resultOf(relay.decide(Uuid{}, "Nothing of this name")).status, kNotFoundStatus);
  }
  // Whether every list that came after `skipped` ones has the prompt, under the same identity.
  testing::AssertionResult staysOnPhone(const PendingApproval& approval, std::size_t skipped) {
    for (const auto& list : relay.listsAfter(skipped)) {
      const auto found = titled(list, approval.windowTitle);
      if (!found) return testing::AssertionFailure() << "a list without " << approval.windowTitle;
      if (found->id != approval.id) return testing::AssertionFailure() << "another identity";
    }
    return testing::AssertionSuccess();
  }
  pid_t registry() { return DesktopBus(desktop.accessibilityBusAddress()).processOf("org.a11y.atspi.Registry"); }
  pid_t launcher() { return DesktopBus(desktop.sessionBusAddress()).processOf("org.a11y.Bus"); }
};

// How often buttons were pressed, of the twin's, too.
int presses(const DesktopProgram& program) {
  const std::string output = program.output();
  const std::string mark = "pressed: ";
  int count = 0;
  for (auto at = output.find(mark); at != std::string::npos; at = output.find(mark, at + 1)) ++count;
  return count;
}

struct Repetition {
  std::string name;
  PhoneKind phone = PhoneKind::current;
  bool isSealedAnew = false;  // As a phone does that does not know whether its message has arrived.
};
std::ostream& operator<<(std::ostream& out, const Repetition& repetition) { return out << repetition.name; }

class HostileRelay : public HostileDesktop, public testing::WithParamInterface<Repetition> {
 protected:
  void SetUp() override { relay.usePhones(GetParam().phone); }
  // As what it is, and under a name of the relay's own.
  void deliverAgain(const SealedDecision& decision, const PendingApproval& approval, const std::string& label) {
    if (GetParam().isSealedAnew) relay.decideAgain(decision.decisionID, approval.id, label);
    const auto copy = GetParam().isSealedAnew ? relay.seal(approval.id, label) : decision;
    relay.deliver(copy);
    relay.deliver(copy, "copy-" + std::to_string(++copies));
  }
  int copies = 0;
};

INSTANTIATE_TEST_SUITE_P(Decisions, HostileRelay,
                         testing::Values(Repetition{"SameBox"}, Repetition{"SealedAnew", PhoneKind::current, true},
                                         Repetition{"SameBoxOfAnOlderPhone", PhoneKind::older},
                                         Repetition{"SealedAnewByAnOlderPhone", PhoneKind::older, true}),
                         [](const auto& repetition) { return repetition.param.name; });

TEST_P(HostileRelay, CannotMakeOneTapAnswerSixIdenticalPrompts) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Delete?", {"Cancel", "Delete"}, {"--again", "5"}));
  const auto approval = onPhone("Delete?");
  const auto tap = relay.seal(approval.id, "Delete");
  relay.deliver(tap);
  deliverAgain(tap, approval, "Delete");
  EXPECT_EQ(resultOf(tap.decisionID).status, kAcceptedStatus);
  deliverAgain(tap, approval, "Delete");
  waitUntilAllIsHandled();
  EXPECT_EQ(presses(dialog), 1);
  const auto next = onPhoneAfter(approval);
  for (int copy = 0; copy < 3; ++copy) deliverAgain(tap, approval, "Delete");
  waitUntilAllIsHandled();
  EXPECT_EQ(presses(dialog), 1);
  EXPECT_EQ(resultOf(relay.decide(next.id, "Cancel")).status, kAcceptedStatus);
  EXPECT_EQ(presses(dialog), 2);
}

TEST_P(HostileRelay, CannotTurnHeldBackDecisionsIntoAPressOfANewPrompt) {
  startAgent();
  auto dialog = desktop.launch("qt_prompt", prompt("Install?", {"Cancel", "Install"}, {"--again", "1"}));
  const auto approval = onPhone("Install?");
  const auto heldBack = relay.seal(approval.id, "Install");
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Cancel")).status, kAcceptedStatus);
  const auto next = onPhoneAfter(approval);
  relay.deliver(heldBack);
  EXPECT_EQ(resultOf(heldBack.decisionID).status, kNotFoundStatus);
  deliverAgain(heldBack, approval, "Install");
  relay.dropAgent();
  EXPECT_TRUE(waitFor([&] { return relay.connections() == 2; }));
  deliverAgain(heldBack, approval, "Install");
  waitUntilAllIsHandled();
  EXPECT_EQ(dialog.output(), "ready\npressed: Cancel\n");
  EXPECT_EQ(onPhone("Install?").id, next.id);
}

TEST_F(HostileDesktop, ADecisionThatComesAMinuteLateIsNotCarriedOut) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Allow it?", {"Don't Allow", "Allow"}));
  const auto approval = onPhone("Allow it?");
  const auto late = relay.seal(approval.id, "Allow", 61s);
  relay.deliver(late);
  EXPECT_EQ(resultOf(late.decisionID).reason, kTooLateReason);
  relay.deliver(late);
  waitUntilAllIsHandled();
  EXPECT_EQ(presses(dialog), 0);
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Don't Allow")).status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton);
}

struct Twins {
  std::string program;
  std::string name;
  std::vector<std::string> place;
};
std::ostream& operator<<(std::ostream& out, const Twins& twins) { return out << twins.name; }

class IdenticalTwins : public HostileDesktop, public testing::WithParamInterface<Twins> {};

INSTANTIATE_TEST_SUITE_P(Places, IdenticalTwins,
                         testing::Values(Twins{"gtk3_prompt", "Gtk3AtOnePlace", {"--twin"}},
                                         Twins{"gtk3_prompt", "Gtk3SideBySide", {"--twin-at", "700,100"}},
                                         Twins{"qt_prompt", "QtAtOnePlace", {"--twin"}},
                                         Twins{"qt_prompt", "QtSideBySide", {"--twin-at", "700,100"}}),
                         [](const auto& twins) { return twins.param.name; });

TEST_P(IdenticalTwins, ArePressedOneByOne) {
  startAgent();
  auto arguments = prompt("Erase", {"Cancel", "Erase"}, {"--at", "100,100"});
  arguments.insert(arguments.end(), GetParam().place.begin(), GetParam().place.end());
  auto dialogs = desktop.launch(GetParam().program, arguments);
  ASSERT_TRUE(dialogs.waitForOutput("twin ready"));
  const auto first = onPhone("Erase");
  EXPECT_EQ(resultOf(relay.decide(first.id, "Erase")).status, kAcceptedStatus);
  EXPECT_EQ(presses(dialogs), 1);
  const auto second = onPhoneAfter(first);
  EXPECT_EQ(presses(dialogs), 1);
  EXPECT_EQ(resultOf(relay.decide(second.id, "Cancel")).status, kAcceptedStatus);
  EXPECT_EQ(dialogs.wait(), kFirstButton);
  EXPECT_EQ(presses(dialogs), 2);
  const std::string output = dialogs.output();
  EXPECT_NE(output.find("\ntwin pressed: "), std::string::npos) << output;
  EXPECT_NE(output.find("\npressed: "), std::string::npos) << output;
}

TEST_F(HostileDesktop, NothingIsAcceptedWhileTheRegistryIsSilent) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Stays", {"No", "Yes"}, {"--ignore-presses", "1000"}));
  const auto approval = onPhone("Stays");
  const auto decision = relay.decide(approval.id, "Yes");
  ASSERT_TRUE(dialog.waitForOutput("pressed: Yes"));
  {
    const StoppedProcess silent(registry());
    EXPECT_NE(resultOf(decision).status, kAcceptedStatus);
  }
  EXPECT_TRUE(dialog.isRunning());
  EXPECT_EQ(relay.resultCount(decision), 1U);
  EXPECT_EQ(onPhone("Stays").id, approval.id);
}

TEST_F(HostileDesktop, NothingIsAcceptedBecauseAnotherPhoneMutesThePrompt) {
  startAgent();
  relay.setPhones(2);
  auto dialog = desktop.launch("gtk3_prompt", prompt("Stays", {"No", "Yes"}, {"--ignore-presses", "1000"}));
  const auto approval = onPhone("Stays");
  const auto decision = relay.decide(approval.id, "Yes");
  ASSERT_TRUE(dialog.waitForOutput("pressed: Yes"));
  relay.suppress(approval.suppressionID, kSuppressAction);
  EXPECT_NE(resultOf(decision).status, kAcceptedStatus);
  EXPECT_TRUE(dialog.isRunning());
}

class SilentPrograms : public HostileDesktop, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Toolkits, SilentPrograms, testing::Values("gtk3_prompt", "gtk4_prompt", "qt_prompt"),
                         [](const auto& toolkit) { return toolkit.param.substr(0, toolkit.param.find('_')); });

// What the window server says is enough.
TEST_P(SilentPrograms, WhoseWindowHasGoneWereAnswered) {
  startAgent();
  auto dialog = desktop.launch(GetParam(), prompt("Gone", {"Don't Allow", "Allow"}, {"--silent-on-press"}));
  const auto result = resultOf(relay.decide(onPhone("Gone").id, "Don't Allow"));
  EXPECT_EQ(result.status, kAcceptedStatus) << result.error.value_or("");
  EXPECT_TRUE(isGoneFromPhone("Gone"));
  EXPECT_EQ(presses(dialog), 1);
  EXPECT_TRUE(dialog.isRunning());
}

TEST_P(SilentPrograms, WhoseWindowStaysWereNotAnswered) {
  startAgent();
  auto dialog = desktop.launch(GetParam(), prompt("Hangs", {"Don't Allow", "Allow"}, {"--hang-on-press"}));
  const auto result = resultOf(relay.decide(onPhone("Hangs").id, "Allow"));
  EXPECT_EQ(result.status, kFailedStatus);
  EXPECT_EQ(result.error, "The button was pressed, but the program has stopped answering.");
  EXPECT_EQ(presses(dialog), 1);
}

TEST_F(HostileDesktop, APromptWhoseProgramDoesNotAnswerKeepsItsPlaceAndIdentity) {
  startAgent({{"QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "1"}, {"QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "1"}});
  auto busy = desktop.launch("gtk3_prompt", prompt("Busy", {"No", "Yes"}));
  const auto approval = onPhone("Busy");
  const auto listsBefore = relay.listCount();
  busy.stop();
  // Another prompt comes, goes, and is kept for the grace: the busy program was asked for longer than that.
  auto brief = desktop.launch("qt_prompt", prompt("Brief", {"No", "Yes"}));
  onPhone("Brief");
  brief.kill();
  EXPECT_TRUE(isGoneFromPhone("Brief"));
  EXPECT_TRUE(staysOnPhone(approval, listsBefore));
  busy.resume();
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Yes")).status, kAcceptedStatus);
  EXPECT_EQ(busy.wait(), kFirstButton + 1);
}

class HostileSession : public HostileDesktop {
 protected:
  HostileSession() : HostileDesktop({.hasNotifications = true}) {}
};

// What asks goes on asking while no answer comes, and waits for a second each time: at least two of those questions
// bring no answer.
constexpr int kUnanswered = 5;

TEST_F(HostileSession, TheListStaysWhileTheAccessibilityLauncherIsSilent) {
  BusMonitor announcements(desktop.sessionBusAddress(), "member='Notify'");
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Lasting", {"No", "Yes"}));
  const auto approval = onPhone("Lasting");
  ASSERT_TRUE(waitFor([&] { return announcements.calls() == 1; }));
  const auto listsBefore = relay.listCount();
  BusMonitor polls(desktop.sessionBusAddress(), "destination='org.a11y.Bus'");
  {
    const StoppedProcess silent(launcher());
    EXPECT_TRUE(polls.waitForMore(kUnanswered));
  }
  EXPECT_TRUE(polls.waitForMore(1));
  EXPECT_TRUE(staysOnPhone(approval, listsBefore));
  EXPECT_EQ(announcements.calls(), 1);  // Another one comes of the new phone's first grant.
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Yes")).status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
}

class UnreadableTexts : public HostileDesktop, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Toolkits, UnreadableTexts, testing::Values("gtk3_prompt", "gtk4_prompt", "qt_prompt"),
                         [](const auto& toolkit) { return toolkit.param.substr(0, toolkit.param.find('_')); });

TEST_P(UnreadableTexts, MayAskForAPasswordAndAreNotApprovedFromAfar) {
  startAgent();
  for (const std::string padding : {"0", "70000"}) {
    const std::string title = "Padding " + padding;
    auto dialog = desktop.launch(
        GetParam(),
        prompt(title, {"Cancel", "OK"}, {"--text", "Enter the password for the keychain.", "--pad-texts", padding}));
    const auto approval = onPhone(title);
    EXPECT_TRUE(approval.requiresDirectAccess) << title;
    EXPECT_EQ(resultOf(relay.decide(approval.id, "OK")).status, kRequiresDirectAccessStatus) << title;
    EXPECT_EQ(presses(dialog), 0) << title;
    EXPECT_EQ(resultOf(relay.decide(approval.id, "Cancel")).status, kAcceptedStatus) << title;
    EXPECT_EQ(dialog.wait(), kFirstButton) << title;
  }
}

// What GTK makes of such a text, the bus does not tell.
TEST_F(HostileDesktop, ATextOfWhichAByteIsLostMayAskForAPassword) {
  startAgent();
  auto dialog = desktop.launch("qt_prompt", prompt("Broken", {"Cancel", "OK"}, {"--text", "Enter the pass\xffword."}));
  const auto approval = onPhone("Broken");
  EXPECT_TRUE(approval.requiresDirectAccess) << testing::PrintToString(approval.messageLines);
  EXPECT_EQ(resultOf(relay.decide(approval.id, "OK")).status, kRequiresDirectAccessStatus);
  EXPECT_EQ(presses(dialog), 0);
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Cancel")).status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton);
}

TEST_F(HostileDesktop, HugePromptsDoNotPushTheOthersOffThePhone) {
  startAgent();
  auto small = desktop.launch("qt_prompt", prompt("Small", {"No", "Yes"}));
  const auto approval = onPhone("Small");
  const auto listsBefore = relay.listCount();
  const std::vector<std::string> labels{"No", "Yes", "Maybe", "Later", "Never", "Always"};
  const auto huge = desktop.launch("gtk3_prompt", prompt("Huge", labels, {"--pad-buttons", "60000"}));
  const auto another = desktop.launch("gtk3_prompt", prompt("As huge", labels, {"--pad-buttons", "60000"}));
  // They are too long for a phone to decide on.
  EXPECT_TRUE(onPhone("Huge").buttons.empty());
  EXPECT_TRUE(onPhone("As huge").buttons.empty());
  EXPECT_TRUE(staysOnPhone(approval, listsBefore));
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Yes")).status, kAcceptedStatus);
  EXPECT_EQ(small.wait(), kFirstButton + 1);
}

TEST_F(HostileDesktop, AnAgentThatTheRelayDoesNotKnowAnyMoreRegistersAgain) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Waiting", {"No", "Yes"}));
  const auto approval = onPhone("Waiting");
  const auto listsBefore = relay.listCount();
  relay.refuseConnections(401);
  relay.dropAgent();
  EXPECT_TRUE(waitFor([&] { return relay.registrations() == 2; })) << printed();
  relay.refuseConnections(TestRelay::kAccepted);
  EXPECT_TRUE(waitFor([&] { return relay.connections() == 2; })) << printed();
  EXPECT_TRUE(waitFor([&] { return relay.listCount() > listsBefore; }));
  EXPECT_TRUE(staysOnPhone(approval, listsBefore));
  EXPECT_EQ(resultOf(relay.decide(approval.id, "Yes")).status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
}

// In which an agent that does not know better comes back twice.
constexpr std::chrono::seconds kTwoReturns{9};

TEST_F(HostileDesktop, AnAgentThatTheRelayCallsRevokedKeepsItsIdentityAndLeavesTheRelayInPeace) {
  startAgent();
  const auto secret = std::string(installed.endToEndSecret().text());
  relay.refuseConnections(410);
  relay.answerRegistrations(410);
  relay.dropAgent();
  ASSERT_TRUE(waitFor([&] { return relay.refusals() == 1; }));
  EXPECT_FALSE(waitFor([&] { return relay.refusals() + relay.registrations() > 3; }, kTwoReturns)) << printed();
  EXPECT_EQ(installed.endToEndSecret().text(), secret);
}

}  // namespace
}  // namespace quillard
