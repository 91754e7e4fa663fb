#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillard::platform {

// What this program and its installation for this user alone put into the home: files, not items of a keychain. What a
// package put elsewhere is not among it. Main thread; it takes milliseconds.
class OwnFiles {
 public:
  virtual ~OwnFiles() = default;

  // What is there now, as paths, each once; first what starts the agent at login.
  [[nodiscard]] virtual std::vector<std::string> found() = 0;
  // Deletes what starts the agent at login. Why something is left, as sentences; empty: nothing is.
  [[nodiscard]] virtual std::vector<std::string> eraseLoginStarts() = 0;
  // Deletes the rest, and its own folders that are empty then. No object of this process that keeps one of these files
  // may be written to afterwards. The same result. Where something is left, or `keepsProgram` says that something else
  // is, the program stays, so that it can try again.
  [[nodiscard]] virtual std::vector<std::string> erase(bool keepsProgram) = 0;
  // The folders that all of this is looked for in.
  [[nodiscard]] virtual std::vector<std::string> folders() = 0;
  // Whether something else than the agent uses them: a trial that was brought up from the sources.
  [[nodiscard]] virtual bool areInUse() = 0;
  // How this process would have to be started to look where the agent that runs keeps its files: variables with their
  // values, as a shell takes them. Absent: as it was, or no agent runs.
  [[nodiscard]] virtual std::optional<std::string> agentsOtherFolders() = 0;
};

}  // namespace quillard::platform
