#include <gtest/gtest.h>

#include "e2e/AgentAtRelay.h"

// The agent as a user has it and the real relay, which loses its database.
namespace quillard {
namespace {

using test::kFirstButton;
using test::prompt;

class ForgetfulRelay : public test::AgentAtRelay {};

TEST_F(ForgetfulRelay, IsToldAgainWhoTheAgentIsAndThePhoneHasItsListBack) {
  auto dialog = desktop.launch("gtk3_prompt", prompt("Waiting", {"No", "Yes"}));
  ASSERT_TRUE(waitForAgent(1)) << printed();
  ASSERT_EQ(phone.join(), 101) << printed();
  const auto before = phone.waitFor("Waiting");
  ASSERT_TRUE(before) << printed();
  relay.loseDatabaseAndRestart();
  ASSERT_TRUE(waitForAgent(2)) << printed();
  ASSERT_EQ(phone.join(), 101) << printed();
  const auto after = phone.waitFor("Waiting");
  ASSERT_TRUE(after) << printed();
  EXPECT_EQ(after->id, before->id);
  EXPECT_EQ(phone.decide(after->id, "Yes"), kAcceptedStatus) << printed();
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
}

}  // namespace
}  // namespace quillard
