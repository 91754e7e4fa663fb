#pragma once

#include <memory>

#include "platform/desktop/Workspace.h"
#include "platform/process/Application.h"
#include "platform/process/LockFiles.h"

namespace quillard {

// What the guard acts through. All of it outlives the guard.
struct InstanceGuardDependencies {
  platform::Application& application;
  platform::Workspace& workspace;
  platform::LockFiles& lockFiles;
};

// One agent for each session of a user. A newer agent asks the older one to quit and then needs its lock: starting the
// program again replaces an agent that quits in time, and otherwise the new one gives way. States: without the lock,
// holding it. Main thread.
class InstanceGuard {
 public:
  explicit InstanceGuard(const InstanceGuardDependencies& dependencies);
  // The lock is released when this is destroyed.
  ~InstanceGuard() = default;
  InstanceGuard(const InstanceGuard&) = delete;
  InstanceGuard& operator=(const InstanceGuard&) = delete;

  // Asks every other running agent, under either name that it has had, to quit. Does not wait.
  void terminateOtherAgents();

  // False: another agent holds the lock, and this one has to end. Where the lock file cannot be opened the agent runs
  // unguarded, since a full disk must not keep it away.
  [[nodiscard]] bool acquireSingleInstanceLock();
  // Nothing happens when the lock is not held.
  void releaseSingleInstanceLock();

 private:
  const InstanceGuardDependencies dependencies;
  std::unique_ptr<platform::FileLock> instanceLockFileDescriptor;  // Empty: not held.
};

}  // namespace quillard
