#include <algorithm>

#include <gtest/gtest.h>

#include "click/ClickExecutor.h"
#include "support/ClickWorld.h"

// What a click says when it cannot see, or sees another prompt: exactly what is known, and no press in doubt.
namespace quillard {
namespace {

using platform::AXError;
using platform::simulated::AXRequest;
using platform::simulated::AXRequestKind;
using samples::ClickWorld;
namespace ax = platform::ax;

using Lines = std::vector<std::string>;

class ClickOutcomeTest : public testing::Test, protected ClickWorld {
 protected:
  // Does `more` with the desktop when the approved button is pressed, and answers as a silent program does.
  DialogSpec questionThat(const std::function<void()>& more) {
    return question(PressEffect::runs([more](auto&, NodeHandle) { more(); }, AXError::cannotComplete));
  }

  // Requests that would press something or prepare it, other than the first.
  Outcome clickAndCountTries() {
    desktop().setRequestHook([this](const AXRequest& request) {
      if (request.kind == AXRequestKind::performAction || request.kind == AXRequestKind::setAttribute) ++tries;
    });
    const auto outcome = click();
    desktop().setRequestHook({});
    tries += static_cast<int>(events.posted().size());
    return outcome;
  }

  void askForSecret() {
    desktop().addChild(prompt, {.role = "AXTextField",
                                .subrole = "AXSecureTextField",
                                .title = "App wants to see your files.",
                                .frame = Rect{120, 150, 100, 20}});
  }

  static Seconds ms(double milliseconds) { return Seconds{milliseconds / 1000}; }

