#include <gtest/gtest.h>

#include "detection/DialogDetector.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using platform::AXError;
using platform::simulated::AXRequest;
using platform::simulated::DialogSpec;
using platform::simulated::ElementSpec;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::DetectionWorld;
using UnknownReason = PromptPresence::UnknownReason;
namespace ax = platform::ax;

class ResolveTest : public testing::Test, protected DetectionWorld {
 protected:
  static DialogSpec spec(Rect frame = {100, 100, 400, 200}) {
    return {.title = "Erase?", .lines = {"Are you sure?"}, .buttons = {"Cancel", "Erase"}, .frame = frame};
  }

  // The prompt under an identity of its own, as the store would hold it, but of any window: see `PromptSearchTest` for
  // approvals that name theirs.
  PendingApproval stored() {
    auto approvals = scanTwice();
    EXPECT_EQ(approvals.size(), 1U);
    auto approval = approvals.at(0).replacingIdentity(Uuid::fromRandomBytes(world.random().identityBytes()),
                                                      approvals.at(0).detectedAt);
    approval.window.reset();
    return approval;
  }

  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
};

// ---- Finding the button

TEST_F(ResolveTest, FindsTheLiveButtonAndItsWindow) {
  const auto dialog = desktop().open(application, spec());
  const auto button = *desktop().findButton(dialog, "Erase");
  const auto resolved = detector.resolveCurrentButton(stored(), "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->element, desktop().element(button));
  EXPECT_EQ(resolved->window, desktop().element(dialog));
  EXPECT_EQ(resolved->button.label, "Erase");
  EXPECT_EQ(resolved->button.role, "AXButton");
  const auto frame = *desktop().frame(button);
  EXPECT_EQ((Rect{resolved->button.x, resolved->button.y, resolved->button.width, resolved->button.height}), frame);
}

TEST_F(ResolveTest, TakesTheLabelToTheLetter) {
  desktop().open(application, spec());
  const auto approval = stored();
  for (const auto* label : {"erase", "ERASE", " Erase", "Erase ", "", "Eras"}) {
    EXPECT_FALSE(detector.resolveCurrentButton(approval, label).has_value()) << label;
  }
}

TEST_F(ResolveTest, FindsNothingOnceThePromptHasGone) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().close(dialog);
  EXPECT_FALSE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

TEST_F(ResolveTest, FindsNothingInAPromptThatSaysSomethingElse) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  const auto text = desktop().children(dialog).front();
  desktop().setAttribute(text, ax::kValue, std::string("Are you sure about everything?"));
  EXPECT_FALSE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

TEST_F(ResolveTest, SkipsAButtonThatHasNoHeight) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().setAttribute(*desktop().findButton(dialog, "Erase"), ax::kSize, Size{80, 0});
  EXPECT_FALSE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

TEST_F(ResolveTest, FollowsAPromptThatMoved) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().move(dialog, {900, 700, 400, 200});
  EXPECT_TRUE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

TEST_F(ResolveTest, TakesTheNearestOfTwoIdenticalPrompts) {
  desktop().open(application, spec({100, 100, 400, 200}));
  const auto approval = stored();
  desktop().close(desktop().windows(application).front());
  desktop().open(application, spec({100, 160, 400, 200}));
  const auto near = desktop().open(application, spec({100, 140, 400, 200}));
  desktop().open(application, spec({100, 30, 400, 200}));
  const auto resolved = detector.resolveCurrentButton(approval, "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->window, desktop().element(near));
}

TEST_F(ResolveTest, TakesANearerPromptThatOnlyTheDesktopNames) {
  const auto far = desktop().open(application, spec({100, 100, 400, 200}));
  const auto approval = stored();
  desktop().move(far, {100, 160, 400, 200});
  const auto near = desktop().open(application, spec({100, 140, 400, 200}));
  desktop().setAttribute(application, ax::kWindows, std::vector{desktop().element(far)});
  desktop().setAttributeError(application, ax::kMainWindow, AXError::noValue);
  desktop().setAttributeError(application, ax::kFocusedWindow, AXError::noValue);
  desktop().setSystemWideAttribute(ax::kFocusedWindow, desktop().element(near));
  const auto resolved = detector.resolveCurrentButton(approval, "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->window, desktop().element(near));
}

TEST_F(ResolveTest, TakesTheFirstMetOfTwoAtEqualDistance) {
  desktop().open(application, spec({100, 100, 400, 200}));
  const auto approval = stored();
  desktop().close(desktop().windows(application).front());
  desktop().open(application, spec({100, 140, 400, 200}));
  desktop().open(application, spec({100, 60, 400, 200}));
  const auto first = desktop().node(std::get<std::vector<platform::AXUIElement>>(
      world.accessibility().copyAttributeValue(desktop().element(application), ax::kWindows).value())[0]);
  const auto resolved = detector.resolveCurrentButton(approval, "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(desktop().node(resolved->window), first);
}

TEST_F(ResolveTest, SearchesForTheButtonAmongAHundredAndTwentyDescendantsOfTheContent) {
  for (const int position : {120, 121}) {
    // The walk takes the last child first, and the record is made of eighty: the first child is in neither.
    ElementSpec window{.role = "AXWindow", .subrole = "AXDialog", .title = "Erase?"};
    window.children.push_back({.role = "AXButton", .title = "Far", .frame = Rect{0, 0, 9, 9}});
    for (int i = 0; i < position - 2; ++i) window.children.push_back({.role = "AXGroup"});
    window.children.push_back({.role = "AXButton", .title = "Erase", .frame = Rect{0, 0, 9, 9}});
    const auto dialog = desktop().addWindow(application, window);
    const auto approval = stored();
    EXPECT_EQ(samples::labels(approval), std::vector<std::string>{"Erase"});
    EXPECT_EQ(detector.resolveCurrentButton(approval, "Far").has_value(), position == 120) << position;
    desktop().close(dialog);
  }
}

TEST_F(ResolveTest, NamesTheEnumeratedWindowWhereTheButtonHasNoWindowAboveIt) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().setAttributeError(*desktop().findButton(dialog, "Erase"), ax::kParent, AXError::noValue);
  const auto resolved = detector.resolveCurrentButton(approval, "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->window, desktop().element(dialog));
}

TEST_F(ResolveTest, NamesTheSheetThatHoldsTheButton) {
  const auto window =
      desktop().addWindow(application, {.role = "AXWindow", .title = "Document", .frame = Rect{0, 0, 900, 600}});
  const auto sheet = desktop().openSheet(window, spec());
  const auto resolved = detector.resolveCurrentButton(stored(), "Erase");
  ASSERT_TRUE(resolved.has_value());
  EXPECT_EQ(resolved->window, desktop().element(sheet));
}

TEST_F(ResolveTest, RestoresAndRaisesTheWindowAndPressesNothing) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  std::vector<std::string> performed;
  desktop().setAttribute(dialog, ax::kMinimized, true);
  desktop().setEffect(dialog, ax::kRaiseAction, PressEffect::runs([&](auto&, NodeHandle node) {
                        performed.push_back(node == dialog ? "raised" : "raised something else");
                      }));
  ASSERT_TRUE(detector.resolveCurrentButton(approval, "Erase").has_value());
  EXPECT_EQ(performed, std::vector<std::string>{"raised"});
  const auto minimized = desktop().attribute(dialog, ax::kMinimized);
  EXPECT_EQ(std::get<bool>(minimized.value()), false);
  EXPECT_TRUE(desktop().presses().empty());
}

TEST_F(ResolveTest, DoesNotMindThatTheWindowCannotBeRaised) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().setActions(dialog, {});
  desktop().setAttributeError(dialog, ax::kMinimized, AXError::attributeUnsupported);
  EXPECT_TRUE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

TEST_F(ResolveTest, FindsNothingWhileTheApplicationDoesNotAnswer) {
  desktop().open(application, spec());
  const auto approval = stored();
  desktop().hang(application);
  EXPECT_FALSE(detector.resolveCurrentButton(approval, "Erase").has_value());
}

// Whatever changes between any two requests: what comes back is a button of that label, in the prompt that it belongs
// to, at the time when it was read.
TEST_F(ResolveTest, NeverNamesAButtonOfAnotherLabelWhateverChangesMeanwhile) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  const auto erase = *desktop().findButton(dialog, "Erase");
  const auto cancel = *desktop().findButton(dialog, "Cancel");
  desktop().resetRoundTrips();
  ASSERT_TRUE(detector.resolveCurrentButton(approval, "Erase").has_value());
  const auto requests = desktop().roundTrips();
  for (std::uint64_t changeAt = 0; changeAt < requests; ++changeAt) {
    std::uint64_t index = 0;
    desktop().setRequestHook([&](const AXRequest&) {
      if (index++ != changeAt) return;
      desktop().setAttribute(erase, ax::kTitle, std::string("Cancel"));
      desktop().setAttribute(cancel, ax::kTitle, std::string("Erase"));
    });
    const auto resolved = detector.resolveCurrentButton(approval, "Erase");
    desktop().setRequestHook({});
    EXPECT_EQ(resolved ? resolved->button.label : "Erase", "Erase") << changeAt;
    desktop().setAttribute(erase, ax::kTitle, std::string("Erase"));
    desktop().setAttribute(cancel, ax::kTitle, std::string("Cancel"));
  }
}

// ---- Presence

TEST_F(ResolveTest, APromptIsPresentFromTheFirstCheckOn) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  DialogDetector fresh{kOwnProcess, suppressionStore, dependencies};
  EXPECT_TRUE(fresh.isPromptStillPresent(approval)) << "no second scan is needed";
  desktop().move(dialog, {500, 500, 400, 200});
  EXPECT_TRUE(fresh.isPromptStillPresent(approval));
  desktop().close(dialog);
  EXPECT_FALSE(fresh.isPromptStillPresent(approval));
}

TEST_F(ResolveTest, APromptIsGoneWhenItsWindowSaysSomethingElse) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  desktop().setAttribute(dialog, ax::kTitle, std::string("Erased."));
  EXPECT_FALSE(detector.isPromptStillPresent(approval));
}

