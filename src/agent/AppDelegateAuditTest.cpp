#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audit/AuditChain.h"
#include "support/AgentWorld.h"

// What the agent writes down of what was asked and decided.
namespace quillard {
namespace {

using platform::FileCode;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class AppDelegateAudit : public testing::Test {
 protected:
  AuditReading reading() { return readAuditChain(agent.world.auditFile().current().value_or("")); }
  std::vector<AuditEntry> entries(std::string_view event = {}) {
    std::vector<AuditEntry> list;
    for (const auto& line : reading().lines) {
      if (event.empty() || line.entry.event == event) list.push_back(line.entry);
    }
    return list;
  }
  std::vector<std::string> events() {
    std::vector<std::string> names;
    for (const auto& entry : entries()) names.push_back(entry.event);
    return names;
  }
  // Shows a prompt, which the phone has then.
  auto ask(const std::string& title = "Erase disk?") {
    const auto dialog = agent.desktop().open(erasePrompt(title));
    agent.advance(5);
    return dialog;
  }
  std::string decide(const std::string& label) {
    const auto name = agent.phone.decide(agent.phone.shown().at(0).id, label).value();
    agent.advance(5);
    return name;
  }

  AgentWorld agent;
};

TEST_F(AppDelegateAudit, WritesDownWhatWasAskedWhoDecidedAndWhatBecameOfIt) {
  agent.launchAndPair();
  ask();
  const auto decision = decide("Cancel");
  EXPECT_THAT(events(), ElementsAre("started", "asked", "decided", "outcome"));
  const auto asked = entries("asked").at(0);
  EXPECT_EQ(asked.title, "Erase disk?");
  EXPECT_THAT(asked.buttons, testing::Contains("Cancel"));
  EXPECT_EQ(asked.textDigest, "");
  const auto decided = entries("decided").at(0);
  EXPECT_EQ(decided.decisionID, decision);
  EXPECT_EQ(decided.label, "Cancel");
  EXPECT_EQ(decided.pairing, 1);
  EXPECT_THAT(decided.phones, ElementsAre("Ann's phone"));
  EXPECT_EQ(decided.approvalID, asked.approvalID);
  const auto outcome = entries("outcome").at(0);
  EXPECT_EQ(outcome.status, "accepted");
  EXPECT_EQ(outcome.title, "Erase disk?");
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
}

TEST_F(AppDelegateAudit, WritesDownWhatWasAnsweredAtTheComputer) {
  agent.launchAndPair();
  const auto dialog = ask();
  agent.desktop().close(dialog);
  agent.advance(20);
  EXPECT_THAT(events(), ElementsAre("started", "asked", "gone"));
  EXPECT_EQ(entries("gone").at(0).how, "notByPhone");
}

TEST_F(AppDelegateAudit, EachOutcomeCarriesTheHeadOfTheLog) {
  agent.launchAndPair();
  ask();
  decide("Cancel");
  const auto head = agent.phone.results().back().command.logHead.value();
  EXPECT_EQ(reading().digestOf(head.sequence), head.digest);
  EXPECT_EQ(reading().lines.at(static_cast<std::size_t>(head.sequence) - 1).entry.event, "outcome");
  EXPECT_EQ(head.at, agent.phone.results().back().command.logHead->at);
}

TEST_F(AppDelegateAudit, APhoneThatComesBackIsToldWhatWasDecidedMeanwhile) {
  agent.launchAndPair();
  ask();
  agent.phone.goOffline();
  agent.advance(1);
  const auto dialog = agent.desktop().open(erasePrompt("Away?"));
  agent.advance(5);
  agent.desktop().close(dialog);
  agent.advance(20);
  agent.phone.comeOnline();
  agent.advance(2);
  const auto log = agent.phone.meeting().log.value();
  EXPECT_EQ(log.head.sequence, reading().head().sequence);
  EXPECT_EQ(log.head.digest, reading().head().digest);
  ASSERT_THAT(log.entries, SizeIs(1));
  EXPECT_EQ(log.entries[0].event, "gone");
  EXPECT_EQ(log.entries[0].windowTitle, "Away?");
  EXPECT_EQ(log.entries[0].digest, reading().digestOf(log.entries[0].sequence));
}

TEST_F(AppDelegateAudit, KeepsOnlyDigestsOfTextsWhereThatIsSet) {
  agent.world.environment().set("QUILLARD_LOG_TEXTS", "no");
  agent.launchAndPair();
  ask("Erase the secret disk?");
  decide("Cancel");
  EXPECT_THAT(agent.world.auditFile().current().value(), testing::Not(HasSubstr("secret")));
  EXPECT_THAT(entries("asked").at(0).textDigest, SizeIs(64));
  EXPECT_EQ(entries("outcome").at(0).label, "Cancel") << "What was decided is kept.";
}

TEST_F(AppDelegateAudit, AFullDiskStopsNoDecision) {
  agent.launchAndPair();
  const auto dialog = ask();
  agent.world.auditFile().failWith(FileCode::noSpace);
  const auto decision = decide("Cancel");
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
  agent.world.auditFile().failWith(FileCode::success);
  agent.advance(60);
  EXPECT_THAT(events(), ElementsAre("started", "asked", "decided", "outcome"));
  EXPECT_EQ(reading().fault, AuditFault::none);
}

TEST_F(AppDelegateAudit, AFileCutWhileTheAgentWasAwayIsSaidInTheLog) {
  agent.launchAndPair();
  ask();
  decide("Cancel");
  agent.destroyAgent();
  const auto bytes = *agent.world.auditFile().current();
  agent.world.auditFile().setContents(bytes.substr(0, bytes.find('\n') + 1));
  agent.construct();
  agent.onMainThread([](AppDelegate& delegate) { delegate.applicationDidFinishLaunching(); });
  agent.advance(1);
  EXPECT_THAT(events(), ElementsAre("started", "mended", "started"));
  EXPECT_EQ(entries("mended").at(0).how, "cut");
}

TEST_F(AppDelegateAudit, DecisionsAboutNothingCannotFloodIt) {
  agent.launchAndPair();
  for (int i = 0; i < 100; ++i) {
    agent.phone.decide(Uuid::fromRandomBytes({static_cast<std::uint8_t>(i), 7}), "OK");
    agent.advance(2);
  }
  EXPECT_THAT(entries("decided"), SizeIs(DecisionAudit::kMostRefused));
  EXPECT_THAT(entries("outcome"), SizeIs(DecisionAudit::kMostRefused));
  agent.advance(3600);
  agent.phone.decide(Uuid::fromRandomBytes({200, 7}), "OK");
  agent.advance(2);
  EXPECT_EQ(entries("decided").back().leftOut, 100 - DecisionAudit::kMostRefused);
}

TEST_F(AppDelegateAudit, APermissionThatIsTakenAwayIsNoAnswer) {
  agent.launchAndPair();
  ask();
  agent.desktop().setTrusted(false);
  agent.advance(60);
  ASSERT_THAT(entries("gone"), SizeIs(1));
  EXPECT_EQ(entries("gone").at(0).how, "unseen");
}

TEST_F(AppDelegateAudit, UnpairingOnePhoneLeavesWhatAnotherIsDecidingAlone) {
  agent.launchAndPair();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pairAnotherPhone(); });
  agent.advance(1);
  agent.desktop().open({.title = "Slow?",
                        .lines = {"This cannot be undone."},
                        .buttons = {"Cancel", "Erase"},
                        .effect = platform::simulated::PressEffect::closesAfter(Seconds{1})});
  agent.advance(5);
  agent.phone.decide(agent.phone.shown().at(0).id, "Cancel");
  agent.advance(0.8);
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpair(2); });
  agent.advance(10);
  EXPECT_THAT(events(), ElementsAre("started", "asked", "decided", "unpaired", "outcome"));
}

