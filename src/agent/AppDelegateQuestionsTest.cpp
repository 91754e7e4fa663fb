#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/UrlComponents.h"
#include "support/QuestionsFixture.h"

// The whole road of a question, from a program that asks over the channel to the phone and back.
namespace quillard {
namespace {

using platform::simulated::SimulatedLocalSockets;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(AppDelegateQuestions, ReachThePhoneAndAreAcceptedWhenTheProgramTookTheAnswer) {
  agent.launchAndPair();
  program.ask();
  ASSERT_THAT(agent.phone.shownTitles(), ElementsAre("Delete the old backups?"));
  const auto shown = agent.phone.shown()[0];
  EXPECT_EQ(shown.appName, "backup");
  EXPECT_THAT(shown.messageLines, ElementsAre("Asked by /usr/bin/backup, process 4242, in /srv", "214 GB"));
  EXPECT_TRUE(agent.menuBarShowsPending());
  const auto decision = agent.phone.decide(shown.id, "Delete");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(decision.value()), ElementsAre("accepted"));
  ASSERT_TRUE(program.outcome.has_value());
  EXPECT_EQ(program.outcome->label, "Delete");
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  EXPECT_FALSE(agent.menuBarShowsPending());
}

TEST_F(AppDelegateQuestions, StandBesideWhatWindowsAsk) {
  agent.launchAndPair();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(5);
  program.ask();
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?", "Delete the old backups?"));
  agent.advance(500);
  EXPECT_THAT(agent.phone.shownTitles(), SizeIs(2)) << "no scan takes a question away";
  const auto decision = agent.phone.decide(agent.phone.shown()[1].id, "Cancel");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(decision.value()), ElementsAre("accepted"));
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateQuestions, AreTakenBackFromThePhoneWhenTheProgramEnds) {
  agent.launchAndPair();
  program.ask();
  const auto shown = agent.phone.shown().at(0);
  program.end();
  agent.advance(0.5);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  const auto decision = agent.phone.decide(shown.id, "Delete");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(decision.value()), ElementsAre(HasSubstr("not_found")));
}

TEST_F(AppDelegateQuestions, ADecisionThatComesTwiceIsAnsweredOnce) {
  agent.launchAndPair();
  program.ask();
  const auto id = agent.phone.shown().at(0).id;
  ASSERT_TRUE(agent.phone.send("same", id, "Delete"));
  ASSERT_TRUE(agent.phone.send("same", id, "Delete"));
  agent.advance(1);
  EXPECT_EQ(program.outcome.value().label, "Delete");
  for (const auto& answer : agent.phone.answers("same")) EXPECT_EQ(answer, "accepted");
}

TEST_F(AppDelegateQuestions, AtTheComputerAreDeniedFromAfarAndGrantedThereAlone) {
  agent.launchAndPair();
  auto request = deletion();
  request.needsComputer = true;
  program.ask(request);
  const auto id = agent.phone.shown().at(0).id;
  const auto grant = agent.phone.decide(id, "Delete");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(grant.value()),
              ElementsAre("requires_direct_access: The program wants this to be answered at the computer."));
  EXPECT_FALSE(program.outcome.has_value());
  EXPECT_THAT(AskingProgram(agent, "terminal").request(channelLine("answer", {{"id", id.text()}, {"label", "Delete"}})),
              HasSubstr(R"("type":"done")"));
  EXPECT_EQ(program.outcome.value().label, "Delete");
  EXPECT_EQ(program.outcome.value().by, "computer");
  program.ask(request);
  const auto denial = agent.phone.decide(agent.phone.shown().at(0).id, "Cancel");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(denial.value()), ElementsAre("accepted"));
}

TEST_F(AppDelegateQuestions, WhatAnUnpairedPhoneAnsweredIsVoidUntilTheProgramTookIt) {
  agent.launchAndPair();
  SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(), {});
  std::vector<std::string> received;
  ChannelClient slow(sockets,
                     {.onMessage = [&](const auto& message) { received.push_back(message.type); }, .onEnd = [] {}});
  (void)slow.open();
  slow.send(channelLine("ask", {{"question", "Delete?"}, {"buttons", {{{"label", "Delete"}}, {{"label", "Cancel"}}}}}));
  agent.advance(0.5);
  ASSERT_TRUE(agent.phone.decide(agent.phone.shown().at(0).id, "Delete"));
  agent.advance(0.5);
  ASSERT_THAT(received, ElementsAre("asked", "answer"));
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpair(1); });
  agent.advance(0.5);
  EXPECT_THAT(received, ElementsAre("asked", "answer", "end"));
  slow.send(channelLine("taken"));
  agent.advance(0.5);
  EXPECT_THAT(received, testing::Not(testing::Contains("done")));
}