TEST_F(ResolveTest, APromptIsGoneWithItsApplication) {
  desktop().open(application, spec());
  const auto approval = stored();
  desktop().terminate(application);
  EXPECT_FALSE(detector.isPromptStillPresent(approval));
}

TEST_F(ResolveTest, APromptCountsAsPresentWhileItsApplicationDoesNotAnswer) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  const auto other = desktop().launch({.name = "Other"});
  desktop().close(dialog);
  desktop().hang(other);
  EXPECT_FALSE(detector.isPromptStillPresent(approval)) << "another one's silence tells nothing";
  desktop().hang(application);
  EXPECT_TRUE(detector.isPromptStillPresent(approval));
  desktop().unhang(application);
  EXPECT_FALSE(detector.isPromptStillPresent(approval));
}

TEST_F(ResolveTest, APromptCountsAsPresentWhilePermissionIsMissing) {
  desktop().open(application, spec());
  const auto approval = stored();
  desktop().setTrusted(false);
  EXPECT_TRUE(detector.isPromptStillPresent(approval));
}

TEST_F(ResolveTest, APresenceTellsThereGoneAndUnknownWithItsReason) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::there());
  desktop().hang(application);
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::unknown(UnknownReason::applicationDidNotAnswer));
  desktop().unhang(application);
  desktop().setTrusted(false);
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::unknown(UnknownReason::accessibilityNotGranted));
  desktop().setTrusted(true);
  desktop().close(dialog);
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::gone());
}

