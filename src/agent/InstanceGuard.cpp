#include "agent/InstanceGuard.h"

#include <array>
#include <string_view>
#include <utility>

#include "foundation/AgentNames.h"

namespace quillard {
namespace {

constexpr std::array<std::string_view, 2> kAgentBundleIdentifiers{"com.farrowlight.agent", kAgentIdentifier};

}  // namespace

InstanceGuard::InstanceGuard(const InstanceGuardDependencies& dependencies) : dependencies(dependencies) {}

void InstanceGuard::takeOver(std::function<void(bool mayRun)> handler) {
  onDecision = std::move(handler);
  const bool mayBecomeFree = terminateOtherAgents() > 0;
  const bool isFree = acquireSingleInstanceLock();
  if (isFree || !mayBecomeFree) return decide(isFree);
  triesLeft = static_cast<int>(kLongestWait / kRetryInterval);
  retries = dependencies.mainThread.repeatEvery(kRetryInterval, [this] { tryAgain(); });
}

void InstanceGuard::tryAgain() {
  const bool isFree = acquireSingleInstanceLock();
  if (isFree || --triesLeft <= 0) decide(isFree);
}

void InstanceGuard::decide(bool mayRun) {
  const auto decided = std::exchange(onDecision, nullptr);
  stopWaiting();
  if (decided) decided(mayRun);
}

void InstanceGuard::stopWaiting() {
  retries.reset();
  onDecision = nullptr;
}

std::size_t InstanceGuard::terminateOtherAgents() {
  std::size_t asked = 0;
  const auto own = dependencies.application.processIdentifier();
  const auto running = dependencies.workspace.runningApplications();
  for (const auto identifier : kAgentBundleIdentifiers) {
    for (const auto& application : running) {
      if (application.bundleIdentifier != identifier || application.processIdentifier == own) continue;
      if (dependencies.workspace.terminate(application.processIdentifier)) ++asked;
    }
  }
  return asked;
}

bool InstanceGuard::acquireSingleInstanceLock() {
  auto result = dependencies.lockFiles.acquire(kInstanceLockFile);
  if (result.outcome == platform::LockOutcome::acquired) instanceLockFileDescriptor = std::move(result.lock);
  return result.outcome != platform::LockOutcome::heldElsewhere;
}

void InstanceGuard::releaseSingleInstanceLock() { instanceLockFileDescriptor.reset(); }

}  // namespace quillard
