#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "platform/desktop/Workspace.h"
#include "platform/process/Application.h"
#include "platform/process/Executors.h"
#include "platform/process/LockFiles.h"

namespace quillard {

// What the guard acts through. All of it outlives the guard.
struct InstanceGuardDependencies {
  platform::Application& application;
  platform::Workspace& workspace;
  platform::LockFiles& lockFiles;
  platform::SerialExecutor& mainThread;
};

// One agent for each session of a user. A newer agent asks the older one to quit and then needs its lock: starting the
// program again replaces an agent that quits in time, and otherwise the new one gives way. States: without the lock,
// waiting for it, holding it (or running unguarded). Main thread.
class InstanceGuard {
 public:
  explicit InstanceGuard(const InstanceGuardDependencies& dependencies);
  // The lock is released when this is destroyed.
  ~InstanceGuard() = default;
  InstanceGuard(const InstanceGuard&) = delete;
  InstanceGuard& operator=(const InstanceGuard&) = delete;

  // How long an agent that was asked to quit is waited for, and how often its lock is tried meanwhile. It sends a close
  // message to its relay first.
  static constexpr Seconds kLongestWait{5};
  static constexpr Seconds kRetryInterval{0.1};

  // Asks the other agents to quit, and calls back once with whether this one may run: immediately, inside this call,
  // but while one that was asked still holds the lock. The lock is waited for then, for `kLongestWait`. Call it once.
  void takeOver(std::function<void(bool mayRun)> onDecision);
  // Whether the decision is still to come.
  [[nodiscard]] bool isWaiting() const { return static_cast<bool>(onDecision); }
  // The decision does not come any more. Nothing happens when none is awaited.
  void stopWaiting();

  // Asks every other running agent, under either name that it has had, to quit. Does not wait. Returns how many could
  // be asked.
  std::size_t terminateOtherAgents();

  // False: another agent holds the lock, and this one has to end. Where the lock file cannot be opened the agent runs
  // unguarded, since a full disk must not keep it away.
  [[nodiscard]] bool acquireSingleInstanceLock();
  // Nothing happens when the lock is not held.
  void releaseSingleInstanceLock();

 private:
  void tryAgain();
  void decide(bool mayRun);

  const InstanceGuardDependencies dependencies;
  std::function<void(bool mayRun)> onDecision;  // Empty: none is awaited.
  int triesLeft = 0;
  platform::TaskHandle retries;
  std::unique_ptr<platform::FileLock> instanceLockFileDescriptor;  // Empty: not held.
};

}  // namespace quillard