// Its application lists no window, but the desktop names one of it as focused.
TEST_F(ResolveTest, APromptThatOnlyTheDesktopNamesIsThereAndCanBeResolved) {
  const auto dialog = desktop().open(application, spec());
  const auto approval = stored();
  for (const auto name : {ax::kWindows, ax::kMainWindow, ax::kFocusedWindow}) {
    desktop().setAttributeError(application, name, AXError::noValue);
  }
  desktop().setSystemWideAttribute(ax::kFocusedWindow, desktop().element(dialog));
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::there());
  EXPECT_TRUE(detector.resolveCurrentButton(approval, "Erase").has_value());
  desktop().setSystemWideAttribute(ax::kFocusedWindow, platform::AXForeignValue{});
  desktop().setSystemWideAttribute(ax::kFocusedUIElement, platform::AXForeignValue{});
  EXPECT_EQ(detector.presenceOf(approval), PromptPresence::gone());
}

// ---- Cost

// Sixty applications with a window each; the prompt's own is one of them.
class CrowdedDesktop : public ResolveTest {
 protected:
  CrowdedDesktop() {
    for (int i = 1; i < 60; ++i) {
      desktop().open(desktop().launch({.name = "Other " + std::to_string(i)}),
                     {.title = "Document", .lines = {"Text"}, .buttons = {"One", "Two"}});
    }
    prompt = desktop().open(application, spec());
    approval = stored();
  }

