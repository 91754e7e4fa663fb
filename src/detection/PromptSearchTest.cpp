#include <gtest/gtest.h>

#include "detection/DialogDetector.h"
#include "support/DetectionWorld.h"

// The search for an approval that names its window: one appearance, which no twin can stand in for.
namespace quillard {
namespace {

using platform::AXError;
using platform::simulated::AXRequest;
using platform::simulated::DialogSpec;
using platform::simulated::NodeHandle;
using samples::DetectionWorld;
using Outcome = PromptResolution::Outcome;
using UnknownReason = PromptPresence::UnknownReason;
namespace ax = platform::ax;

constexpr auto kGone = PromptPresence::gone();
constexpr auto kThere = PromptPresence::there();
constexpr auto kNoAnswer = PromptPresence::unknown(UnknownReason::applicationDidNotAnswer);
constexpr auto kNoDesktop = PromptPresence::unknown(UnknownReason::desktopNotReadable);

class PromptSearchTest : public testing::Test, protected DetectionWorld {
 protected:
  static DialogSpec spec(Rect frame = {100, 100, 400, 200}) {
    return {.title = "Erase?", .lines = {"Are you sure?"}, .buttons = {"Cancel", "Erase"}, .frame = frame};
  }

  // The prompt in `dialog`, as the store would hold it: under an identity of its own, and naming its window.
  PendingApproval approvalOf(NodeHandle window) {
    for (const auto& scanned : scanTwice()) {
      const auto frame = desktop().frame(window);
      if (!frame || scanned.windowFrame != DialogFrame::of(*frame)) continue;
      auto stored = scanned.replacingIdentity(Uuid::fromRandomBytes(world.random().identityBytes()), Date{});
      stored.window = desktop().element(window);
      return stored;
    }
    ADD_FAILURE() << "no prompt there";
    return {};
  }

  // The prompt's window as a press finds it.
  PromptWindow found() { return detector.resolve(approval, "Erase").button.value().promptWindow; }
  PromptPresence presence() { return detector.presenceOf(approval); }
  PromptPresence presence(const PromptWindow& window) { return detector.presenceOf(approval, window); }
  Outcome outcome(const std::string& label = "Erase") { return detector.resolve(approval, label).outcome; }

  void listNoWindows() {
    for (const auto name : {ax::kWindows, ax::kMainWindow, ax::kFocusedWindow}) {
      desktop().setAttributeError(application, name, AXError::noValue);
    }
  }
  void setFocusOfDesktop(const platform::AXValue& window) {
    desktop().setSystemWideAttribute(ax::kFocusedWindow, window);
    desktop().setSystemWideAttribute(ax::kFocusedUIElement, platform::AXForeignValue{});
  }
  // A field for a secret that says no more than the prompt says already.
  void askForSecret() {
    desktop().addChild(dialog, {.role = "AXTextField",
                                .subrole = "AXSecureTextField",
                                .title = "Are you sure?",
                                .frame = Rect{120, 200, 100, 20}});
  }

  // Runs `check` as often as it makes requests; before each of them in turn, `change` happens once.
  void withChangeBeforeEachRequest(const std::function<void()>& change, const std::function<void()>& restore,
                                   const std::function<void()>& check) {
    desktop().resetRoundTrips();
    check();
    const auto requests = desktop().roundTrips();
    EXPECT_GT(requests, 3U);
    for (std::uint64_t changeAt = 0; changeAt < requests; ++changeAt) {
      std::uint64_t index = 0;
      desktop().setRequestHook([&](const AXRequest&) {
        if (index++ == changeAt) change();
      });
      SCOPED_TRACE(changeAt);
      check();
      desktop().setRequestHook({});
      restore();
    }
  }

  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App", .active = true});
  NodeHandle dialog = world.desktop().open(application, spec());
  PendingApproval approval = approvalOf(dialog);
};

// ---- One appearance

TEST_F(PromptSearchTest, ATwinDoesNotStandInForAWindowThatClosed) {
  const auto twin = desktop().open(application, spec({120, 120, 400, 200}));
  EXPECT_EQ(presence(), kThere);
  desktop().close(dialog);
  EXPECT_EQ(presence(), kGone);
  EXPECT_EQ(outcome(), Outcome::notFound);
  ASSERT_TRUE(desktop().isOpen(twin));
}

TEST_F(PromptSearchTest, ATwinThatClosesTakesNothingAway) {
  const auto twin = desktop().open(application, spec({120, 120, 400, 200}));
  desktop().close(twin);
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome(), Outcome::found);
}

TEST_F(PromptSearchTest, OfTwinsOnTopOfEachOtherTheOneThatTheApprovalNamesIsFound) {
  const auto twin = desktop().open(application, spec());
  const auto resolved = detector.resolve(approval, "Erase").button;
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->window, desktop().element(dialog));
  EXPECT_EQ(resolved->element, desktop().element(*desktop().findButton(dialog, "Erase")));
  desktop().close(twin);
  EXPECT_EQ(presence(), kThere);
}

