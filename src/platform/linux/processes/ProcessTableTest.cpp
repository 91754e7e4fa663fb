#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/processes/AgentProcesses.h"
#include "platform/linux/processes/ProcessTable.h"
#include "support/TemporaryFolder.h"

namespace quillard::proc {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kUser = 1000;

// A folder of processes as the kernel shows them.
class FakeProcesses {
 public:
  struct Process {
    std::string executable;
    std::vector<std::string> arguments;
    std::uint32_t user = kUser;
    char state = 'S';
    std::string sessionFolder = {};  // Empty: not set.
  };

  void add(std::int32_t number, const Process& process) {
    const fs::path own = fs::path{folder.path()} / std::to_string(number);
    fs::create_directory(own);
    if (!process.executable.empty()) fs::create_symlink(process.executable, own / "exe");
    std::ofstream(own / "status") << "Name:\tshort\nUmask:\t0022\nState:\t" << process.state << " (x)\nUid:\t"
                                  << process.user << "\t" << process.user << "\t0\t0\n";
    std::ofstream arguments(own / "cmdline", std::ios::binary);
    for (const auto& argument : process.arguments) arguments << argument << '\0';
    std::ofstream environment(own / "environ", std::ios::binary);
    environment << "PATH=/usr/bin" << '\0';
    if (!process.sessionFolder.empty()) environment << "XDG_RUNTIME_DIR=" << process.sessionFolder << '\0';
  }
  [[nodiscard]] const std::string& path() const { return folder.path(); }
  [[nodiscard]] ProcessTable table() const { return {folder.path(), kUser}; }

 private:
  test::TemporaryFolder folder;
};

TEST(ProcessTable, ReadsThisVeryProcess) {
  const auto self = ProcessTable{}.process(::getpid());
  ASSERT_TRUE(self.has_value());
  EXPECT_EQ(self->executable, fs::read_symlink("/proc/self/exe").string());
  ASSERT_FALSE(self->arguments.empty());
  const auto program = fs::path(self->executable).filename().string();
  EXPECT_EQ(self->shortName, program.substr(0, 15)) << "The kernel keeps 15 bytes.";
}

TEST(ProcessTable, ReadsWhatTheKernelShows) {
  FakeProcesses processes;
  processes.add(7, {.executable = "/usr/bin/zenity", .arguments = {"zenity", "--question", ""}});
  EXPECT_EQ(processes.table().process(7), (ProcessFacts{.processIdentifier = 7,
                                                        .executable = "/usr/bin/zenity",
                                                        .arguments = {"zenity", "--question", ""},
                                                        .shortName = "short"}));
}

TEST(ProcessTable, KnowsNoProcessOfOthersAndNoneThatEnded) {
  FakeProcesses processes;
  processes.add(7, {.executable = "/usr/bin/zenity", .user = 0});
  processes.add(8, {.executable = "/usr/bin/zenity", .state = 'Z'});
  for (const std::int32_t number : {7, 8, 9, 0, -1}) {
    EXPECT_EQ(processes.table().process(number), std::nullopt) << number;
  }
}

TEST(ProcessTable, AnExecutableKeepsItsNameAfterAnUpdate) {
  FakeProcesses processes;
  processes.add(7, {.executable = "/usr/bin/zenity (deleted)"});
  EXPECT_EQ(processes.table().executable(7), "/usr/bin/zenity");
}

TEST(ProcessTable, ListsNumbersOnly) {
  FakeProcesses processes;
  processes.add(12, {});
  processes.add(3, {});
  for (const char* const other : {"self", "12a", "-4", "007", "99999999999"}) {
    fs::create_directory(fs::path{processes.path()} / other);
  }
  EXPECT_EQ(processes.table().all(), (std::vector<std::int32_t>{3, 12}));
  EXPECT_TRUE((ProcessTable{"/nowhere", kUser}.all().empty()));
}

TEST(AgentProcesses, FindsAgentsByTheirProgramAndItsArguments) {
  const std::string program = "/home/a/.local/lib/Quillard.app/quillard";
  FakeProcesses processes;
  processes.add(1, {.executable = program, .arguments = {program}});
  processes.add(2, {.executable = program, .arguments = {"quillard", "--background"}});
  processes.add(3, {.executable = "/opt/Quillard.app/quillard (deleted)", .arguments = {"quillard"}});
  processes.add(4, {.executable = program, .arguments = {"quillard", "scan"}});
  processes.add(5, {.executable = program, .arguments = {"quillard", "--verbose", "scan"}});
  processes.add(6, {.executable = program, .arguments = {"quillard"}, .user = 0});
  processes.add(7, {.executable = program, .arguments = {}});
  processes.add(8, {.executable = program, .arguments = {"quillard"}, .state = 'Z'});
  processes.add(9, {.executable = "/usr/bin/quillard", .arguments = {"quillard"}});
  processes.add(10, {.executable = "/opt/Quillard.app/quillard-relay", .arguments = {"quillard-relay"}});
  processes.add(11, {.executable = "/usr/bin/vi", .arguments = {program}});
  const auto table = processes.table();
  EXPECT_EQ(AgentProcesses(table, std::nullopt).find(), (std::vector<std::int32_t>{1, 2, 3}));
}

TEST(AgentProcesses, FindsThoseOfItsOwnSessionOnly) {
  const std::string program = "/opt/Quillard.app/quillard";
  FakeProcesses processes;
  processes.add(1, {.executable = program, .arguments = {program}, .sessionFolder = "/run/user/1000"});
  processes.add(2, {.executable = program, .arguments = {program}, .sessionFolder = "/run/user/10001"});
  processes.add(3, {.executable = program, .arguments = {program}});
  const auto table = processes.table();
  EXPECT_EQ(table.sessionFolder(1), "/run/user/1000");
  EXPECT_EQ(table.sessionFolder(3), std::nullopt);
  EXPECT_EQ(AgentProcesses(table, "/run/user/1000").find(), std::vector<std::int32_t>{1});
  EXPECT_EQ(AgentProcesses(table, std::nullopt).find(), std::vector<std::int32_t>{3});
}

TEST(AgentProcesses, FindsNoneWhereThereIsNone) {
  const FakeProcesses processes;
  const auto table = processes.table();
  EXPECT_TRUE(AgentProcesses(table, std::nullopt).find().empty());
}

}  // namespace
}  // namespace quillard::proc
