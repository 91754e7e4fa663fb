#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace quillard::test {

// Another program, for as long as this object lives. It is killed with it, and also when the test itself is killed.
class ChildProcess {
 public:
  struct Start {
    std::vector<std::string> command;      // The program, absolute or found by PATH, and its arguments.
    std::vector<std::string> environment;  // "NAME=value", and nothing besides.
    std::string input;                     // Its standard input, which then ends.
    bool isQuiet = true;                   // Whether its standard error is dropped.
  };
  explicit ChildProcess(const Start& start);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  // The next line of its standard output, without the line break. Absent when it ended first, or printed nothing for
  // thirty seconds.
  std::optional<std::string> readLine();

  // Ends it without warning, and waits until it has gone.
  void kill();
  // Waits for its own end, thirty seconds at the longest. Its exit code; absent when it was ended by a signal.
  std::optional<int> wait();
  [[nodiscard]] pid_t id() const { return pid; }

 private:
  pid_t pid = -1;
  int output = -1;
};

// The tests' own environment, to change and hand on.
[[nodiscard]] std::vector<std::string> presentEnvironment();

}  // namespace quillard::test
