#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/UrlComponents.h"
#include "support/QuestionsFixture.h"

// What else than questions goes over the channel: what is asked of the agent, and set.
namespace quillard {
namespace {

using platform::simulated::SimulatedLocalSockets;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(AppDelegateQuestions, TheListOfThemIsThereToBeRead) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("questions")), HasSubstr(R"("questions":[])"));
  program.ask();
  const auto listed = AskingProgram(agent, "terminal").request(channelLine("questions"));
  EXPECT_THAT(listed, HasSubstr(R"("question":"Delete the old backups?")"));
  EXPECT_THAT(listed, HasSubstr(R"("buttons":["Delete","Cancel"])"));
  EXPECT_THAT(listed, HasSubstr(agent.phone.shown().at(0).id.text()));
}

TEST_F(AppDelegateQuestions, ThatAreUnknownCannotBeAnswered) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("answer", {{"id", Uuid().text()}, {"label", "Delete"}})),
              HasSubstr(R"("code":"notFound")"));
  EXPECT_THAT(program.request(channelLine("answer", {{"id", "1"}, {"label", "Delete"}})),
              HasSubstr(R"("code":"malformed")"));
}

TEST_F(AppDelegateQuestions, TheStatusIsTold) {
  agent.launchAndPair();
  const auto status = program.request(channelLine("status"));
  EXPECT_THAT(status, HasSubstr(R"("relay":{"configured":true,"connected":true,"revoked":false})"));
  EXPECT_THAT(status, HasSubstr(R"("phones":[{"name":"Ann's phone")"));
  EXPECT_THAT(status, HasSubstr(R"("paused":false)"));
  EXPECT_THAT(status, HasSubstr(R"("pending":0)"));
}

TEST_F(AppDelegateQuestions, AlertsArePausedAndResumed) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("pause", {{"for", "2h"}})), HasSubstr(R"("type":"done")"));
  EXPECT_TRUE(agent.status().notificationPause.pausedUntil.has_value());
  EXPECT_THAT(program.request(channelLine("status")), HasSubstr(R"("pausedUntil":"2026-01-15T)"));
  (void)program.request(channelLine("pause", {{"for", "on"}}));
  EXPECT_TRUE(agent.status().notificationPause.pausesIndefinitely);
  (void)program.request(channelLine("pause", {{"for", "off"}}));
  EXPECT_FALSE(agent.status().notificationPause.isPaused());
  EXPECT_THAT(program.request(channelLine("pause", {{"for", "ever"}})), HasSubstr(R"("code":"malformed")"));
}

TEST_F(AppDelegateQuestions, TheStatusIsFollowed) {
  agent.launchAndPair();
  SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(), {});
  std::vector<std::string> received;
  ChannelClient client(
      sockets, {.onMessage = [&](const auto& message) { received.push_back(message.json.dump()); }, .onEnd = [] {}});
  (void)client.open();
  client.send(channelLine("status", {{"follow", true}}));
  agent.advance(10);
  ASSERT_THAT(received, SizeIs(1)) << "nothing has changed";
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::fourHours); });
  agent.advance(2);
  ASSERT_THAT(received, SizeIs(2));
  EXPECT_THAT(received[1], HasSubstr(R"("paused":true)"));
}

TEST_F(AppDelegateQuestions, FollowersOfTheStatusShutNobodyOut) {
  agent.launchAndPair();
  SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(), {});
  std::vector<std::string> received;
  std::vector<std::unique_ptr<ChannelClient>> clients;
  for (std::size_t i = 0; i < AgentCommands::kMostFollowers + 1; ++i) {
    clients.push_back(std::make_unique<ChannelClient>(
        sockets, ChannelClientEvents{.onMessage = [&](const auto& message) { received.push_back(message.type); },
                                     .onEnd = [] {}}));
    (void)clients.back()->open();
    clients.back()->send(channelLine("status", {{"follow", true}}));
    agent.advance(0.1);
  }
  ASSERT_THAT(received, SizeIs(AgentCommands::kMostFollowers + 1));
  EXPECT_EQ(received.back(), "error");
  EXPECT_EQ(received[AgentCommands::kMostFollowers - 1], "status");
  clients.erase(clients.begin());
  agent.advance(0.1);
  clients.back() = std::make_unique<ChannelClient>(
      sockets,
      ChannelClientEvents{.onMessage = [&](const auto& message) { received.push_back(message.type); }, .onEnd = [] {}});
  (void)clients.back()->open();
  clients.back()->send(channelLine("status", {{"follow", true}}));
  agent.advance(0.1);
  EXPECT_EQ(received.back(), "status") << "one has gone";
}