TEST_F(PromptSearchTest, ATwinThatLiesNearerIsNotTaken) {
  desktop().move(dialog, {900, 700, 400, 200});
  desktop().open(application, spec());
  const auto resolved = detector.resolve(approval, "Erase").button;
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->window, desktop().element(dialog));
}

TEST_F(PromptSearchTest, AWindowThatMovedOrWasHiddenFromViewIsStillThere) {
  desktop().move(dialog, {900, 700, 400, 200});
  EXPECT_EQ(presence(), kThere);
  desktop().setAttribute(dialog, ax::kMinimized, true);
  desktop().setOffScreen(dialog, true);
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome(), Outcome::found);
}

TEST_F(PromptSearchTest, AWindowThatShowsAnotherPromptShowsTheApprovedOneNoMore) {
  const auto text = desktop().children(dialog).front();
  desktop().setAttribute(text, ax::kValue, std::string("Are you sure about everything?"));
  EXPECT_EQ(presence(), kGone);
  EXPECT_EQ(outcome(), Outcome::notFound);
  desktop().setAttribute(text, ax::kValue, std::string("Are you sure?"));
  EXPECT_EQ(presence(), kThere);
}

TEST_F(PromptSearchTest, AWindowWhoseButtonsChangePlacesWhileItIsReadIsStillThere) {
  const auto children = desktop().children(dialog);
  ASSERT_EQ(children.size(), 3U);
  const auto name = [&](const char* first, const char* second) {
    desktop().setAttribute(children[1], ax::kTitle, std::string(first));
    desktop().setAttribute(children[2], ax::kTitle, std::string(second));
  };
  withChangeBeforeEachRequest([&] { name("Erase", "Cancel"); }, [&] { name("Cancel", "Erase"); },
                              [&] { EXPECT_EQ(presence(), kThere); });
  name("Erase", "Keep");
  EXPECT_EQ(presence(), kGone) << "other buttons are another prompt";
}

TEST_F(PromptSearchTest, SoIsOneThatOnlyTheDesktopNames) {
  listNoWindows();
  setFocusOfDesktop(desktop().element(dialog));
  const auto children = desktop().children(dialog);
  const auto name = [&](const char* first, const char* second) {
    desktop().setAttribute(children[1], ax::kTitle, std::string(first));
    desktop().setAttribute(children[2], ax::kTitle, std::string(second));
  };
  withChangeBeforeEachRequest([&] { name("Erase", "Cancel"); }, [&] { name("Cancel", "Erase"); },
                              [&] { EXPECT_EQ(presence(), kThere); });
  name("Erase", "Keep");
  EXPECT_EQ(presence(), kGone);
}

TEST_F(PromptSearchTest, ASheetIsThereAsLongAsItsWindowHoldsIt) {
  desktop().close(dialog);
  const auto window =
      desktop().addWindow(application, {.role = "AXWindow", .title = "Document", .frame = Rect{0, 0, 900, 600}});
  const auto sheet = desktop().openSheet(window, spec({50, 50, 300, 150}));
  for (const auto named : {window, sheet}) {
    approval = approvalOf(sheet);
    approval.window = desktop().element(named);
    EXPECT_EQ(presence(), kThere);
    EXPECT_EQ(outcome(), Outcome::found);
  }
  desktop().close(sheet);
  for (const auto named : {window, sheet}) {
    approval.window = desktop().element(named);
    EXPECT_EQ(presence(), kGone);
    EXPECT_EQ(outcome(), Outcome::notFound);
  }
}

