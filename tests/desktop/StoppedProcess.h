#pragma once

#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <sys/types.h>

#include "private-desktop/FileContents.h"
#include "private-desktop/Waiting.h"

namespace quillard::test {

// A process that stands still while this object lives, as one does that hangs: what it is asked waits, and is answered
// afterwards. For servers of a desktop; a `DesktopProgram` can do this itself. Two of one process nest badly.
class StoppedProcess {
 public:
  explicit StoppedProcess(pid_t pid) : pid(pid) {
    EXPECT_GT(pid, 0);
    if (pid <= 0) return;
    ::kill(pid, SIGSTOP);
    EXPECT_TRUE(privatedesktop::waitFor([&] { return stands(); })) << pid;
  }
  StoppedProcess(const StoppedProcess&) = delete;
  StoppedProcess& operator=(const StoppedProcess&) = delete;
  ~StoppedProcess() {
    if (pid > 0) ::kill(pid, SIGCONT);
  }

 private:
  [[nodiscard]] bool stands() const {
    const std::string line = privatedesktop::fileContents("/proc/" + std::to_string(pid) + "/stat");
    const auto afterName = line.rfind(") ");
    return afterName != std::string::npos && line.at(afterName + 2) == 'T';
  }

  const pid_t pid;
};

}  // namespace quillard::test