TEST_F(AppDelegateAudit, NoPhoneIsToldOfALineThatIsLostWithAFullDisk) {
  agent.launchAndPair();
  ask();
  decide("Cancel");
  agent.world.auditFile().failWith(FileCode::noSpace);
  ask("Full?");
  decide("Cancel");
  agent.phone.goOffline();
  agent.advance(1);
  agent.phone.comeOnline();
  agent.advance(1);
  const auto met = agent.phone.meeting().log.value();
  agent.onMainThread([](AppDelegate& delegate) { delegate.applicationWillTerminate(); });
  agent.destroyAgent();
  agent.world.auditFile().failWith(FileCode::success);
  agent.construct();
  agent.onMainThread([](AppDelegate& delegate) { delegate.applicationDidFinishLaunching(); });
  agent.advance(1);
  ASSERT_THAT(agent.phone.results(), SizeIs(2));
  for (const auto& result : agent.phone.results()) {
    const auto head = result.command.logHead.value();
    EXPECT_EQ(reading().digestOf(head.sequence), head.digest) << "of the outcome";
  }
  EXPECT_EQ(reading().digestOf(met.head.sequence), met.head.digest);
  for (const auto& entry : met.entries) EXPECT_EQ(reading().digestOf(entry.sequence), entry.digest);
  EXPECT_THAT(events(), ElementsAre("started", "asked", "decided", "outcome", "started"));
  EXPECT_EQ(entries("started").back().leftOut, 3) << "The log says that some are missing.";
}

TEST_F(AppDelegateAudit, PausesAndUnpairingsAreWrittenDown) {
  agent.launchAndPair();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::twoHours); });
  agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
  agent.advance(5);
  EXPECT_THAT(events(), ElementsAre("started", "paused", "resumed", "unpaired"));
  EXPECT_TRUE(entries("paused").at(0).until);
}

}  // namespace
}  // namespace quillard