TEST_F(PromptSearchTest, MutingDecidesWhatIsListedAndNotWhatIsThere) {
  suppressionStore.suppress(approval.suppressionID);
  EXPECT_TRUE(scanTwice().empty());
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome(), Outcome::found);
  approval.window.reset();
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome(), Outcome::found);
}

// ---- Gone is a proof

TEST_F(PromptSearchTest, AWindowThatItsApplicationListsNoMoreIsGone) {
  desktop().activate(desktop().launch({.name = "In front"}));
  listNoWindows();
  EXPECT_EQ(presence(), kGone);
}

TEST_F(PromptSearchTest, AWindowThatOnlyTheDesktopNamesIsThereForAsLongAsItDoes) {
  listNoWindows();
  setFocusOfDesktop(desktop().element(dialog));
  EXPECT_EQ(presence(), kThere);
  setFocusOfDesktop(platform::AXForeignValue{});
  EXPECT_EQ(presence(), kGone);
  desktop().setSystemWideAttribute(ax::kFocusedUIElement, desktop().element(*desktop().findButton(dialog, "Erase")));
  EXPECT_EQ(presence(), kThere);
  setFocusOfDesktop(platform::AXForeignValue{});
  desktop().setSystemWideAttributeError(ax::kFocusedWindow, AXError::cannotComplete);
  EXPECT_EQ(presence(), kNoDesktop) << "who would name it does not answer";
}

TEST_F(PromptSearchTest, AnApplicationThatEndedTookItsPromptsWithIt) {
  desktop().terminate(application);
  EXPECT_EQ(presence(), kGone);
  EXPECT_EQ(outcome(), Outcome::notFound);
}

TEST_F(PromptSearchTest, AnApplicationThatRunsButCannotBeReachedProvesNothing) {
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    desktop().setAttributeError(application, ax::kWindows, AXError::notImplemented);
    desktop().setAttributeError(application, ax::kMainWindow, AXError::notImplemented);
    desktop().setAttributeError(application, ax::kFocusedWindow, AXError::notImplemented);
    setFocusOfDesktop(platform::AXForeignValue{});
    EXPECT_EQ(presence(), kNoAnswer);
  }
}

TEST_F(PromptSearchTest, ThatNothingCouldBeReadIsNoProof) {
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    for (const auto error : {AXError::cannotComplete, AXError::apiDisabled, AXError::failure}) {
      for (const auto name : {ax::kWindows, ax::kMainWindow, ax::kFocusedWindow}) {
        desktop().setAttributeError(application, name, error);
      }
      setFocusOfDesktop(platform::AXForeignValue{});
      EXPECT_EQ(presence(), kNoDesktop);
      EXPECT_EQ(outcome(), isWindowNamed ? Outcome::found : Outcome::unknown);
    }
  }
}

TEST_F(PromptSearchTest, AWindowWhoseReadsFailProvesNothing) {
  for (const auto error : {AXError::cannotComplete, AXError::apiDisabled, AXError::failure}) {
    desktop().setAttributeError(dialog, ax::kRole, error);
    desktop().setAttributeError(dialog, ax::kChildren, error);
    EXPECT_EQ(presence(), kNoDesktop);
    EXPECT_EQ(outcome(), Outcome::unknown);
  }
}

TEST_F(PromptSearchTest, AnApplicationThatStopsAnsweringAtAnyRequestProvesNothing) {
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    const auto hang = [&] { desktop().hang(application); };
    const auto goOn = [&] { desktop().unhang(application); };
    withChangeBeforeEachRequest(hang, goOn, [&] { EXPECT_FALSE(presence().isGone()); });
    withChangeBeforeEachRequest(hang, goOn, [&] { EXPECT_NE(outcome(), Outcome::notFound); });
  }
}

