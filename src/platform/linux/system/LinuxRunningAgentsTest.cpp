#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>

#include "platform/linux/system/LinuxRunningAgents.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using test::ChildProcess;

class LinuxRunningAgents : public testing::Test {
 protected:
  LinuxRunningAgents() {
    fs::create_directory(temporary.path() + "/Quillard.app");
    fs::copy_file(TERMINATING_PROGRAM, program);
    environment.set("XDG_RUNTIME_DIR", temporary.path());  // A session of the test's own.
  }
  [[nodiscard]] ChildProcess::Start agent(const std::string& sessionFolder,
                                          const std::vector<std::string>& arguments = {}) const {
    ChildProcess::Start start{
        .command = {program}, .environment = {"PATH=/usr/bin:/bin", "XDG_RUNTIME_DIR=" + sessionFolder}, .input = {}};
    start.command.insert(start.command.end(), arguments.begin(), arguments.end());
    return start;
  }
  bool end(Seconds timeout = Seconds{10}) { return endRunningAgents(processes, environment, timeout); }

  const test::TemporaryFolder temporary;
  const std::string program = temporary.path() + "/Quillard.app/quillard";
  platform::simulated::SimulatedEnvironment environment;
  x11::ProcessTable processes;
};

TEST_F(LinuxRunningAgents, NoneHasToEnd) { EXPECT_TRUE(end(Seconds{0})); }

TEST_F(LinuxRunningAgents, EndPolitelyAndAreWaitedFor) {
  ChildProcess first(agent(temporary.path()));
  ChildProcess second(agent(temporary.path()));
  ASSERT_EQ(first.readLine(), "up");
  ASSERT_EQ(second.readLine(), "up");
  EXPECT_TRUE(end());
  for (auto* const ended : {&first, &second}) {
    EXPECT_EQ(ended->readLine(), "will terminate");
    EXPECT_EQ(ended->wait(), 0);
  }
}

TEST_F(LinuxRunningAgents, OfOtherSessionsAndToolsAreLeftAlone) {
  ChildProcess other(agent(temporary.path() + "/another"));
  ChildProcess tool(agent(temporary.path(), {"scan"}));
  ASSERT_EQ(other.readLine(), "up");
  ASSERT_EQ(tool.readLine(), "up");
  EXPECT_TRUE(end());
  ::kill(other.id(), SIGTERM);  // The first that they get: a second one would end them immediately.
  ::kill(tool.id(), SIGTERM);
  EXPECT_EQ(other.wait(), 0);
  EXPECT_EQ(tool.wait(), 0);
}

TEST_F(LinuxRunningAgents, ThatAreStuckAreNotWaitedForForever) {
  ChildProcess stuck(agent(temporary.path(), {"--stuck"}));
  ASSERT_EQ(stuck.readLine(), "up");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(end(Seconds{0.2}));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace quillard::desktop
