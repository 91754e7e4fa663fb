// Windows of real programs, recorded, loaded into the simulated desktop and scanned by the real detector.
//
// trees/NAME.json is the recording; trees/NAME.txt is what the detector makes of it today by the rules that hold
// everywhere, and trees/NAME.linux.txt with what Linux adds to them. Golden files, which say what is, not what should
// be (that is in trees/verdicts.txt): a change that changes one is read and judged in the difference. The first kind
// changes for no rule of Linux.

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "platform/simulated/DesktopLoader.h"
#include "private-desktop/FileContents.h"
#include "recording/RecordedDesktopJson.h"
#include "support/DetectionWorld.h"
#include "support/GoldenFile.h"

namespace quillard {
namespace {

std::vector<std::string> recordedTrees() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(samples::goldenFolder() / "trees")) {
    if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Without what differs from run to run.
std::string recordText(const PendingApproval& approval) {
  Json json = toJson(approval);
  for (const auto* const member : {"id", "suppressionID", "detectedAt"}) json.erase(member);
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string verdictText(const WindowDiagnosis& window) {
  if (!window.snapshot) return "No verdict: the application did not answer.\n";
  const auto& snapshot = *window.snapshot;
  std::string text = snapshot.accepted ? "Verdict: a prompt.\n"
                                       : "Verdict: not a prompt. " + snapshot.rejectionReason.value_or("") + "\n";
  text += "Score: " + std::to_string(snapshot.promptScore) + "\nTitle: " + snapshot.title + "\nLines:\n";
  for (const auto& line : snapshot.messageLines) text += "  " + line + "\n";
  text += "Buttons:\n";
  for (const auto& label : snapshot.buttonLabels) text += "  " + label + "\n";
  return text;
}

std::string detectionText(DialogDetector& detector) {
  std::string text = "What the detector makes of this window today; a person may judge otherwise.\n\n";
  for (const auto& window : detector.diagnose().windows) {
    text += verdictText(window);
    if (!window.verdicts.empty()) text += "Rule: " + window.verdicts.front().sign + "\n";
  }
  text += "\nRecord:\n";
  (void)detector.scan();
  const auto prompts = detector.scan().approvals;
  for (const auto& prompt : prompts) text += recordText(prompt);
  return text + (prompts.empty() ? "none\n" : "");
}

class RecordedTree : public testing::TestWithParam<std::string> {};

TEST_P(RecordedTree, IsJudgedAsItsGoldenFileSays) {
  const auto recording = privatedesktop::fileContents(samples::goldenFolder() / "trees" / (GetParam() + ".json"));
  auto outcome = recording::readRecordedDesktop(recording);
  ASSERT_TRUE(std::holds_alternative<recording::RecordedDesktop>(outcome))
      << std::get<JsonError>(outcome).description();
  const auto& desktop = std::get<recording::RecordedDesktop>(outcome);
  EXPECT_EQ(recording::recordedDesktopText(desktop), recording) << "It is not as the agent writes it.";

  samples::DetectionWorld world;
  (void)platform::simulated::loadDesktop(desktop, world.desktop());
  const auto byWords = detectionText(world.detector);
  EXPECT_EQ(byWords, samples::goldenText("trees/" + GetParam() + ".txt", byWords));
  auto dependencies = world.dependencies;
  dependencies.supplement = linuxPromptSupplement();
  DialogDetector onLinux{samples::DetectionWorld::kOwnProcess, world.suppressionStore, dependencies};
  const auto detected = detectionText(onLinux);
  EXPECT_EQ(detected, samples::goldenText("trees/" + GetParam() + ".linux.txt", detected));
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Real, RecordedTree, testing::ValuesIn(recordedTrees()), testName);

}  // namespace
}  // namespace quillard