  template <class Operation>
  std::uint64_t requestsOf(Operation operation) {
    desktop().resetRoundTrips();
    operation();
    return desktop().roundTrips();
  }

  NodeHandle prompt;
  std::optional<PendingApproval> approval;
};

// The application, its window, the text and the two buttons. A search that begins with the whole desktop takes 124 with
// the prompt's application in front, and 301 with it behind all others.
TEST_F(CrowdedDesktop, APromptThatIsThereCostsFiveRequestsWhereverItsApplicationStands) {
  EXPECT_EQ(requestsOf([&] { EXPECT_TRUE(detector.presenceOf(*approval).isThere()); }), 5U);
  desktop().activate(desktop().launch({.name = "In front"}));
  EXPECT_EQ(requestsOf([&] { EXPECT_TRUE(detector.presenceOf(*approval).isThere()); }), 5U);
}

TEST_F(CrowdedDesktop, AButtonThatHasNotMovedCostsSevenRequests) {
  const auto resolve = [&] { EXPECT_TRUE(detector.resolveCurrentButton(*approval, "Erase").has_value()); };
  EXPECT_EQ(requestsOf(resolve), 7U) << "two of them restore and raise the window";
  desktop().move(prompt, {500, 500, 400, 200});
  EXPECT_EQ(requestsOf(resolve), 303U) << "an equal window might lie nearer";
}

TEST_F(CrowdedDesktop, OnlyGoneCostsTheWholeDesktop) {
  desktop().close(prompt);
  EXPECT_EQ(requestsOf([&] { EXPECT_TRUE(detector.presenceOf(*approval).isGone()); }), 297U);
}

TEST_F(CrowdedDesktop, ASilentApplicationCostsOneRequestAndOneWait) {
  desktop().hang(application);
  const auto before = world.time().monotonicNow();
  EXPECT_EQ(requestsOf([&] { EXPECT_TRUE(detector.presenceOf(*approval).isUnknown()); }), 1U);
  EXPECT_EQ(world.time().monotonicNow() - before, std::chrono::milliseconds(200));
  EXPECT_EQ(requestsOf([&] { EXPECT_FALSE(detector.resolveCurrentButton(*approval, "Erase").has_value()); }), 1U);
}

TEST_F(ResolveTest, ACheckDoesNotOpenTheGateForTheScan) {
  desktop().open(application, spec());
  const auto approval = stored();
  DialogDetector fresh{kOwnProcess, suppressionStore, dependencies};
  (void)fresh.isPromptStillPresent(approval);
  (void)fresh.resolveCurrentButton(approval, "Erase");
  EXPECT_TRUE(fresh.scan().approvals.empty());
}

}  // namespace
}  // namespace quillard