TEST_F(AppDelegateQuestions, ARelayThatIsSetIsUsedFromThenOn) {
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.launch();
  agent.advance(5);
  EXPECT_FALSE(agent.status().relayConfigured);
  EXPECT_THAT(program.request(channelLine("set", {{"name", "relay"}, {"value", "wss://chosen.example/ws"}})),
              HasSubstr(R"("takenOver":true)"));
  agent.advance(5);
  EXPECT_TRUE(agent.status().relayConnected);
  agent.phone.pair();
  agent.phone.comeOnline();
  (void)agent.desktop().open(erasePrompt());
  agent.advance(5);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?")) << "detection has started";
}

TEST_F(AppDelegateQuestions, ARelayThatIsSetInTheWindowIsUsedFromThenOn) {
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.launch();
  agent.advance(5);
  auto& window = agent.world.statusWindowViews().window();
  ASSERT_TRUE(window.click(StatusWindowButton::relayPrimary));
  agent.advance(0.1);
  ASSERT_TRUE(window.field().has_value());
  EXPECT_EQ(window.field()->question.text, "");
  ASSERT_TRUE(window.enterText("ftp://chosen.example"));
  agent.advance(0.1);
  ASSERT_TRUE(window.field().has_value()) << "it can be mended";
  EXPECT_NE(window.field()->problem, "");
  ASSERT_TRUE(window.enterText("chosen.example?registration-key=hunter2hunter2hunter2"));
  agent.advance(5);
  EXPECT_FALSE(window.field().has_value());
  EXPECT_TRUE(agent.status().relayConnected);
  const auto row = window.content()->relay.value();
  EXPECT_EQ(row.status, "Connected");
  EXPECT_EQ(row.detail, "wss://chosen.example/ws") << "without the operator's key";
  ASSERT_TRUE(window.click(StatusWindowButton::relaySecondary));
  agent.advance(0.1);
  EXPECT_EQ(window.field()->question.text, "wss://chosen.example/ws");
  EXPECT_TRUE(window.cancelText());
}

TEST_F(AppDelegateQuestions, AnotherRelayIsUsedByAllPairingsAndNoneByNone) {
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  const auto set = [this](const std::string& address) {
    (void)program.request(channelLine("set", {{"name", "relay"}, {"value", address}}));
    agent.advance(5);
  };
  const auto newestHosts = [this] {
    std::set<std::string> hosts;
    for (const auto& socket : agent.world.webSockets().connections()) {
      if (!socket->isEnded()) hosts.insert(UrlComponents::parse(socket->request().url)->host.value_or(""));
    }
    return hosts;
  };
  agent.launch();
  set("wss://first.example/ws");
  agent.phone.pair();
  agent.phone.comeOnline("Ann");
  agent.onMainThread([](AppDelegate& delegate) { delegate.pairAnotherPhone(); });
  agent.advance(1);
  samples::SimulatedPhone ben{agent.world, agent.relay};
  ben.pair(2);
  ben.comeOnline("Ben");
  agent.advance(1);
  EXPECT_THAT(newestHosts(), ElementsAre("first.example"));
  set("wss://second.example/ws");
  EXPECT_THAT(newestHosts(), ElementsAre("second.example"));
  EXPECT_TRUE(agent.status().relayConnected);

  (void)program.request(channelLine("set", {{"name", "relay"}}));
  agent.advance(5);
  EXPECT_FALSE(agent.status().relayConnected);
  EXPECT_FALSE(agent.status().relayConfigured);
  EXPECT_THAT(newestHosts(), IsEmpty());
}

