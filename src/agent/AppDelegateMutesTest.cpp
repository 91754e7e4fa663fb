#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "approvals/SuppressionList.h"
#include "channel/ChannelClient.h"
#include "support/AgentWorld.h"

// Kinds of prompts that are muted: for how long, what phones are told of them, and how they are undone at the computer.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using platform::simulated::SimulatedLocalSockets;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::int64_t kDay = 86400;

class AppDelegateMutes : public testing::Test {
 protected:
  // Shows a prompt and has the phone mute it.
  Uuid mute(std::optional<std::int64_t> lasts, const std::string& title = "Erase disk?") {
    agent.desktop().open(erasePrompt(title));
    agent.advance(5);
    const auto kind = agent.phone.shown().at(0).suppressionID;
    agent.phone.sendSuppression("suppress", kind, lasts);
    agent.advance(5);
    return kind;
  }
  // The computer sleeps for most of it.
  void pass(std::int64_t seconds) {
    agent.world.time().suspend(Seconds{static_cast<double>(seconds - 10)});
    agent.advance(10);
  }
  void restart() {
    agent.destroyAgent();
    agent.construct();
    agent.onMainThread([](AppDelegate& delegate) { delegate.applicationDidFinishLaunching(); });
    agent.advance(5);
    agent.phone.comeOnline();
    agent.advance(10);
  }
  std::vector<SuppressionReport> reported() {
    const auto snapshots = agent.phone.snapshots();
    const auto& state = snapshots.back().state;
    return state.suppressions ? state.suppressions->kinds : std::vector<SuppressionReport>{};
  }
  // The answers to one line over the channel.
  std::string request(const std::string& line) {
    SimulatedLocalSockets sockets(agent.world.socketFolder(), agent.world.time().mainThread(),
                                  {.process = {.processIdentifier = 7, .executable = "/bin/sh"}});
    std::string received;
    ChannelClient client(
        sockets, {.onMessage = [&](const auto& message) { received += message.json.dump() + "\n"; }, .onEnd = [] {}});
    (void)client.open();
    client.send(line);
    agent.advance(0.5);
    return received;
  }

  AgentWorld agent;
};

TEST_F(AppDelegateMutes, AreToldToEveryPhoneWithTheirEnd) {
  agent.launchAndPair();
  EXPECT_EQ(agent.phone.meeting().suppressions, SuppressionReports{});
  const auto kind = mute(kDay);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  ASSERT_THAT(reported(), SizeIs(1));
  EXPECT_EQ(reported()[0].suppressionID, kind);
  EXPECT_EQ(reported()[0].windowTitle, "Erase disk?");
  EXPECT_EQ(reported()[0].until, reported()[0].since + 24h);
  agent.phone.goOffline();
  agent.advance(1);
  agent.phone.comeOnline("Another phone");
  agent.advance(1);
  ASSERT_THAT(agent.phone.meeting().suppressions->kinds, SizeIs(1));
  EXPECT_EQ(agent.phone.meeting().suppressions->kinds[0].suppressionID, kind);
}

