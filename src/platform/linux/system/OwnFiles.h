#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/processes/ProcessTable.h"
#include "platform/linux/system/EntryCopies.h"
#include "platform/process/Environment.h"
#include "platform/storage/OwnFiles.h"

namespace quillard::desktop {

// By one list of names, which holds all that is ever written: by an installation below ~/.local, by the agent, and by a
// relay that was brought up beside it for a trial. What has another name is left alone, and keeps its folder. Links are
// deleted, not followed, also one in the place of a folder of ours. Settings and data are looked for where this process
// is told that they are, and in the usual folders below the home, since a session may set other folders than a shell
// does; where an agent runs, its environment tells. Of an installation nothing is ours unless its program is there, and
// of what may have been there before it, only what leads to that program.
//
// Folders that other programs use too stay, even empty: whether we made them is not known.
//
// Copies of other programs' menu entries go when they are as they were made; one that was changed since stays, and is a
// problem.
class OwnFiles final : public platform::OwnFiles {
 public:
  // All outlive this. `processes` has the agent that runs.
  OwnFiles(const platform::Environment& environment, EntryCopies& copies, const proc::ProcessTable& processes)
      : environment(environment), copies(copies), processes(processes) {}

  [[nodiscard]] std::vector<std::string> found() override;
  [[nodiscard]] std::vector<std::string> eraseLoginStarts() override;
  [[nodiscard]] std::vector<std::string> erase(bool keepsProgram = false) override;
  [[nodiscard]] std::vector<std::string> folders() override;
  [[nodiscard]] bool areInUse() override;
  [[nodiscard]] std::optional<std::string> agentsOtherFolders() override;

  // What `cmake --install` puts below a prefix, as paths relative to that.
  [[nodiscard]] static const std::vector<std::string>& installed();

 private:
  [[nodiscard]] std::vector<std::string> loginStarts() const;
  [[nodiscard]] std::vector<std::string> kept() const;           // Settings and data.
  [[nodiscard]] std::vector<std::string> installedHere() const;  // The program last.
  [[nodiscard]] std::vector<std::string> ofTheSession() const;   // Lock and socket.

  const platform::Environment& environment;
  EntryCopies& copies;
  const proc::ProcessTable& processes;
};

}  // namespace quillard::desktop
