#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(AppDelegateDecisions, PressesWhatThePhoneChoseAndTellsItSo) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto dialog = agent.desktop().open(erasePrompt());
  agent.advance(3);
  ASSERT_THAT(agent.phone.shownTitles(), ElementsAre("Erase disk?"));
  EXPECT_TRUE(agent.menuBarShowsPending());

  const auto decision = agent.phone.decide(agent.phone.shown().front().id, "Cancel");
  ASSERT_TRUE(decision);
  agent.advance(1);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
  EXPECT_THAT(agent.phone.answers(*decision), ElementsAre("accepted"));
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_FALSE(agent.menuBarShowsPending());
}

}  // namespace
}  // namespace quillard
