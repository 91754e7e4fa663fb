#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "private-desktop/DesktopProgram.h"
#include "private-desktop/ProgramRequest.h"

namespace quillard::privatedesktop {

// Starts programs through a process of its own, the keeper, which ends all of them, and all that they have started,
// when this object is destroyed or this process is killed. Programs inherit no descriptor and no environment from here.
class ProgramKeeper {
 public:
  // `lifeline`: a descriptor that the keeper holds until everything has gone. `name` tells keepers apart in a list of
  // processes.
  ProgramKeeper(int lifeline, std::string name);
  ProgramKeeper(const ProgramKeeper&) = delete;
  ProgramKeeper& operator=(const ProgramKeeper&) = delete;
  // Waits until everything has gone.
  ~ProgramKeeper();

  // `files` with ".in" (made here, of `input`), ".out" and ".err" after it are its standard streams.
  [[nodiscard]] DesktopProgram start(const ProgramRequest& request, const std::string& files, const std::string& input);

 private:
  int socket = -1;
  pid_t keeper = -1;
};

}  // namespace quillard::privatedesktop
