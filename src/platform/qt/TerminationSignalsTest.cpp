#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>

#include "support/ChildProcess.h"

namespace quillard::qt {
namespace {

using test::ChildProcess;

ChildProcess::Start program(std::vector<std::string> arguments = {}) {
  arguments.insert(arguments.begin(), TERMINATING_PROGRAM);
  return {.command = std::move(arguments), .environment = test::presentEnvironment(), .input = {}};
}

class TerminationSignal : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(All, TerminationSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& tested) { return sigabbrev_np(tested.param); });

TEST_P(TerminationSignal, EndsTheProgramPolitely) {
  ChildProcess child(program());
  ASSERT_EQ(child.readLine(), "up");
  ::kill(child.id(), GetParam());
  EXPECT_EQ(child.readLine(), "will terminate");
  EXPECT_EQ(child.readLine(), "ended");
  EXPECT_EQ(child.wait(), 0);
}

TEST_P(TerminationSignal, EndsAStuckProgramAtTheSecondTime) {
  ChildProcess child(program({"--stuck"}));
  ASSERT_EQ(child.readLine(), "up");
  ::kill(child.id(), SIGTERM);
  ASSERT_EQ(child.readLine(), "will terminate");
  ::kill(child.id(), GetParam());
  EXPECT_EQ(child.wait(), 128 + GetParam());
}

TEST(TerminationSignals, StayIgnoredWhereTheProgramWasStartedSo) {
  ChildProcess child({.command = {"sh", "-c", "trap '' HUP; exec \"$0\"", TERMINATING_PROGRAM},
                      .environment = test::presentEnvironment(),
                      .input = {}});
  ASSERT_EQ(child.readLine(), "up");
  ::kill(child.id(), SIGHUP);
  ::kill(child.id(), SIGTERM);  // The first that counts: a second one would have ended the program immediately.
  EXPECT_EQ(child.readLine(), "will terminate");
  EXPECT_EQ(child.readLine(), "ended");
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
}  // namespace quillard::qt