TEST_F(PromptSearchTest, APermissionThatIsWithdrawnAtAnyRequestProvesNothing) {
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    const auto withdraw = [&] { desktop().setTrusted(false); };
    const auto give = [&] { desktop().setTrusted(true); };
    withChangeBeforeEachRequest(withdraw, give, [&] { EXPECT_FALSE(presence().isGone()); });
    withChangeBeforeEachRequest(withdraw, give, [&] { EXPECT_NE(outcome(), Outcome::notFound); });
  }
}

TEST_F(PromptSearchTest, ADesktopThatCannotBeSeenFromAnyRequestOnProvesNothing) {
  using platform::DesktopReadFailure;
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    for (const auto failure : {DesktopReadFailure::accessibilityService, DesktopReadFailure::applicationList,
                               DesktopReadFailure::windowServer}) {
      const auto fail = [&] { desktop().setDesktopFailure(failure); };
      const auto recover = [&] { desktop().setDesktopFailure(std::nullopt); };
      withChangeBeforeEachRequest(fail, recover, [&] { EXPECT_FALSE(presence().isGone()); });
      withChangeBeforeEachRequest(fail, recover, [&] { EXPECT_NE(outcome(), Outcome::notFound); });
      fail();
      EXPECT_EQ(presence(), kNoDesktop);
      EXPECT_EQ(outcome(), Outcome::unknown);
      recover();
    }
  }
}

TEST_F(PromptSearchTest, OfADesktopThatCannotBeSeenTheWindowServerKnowsThatTheWindowHasGone) {
  const auto window = found();
  desktop().setDesktopFailure(platform::DesktopReadFailure::applicationList);
  EXPECT_EQ(presence(window), kNoDesktop);
  desktop().close(dialog);
  EXPECT_EQ(presence(window), kGone);
}

