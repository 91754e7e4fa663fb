#pragma once

#include <string>

#include "platform/linux/processes/DesktopEntries.h"
#include "platform/linux/processes/ProcessTable.h"

namespace quillard::proc {

// How a program is told from others, and called. An identifier stays the same for as long as the process lives.
struct ProgramIdentity {
  std::string identifier;
  std::string name;
  bool operator==(const ProgramIdentity&) const = default;
};

// The program that a process runs: the absolute path of its executable or, for an interpreter of scripts, of its
// script. A bare name when no more is known: a script that was given by a relative path (the folder may have changed
// since), a module, an executable that may not be read. Never the kernel's short name, but as the last resort.
[[nodiscard]] std::string programOf(const ProcessFacts& process);

// The identifier is
//   - "com.quillard.agent" for this program itself, running as the agent;
//   - the id of the desktop entry that starts the program, or is meant for windows of that class;
//   - else the program's path, as `programOf` gives it.
// The name is that of the desktop entry in the user's language, else the last part of the program's path.
// `windowClass`: of one of the process's windows; empty when it has none.
[[nodiscard]] ProgramIdentity identify(const ProcessFacts& process, const std::string& windowClass,
                                       DesktopEntries& entries);

}  // namespace quillard::proc