  int tries = 0;
};

// ---- Silence after a press

TEST_F(ClickOutcomeTest, AWindowThatClosedBeforeItsProgramFellSilentHasGone) {
  approve(questionThat([this] {
            desktop().close(prompt);
            desktop().hang(application);
          }),
          "Deny");
  EXPECT_EQ(clickAndCountTries(), std::nullopt);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_EQ(tries, 1);
}

TEST_F(ClickOutcomeTest, AWindowThatClosesWhileItsProgramIsSilentHasGone) {
  approve(questionThat([this] {
    desktop().hang(application);
    desktop().later(Seconds{3}, [this] { desktop().close(prompt); });
  }));
  EXPECT_EQ(clickAndCountTries(), std::nullopt);
  EXPECT_EQ(tries, 1);
}

TEST_F(ClickOutcomeTest, SilenceUntilTheEndOfTheScheduleIsReportedAndNothingElseIsTried) {
  approve(questionThat([this] { desktop().hang(application); }));
  EXPECT_EQ(clickAndCountTries(), ClickError::programStoppedAnswering) << "the window server still lists it";
  EXPECT_EQ(took, ms(4250 + 5 * 200));
  EXPECT_EQ(tries, 1);
  EXPECT_EQ(rightPresses, 1);
}

TEST_F(ClickOutcomeTest, SilenceAboutAWindowThatTheServerNeverListedIsNoSuccess) {
  prompt = desktop().open(application, question());
  desktop().close(prompt);
  auto dialog = questionThat([this] {
    desktop().close(prompt);
    desktop().hang(application);
  });
  approve(dialog);
  resolved->promptWindow.number.reset();
  EXPECT_EQ(clickAndCountTries(), ClickError::programStoppedAnswering);
  EXPECT_EQ(tries, 1);
}

TEST_F(ClickOutcomeTest, SilenceThatEndsIsDecidedByWhatIsReadThen) {
  for (const bool hasClosed : {true, false}) {
    ClickWorld other;
    other.approve(other.question(PressEffect::runs(
        [&](auto& desktop, NodeHandle) {
          desktop.hang(other.application);
          desktop.later(Seconds{3}, [&] {
            desktop.unhang(other.application);
            if (hasClosed) desktop.close(other.prompt);
          });
        },
        AXError::cannotComplete)));
    other.resolved->promptWindow.number.reset();
    const auto outcome = other.click();
    if (hasClosed) {
      EXPECT_EQ(outcome, std::nullopt);
      EXPECT_EQ(other.rightPresses, 1);
    } else {
      EXPECT_EQ(outcome, ClickError::programStoppedAnswering) << "it hung again at the second press";
      EXPECT_EQ(other.rightPresses, 2) << "the next path, since the prompt was read to be there";
    }
  }
}

TEST_F(ClickOutcomeTest, SilenceThatBeginsBetweenTwoPathsEndsTheClick) {
  approve(question(PressEffect::doesNothing()));
  desktop().later(ms(4300), [this] { desktop().hang(application); });
  EXPECT_EQ(click(), ClickError::programStoppedAnswering);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_TRUE(events.posted().empty());
  desktop().unhang(application);
  EXPECT_TRUE(isPromptPresent());
}

TEST_F(ClickOutcomeTest, ADesktopThatCannotBeReadAfterAPressIsReportedAsThat) {
  approve(question(PressEffect::runs([this](auto&, NodeHandle) {
    for (const auto name : {ax::kWindows, ax::kMainWindow, ax::kFocusedWindow}) {
      desktop().setAttributeError(application, name, AXError::cannotComplete);
    }
  })));
  EXPECT_EQ(clickAndCountTries(), ClickError::outcomeNotReadable);
  EXPECT_EQ(tries, 1);
  EXPECT_EQ(took, ms(4250));
}

TEST_F(ClickOutcomeTest, TheClosedWindowOfADesktopThatCannotBeReadHasGone) {
  approve(question(PressEffect::runs([this](auto&, NodeHandle) {
    desktop().close(prompt);
    for (const auto name : {ax::kWindows, ax::kMainWindow, ax::kFocusedWindow}) {
      desktop().setAttributeError(application, name, AXError::cannotComplete);
    }
  })));
  EXPECT_EQ(clickAndCountTries(), std::nullopt);
}

TEST_F(ClickOutcomeTest, APermissionThatWasWithdrawnAfterThePressIsNoSuccess) {
  approve(question(PressEffect::runs([this](auto&, NodeHandle) { desktop().setTrusted(false); })));
  EXPECT_EQ(clickAndCountTries(), ClickError::outcomeNotReadable);
  EXPECT_EQ(tries, 1);
}

// ---- Silence before a press

TEST_F(ClickOutcomeTest, APromptThatCannotBeReadIsPressedOnlyOnceItCan) {
  for (const double answersAfter : {100.0, 1700.0}) {  // Each check takes a time-out: the last one begins at 1.85 s.
    ClickWorld other;
    other.approve(other.question());
    other.desktop().hang(other.application);
    other.desktop().later(ms(answersAfter), [&other] { other.desktop().unhang(other.application); });
    EXPECT_EQ(other.click(), std::nullopt) << answersAfter;
    EXPECT_EQ(other.rightPresses, 1);
  }
}

TEST_F(ClickOutcomeTest, APromptThatStaysUnreadableForAScheduleIsNotPressed) {
  approve(question());
  desktop().hang(application, platform::simulated::LateActions::performedOnUnhang);
  desktop().later(ms(2060), [this] { desktop().unhang(application); });
  EXPECT_EQ(clickAndCountTries(), ClickError::promptNotReadable);
  EXPECT_EQ(tries, 0);
  EXPECT_EQ(took, ms(4 * 200 + 1250));
  EXPECT_TRUE(desktop().presses().empty());
}

TEST_F(ClickOutcomeTest, APromptThatWentWhileItCouldNotBeReadWasNotAnsweredHere) {
  approve(question());
  desktop().hang(application);
  desktop().later(ms(500), [this] {
    desktop().close(prompt);
    desktop().unhang(application);
  });
  EXPECT_EQ(clickAndCountTries(), ClickError::buttonNotFound);
  EXPECT_EQ(tries, 0);
}

// ---- A button that nobody could look for

TEST_F(ClickOutcomeTest, AButtonIsNotLostWhileNobodyCouldLookForIt) {
  approve(question(PressEffect::disappears()));
  unansweredSearches = 100;
  fakePresence = [] { return true; };
  EXPECT_EQ(click(), ClickError::outcomeNotReadable) << "It was pressed.";
  ClickWorld other;
  other.approve(other.question());
  other.desktop().close(other.button());
  other.unansweredSearches = 100;
  other.fakePresence = [] { return true; };
  EXPECT_EQ(other.click(), ClickError::promptNotReadable) << "Nothing was pressed.";
}

TEST_F(ClickOutcomeTest, AButtonIsLookedForAgainUntilSomebodyCouldLook) {
  approve(question(PressEffect::disappears()));
  unansweredSearches = 2;
  fakePresence = [] { return true; };
  fakeSearch = [] { return std::nullopt; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(searches, 3);
}

// ---- Events that go nowhere

// The prompt goes by itself just when a key was to be posted.
TEST_F(ClickOutcomeTest, AnEventThatWasNotPostedIsNoPress) {
  approve(question(PressEffect::fails(AXError::notImplemented)));
  events.setReachesProcesses(false);
  events.setReachesDesktop(false);
  fakePresence = [this] { return events.creations() == 0; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_GT(events.creations(), 0U);
}

// ---- Twins and successors

TEST_F(ClickOutcomeTest, OfTwoIdenticalPromptsOneIsPressedAndTheOtherStays) {
  for (const Rect place : {Rect{100, 100, 500, 200}, Rect{140, 140, 500, 200}}) {
    for (const bool opensOnPress : {false, true}) {
      ClickWorld other;
      NodeHandle twin;
      const auto openTwin = [&] {
        auto dialog = other.question();
        dialog.frame = place;
        twin = other.desktop().open(other.application, dialog);
      };
      other.approve(other.question(PressEffect::runs([&](auto& desktop, NodeHandle pressed) {
        desktop.close(*desktop.promptOf(pressed));
        if (opensOnPress) openTwin();
      })));
      if (!opensOnPress) openTwin();
      EXPECT_EQ(other.click(), std::nullopt);
      EXPECT_EQ(other.rightPresses, 1);
      EXPECT_EQ(other.wrongPresses, Lines{});
      EXPECT_EQ(other.desktop().presses().size(), 1U);
      EXPECT_TRUE(other.desktop().isOpen(twin));
    }
  }
}

TEST_F(ClickOutcomeTest, APromptThatWentBeforeThePressIsNotReplacedByItsTwin) {
  approve(question());
  const auto twin = desktop().open(application, question());
  desktop().close(prompt);
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_TRUE(desktop().presses().empty());
  EXPECT_TRUE(desktop().isOpen(twin));
}

TEST_F(ClickOutcomeTest, AButtonThatDiedIsNotReplacedByTheTwins) {
  approve(question(PressEffect::disappears()));
  auto dialog = question();
  dialog.frame = Rect{100, 400, 500, 200};
  const auto twin = desktop().open(application, dialog);
  fakePresence = [] { return true; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(searches, 1);
  EXPECT_FALSE(desktop().pressed(twin).has_value());
}

// ---- Direct access

TEST_F(ClickOutcomeTest, APromptThatAsksForASecretByNowIsNotPressed) {
  approve(question());
  askForSecret();
  EXPECT_EQ(clickAndCountTries(), ClickError::requiresDirectAccess);
  EXPECT_EQ(tries, 0);
}

TEST_F(ClickOutcomeTest, APromptThatAsksForASecretByNowMayBeDismissed) {
  approve(question(), "Deny");
  askForSecret();
  EXPECT_EQ(clickAndCountTries(), std::nullopt);
  EXPECT_EQ(rightPresses, 1);
}

TEST_F(ClickOutcomeTest, APromptThatAsksForASecretAfterThePressIsNotPressedAgain) {
  approve(question(PressEffect::runs([this](auto&, NodeHandle) { askForSecret(); })));
  EXPECT_EQ(clickAndCountTries(), ClickError::promptStillPresent);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_EQ(tries, 1);
}

}  // namespace
}  // namespace quillard