TEST_F(PromptSearchTest, AWindowWhoseTextCannotBeReadByNowProvesNothing) {
  const auto text = desktop().children(dialog).front();
  for (const auto& unreadable : {std::string("Are you \xFF?"), std::string(70'000, 'x')}) {
    for (const bool isWindowNamed : {true, false}) {
      auto sought = approval;
      if (!isWindowNamed) sought.window.reset();
      desktop().setAttribute(text, ax::kValue, unreadable);
      EXPECT_EQ(detector.presenceOf(sought), PromptPresence::unknown(UnknownReason::promptNotReadable));
      EXPECT_NE(detector.resolve(sought, "Erase").outcome, Outcome::found);
      desktop().setAttribute(text, ax::kValue, std::string("Are you sure?"));
      EXPECT_EQ(detector.presenceOf(sought), kThere);
    }
  }
}

TEST_F(PromptSearchTest, SilenceIsToldFromAPromptThatIsThere) {
  desktop().hang(application);
  EXPECT_EQ(presence(), kNoAnswer);
  EXPECT_EQ(outcome(), Outcome::unknown);
  desktop().unhang(application);
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome("Save"), Outcome::notFound);
}

// ---- The window server

TEST_F(PromptSearchTest, OfASilentApplicationTheWindowServerKnowsThatTheWindowHasGone) {
  const auto window = found();
  EXPECT_TRUE(window.number.has_value());
  desktop().hang(application);
  EXPECT_EQ(presence(window), kNoAnswer) << "the server lists it";
  desktop().close(dialog);
  desktop().setWindowListReadable(false);
  EXPECT_EQ(presence(window), kNoAnswer) << "the server does not answer either";
  desktop().setWindowListReadable(true);
  EXPECT_EQ(presence(window), kGone);
  EXPECT_EQ(presence(), kNoAnswer) << "which window it was is not known";
}

TEST_F(PromptSearchTest, AMinimisedWindowOfASilentApplicationHasNotGone) {
  const auto window = found();
  desktop().hang(application);
  desktop().setAttribute(dialog, ax::kMinimized, true);
  desktop().setOffScreen(dialog, true);
  EXPECT_EQ(presence(window), kNoAnswer);
}

TEST_F(PromptSearchTest, AWindowThatTheServerNeverListedProvesNothingByItsAbsence) {
  desktop().setListed(dialog, false);
  const auto window = found();
  EXPECT_FALSE(window.number.has_value());
  desktop().hang(application);
  desktop().close(dialog);
  EXPECT_EQ(presence(window), kNoAnswer);
}

TEST_F(PromptSearchTest, AListThatCouldNotBeReadAtTheTimeOfTheSearchNamesNoWindow) {
  desktop().setWindowListReadable(false);
  const auto window = found();
  EXPECT_FALSE(window.number.has_value());
  desktop().setWindowListReadable(true);
  desktop().hang(application);
  desktop().close(dialog);
  EXPECT_EQ(presence(window), kNoAnswer);
}

TEST_F(PromptSearchTest, TwinsOnTopOfEachOtherAreOneToTheWindowServer) {
  desktop().open(application, spec());
  const auto window = found();
  EXPECT_FALSE(window.number.has_value());
  desktop().hang(application);
  desktop().close(dialog);
  EXPECT_EQ(presence(window), kNoAnswer);
}

TEST_F(PromptSearchTest, TheTitleTellsWindowsApartThatLieOnTopOfEachOther) {
  auto other = spec();
  other.title = "Erase all?";
  desktop().open(application, other);
  const auto window = found();
  EXPECT_EQ(window.number, static_cast<std::int64_t>(dialog.id));
}

TEST_F(PromptSearchTest, AWindowOfAnotherProcessAtTheSamePlaceIsNotThePrompts) {
  desktop().open(desktop().launch({.name = "Other"}), spec());
  EXPECT_EQ(found().number, static_cast<std::int64_t>(dialog.id));
}

// ---- Direct access

TEST_F(PromptSearchTest, APromptThatAsksForASecretByNowMayBeDismissedOnly) {
  for (const bool isWindowNamed : {true, false}) {
    if (!isWindowNamed) approval.window.reset();
    askForSecret();
    EXPECT_EQ(presence(), PromptPresence::thereForDirectAccess());
    EXPECT_EQ(outcome("Erase"), Outcome::requiresDirectAccess);
    EXPECT_FALSE(detector.resolveCurrentButton(approval, "Erase").has_value());
    EXPECT_EQ(outcome("Cancel"), Outcome::found);
  }
}

TEST_F(PromptSearchTest, WhatWasKnownWhenItWasApprovedIsNoSurprise) {
  askForSecret();
  approval = approvalOf(dialog);
  ASSERT_TRUE(approval.requiresDirectAccess);
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(outcome("Cancel"), Outcome::found);
}

TEST_F(PromptSearchTest, TheSameWindowThatAsksForAPasswordInOtherWordsRequiresDirectAccess) {
  desktop().setAttribute(desktop().children(dialog).front(), ax::kValue, std::string("Enter your password."));
  EXPECT_EQ(outcome("Erase"), Outcome::requiresDirectAccess);
  EXPECT_EQ(outcome("Cancel"), Outcome::notFound) << "what was dismissed is another prompt";
  desktop().setAttribute(dialog, ax::kTitle, std::string("Sign in"));
  EXPECT_EQ(outcome("Erase"), Outcome::notFound) << "another prompt altogether";
}

// ---- Cost

TEST_F(PromptSearchTest, OnlyThePromptsOwnApplicationIsAsked) {
  for (int i = 0; i < 20; ++i) {
    desktop().open(desktop().launch({.name = "Other"}), {.title = "Document", .buttons = {"One", "Two"}});
  }
  desktop().resetRoundTrips();
  EXPECT_EQ(presence(), kThere);
  EXPECT_EQ(desktop().roundTrips(), 5U) << "the application, its window, the text and two buttons";
  EXPECT_EQ(outcome(), Outcome::found);
  EXPECT_EQ(desktop().roundTrips(application), 5U + 4U + 2U) << "the last two restore and raise the window";
  desktop().close(dialog);
  desktop().resetRoundTrips();
  EXPECT_EQ(presence(), kGone);
  EXPECT_LE(desktop().roundTrips(), 2U);
}

}  // namespace
}  // namespace quillard
