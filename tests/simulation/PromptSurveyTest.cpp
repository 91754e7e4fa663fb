#include <algorithm>
#include <cstdio>

#include <gtest/gtest.h>

#include "simulation/SurveyDesktop.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using samples::DetectionWorld;
using samples::SurveyDesktop;

std::vector<std::string> sortedTitles(const std::vector<PendingApproval>& approvals) {
  auto titles = samples::titles(approvals);
  std::sort(titles.begin(), titles.end());
  return titles;
}

class PromptSurvey : public testing::TestWithParam<std::uint64_t> {};

TEST_P(PromptSurvey, FindsExactlyTheFivePromptsAmongTwoHundredWindowsFromTheSecondScanOn) {
  DetectionWorld world{GetParam()};
  const SurveyDesktop desktop{world.world};
  ASSERT_EQ(desktop.applications, 60);
  ASSERT_EQ(desktop.windows, 200);
  EXPECT_TRUE(world.detector.scan().approvals.empty());
  for (int scan = 2; scan <= 4; ++scan) {
    world.desktop().resetRoundTrips();
    EXPECT_EQ(sortedTitles(world.detector.scan().approvals), desktop.promptTitles);
    std::printf("Scan %d: %llu round trips for %d applications and %d windows.\n", scan,
                static_cast<unsigned long long>(world.desktop().roundTrips()), desktop.applications, desktop.windows);
  }
}

TEST_P(PromptSurvey, HungApplicationsCostOneWaitEachAndHideNoOtherPrompts) {
  DetectionWorld world{GetParam()};
  const SurveyDesktop desktop{world.world};
  (void)world.detector.scan();
  const auto withoutPrompts = [&] {
    std::vector<platform::simulated::ApplicationHandle> quiet;
    const auto prompts = world.detector.scan().approvals;
    for (const auto& application : world.world.workspace().runningApplications()) {
      const bool prompting = std::any_of(prompts.begin(), prompts.end(), [&](const PendingApproval& prompt) {
        return prompt.processIdentifier == application.processIdentifier;
      });
      if (!prompting) quiet.push_back({application.processIdentifier});
    }
    return quiet;
  }();
  for (std::size_t i = 0; i < 10; ++i) world.desktop().hang(withoutPrompts[i * 5]);
  const auto before = world.world.time().monotonicNow();
  EXPECT_EQ(sortedTitles(world.detector.scan().approvals), desktop.promptTitles);
  EXPECT_EQ(world.world.time().monotonicNow() - before, std::chrono::seconds(2)) << "ten times 0.2 s";
}

INSTANTIATE_TEST_SUITE_P(Seeds, PromptSurvey, testing::Values(1U, 2U, 3U, 20260301U));

}  // namespace
}  // namespace quillard