TEST_F(AppDelegateQuestions, WhatIsAnsweredAtTheComputerStandsWhenAPhoneIsUnpaired) {
  agent.launchAndPair();
  SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(), {});
  std::vector<std::string> received;
  ChannelClient slow(sockets,
                     {.onMessage = [&](const auto& message) { received.push_back(message.type); }, .onEnd = [] {}});
  (void)slow.open();
  slow.send(channelLine("ask", {{"question", "Delete?"}, {"buttons", {{{"label", "Delete"}}, {{"label", "Cancel"}}}}}));
  agent.advance(0.5);
  const auto id = agent.phone.shown().at(0).id;
  ChannelClient terminal(sockets, {.onMessage = [](const auto&) {}, .onEnd = [] {}});
  (void)terminal.open();
  terminal.send(channelLine("answer", {{"id", id.text()}, {"label", "Delete"}}));
  agent.advance(0.5);
  agent.onMainThread([](AppDelegate& delegate) { delegate.unpair(1); });
  agent.advance(0.5);
  slow.send(channelLine("taken"));
  agent.advance(0.5);
  EXPECT_THAT(received, ElementsAre("asked", "answer", "done"));
}

TEST_F(AppDelegateQuestions, AreMutedByProgramAndHeardAgain) {
  agent.launchAndPair();
  program.ask();
  const auto kind = agent.phone.shown().at(0).suppressionID;
  agent.phone.suppress(kind);
  agent.advance(1);
  EXPECT_EQ(program.outcome.value().end, QuestionEnd::muted);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  program.ask();
  EXPECT_EQ(program.outcome.value().end, QuestionEnd::muted);
  AskingProgram other(agent, "deploy");
  other.ask();
  EXPECT_THAT(agent.phone.shownTitles(), SizeIs(1));
  agent.phone.unsuppress(kind);
  agent.advance(1);
  program.ask();
  EXPECT_THAT(agent.phone.shownTitles(), SizeIs(2));
}

TEST_F(AppDelegateQuestions, AreNotAskedWhileAlertsArePaused) {
  agent.launchAndPair();
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::twoHours); });
  program.ask();
  EXPECT_EQ(program.outcome.value().end, QuestionEnd::paused);
  agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
  program.ask();
  EXPECT_THAT(agent.phone.shownTitles(), SizeIs(1));
}

TEST_F(AppDelegateQuestions, NeedNoPermissionToReadWindows) {
  agent.launchAndPair();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(5);
  agent.world.desktop().setTrusted(false);
  agent.advance(5);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  program.ask();
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Delete the old backups?"));
  EXPECT_TRUE(agent.menuBarShowsPending());
}

TEST_F(AppDelegateQuestions, AreAnnouncedAtTheComputerOnce) {
  agent.launchAndPair();
  const auto before = agent.world.userNotifications().posted().size();
  program.ask();
  agent.advance(400);
  EXPECT_EQ(agent.world.userNotifications().posted().size(), before + 1);
}

TEST_F(AppDelegateQuestions, WithoutARelayEndImmediately) {
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.launch();
  agent.advance(5);
  program.ask();
  ASSERT_TRUE(program.outcome.has_value());
  EXPECT_EQ(program.outcome->end, QuestionEnd::noPhone);
}

TEST_F(AppDelegateQuestions, WaitForAnotherAgentWhenThisOneEndsAndThenEnd) {
  agent.launchAndPair();
  program.ask();
  agent.quit();
  EXPECT_FALSE(program.outcome.has_value());
  agent.advance(11);
  ASSERT_TRUE(program.outcome.has_value());
  EXPECT_EQ(program.outcome->kind, AskOutcome::Kind::noAgent);
}

TEST_F(AppDelegateQuestions, AreShownByTheWindowAndAnsweredThere) {
  agent.launchAndPair();
  auto request = deletion();
  request.needsComputer = true;
  program.ask(request);
  AskingProgram other(agent, "deploy");
  other.ask();
  agent.advance(3);
  auto& window = agent.world.statusWindowViews().window();
  ASSERT_TRUE(window.content()->question.has_value());
  EXPECT_EQ(window.content()->question->title, "Delete the old backups?");
  EXPECT_EQ(window.content()->question->status, "2 questions wait");
  EXPECT_EQ(window.content()->question->detail, "Asked by /usr/bin/backup, process 4242, in /srv\n214 GB");
  EXPECT_TRUE(window.click(StatusWindowButton::questionPrimary));
  agent.advance(0.1);
  EXPECT_THAT(window.menuTitles(), ElementsAre("Delete", "Cancel"));
  program.end();
  agent.advance(0.1);
  EXPECT_TRUE(window.chooseMenuItem("Delete")) << "the menu was about a question that has gone";
  agent.advance(1);
  EXPECT_FALSE(other.outcome.has_value());
  EXPECT_EQ(window.content()->question->status, "deploy asks");
  EXPECT_TRUE(window.click(StatusWindowButton::questionPrimary));
  agent.advance(0.1);
  EXPECT_TRUE(window.chooseMenuItem("Delete"));
  agent.advance(1);
  EXPECT_EQ(other.outcome.value().label, "Delete");
  EXPECT_EQ(other.outcome.value().by, "computer");
  EXPECT_FALSE(window.content()->question.has_value());
}

}  // namespace
}  // namespace quillard
