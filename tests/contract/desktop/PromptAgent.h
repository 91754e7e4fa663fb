#pragma once

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/ApprovalSuppressionStore.h"
#include "click/ClickExecutor.h"
#include "click/DialogFocusResolver.h"
#include "contract/desktop/DesktopBinding.h"
#include "detection/DialogDetector.h"
#include "detection/StableIDs.h"

namespace quillard::test {

// The agent's eyes and hands over one binding.
class PromptAgent {
 public:
  // `supplement`: what the desktop adds to the rules. Empty: they hold to the letter.
  explicit PromptAgent(DesktopBinding& binding, const platform::PromptSupplement& supplement = {})
      : binding(binding), supplement(supplement) {}

  // What two scans in a row have seen.
  std::vector<PendingApproval> scan() {
    (void)detector.scan();
    return detector.scan().approvals;
  }

  // The same, of the prompts with this title: waits for one.
  std::vector<PendingApproval> scan(const std::string& title) {
    std::vector<PendingApproval> found;
    const bool isFound = binding.eventually([&] {
      found = scan();
      std::erase_if(found, [&](const PendingApproval& approval) { return approval.windowTitle != title; });
      return !found.empty();
    });
    EXPECT_TRUE(isFound) << title;
    return found;
  }

  std::optional<ClickError> press(const PendingApproval& approval, const std::string& label) {
    // A busy program may miss a time-out, as it may for a person, who is told so and decides once more.
    constexpr int kAttempts = 10;
    auto resolution = resolve(approval, label);
    for (int attempt = 1; attempt < kAttempts && resolution.outcome == PromptResolution::Outcome::unknown; ++attempt)
      resolution = resolve(approval, label);
    const auto button = resolution.button;
    if (!button) return ClickError::buttonNotFound;
    auto prompt = approval;
    prompt.window = button->promptWindow.element;
    return ClickExecutor::click(*button, {binding.accessibility(), binding.syntheticEvents(), binding.clock()},
                                {.presence = [&] { return detector.presenceOf(prompt, button->promptWindow); },
                                 .refreshedButton = [&] { return resolve(prompt, label); }});
  }

  // As ApprovalClicker does it.
  PromptResolution resolve(const PendingApproval& approval, const std::string& label) {
    const auto sleep = [this](Seconds duration) {
      binding.clock().sleep(duration);
      return true;
    };
    return resolver.focusAndResolve(approval, label, sleep);
  }

  DesktopBinding& binding;
  const platform::PromptSupplement supplement;
  ApprovalSuppressionStore suppressionStore{binding.userDefaults()};
  StableIDs stableIDs{binding.random()};
  DialogDetector detector{1,
                          suppressionStore,
                          {binding.accessibility(), binding.workspace(), binding.windowList(), binding.clock(),
                           binding.environment(), binding.console(), stableIDs, supplement}};
  DialogFocusResolver resolver{detector, binding.accessibility(), binding.workspace()};
};

}  // namespace quillard::test
