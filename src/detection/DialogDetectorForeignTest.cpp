#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "detection/DialogDetector.h"
#include "detection/DirectAccess.h"
#include "support/DetectionWorld.h"

// Prompts in other languages than English, where the system tells what their texts mean.
namespace quillard {
namespace {

using platform::SourceText;
using platform::simulated::DialogSpec;
using samples::DetectionWorld;
using samples::labels;

using Lines = std::vector<std::string>;

class ForeignPrompt : public testing::Test, protected DetectionWorld {
 protected:
  ForeignPrompt() {
    world.translations().teach("Abbrechen", SourceText{"Cancel", 3, 3});
    world.translations().teach("Erlauben", "Allow");
    world.translations().teach("Löschen", "Delete");
    world.translations().teach("Passwort:", "Password:");
  }

  PendingApproval onlyPrompt() {
    const auto approvals = scanTwice();
    EXPECT_EQ(approvals.size(), 1U);
    return approvals.empty() ? PendingApproval{} : approvals.front();
  }
};

DialogSpec camera() {
  return {.title = "Kamera", .lines = {"Karten möchte die Kamera nutzen."}, .buttons = {"Abbrechen", "Erlauben"}};
}

TEST_F(ForeignPrompt, IsFoundByTheMeaningOfItsLabels) {
  desktop().open(camera());
  EXPECT_EQ(onlyPrompt().windowTitle, "Kamera");
}

TEST_F(ForeignPrompt, IsShownIdentifiedAndRecommendedAsItStands) {
  desktop().open(camera());
  const auto prompt = onlyPrompt();
  EXPECT_EQ(prompt.messageLines, Lines{"Karten möchte die Kamera nutzen."});
  EXPECT_EQ(prompt.reason, "Karten möchte die Kamera nutzen.");
  EXPECT_EQ(labels(prompt), (Lines{"Erlauben", "Abbrechen"}));
  EXPECT_EQ(prompt.recommendedButtonLabel, std::nullopt) << "What it asks is not understood.";
  world.translations().teach("Kamera", "Camera");
  world.translations().teach("Karten möchte die Kamera nutzen.", "Maps would like to use the camera.");
  const auto understood = onlyPrompt();
  EXPECT_EQ(understood.recommendedButtonLabel, "Erlauben");
  EXPECT_EQ(understood.id, prompt.id) << "What is known of a text is no part of what it is.";
}

TEST_F(ForeignPrompt, IsPressedAsItStands) {
  desktop().open(camera());
  const auto prompt = onlyPrompt();
  const auto button = detector.resolveCurrentButton(prompt, "Abbrechen");
  ASSERT_TRUE(button);
  EXPECT_EQ(button->button.label, "Abbrechen");
  EXPECT_FALSE(detector.resolveCurrentButton(prompt, "Cancel"));
}

TEST_F(ForeignPrompt, ThatAsksForAPasswordInWordsRequiresDirectAccessAndMayBeDismissed) {
  desktop().open({.title = "Anmeldung", .lines = {"Passwort:"}, .buttons = {"Abbrechen", "Erlauben"}});
  const auto prompt = onlyPrompt();
  EXPECT_TRUE(prompt.requiresDirectAccess);
  EXPECT_EQ(prompt.directAccessReason, secretRequiredReason());
  EXPECT_FALSE(requiresDirectAccessFor(prompt, "Abbrechen"));
  EXPECT_TRUE(requiresDirectAccessFor(prompt, "Erlauben"));
  const auto button = detector.resolveCurrentButton(prompt, "Abbrechen");
  ASSERT_TRUE(button);
  EXPECT_TRUE(button->button.isKnownDismissal);
}

TEST_F(ForeignPrompt, NeverLosesTheMarkThatItsOwnWordsGiveIt) {
  world.translations().teach("Enter the password.", "Have a nice day.");
  desktop().open({.title = "Anmeldung", .lines = {"Enter the password."}, .buttons = {"Abbrechen", "Erlauben"}});
  EXPECT_EQ(onlyPrompt().directAccessReason, secretRequiredReason());
}

TEST_F(ForeignPrompt, OfAHostileProgramHasNoSafeButtonByItsOwnCatalogue) {
  world.translations().teach("Freigeben", SourceText{"Cancel", 100, 0});
  desktop().open({.title = "Anmeldung", .lines = {"Passwort:"}, .buttons = {"Freigeben", "Löschen"}});
  EXPECT_TRUE(requiresDirectAccessFor(onlyPrompt(), "Freigeben"));
}

TEST_F(ForeignPrompt, WithALabelThatRefusesAndGrantsIsNotFoundByIt) {
  world.translations().teach("ارفض", SourceText{"Deny", 3, 3});
  world.translations().teach("ارفض", SourceText{"Discard", 2, 2});
  desktop().open({.title = "x", .lines = {"y"}, .buttons = {"ارفض", "Erlauben"}});
  EXPECT_TRUE(scanTwice().empty());
}

TEST_F(ForeignPrompt, IsAskedForInEnglishAsBefore) {
  desktop().open({.title = "Erase disk?", .lines = {"Are you sure?"}, .buttons = {"Cancel", "Erase"}});
  EXPECT_EQ(onlyPrompt().windowTitle, "Erase disk?");
  EXPECT_TRUE(world.translations().requests().empty());
}

// The press finds its button on the main thread.
TEST_F(ForeignPrompt, IsPressedByWhatAScanHasFound) {
  desktop().open(camera());
  const auto prompt = onlyPrompt();
  const auto label = prompt.buttons.at(0).label;
  const auto before = world.translations().requests().size();
  EXPECT_EQ(detector.resolve(prompt, label).outcome, PromptResolution::Outcome::found);
  const auto& requests = world.translations().requests();
  ASSERT_GT(requests.size(), before);
  for (std::size_t i = before; i < requests.size(); ++i) {
    EXPECT_EQ(requests[i].lookup, platform::TranslationLookup::fromMemory);
  }
}

// Could not look is never "is not there".
TEST_F(ForeignPrompt, IsNotGoneWhenItsMeaningCannotBeLookedUp) {
  desktop().open(camera());
  const auto prompt = onlyPrompt();
  world.translations().forget();
  world.translations().setComplete(false);
  EXPECT_TRUE(detector.presenceOf(prompt).isUnknown());
  const auto outcome = detector.scan();
  EXPECT_TRUE(outcome.approvals.empty());
  EXPECT_EQ(outcome.unreadProcesses, std::vector{prompt.processIdentifier});
  world.translations().setComplete(true);
  EXPECT_TRUE(detector.scan().isWhole()) << "Then it is known to mean nothing.";
}

TEST_F(ForeignPrompt, NamesItsProgramOnceAsUnreadHoweverManyCannotBeLookedUp) {
  const auto program = desktop().launch({.name = "Karten"});
  desktop().open(program, camera());
  auto other = camera();
  other.title = "Mikrofon";
  desktop().open(program, other);
  EXPECT_EQ(scanTwice().size(), 2U);
  world.translations().forget();
  world.translations().setComplete(false);
  EXPECT_EQ(detector.scan().unreadProcesses, std::vector{program.processIdentifier});
  desktop().hang(program);
  EXPECT_EQ(detector.scan().unreadProcesses, std::vector{program.processIdentifier});
}

}  // namespace
}  // namespace quillard
