#pragma once

#include <string>
#include <vector>

#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::samples {

// A busy desktop: 60 applications with 200 windows, of which exactly five are prompts. The others are what prompts are
// mistaken for: documents with toolbars, settings that speak of permission, palettes of buttons, dialogs that only
// tell. Which application has how many windows, and where, follows from the world's seed.
struct SurveyDesktop {
  static constexpr int kApplications = 60;
  static constexpr int kWindows = 200;

  explicit SurveyDesktop(platform::simulated::SimulatedWorld& world);

  std::vector<std::string> promptTitles;  // Sorted.
  int applications = 0;
  int windows = 0;
};

}  // namespace quillard::samples
