// Every recorded and every sample window is judged as a person judges it, on Linux.

#include <algorithm>
#include <cstdio>
#include <set>

#include <gtest/gtest.h>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/Text.h"
#include "golden/VerdictCount.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

namespace quillard {
namespace {

using golden::CountedWindow;
using golden::Kind;

const std::vector<CountedWindow>& allWindows() {
  static const std::vector<CountedWindow> all = [] {
    auto windows = golden::countRecorded(linuxPromptSupplement());
    for (auto& sample : golden::countSamples(linuxPromptSupplement())) windows.push_back(std::move(sample));
    return windows;
  }();
  return all;
}

TEST(JudgedWindows, AreJudgedAsAPersonJudgesThem) {
  for (const auto& each : allWindows()) {
    EXPECT_EQ(each.isRight(), !each.window.knownMistake)
        << each.window.name << " is a " << nameOf(each.window.kind) << ", and " << each.sign() << " decided.";
  }
}

TEST(JudgedWindows, AreThere) {
  for (const auto& each : allWindows()) EXPECT_FALSE(each.judgement.diagnosis.windows.empty()) << each.window.name;
}

TEST(JudgedWindows, WithASecretCanOnlyBeDeniedFromAfar) {
  int secrets = 0;
  for (const auto& each : allWindows()) {
    if (each.window.kind != Kind::secret || !each.isTaken()) continue;
    EXPECT_TRUE(each.isSecretMarked()) << each.window.name;
    ++secrets;
  }
  EXPECT_GE(secrets, 10);
}

TEST(JudgedWindows, RecommendNothingThatDestroysOrGrantsForEver) {
  for (const auto& each : allWindows()) {
    EXPECT_FALSE(each.recommendsHazard()) << each.window.name << ": " << ::testing::PrintToString(each.recommended());
    for (const auto& prompt : each.judgement.prompts) {
      EXPECT_FALSE(prompt.recommendedButtonLabel && prompt.requiresDirectAccess) << each.window.name;
      EXPECT_NE(prompt.recommendedButtonLabel, "Always Allow");
    }
  }
}

TEST(JudgedWindows, RecommendWhatLosesNothing) {
  const auto found = std::find_if(allWindows().begin(), allWindows().end(), [](const CountedWindow& each) {
    return each.window.name == "kdialog-yes-no-cancel";  // "Save the document?"
  });
  ASSERT_NE(found, allWindows().end());
  EXPECT_EQ(found->recommended(), std::set<std::string>{"Yes"});
}

// The marks are of buttons that are there, and of every window.
TEST(JudgedWindows, HaveAMarkOfWhatIsHazardous) {
  std::size_t marked = 0;
  for (const auto& each : allWindows()) {
    ASSERT_TRUE(each.window.hazards) << each.window.name;
    std::set<std::string> labels;
    for (const auto& window : each.judgement.diagnosis.windows) {
      if (window.snapshot) labels.insert(window.snapshot->buttonLabels.begin(), window.snapshot->buttonLabels.end());
    }
    for (const auto& hazard : *each.window.hazards) {
      EXPECT_TRUE(labels.contains(hazard)) << each.window.name << " has no button " << hazard;
      ++marked;
    }
  }
  EXPECT_GE(marked, 29U);
}

TEST(JudgedWindows, WithoutAMarkOfWhatIsHazardousMayHaveNothingRecommended) {
  CountedWindow each{.window = {.name = "portal"}, .judgement = {}};
  each.judgement.prompts.push_back({.recommendedButtonLabel = "Allow"});
  EXPECT_TRUE(each.recommendsHazard());
  each.window.hazards.emplace();
  EXPECT_FALSE(each.recommendsHazard());
  each.window.hazards->push_back("Allow");
  EXPECT_TRUE(each.recommendsHazard());
}

TEST(JudgedWindows, CanBeGrantedFromAfarOnlyIfEachButtonIsUnderstood) {
  const auto named = [&](const std::string& name) {
    return std::find_if(allWindows().begin(), allWindows().end(),
                        [&](const CountedWindow& each) { return each.window.name == name; });
  };
  for (const std::string name : {"unknown-words", "alert-unknown-words"}) {
    const auto found = named(name);
    ASSERT_NE(found, allWindows().end());
    ASSERT_EQ(found->judgement.prompts.size(), 1U) << name;
    EXPECT_TRUE(found->judgement.prompts.front().requiresDirectAccess) << name;
  }
  for (const std::string name : {"portal-access", "writer-unsaved", "licence"}) {
    ASSERT_EQ(named(name)->judgement.prompts.size(), 1U) << name;
    EXPECT_FALSE(named(name)->judgement.prompts.front().requiresDirectAccess) << name;
  }
}

TEST(JudgedWindows, SayNothingTwice) {
  for (const auto& each : allWindows()) {
    for (const auto& prompt : each.judgement.prompts) {
      const auto& lines = prompt.messageLines;
      if (lines.size() > 1) {
        EXPECT_NE(text::normalized(lines.front()), text::normalized(prompt.windowTitle));
      }
      const bool namesField = std::find(lines.begin(), lines.end(), "Password:") != lines.end();
      EXPECT_FALSE(namesField && std::find(lines.begin(), lines.end(), "Password") != lines.end()) << each.window.name;
    }
  }
}

// So that whoever changes a rule sees what it costs without asking.
TEST(JudgedWindows, AreCounted) {
  const auto recorded = golden::countRecorded(linuxPromptSupplement());
  const auto table = golden::tableText("Recorded windows", recorded);
  std::printf("%s", table.c_str());
  EXPECT_GE(recorded.size(), 68U);
}

}  // namespace
}  // namespace quillard