TEST_F(AppDelegateQuestions, ARelayOfTheEnvironmentComesBeforeOneThatIsSet) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("set", {{"name", "relay"}, {"value", "wss://chosen.example/ws"}})),
              HasSubstr(R"("takenOver":false)"));
  EXPECT_TRUE(agent.status().relayConnected) << "nothing was interrupted";
}

TEST_F(AppDelegateQuestions, WhatIsSetAndCannotBeWrittenIsSaidAndWrittenAtTheEnd) {
  agent.launch();
  agent.world.userDefaults().setDiskFull(true);
  const auto answer = program.request(channelLine("set", {{"name", "approval-stale-grace"}, {"value", "60"}}));
  EXPECT_THAT(answer, HasSubstr(R"("takenOver":true)"));
  EXPECT_THAT(answer, HasSubstr(R"("unwritten":"The simulated settings cannot be written: The disk is full.")"));
  const auto stored = [this] {
    return agent.world.userDefaults().openedByAnother()->object("quillard.settings.approval-stale-grace").has_value();
  };
  EXPECT_FALSE(stored());
  agent.world.userDefaults().setDiskFull(false);
  agent.quit();
  EXPECT_TRUE(stored());
}

TEST_F(AppDelegateQuestions, TunablesThatAreSetAreTakenOver) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("set", {{"name", "approval-stale-grace"}, {"value", "60"}})),
              HasSubstr(R"("takenOver":true)"));
  const auto dialog = agent.desktop().open(erasePrompt());
  agent.advance(5);
  agent.desktop().close(dialog);
  agent.advance(30);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?")) << "it is kept for a minute now";
  agent.advance(60);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
}

TEST_F(AppDelegateQuestions, AnAuthorityThatIsSetCountsForANewConnection) {
  agent.launchAndPair();
  auto& sockets = agent.world.webSockets();
  const auto before = sockets.newest();
  EXPECT_EQ(before->request().authorityFile, "");
  agent.world.httpSessions().addAuthorityFile("/etc/authority.pem");
  sockets.addAuthorityFile("/etc/authority.pem");
  const auto line = channelLine("set", {{"name", "relay-authority"}, {"value", "/etc/authority.pem"}});
  EXPECT_THAT(program.request(line), HasSubstr(R"("takenOver":true)"));
  agent.advance(5);
  EXPECT_TRUE(before->isEnded());
  EXPECT_EQ(sockets.newest()->request().authorityFile, "/etc/authority.pem");
  EXPECT_EQ(agent.world.httpSessions().requests().back().authorityFile, "/etc/authority.pem");
  EXPECT_TRUE(agent.status().relayConnected);

  const auto connected = sockets.newest();
  EXPECT_THAT(program.request(line), HasSubstr(R"("takenOver":true)"));
  agent.advance(5);
  EXPECT_EQ(sockets.newest(), connected) << "nothing has changed, and nothing is interrupted";
}

TEST_F(AppDelegateQuestions, SettingsThatCannotBeAreRefused) {
  agent.launchAndPair();
  for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
           {"approval-stale-grace", "-1"}, {"no-such", "1"}, {"relay", "http://x"}}) {
    EXPECT_THAT(program.request(channelLine("set", {{"name", name}, {"value", value}})),
                HasSubstr(R"("code":"malformed")"));
  }
}

TEST_F(AppDelegateQuestions, TheAgentQuitsWhenAsked) {
  agent.launchAndPair();
  EXPECT_THAT(program.request(channelLine("quit")), HasSubstr(R"("type":"done")"));
  EXPECT_TRUE(agent.world.application().hasTerminated());
  EXPECT_FALSE(agent.world.socketFolder().holds(kChannelName));
}

TEST_F(AppDelegateQuestions, WhereNoSocketCanBeMadeTheAgentRunsAllTheSame) {
  agent.world.socketFolder().setUnusable(true);
  agent.launchAndPair();
  EXPECT_THAT(agent.world.console().lines(),
              testing::Contains("No program can ask here: the socket for it cannot be made."));
  (void)agent.desktop().open(erasePrompt());
  agent.advance(5);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

}  // namespace
}  // namespace quillard
