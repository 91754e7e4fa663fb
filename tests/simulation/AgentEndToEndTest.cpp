#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

// The whole agent in virtual time: from the dialog to the phone, and back.
namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(AgentEndToEnd, OfOnePrompt) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.advance(10);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());

  const auto dialog = agent.desktop().open(erasePrompt());
  agent.advance(0.5);
  EXPECT_THAT(agent.phone.shown(), IsEmpty()) << "One scan is not enough.";
  agent.advance(0.5);
  const auto shown = agent.phone.shown();
  ASSERT_THAT(shown, SizeIs(1));
  EXPECT_EQ(shown[0].displayTitle(), "Example: Erase disk?");
  EXPECT_THAT(shown[0].messageLines, ElementsAre("Erasing cannot be undone."));
  EXPECT_EQ(agent.status().pendingApprovalCount, 1);

  const auto decision = *agent.phone.decide(shown[0].id, "Erase");
  agent.advance(1);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Erase");
  EXPECT_FALSE(agent.desktop().isOpen(dialog));
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  agent.advance(20);
  EXPECT_EQ(agent.status().pendingApprovalCount, 0);
  agent.quit();
  EXPECT_THAT(agent.world.console().lines(), ElementsAre("Quillard relay connected."));
}

TEST(AgentEndToEnd, IsTheSameFromTheSameSeed) {
  const auto history = [](std::uint64_t seed) {
    AgentWorld agent{seed};
    agent.launchAndPair();
    agent.desktop().open(erasePrompt());
    agent.advance(5);
    agent.phone.decide(agent.phone.shown().at(0).id, "Cancel");
    agent.advance(30);
    std::vector<std::string> frames;
    for (const auto& conversation : agent.relay.conversations()) {
      for (const auto& frame : conversation.socket->receivedTexts()) frames.push_back(frame);
    }
    return std::pair{frames, agent.world.time().turnCount()};
  };
  EXPECT_TRUE(history(5) == history(5));
  EXPECT_FALSE(history(5) == history(6));
}

TEST(AgentEndToEnd, GoesOnInTheNextRunWithTheSamePhone) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto identity = keptSecrets(agent.world)->pairingID;
  agent.onMainThread([](AppDelegate& delegate) { delegate.applicationWillTerminate(); });
  agent.destroyAgent();
  agent.launch();
  agent.desktop().open(erasePrompt());
  agent.advance(3);
  EXPECT_EQ(keptSecrets(agent.world)->pairingID, identity);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
}

// What the agent does when nothing happens: two polls every two seconds, and a sweep every five minutes, which is a
// turn to begin it, the scan, and a turn to take its outcome. The permission is asked for away from the main thread: a
// turn that asks, the question, and a turn that takes the answer.
constexpr std::uint64_t kTurnsOfPermissionPolls = 1800 * 3;

TEST(AgentIdle, AnHourCostsTheTurnsOfItsTimersAndNoMore) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.world.statusWindowViews().window().closeByUser();
  agent.advance(30);
  const auto before = agent.world.time().turnCount();
  agent.advance(3600);
  constexpr std::uint64_t kVisibleOwnerPolls = 1800;
  constexpr std::uint64_t kTurnsOfSweeps = 12 * 3;
  EXPECT_EQ(agent.world.time().turnCount() - before, kTurnsOfPermissionPolls + kVisibleOwnerPolls + kTurnsOfSweeps + 12)
      << "Each outcome is published, and the relay client, which finds nothing new, is one turn more.";
}

TEST(AgentIdle, WithoutARelayOnlyThePermissionIsRead) {
  AgentWorld agent;
  agent.world.environment().unset("QUILLARD_RELAY_URL");
  agent.launch();
  agent.world.statusWindowViews().window().closeByUser();
  agent.advance(30);
  const auto before = agent.world.time().turnCount();
  agent.advance(3600);
  EXPECT_EQ(agent.world.time().turnCount() - before, kTurnsOfPermissionPolls);
}

TEST(AgentIdle, SendsNothingWhileNothingChanges) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.desktop().open(erasePrompt());
  agent.advance(30);
  const auto before = agent.phone.snapshots().size();
  agent.advance(3600);
  EXPECT_EQ(agent.phone.snapshots().size(), before);
}

}  // namespace
}  // namespace quillard
