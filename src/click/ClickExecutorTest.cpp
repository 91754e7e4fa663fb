#include <array>

#include <gtest/gtest.h>

#include "support/ClickExecutorFixture.h"

namespace quillard {
namespace {

using platform::AXError;
using platform::KeyCode;
using platform::MouseEventType;
using platform::simulated::AXRequest;
using platform::simulated::AXRequestKind;
using platform::simulated::NodeHandle;
using platform::simulated::PostedEvent;
namespace ax = platform::ax;

TEST(ClickError, DescribesEachErrorToTheUser) {
  EXPECT_EQ(localizedDescription(ClickError::unableToCreateEvent), "Unable to create a synthetic click event.");
  EXPECT_EQ(localizedDescription(ClickError::pendingApprovalNotFound), "The approval request is no longer pending.");
  EXPECT_EQ(localizedDescription(ClickError::buttonNotFound), "The approved button no longer exists on screen.");
  EXPECT_EQ(localizedDescription(ClickError::promptStillPresent),
            "The dialog was still visible after Quillard tried every safe click path.");
  EXPECT_EQ(localizedDescription(ClickError::requiresDirectAccess), "This prompt requires direct Mac access.");
  EXPECT_EQ(localizedDescription(ClickError::promptNotReadable),
            "The button was not pressed, since the dialog could not be read.");
  EXPECT_EQ(localizedDescription(ClickError::programStoppedAnswering),
            "The button was pressed, but the program has stopped answering.");
  EXPECT_EQ(localizedDescription(ClickError::outcomeNotReadable),
            "The button was pressed, but it could not be read whether the dialog has gone.");
}

// ---- All paths

TEST_F(ClickExecutorTest, APressThatClosesThePromptIsAllThatIsDone) {
  approve(question());
  EXPECT_EQ(clickAndTrace(), std::nullopt);
  EXPECT_EQ(trace(), Lines{"0.000 AXPress Allow"});
  EXPECT_EQ(took, ms(150));
  EXPECT_EQ(rightPresses, 1);
}

TEST_F(ClickExecutorTest, TriesEveryPathInItsOrderAndAtItsTimeThenGivesUp) {
  approve(question(PressEffect::doesNothing()));
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  EXPECT_EQ(
      trace(),
      (Lines{"0.000 AXPress Allow",           "4.250 AXFrontmost application", "4.250 AXFocusedWindow application",
             "4.250 AXMinimized window",      "4.250 AXRaise window",          "4.250 AXMain window",
             "4.250 AXFocused window",        "4.350 AXPress Allow",           "5.600 AXFocused Allow",
             "5.680 space down to process",   "5.760 space up to process",     "7.010 AXFocused Allow",
             "7.090 space down to process",   "7.170 space up to process",     "8.420 AXConfirm window",
             "9.670 AXPress Allow",           "10.920 mouse moved to process", "11.000 mouse down to process",
             "11.080 mouse up to process",    "12.330 mouse moved to desktop", "12.410 mouse down to desktop",
             "12.490 mouse up to desktop",    "13.740 return down to process", "13.820 return up to process",
             "15.070 return down to desktop", "15.150 return up to desktop"}));
  EXPECT_EQ(took, ms(16400));
  EXPECT_EQ(rightPresses, 10);
  EXPECT_EQ(wrongPresses, Lines{});
}

TEST_F(ClickExecutorTest, ACancelLabelTakesTheWaysThatCancel) {
  approve(question(PressEffect::doesNothing()), "Deny");
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  const auto lines = trace();
  const auto has = [&](const std::string& line) { return std::find(lines.begin(), lines.end(), line) != lines.end(); };
  EXPECT_TRUE(has("8.420 AXCancel window"));
  EXPECT_TRUE(has("13.740 escape down to process"));
  EXPECT_TRUE(has("15.070 escape down to desktop"));
  EXPECT_EQ(keysPosted(KeyCode::returnKey), 0U);
  EXPECT_EQ(rightPresses, 10);
  EXPECT_EQ(wrongPresses, Lines{});
}

TEST_F(ClickExecutorTest, WhereNothingCanBePostedToTheDesktopOnlyTheProcessGetsEvents) {
  approve(question(PressEffect::doesNothing()));
  events.setReachesDesktop(false);
  EXPECT_EQ(click(), ClickError::promptStillPresent);
  EXPECT_FALSE(events.posted().empty());
  EXPECT_TRUE(std::all_of(events.posted().begin(), events.posted().end(),
                          [](const auto& event) { return event.processIdentifier.has_value(); }));
}

TEST_F(ClickExecutorTest, ALabelThatNeitherConfirmsNorCancelsNeverGetsReturnOrEscape) {
  approve({.title = "Access?",
           .lines = {"Turn it on."},
           .buttons = {"Cancel", "Open Settings"},
           .effect = PressEffect::doesNothing(),
           .defaultButton = "Open Settings",
           .cancelButton = "Cancel",
           .actions = {"AXRaise", "AXConfirm", "AXCancel"}},
          "Open Settings");
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  EXPECT_EQ(keysPosted(KeyCode::returnKey) + keysPosted(KeyCode::escape), 0U);
  EXPECT_EQ(keysPosted(KeyCode::space), 2U);
  EXPECT_EQ(trace().back(), "8.580 mouse up to desktop");
  EXPECT_FALSE(desktop().pressed(prompt) == "Cancel");
}

// Each path alone may be the one that helps: nothing comes after it, and the click says so.
TEST_F(ClickExecutorTest, StopsAtThePathThatHelps) {
  const std::pair<int, double> pathsByPress[] = {{1, 150},  {2, 4500},  {3, 5910},  {4, 7320},  {5, 8570},
                                                 {6, 9820}, {7, 11230}, {8, 12640}, {9, 13970}, {10, 15300}};
  for (const auto& [helpful, milliseconds] : pathsByPress) {
    ClickWorld other;
    int count = 0;
    other.approve(other.question(PressEffect::runs([&, n = helpful](auto& desktop, NodeHandle pressed) {
      if (++count == n) desktop.close(*desktop.promptOf(pressed));
    })));
    EXPECT_EQ(other.click(), std::nullopt) << helpful;
    EXPECT_EQ(other.rightPresses, helpful);
    EXPECT_EQ(other.wrongPresses, Lines{});
    EXPECT_EQ(std::llround(other.took.count() * 1000), std::llround(milliseconds)) << helpful;
  }
}

// ---- Waiting

TEST_F(ClickExecutorTest, APromptThatClosesLaterIsGoneAtTheNextCheckOfTheSchedule) {
  const std::pair<double, double> closesAndEnds[] = {{149, 150},   {151, 500},   {200, 500},   {499, 500},
                                                     {501, 1250},  {1000, 1250}, {1249, 1250}, {1251, 2500},
                                                     {2499, 2500}, {2501, 4250}, {4000, 4250}, {4249, 4250}};
  for (const auto& [closes, ends] : closesAndEnds) {
    ClickWorld other;
    other.approve(other.question(PressEffect::closesAfter(ms(closes))));
    EXPECT_EQ(other.click(), std::nullopt);
    EXPECT_EQ(other.took, ms(ends)) << closes;
    EXPECT_EQ(other.rightPresses, 1) << closes;
    EXPECT_TRUE(other.events.posted().empty());
  }
}

TEST_F(ClickExecutorTest, APromptThatClosesAfterTheWaitIsGoneBeforeItIsPressedAgain) {
  approve(question(PressEffect::closesAfter(ms(4251))));
  EXPECT_EQ(click(), std::nullopt);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_EQ(took, ms(4350)) << "while its window is prepared";
}

TEST_F(ClickExecutorTest, SendsNoEventWhereOnlyItsBindingMayMoveTheFocus) {
  approve(question(PressEffect::doesNothing()));
  desktop().setAttributeError(button(), ax::kFocused, AXError::actionUnsupported);
  EXPECT_EQ(click(), ClickError::promptStillPresent);
  EXPECT_TRUE(events.posted().empty());
}

TEST_F(ClickExecutorTest, ChecksPresenceOnceBeforeAPressAndAfterEachDelay) {
  approve(question(PressEffect::closesAfter(ms(2600))));
  EXPECT_EQ(click(), std::nullopt);
  EXPECT_EQ(presenceChecks, 1 + 5);
}

// Many programs act, and fail to answer, or have no such element or action any more by then.
constexpr std::array kAnswersThatMayFollowAPress{AXError::cannotComplete,       AXError::failure,
                                                 AXError::invalidUIElement,     AXError::actionUnsupported,
                                                 AXError::attributeUnsupported, AXError::noValue};

TEST_F(ClickExecutorTest, TheWholeScheduleIsWaitedForAfterEveryAnswerThatMayFollowAPress) {
  for (const auto answer : kAnswersThatMayFollowAPress) {
    for (const double closes : {0.0, 140.0, 1000.0, 4249.0}) {
      ClickWorld other;
      other.approve(other.question(PressEffect::runs(
          [&](auto& desktop, NodeHandle pressed) {
            desktop.later(ms(closes), [&desktop, pressed] { desktop.close(*desktop.promptOf(pressed)); });
          },
          answer)));
      EXPECT_EQ(other.click(), std::nullopt) << static_cast<int>(answer) << " " << closes;
      EXPECT_EQ(other.rightPresses, 1) << static_cast<int>(answer) << " " << closes;
      EXPECT_TRUE(other.events.posted().empty());
    }
  }
}

TEST_F(ClickExecutorTest, ThePromptThatStaysAfterSuchAnAnswerIsTriedOtherwiseAfterTheSchedule) {
  approve(question(PressEffect::fails(AXError::cannotComplete)));
  clickAndTrace();
  EXPECT_EQ(trace()[1], "4.250 AXFrontmost application");
}

TEST_F(ClickExecutorTest, APressThatNeverReachedTheProgramGoesStraightToTheNextPath) {
  for (const auto answer : {AXError::illegalArgument, AXError::notImplemented, AXError::apiDisabled}) {
    ClickWorld other;
    other.approve(other.question(PressEffect::fails(answer)));
    other.stopAt = advanced(other.world.time().monotonicNow(), ms(90));
    bool wasPrepared = false;
    other.desktop().setRequestHook(
        [&](const AXRequest& request) { wasPrepared = wasPrepared || request.name == ax::kFrontmost; });
    EXPECT_EQ(other.click(), ClickError::promptStillPresent);
    EXPECT_TRUE(wasPrepared) << static_cast<int>(answer);
  }
}

// ---- A button that is not there any more

TEST_F(ClickExecutorTest, AButtonThatDiedAndIsNowhereElseIsReported) {
  approve(question(PressEffect::doesNothing()));
  desktop().close(button());
  fakePresence = [] { return true; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(searches, 1);
  EXPECT_EQ(took, Seconds::zero());
}

TEST_F(ClickExecutorTest, AButtonThatDiesOfThePressWhileThePromptStaysIsReported) {
  approve(question(PressEffect::disappears()));
  fakeSearch = [] { return std::nullopt; };
  fakePresence = [] { return true; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(took, ms(4250));
}

TEST_F(ClickExecutorTest, AButtonThatWasMadeAnewIsFoundAgainAndPressed) {
  approve(question());
  const auto spec = platform::simulated::ElementSpec{.role = "AXButton",
                                                     .title = "Allow",
                                                     .frame = desktop().frame(button()),
                                                     .actions = {"AXPress"},
                                                     .effects = {{"AXPress", noted(PressEffect::closes())}}};
  const auto old = button();
  desktop().addChild(prompt, spec);
  desktop().close(old);
  EXPECT_EQ(click(), std::nullopt);
  EXPECT_EQ(searches, 1);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_EQ(wrongPresses, Lines{});
}

TEST_F(ClickExecutorTest, AButtonOfAnotherLabelIsNotTheOneThatWasLost) {
  approve(question());
  const auto other = detector.resolveCurrentButton(*approval, "Always Allow");
  fakePresence = [] { return true; };
  fakeSearch = [other] { return other; };
  desktop().close(button());
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_TRUE(desktop().presses().empty());
}

TEST_F(ClickExecutorTest, AButtonThatGotAnotherLabelIsNotPressedAnyMore) {
  approve(question());
  desktop().setAttribute(button(), ax::kTitle, std::string{"Always Allow"});
  fakePresence = [] { return true; };
  fakeSearch = [] { return std::nullopt; };
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_TRUE(desktop().presses().empty());
}

TEST_F(ClickExecutorTest, APromptThatWentBeforeAnythingWasDoneWasNotAnsweredHere) {
  approve(question());
  desktop().close(prompt);
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(searches, 0) << "there is nothing to find";
}

TEST_F(ClickExecutorTest, AnErrorAfterWhichThePromptIsGoneIsAPressThatLanded) {
  for (const auto error : kAnswersThatMayFollowAPress) {
    ClickWorld other;
    other.approve(other.question(PressEffect::failsButCloses(error)));
    EXPECT_EQ(other.click(), std::nullopt);
    EXPECT_EQ(other.rightPresses, 1);
    EXPECT_EQ(other.searches, 0);
    EXPECT_EQ(other.took, ms(150));
  }
}

TEST_F(ClickExecutorTest, AnErrorAfterWhichThePromptGoesWhileTheButtonIsLookedForIsAPressThatLanded) {
  approve(question(
      PressEffect::runs([](auto& desktop, NodeHandle pressed) { desktop.close(pressed); }, AXError::cannotComplete)));
  bool isThere = true;
  fakePresence = [&isThere] { return isThere; };
  fakeSearch = [&isThere]() -> std::optional<ResolvedDialogButton> {
    isThere = false;
    return std::nullopt;
  };
  EXPECT_EQ(click(), std::nullopt);
}

TEST_F(ClickExecutorTest, ARefusalBeyondDoubtIsNoPressThatLanded) {
  approve(question());
  desktop().setEffect(button(), ax::kPressAction, PressEffect::fails(AXError::illegalArgument));
  bool wasRefused = false;
  desktop().setRequestHook([this, &wasRefused](const AXRequest& request) {
    if (wasRefused) desktop().close(prompt);  // By hand.
    wasRefused = wasRefused || request.kind == AXRequestKind::performAction;
  });
  EXPECT_EQ(click(), ClickError::buttonNotFound);
}

TEST_F(ClickExecutorTest, AButtonThatOffersNoPressIsNotAskedForItAsTheWindowsOwn) {
  approve(question(PressEffect::doesNothing()));
  desktop().setActions(button(), {"AXShowMenu"});
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  EXPECT_EQ(trace()[0], "0.000 AXPress Allow");
  EXPECT_EQ(trace()[7], "4.350 AXFocused Allow");
}

TEST_F(ClickExecutorTest, APromptThatGoesDuringTheLastPathIsGone) {
  auto dialog = question(PressEffect::doesNothing());
  dialog.buttons = {"Cancel", "Open Settings"};
  approve(dialog, "Open Settings");
  int hitTests = 0;
  fakePresence = [&hitTests] { return hitTests < 3; };
  desktop().setHitTest([&hitTests](auto) {
    ++hitTests;  // One for the press of what is hit, one for each delivery of the mouse.
    return platform::AXResult<NodeHandle>{AXError::noValue};
  });
  EXPECT_EQ(click(), std::nullopt);
  EXPECT_EQ(hitTests, 3);
}

// ---- Synthetic events

TEST_F(ClickExecutorTest, WithoutAnEventTheAttemptEndsAndNothingIsPosted) {
  // In their order: a space for the button and for the window's own, three of the mouse, Return.
  for (const std::size_t failing : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U}) {
    ClickWorld other;
    other.approve(other.question(PressEffect::doesNothing()));
    other.events.failCreation(failing);
    EXPECT_EQ(other.click(), ClickError::unableToCreateEvent) << failing;
    const std::size_t before = failing < 2 ? 0 : failing < 4 ? 2 : failing < 7 ? 4 : 10;
    EXPECT_EQ(other.events.posted().size(), before) << failing << ": nothing of the path that failed";
    EXPECT_TRUE(other.isPromptPresent());
  }
}

TEST_F(ClickExecutorTest, MakesNoMoreEventsThanItNeeds) {
  approve(question(PressEffect::doesNothing()));
  click();
  EXPECT_EQ(events.creations(), 2U + 2U + 3U + 2U) << "the second delivery posts the same events";
}

TEST_F(ClickExecutorTest, TheMousePressesAtTheCentreOfTheButton) {
  approve(question(PressEffect::doesNothing()));
  const auto frame = *desktop().frame(button());
  click();
  const Point centre{frame.x + frame.width / 2, frame.y + frame.height / 2};
  const auto isThere = [&](const PostedEvent& event) { return !event.mouse || event.position == centre; };
  EXPECT_TRUE(std::all_of(events.posted().begin(), events.posted().end(), isThere));
}

TEST_F(ClickExecutorTest, APromptThatComesUpUnderThePointerBeforeItGoesDownIsNotClicked) {
  approve(question(PressEffect::doesNothing()));
  desktop().later(Seconds{10.95}, [this] { desktop().open(application, question()); });
  EXPECT_EQ(click(), ClickError::promptStillPresent);
  EXPECT_EQ(wrongPresses, Lines{});
  EXPECT_EQ(events.posted().back().mouse, MouseEventType::moved) << "which is where it went at 10.92 s";
  EXPECT_EQ(took, ms(11000));
}

TEST_F(ClickExecutorTest, EventsThatGetLostAreNoHarm) {
  approve(question(PressEffect::fails(AXError::failure)));
  events.setLosesEvents(true);
  EXPECT_EQ(click(), ClickError::promptStillPresent);
}

}  // namespace
}  // namespace quillard
