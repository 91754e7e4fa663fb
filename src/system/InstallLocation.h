#pragma once

#include <string>
#include <vector>

#include "platform/process/Bundle.h"

namespace quillard {

// Whether the agent runs from a folder in which this system's users install applications. Any thread.
class InstallLocation {
 public:
  // `bundle` outlives this.
  explicit InstallLocation(const platform::Bundle& bundle) : bundle(bundle) {}

  // The accepted folders, absolute. The first is the one to show to a person who has to move the application.
  [[nodiscard]] std::vector<std::string> applicationDirectories() const;
  // Links followed. True for the folders themselves and for everything below them.
  [[nodiscard]] bool isRunningFromApplications() const;

 private:
  const platform::Bundle& bundle;
};

}  // namespace quillard
