#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "private-desktop/Waiting.h"

namespace quillard::privatedesktop {

// A program on a private desktop. It is killed with this object, and in any case with its desktop. One thread.
class DesktopProgram {
 public:
  // `report` is owned from now on: the keeper writes the process id there, and later the wait status.
  DesktopProgram(int report, std::string outputFile, std::string errorFile);
  DesktopProgram(DesktopProgram&& other) noexcept;
  DesktopProgram& operator=(DesktopProgram&& other) noexcept;
  DesktopProgram(const DesktopProgram&) = delete;
  DesktopProgram& operator=(const DesktopProgram&) = delete;
  ~DesktopProgram();

  [[nodiscard]] pid_t pid() const { return id; }
  [[nodiscard]] bool isRunning();

  // Waits for its end. Its exit code, or as a shell has it, 128 and the number of the signal that ended it; 127 when
  // there is no such program. Absent while it runs on.
  [[nodiscard]] std::optional<int> wait(std::chrono::milliseconds timeout = kTimeout);

  // What it has written so far.
  [[nodiscard]] std::string output() const;
  [[nodiscard]] std::string errors() const;
  // Waits until `text` stands somewhere in its output. False when it ended, or the timeout passed, without.
  [[nodiscard]] bool waitForOutput(std::string_view text, std::chrono::milliseconds timeout = kTimeout);

  // SIGKILL, and waits until it has gone.
  void kill();
  // SIGTERM; it may take its time.
  void end();
  // SIGSTOP, and waits until it stands still.
  void stop();
  void resume();

 private:
  void send(int signal);
  void close();

  int report = -1;
  pid_t id = -1;
  std::optional<int> status;  // As waitpid() has it; absent while it runs.
  std::string outputFile;
  std::string errorFile;
};

}  // namespace quillard::privatedesktop
