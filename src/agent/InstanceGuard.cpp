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

void InstanceGuard::terminateOtherAgents() {
  const auto own = dependencies.application.processIdentifier();
  const auto running = dependencies.workspace.runningApplications();
  for (const auto identifier : kAgentBundleIdentifiers) {
    for (const auto& application : running) {
      if (application.bundleIdentifier != identifier || application.processIdentifier == own) continue;
      dependencies.workspace.terminate(application.processIdentifier);
    }
  }
}

bool InstanceGuard::acquireSingleInstanceLock() {
  auto result = dependencies.lockFiles.acquire(kInstanceLockFile);
  if (result.outcome == platform::LockOutcome::acquired) instanceLockFileDescriptor = std::move(result.lock);
  return result.outcome != platform::LockOutcome::heldElsewhere;
}

void InstanceGuard::releaseSingleInstanceLock() { instanceLockFileDescriptor.reset(); }

}  // namespace quillard
