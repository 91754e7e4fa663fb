#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "demo/Variables.h"

namespace quillard::demo {

// A program that runs for as long as this object lives, and in no case longer than this process: the kernel asks it to
// end when this process is killed. One thread.
class Service {
 public:
  struct Start {
    std::vector<std::string> command;  // The program, absolute or found by PATH, and its arguments.
    Variables environment;
    // Where output and errors go: to the end of a file, or to descriptors. Without: to our own streams.
    std::string logFile = {};
    int output = -1;
    int errors = -1;
    // Has our terminal and what is typed there, Ctrl-C included. Others read nothing and get no Ctrl-C.
    bool isInForeground = false;
    int handedOn = -1;  // A descriptor that it gets as number 3.
  };
  explicit Service(const Start& start);
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  ~Service();

  [[nodiscard]] pid_t id() const { return pid; }
  // As a shell has it: its exit code, or 128 and the number of the signal that ended it. Absent while it runs.
  [[nodiscard]] std::optional<int> exitCode();
  // Absent: it did not end in time, or `isCancelled` became true before.
  std::optional<int> waitForEnd(std::chrono::milliseconds timeout, const std::function<bool()>& isCancelled = {});
  // Asks it to end, and kills it when it has not done so in time.
  void end(std::chrono::milliseconds timeout);

 private:
  pid_t pid = -1;
  std::optional<int> code;
};

// What a program has printed when it ended. In memory alone, since it may be a secret.
struct Printed {
  std::optional<int> code;  // Absent: it took too long, and was ended.
  std::string output;
  std::string errors;
};
[[nodiscard]] Printed run(const std::vector<std::string>& command, const Variables& environment,
                          std::chrono::milliseconds timeout, const std::function<bool()>& isCancelled = {});

}  // namespace quillard::demo