TEST_F(AppDelegateMutes, GoByThemselvesAndThePromptComesBack) {
  agent.launchAndPair();
  mute(kDay);
  pass(kDay - 60);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  agent.advance(120);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(AppDelegateMutes, HoldOverARestartUntilTheyEnd) {
  agent.launchAndPair();
  mute(7 * kDay);
  restart();
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  ASSERT_THAT(agent.phone.meeting().suppressions->kinds, SizeIs(1));
  pass(8 * kDay);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateMutes, OfAnEarlierRunAreUndoneByThePhone) {
  agent.launchAndPair();
  const auto kind = mute(0);
  restart();
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  agent.phone.unsuppress(kind);
  agent.advance(10);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(AppDelegateMutes, OfAPhoneThatKnowsOfNoEndHoldUntilTheAgentEnds) {
  agent.launchAndPair();
  mute(std::nullopt);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  pass(30 * kDay);
  EXPECT_THAT(agent.phone.shownTitles(), IsEmpty());
  restart();
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateMutes, AClockThatIsSetBackDoesNotProlongThem) {
  agent.launchAndPair();
  mute(kDay);
  agent.world.time().setWallClock(agent.world.time().now() - 24h * 365);
  pass(kDay + 10);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateMutes, AreListedAndUndoneAtTheComputer) {
  agent.launchAndPair();
  EXPECT_THAT(request(channelLine("muted")), HasSubstr("\"muted\":[]"));
  const auto kind = mute(0);
  EXPECT_THAT(request(channelLine("muted")), HasSubstr("\"title\":\"Erase disk?\""));
  EXPECT_THAT(request(channelLine("unmute", {{"id", Uuid{}.text()}})), HasSubstr("notFound"));
  EXPECT_THAT(request(channelLine("unmute")), HasSubstr("malformed"));
  EXPECT_THAT(request(channelLine("unmute", {{"id", kind.text()}, {"all", true}})), HasSubstr("malformed"));
  EXPECT_THAT(request(channelLine("unmute", {{"id", kind.text()}})), HasSubstr("\"type\":\"done\""));
  agent.advance(10);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(reported(), IsEmpty()) << "The phone is told.";
  EXPECT_THAT(request(channelLine("unmute", {{"all", true}})), HasSubstr("notFound"));
}

TEST_F(AppDelegateMutes, GetAnotherEndAtTheComputer) {
  agent.launchAndPair();
  const auto kind = mute(0);
  EXPECT_THAT(request(channelLine("mute", {{"id", kind.text()}, {"lasts", -1}})), HasSubstr("malformed"));
  EXPECT_THAT(request(channelLine("mute", {{"id", Uuid{}.text()}, {"lasts", 60}})), HasSubstr("notFound"));
  EXPECT_THAT(request(channelLine("mute", {{"id", kind.text()}, {"lasts", kDay}})), HasSubstr("\"type\":\"done\""));
  agent.advance(2);
  EXPECT_TRUE(reported().at(0).until) << "The phone is told.";
  pass(kDay);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateMutes, AreWrittenDown) {
  agent.launchAndPair();
  mute(60);
  agent.advance(120);
  const auto bytes = agent.world.auditFile().current().value();
  EXPECT_THAT(bytes, HasSubstr("\"event\":\"muted\""));
  EXPECT_THAT(bytes, HasSubstr("\"event\":\"unmuted\""));
  EXPECT_THAT(bytes, HasSubstr("\"how\":\"time\""));
}

TEST_F(AppDelegateMutes, VeryManyFitOneMessageBesideAFullList) {
  constexpr std::size_t kMany = 200;
  constexpr std::size_t kLongestMessage = std::size_t{1} << 20U;  // That the relay takes.
  std::vector<std::string> stored;
  for (std::uint8_t number = 0; number < kMany; ++number) {
    stored.push_back(Json{{"id", Uuid::fromRandomBytes({number, 1}).text()},
                          {"fingerprints", Uuid::fromRandomBytes({9}).text()},
                          {"appName", std::string(190, '\x01')},
                          {"windowTitle", std::string(190, '\x01')},
                          {"since", "2026-01-01T00:00:00Z"}}
                         .dump());
  }
  agent.world.userDefaults().set(SuppressionList::key, stored);
  agent.launchAndPair();
  for (int i = 0; i < 100; ++i) {
    agent.desktop().open({.title = "Erase disk " + std::to_string(i) + "?",
                          .lines = {std::string(7800, 'x'), "This cannot be undone."},
                          .buttons = {"Cancel", "Erase"}});
  }
  agent.advance(10);
  std::size_t longest = 0;
  for (const auto& message : agent.relay.received("mac.snapshot")) longest = std::max(longest, message.size());
  EXPECT_GT(longest, kLongestMessage * 9 / 10) << "The list is full.";
  EXPECT_LE(longest, kLongestMessage);
  const auto told = agent.phone.snapshots().back().state.suppressions.value();
  EXPECT_GT(told.kinds.size(), 10U);
  EXPECT_EQ(told.kinds.size() + told.leftOut, kMany);
}

TEST_F(AppDelegateMutes, AreUndoneInTheWindow) {
  agent.launchAndPair();
  mute(0);
  ASSERT_THAT(agent.status().muted, SizeIs(1));
  EXPECT_EQ(agent.status().muted[0].title, "Erase disk?");
  agent.onMainThread([](AppDelegate& delegate) { delegate.showStatusWindow(); });
  auto& window = agent.world.statusWindowViews().window();
  agent.advance(3);
  EXPECT_TRUE(window.click(StatusWindowButton::mutedPrimary));
  agent.advance(1);
  EXPECT_TRUE(window.chooseMenuItem("Example: Erase disk?")) << window.menuTitles().at(0);
  agent.advance(10);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_THAT(agent.status().muted, IsEmpty());
}

TEST_F(AppDelegateMutes, GetAnotherEndInTheWindow) {
  agent.launchAndPair();
  mute(0);
  agent.onMainThread([](AppDelegate& delegate) { delegate.showStatusWindow(); });
  auto& window = agent.world.statusWindowViews().window();
  agent.advance(3);
  EXPECT_TRUE(window.click(StatusWindowButton::mutedSecondary));
  agent.advance(1);
  EXPECT_TRUE(window.chooseMenuItem("Example: Erase disk?"));
  agent.advance(1);
  EXPECT_THAT(window.menuTitles(), ElementsAre("For a Day from Now", "For a Week from Now", "Until You Undo It"));
  EXPECT_TRUE(window.chooseMenuItem("For a Day from Now"));
  agent.advance(2);
  EXPECT_TRUE(reported().at(0).until) << "The phone is told.";
  EXPECT_TRUE(agent.status().muted.at(0).remaining) << "So is who looks at the window.";
  pass(kDay);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

TEST_F(AppDelegateMutes, ThatEndWhileAnEndIsChosenAreLeftAlone) {
  agent.launchAndPair();
  mute(5);
  agent.onMainThread([](AppDelegate& delegate) { delegate.showStatusWindow(); });
  auto& window = agent.world.statusWindowViews().window();
  EXPECT_TRUE(window.click(StatusWindowButton::mutedSecondary));
  agent.advance(0);
  agent.advance(20);
  EXPECT_TRUE(window.chooseMenuItem(window.menuTitles().at(0)));
  agent.advance(1);
  EXPECT_EQ(window.menu(), std::nullopt);
  EXPECT_THAT(agent.status().muted, IsEmpty());
}

}  // namespace
}  // namespace quillard
