#include <algorithm>

#include "contract/desktop/DesktopContract.h"
#include "contract/desktop/PromptAgent.h"

namespace quillard::test {
namespace {

std::vector<std::string> sortedLabels(const PendingApproval& approval) {
  std::vector<std::string> labels;
  for (const auto& button : approval.buttons) labels.push_back(button.label);
  std::sort(labels.begin(), labels.end());
  return labels;
}

TEST_P(PromptContract, APromptIsReadWithItsTextsAndButtons) {
  const auto program = binding->show({.title = "Camera", .lines = {"Let it film you?", "You can change that later."}});
  PromptAgent agent{*binding};
  const auto prompts = agent.scan("Camera");
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_EQ(prompts[0].processIdentifier, program->processIdentifier());
  auto lines = prompts[0].messageLines;
  std::erase(lines, "Camera");  // Some windows draw their title bar themselves.
  EXPECT_EQ(lines, (std::vector<std::string>{"Let it film you?", "You can change that later."}));
  EXPECT_EQ(sortedLabels(prompts[0]), (std::vector<std::string>{"Allow", "Don't Allow"}));
  EXPECT_EQ(prompts[0].recommendedButtonLabel, "Allow");
  EXPECT_FALSE(prompts[0].requiresDirectAccess);
}

TEST_P(PromptContract, AScanAfterAScanSeesTheSamePrompt) {
  const auto program = binding->show({.title = "Steady"});
  PromptAgent agent{*binding};
  const auto once = agent.scan("Steady");
  const auto again = agent.scan("Steady");
  ASSERT_EQ(once.size(), 1U);
  ASSERT_EQ(again.size(), 1U);
  EXPECT_EQ(once[0].id, again[0].id);
}

TEST_P(PromptContract, APromptWithASecretFieldWantsDirectAccess) {
  const auto program = binding->show(
      {.title = "Sign in", .lines = {"Who are you?"}, .buttons = {"Cancel", "OK"}, .hasSecureTextField = true});
  PromptAgent agent{*binding};
  const auto prompts = agent.scan("Sign in");
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_TRUE(prompts[0].requiresDirectAccess);
  for (const auto& line : prompts[0].messageLines) EXPECT_EQ(line.find("hunter2"), std::string::npos) << line;
}

TEST_P(PromptContract, PressesExactlyTheButtonThatWasChosenAndProvesThatThePromptWent) {
  for (const std::string label : {"Don’t Allow", "Don't Allow", "Allow", "Always Allow"}) {
    const auto program =
        binding->show({.title = "Choose", .buttons = {"Don’t Allow", "Don't Allow", "Allow", "Always Allow"}});
    PromptAgent agent{*binding};
    const auto prompts = agent.scan("Choose");
    ASSERT_EQ(prompts.size(), 1U);
    EXPECT_TRUE(agent.detector.isPromptStillPresent(prompts[0]));
    EXPECT_EQ(agent.press(prompts[0], label), std::nullopt) << label;
    EXPECT_TRUE(binding->eventually([&] { return !program->presses().empty(); }));
    EXPECT_EQ(program->presses(), std::vector<std::string>{label});
    EXPECT_FALSE(agent.detector.isPromptStillPresent(prompts[0]));
  }
}

// Two prompts that are alike down to their places, as all are where these are not known, are listed one after the
// other.
TEST_P(PromptContract, OfTwoIdenticalPromptsTheOneThatWasChosenIsPressed) {
  const auto first = binding->show({.title = "Twin", .at = Point{100, 100}});
  const auto second = binding->show({.title = "Twin", .at = Point{600, 500}});
  PromptAgent agent{*binding};
  std::vector<PendingApproval> prompts;
  if (lacks(platform::DesktopCapability::windowList)) {
    for (std::size_t pressed = 0; pressed < 2; ++pressed) {
      prompts = agent.scan("Twin");
      ASSERT_EQ(prompts.size(), 1U);
      EXPECT_EQ(agent.press(prompts[0], "Allow"), std::nullopt);
      EXPECT_TRUE(
          binding->eventually([&] { return first->presses().size() + second->presses().size() == pressed + 1; }));
    }
    EXPECT_EQ(first->presses(), second->presses());
    return;
  }
  ASSERT_TRUE(binding->eventually([&] {
    prompts = agent.scan("Twin");
    return prompts.size() == 2;
  }));
  for (const auto& prompt : prompts) {
    const auto& own = prompt.processIdentifier == first->processIdentifier() ? first : second;
    EXPECT_EQ(agent.press(prompt, "Allow"), std::nullopt);
    EXPECT_TRUE(binding->eventually([&] { return own->presses() == std::vector<std::string>{"Allow"}; }));
  }
}

TEST_P(PromptContract, ASuccessorOfAPressedPromptIsNotPressed) {
  const auto program = binding->show({.title = "First", .successor = "Second"});
  PromptAgent agent{*binding};
  const auto prompts = agent.scan("First");
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_EQ(agent.press(prompts[0], "Allow"), std::nullopt);
  EXPECT_EQ(agent.scan("Second").size(), 1U);
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Allow"});
}

TEST_P(PromptContract, APromptOfAProgramThatDoesNotAnswerIsNotReportedAsGone) {
  const auto program = binding->show({.title = "Stopped"});
  PromptAgent agent{*binding};
  const auto prompts = agent.scan("Stopped");
  ASSERT_EQ(prompts.size(), 1U);
  program->stop();
  EXPECT_TRUE(agent.detector.isPromptStillPresent(prompts[0]));
  EXPECT_FALSE(agent.resolver.resolveCurrentButton(prompts[0], "Allow"));
  program->goOn();
  EXPECT_TRUE(
      binding->eventually([&] { return agent.resolver.resolveCurrentButton(prompts[0], "Allow").has_value(); }));
}

}  // namespace
}  // namespace quillard::test
