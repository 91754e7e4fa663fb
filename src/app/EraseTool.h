#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "app/SettingsTool.h"
#include "platform/process/LockFiles.h"
#include "platform/storage/OwnFiles.h"
#include "platform/storage/SecretStore.h"

namespace quillard::app {

// All of it is called from `eraseAll` only.
struct EraseDependencies {
  platform::LockFiles& lockFiles;
  platform::SecretStore& secretStore;
  OpenSettings openSettings;
  platform::OwnFiles* ownFiles = nullptr;  // Null: the user deletes them.
  // Whether a person agrees. Absent: nobody can be asked.
  std::function<std::optional<bool>(const std::string& question)> ask;
  std::function<void()> quitAgent;  // Asks one that runs to end.
  std::function<void()> pause;      // Before the next try to see whether it has.
  // Has the relay revoke all pairings. How many it could not be told of.
  std::function<std::size_t(platform::UserDefaults& settings)> revoke;
};

// Deletes what the agent and an installation for this user alone left: asks first, ends the agent and keeps others from
// starting, deletes what starts it at login, revokes the pairings at the relay, and deletes secrets, settings, log and
// program. What cannot be done is said, and the rest is done all the same; it may be called again.
[[nodiscard]] ExitCode eraseAll(const EraseEverything& command, const EraseDependencies& dependencies,
                                const Output& output);

}  // namespace quillard::app
