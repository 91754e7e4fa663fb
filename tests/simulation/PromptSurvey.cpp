#include <cstdio>

#include "simulation/SurveyDesktop.h"
#include "support/DetectionWorld.h"

// Lets the detector look at a simulated desktop twice, and prints what it takes for prompts.
int main() {
  using namespace quillard;
  samples::DetectionWorld world;
  const samples::SurveyDesktop desktop{world.world};
  (void)world.detector.scan();
  world.desktop().resetRoundTrips();
  const auto prompts = world.detector.scan().approvals;
  for (const auto& prompt : prompts) {
    std::printf("%s\n", prompt.displayTitle().c_str());
    for (const auto& line : prompt.messageLines) std::printf("    %s\n", line.c_str());
    std::printf("    Buttons:");
    for (const auto& button : prompt.buttons) std::printf(" [%s]", button.label.c_str());
    std::printf("%s\n\n", prompt.requiresDirectAccess ? "  (may be denied from afar, not approved)" : "");
  }
  std::printf("%zu prompts found; the scan took %llu round trips to other programs.\n", prompts.size(),
              static_cast<unsigned long long>(world.desktop().roundTrips()));
  return prompts.size() == desktop.promptTitles.size() ? 0 : 1;
}
