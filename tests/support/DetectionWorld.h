#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "approvals/ApprovalSuppressionStore.h"
#include "detection/DialogDetector.h"
#include "detection/StableIDs.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::samples {

// A simulated desktop with a detector that reads it.
struct DetectionWorld {
  static constexpr std::int32_t kOwnProcess = 99;

  explicit DetectionWorld(std::uint64_t seed = 7) : world(platform::simulated::Seed{seed}) {}

  platform::simulated::SimulatedDesktop& desktop() { return world.desktop(); }

  // A second scan confirms what the first one met.
  std::vector<PendingApproval> scanTwice() {
    (void)detector.scan();
    return detector.scan().approvals;
  }

  platform::simulated::SimulatedWorld world;
  ApprovalSuppressionStore suppressionStore{world.userDefaults()};
  StableIDs stableIDs{world.random()};
  DetectorDependencies dependencies{world.accessibility(), world.workspace(), world.windowList(), world.time(),
                                    world.environment(),   world.console(),   stableIDs,          {},
                                    &world.translations()};
  DialogDetector detector{kOwnProcess, suppressionStore, dependencies};
};

inline std::vector<std::string> titles(const std::vector<PendingApproval>& approvals) {
  std::vector<std::string> titles;
  for (const auto& approval : approvals) titles.push_back(approval.windowTitle);
  return titles;
}

inline std::vector<std::string> labels(const PendingApproval& approval) {
  std::vector<std::string> labels;
  for (const auto& button : approval.buttons) labels.push_back(button.label);
  return labels;
}

}  // namespace quillard::samples
