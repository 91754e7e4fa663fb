#include <chrono>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedAccessibility.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedAccessibilityTest : public testing::Test {
 protected:
  // How much virtual time passes in `work`.
  template <class Work>
  Seconds cost(Work work) {
    const Instant before = world.time().monotonicNow();
    work();
    return world.time().monotonicNow() - before;
  }
  AXError readError(const AXUIElement& element) { return accessibility.copyAttributeValue(element, "AXRole").error(); }

  SimulatedWorld world{Seed{7}};
  SimulatedDesktop& desktop = world.desktop();
  Accessibility& accessibility = world.accessibility();
  ApplicationHandle app = desktop.launch({.name = "App", .active = true});
  ApplicationHandle other = desktop.launch({.name = "Other"});
  NodeHandle dialog = desktop.open(app, {.title = "Erase?", .lines = {"text"}, .buttons = {"Cancel", "Erase"}});
  NodeHandle button = *desktop.findButton(dialog, "Erase");
  AXUIElement window = desktop.element(dialog);
};

// ---- Handles

TEST_F(SimulatedAccessibilityTest, HandlesAreEqualAndHashedByWhatTheyPointAt) {
  EXPECT_EQ(desktop.element(dialog), desktop.element(dialog));
  EXPECT_FALSE(desktop.element(dialog) == desktop.element(button));
  EXPECT_EQ(accessibility.createApplication(app.processIdentifier), desktop.element(app));
  EXPECT_FALSE(desktop.element(app) == accessibility.createSystemWide());
  const std::unordered_set<AXUIElement> set{desktop.element(dialog), desktop.element(dialog), desktop.element(button)};
  EXPECT_EQ(set.size(), 2U);
}

TEST_F(SimulatedAccessibilityTest, ElementsOfAnotherDesktopAreInvalidHere) {
  SimulatedWorld elsewhere{Seed{7}};
  const auto twin = elsewhere.desktop().open({.title = "twin"});
  const AXUIElement foreign = elsewhere.desktop().element(twin);
  EXPECT_EQ(readError(foreign), AXError::invalidUIElement);
  EXPECT_EQ(accessibility.performAction(foreign, ax::kRaiseAction), AXError::invalidUIElement);
  EXPECT_EQ(desktop.node(foreign), std::nullopt);
  EXPECT_EQ(desktop.roundTrips(), 0U);
}

TEST_F(SimulatedAccessibilityTest, TheOwnerOfAnElementIsToldWhileItIsThere) {
  EXPECT_EQ(accessibility.processIdentifier(window), app.processIdentifier);
  EXPECT_EQ(accessibility.processIdentifier(desktop.element(app)), app.processIdentifier);
  EXPECT_EQ(accessibility.processIdentifier(accessibility.createSystemWide()), std::nullopt);
  desktop.close(dialog);
  EXPECT_EQ(accessibility.processIdentifier(window), std::nullopt);
  EXPECT_EQ(desktop.roundTrips(), 0U);
}

TEST_F(SimulatedAccessibilityTest, TheTextOfASecureFieldIsNeverGiven) {
  const auto field = desktop.addChild(
      dialog, {.role = "AXTextField", .subrole = "AXSecureTextField", .value = "hunter2", .attributes = {}});
  EXPECT_EQ(accessibility.copyAttributeValue(desktop.element(field), "AXValue").error(), AXError::noValue);
  EXPECT_EQ(accessibility.beginReadScope()->copyAttributeValue(desktop.element(field), "AXValue").error(),
            AXError::noValue);
}

// ---- Cost

TEST_F(SimulatedAccessibilityTest, EachLiveRequestIsOneRoundTrip) {
  static_cast<void>(accessibility.copyAttributeValue(window, "AXTitle"));
  static_cast<void>(accessibility.copyAttributeValue(window, "AXTitle"));
  static_cast<void>(accessibility.copyActionNames(window));
  accessibility.setAttributeValue(window, "AXMain", true);
  accessibility.performAction(window, "AXRaise");
  static_cast<void>(accessibility.copyElementAtPosition(accessibility.createSystemWide(), {0, 0}));
  EXPECT_EQ(desktop.roundTrips(), 6U);
  static_cast<void>(accessibility.copyAttributeValue(desktop.element(other), "AXWindows"));
  EXPECT_EQ(desktop.roundTrips(other), 1U);
  EXPECT_EQ(desktop.roundTrips(app), 5U) << "nothing was hit, and no application had to answer";
  desktop.resetRoundTrips();
  EXPECT_EQ(desktop.roundTrips(), 0U);
  EXPECT_EQ(desktop.roundTrips(app), 0U);
}

TEST_F(SimulatedAccessibilityTest, MakingElementsIsNoRequest) {
  static_cast<void>(accessibility.createSystemWide());
  static_cast<void>(accessibility.createApplication(4711));
  EXPECT_EQ(accessibility.isProcessTrusted(), ProcessTrust::granted);
  EXPECT_EQ(desktop.roundTrips(), 0U);
}

TEST_F(SimulatedAccessibilityTest, ARequestToAHungApplicationCostsTheMessagingTimeout) {
  desktop.hang(app);
  for (const AXUIElement& element : {window, desktop.element(button), desktop.element(app)}) {
    EXPECT_EQ(cost([&] { EXPECT_EQ(readError(element), AXError::cannotComplete); }), kMessagingTimeout);
  }
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(desktop.element(other)), AXError::success); }), 0s);
  desktop.setMessagingTimeout(500ms);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::cannotComplete); }), 500ms);
  desktop.unhang(app);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::success); }), 0s);
}

TEST_F(SimulatedAccessibilityTest, TheSystemWideElementWaitsForTheApplicationInFront) {
  desktop.hang(app);
  const auto read = [&] {
    return accessibility.copyAttributeValue(accessibility.createSystemWide(), "AXFocusedWindow");
  };
  EXPECT_EQ(cost([&] { EXPECT_EQ(read().error(), AXError::cannotComplete); }), 200ms);
  EXPECT_EQ(desktop.roundTrips(app), 1U);
  desktop.activate(other);
  EXPECT_EQ(cost([&] { EXPECT_EQ(read().error(), AXError::noValue); }), 0s);
}

TEST_F(SimulatedAccessibilityTest, OthersGoOnWhileARequestWaits) {
  desktop.hang(app);
  desktop.setMessagingTimeout(1s);
  int ticks = 0;
  const TaskHandle task = world.time().mainThread().repeatEvery(300ms, [&] { ++ticks; });
  const auto worker = world.time().makeSerialQueue("worker", QualityOfService::utility);
  bool answered = false;
  worker->post([&] { answered = readError(window) == AXError::cannotComplete; });
  world.advance(999ms);
  EXPECT_FALSE(answered);
  EXPECT_EQ(ticks, 3);
  world.advance(1ms);
  EXPECT_TRUE(answered);
}

TEST_F(SimulatedAccessibilityTest, ASlowApplicationCostsItsLatencyUpToTheTimeout) {
  desktop.slow(app, 150ms);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::success); }), 150ms);
  desktop.slow(app, 200ms);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::success); }), 200ms);
  desktop.slow(app, 250ms);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::cannotComplete); }), 200ms);
}

TEST_F(SimulatedAccessibilityTest, AnActionThatMissedItsTimeoutHappensLateAllTheSame) {
  desktop.slow(app, 300ms);
  EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::cannotComplete);
  EXPECT_EQ(desktop.pressed(dialog), std::nullopt);
  world.advance(99ms);
  EXPECT_TRUE(desktop.isOpen(dialog));
  world.advance(1ms);
  EXPECT_EQ(desktop.pressed(dialog), "Erase");
  EXPECT_FALSE(desktop.isOpen(dialog));
}

TEST_F(SimulatedAccessibilityTest, ActionsOnAHungApplicationAreLostUnlessItIsSaidOtherwise) {
  desktop.hang(app);
  EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::cannotComplete);
  desktop.unhang(app);
  world.advance(1s);
  EXPECT_TRUE(desktop.isOpen(dialog));

  desktop.hang(app, LateActions::performedOnUnhang);
  EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::cannotComplete);
  world.advance(1h);
  EXPECT_TRUE(desktop.isOpen(dialog));
  desktop.unhang(app);
  world.advance(0s);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_EQ(desktop.pressed(dialog), "Erase");
}

TEST_F(SimulatedAccessibilityTest, ADeadProcessIsFoundInvalidWithoutAWait) {
  desktop.hang(app);
  desktop.terminate(app);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(window), AXError::invalidUIElement); }), 0s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(readError(desktop.element(app)), AXError::invalidUIElement); }), 0s);
  EXPECT_EQ(readError(accessibility.createApplication(99999)), AXError::invalidUIElement);
}

// ---- Trust

TEST_F(SimulatedAccessibilityTest, WithoutTrustEveryRequestIsDisabledAndFree) {
  desktop.hang(app);
  desktop.setTrusted(false);
  EXPECT_NE(accessibility.isProcessTrusted(), ProcessTrust::granted);
  const auto scope = accessibility.beginReadScope();
  const Seconds passed = cost([&] {
    EXPECT_EQ(readError(window), AXError::apiDisabled);
    EXPECT_EQ(accessibility.copyActionNames(window).error(), AXError::apiDisabled);
    EXPECT_EQ(accessibility.setAttributeValue(window, "AXMain", true), AXError::apiDisabled);
    EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::apiDisabled);
    EXPECT_EQ(accessibility.copyElementAtPosition(desktop.element(app), {0, 0}).error(), AXError::apiDisabled);
    EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::apiDisabled);
    EXPECT_FALSE(scope->missedTimeout(window));
  });
  EXPECT_EQ(passed, 0s);
  EXPECT_EQ(desktop.roundTrips(), 0U);
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(SimulatedAccessibilityTest, ChangesOfTrustAreToldOnTheMainThread) {
  int told = 0;
  auto subscription = accessibility.observeTrustChanges([&] {
    EXPECT_TRUE(world.time().mainThread().isCurrent());
    ++told;
  });
  desktop.setTrusted(true);
  world.advance(0s);
  EXPECT_EQ(told, 0) << "nothing changed";
  desktop.setTrusted(false);
  EXPECT_EQ(told, 0);
  world.advance(0s);
  EXPECT_EQ(told, 1);
  desktop.setTrusted(true);
  subscription.reset();
  world.advance(0s);
  EXPECT_EQ(told, 1) << "nothing after the end of the subscription, not even what was under way";
}

TEST_F(SimulatedAccessibilityTest, TheLastKnownTrustIsThatOfTheNewestAnswer) {
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted) << "the first answer is asked for";
  desktop.setTrusted(false);
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted) << "nothing has asked since";
  EXPECT_NE(accessibility.isProcessTrusted(), ProcessTrust::granted);
  EXPECT_NE(accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
}

TEST_F(SimulatedAccessibilityTest, OnlyTheFirstLastKnownTrustWaits) {
  desktop.setTrustLatency(2s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted); }), 2s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted); }), 0s);
  EXPECT_EQ(cost([&] { accessibility.refreshProcessTrust([](ProcessTrust) {}); }), 0s);
}

TEST_F(SimulatedAccessibilityTest, AFreshAnswerComesToTheMainThreadWhichGoesOnMeanwhile) {
  static_cast<void>(accessibility.lastKnownProcessTrust());
  desktop.setTrustLatency(1s);
  desktop.setTrusted(false);
  std::vector<ProcessTrust> answers;
  int ticks = 0;
  const TaskHandle task = world.time().mainThread().repeatEvery(300ms, [&] { ++ticks; });
  world.time().runOnMainThread([&] {
    accessibility.refreshProcessTrust([&](ProcessTrust trust) {
      EXPECT_TRUE(world.time().mainThread().isCurrent());
      answers.push_back(trust);
    });
  });
  world.advance(999ms);
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_EQ(ticks, 3);
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
  world.advance(2ms);
  EXPECT_THAT(answers, ElementsAre(ProcessTrust::denied));
  EXPECT_NE(accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
}

TEST_F(SimulatedAccessibilityTest, RequestsDuringAQuestionShareTheNextOne) {
  desktop.setTrustLatency(1s);
  std::vector<std::string> answers;
  const auto ask = [&](const char* who) {
    world.time().runOnMainThread([&, who] {
      accessibility.refreshProcessTrust([&answers, who](ProcessTrust trust) {
        answers.push_back(std::string(who) + (trust == ProcessTrust::granted ? " yes" : " no"));
      });
    });
  };
  ask("first");
  world.advance(500ms);
  ask("second");
  ask("third");
  world.advance(500ms);
  EXPECT_THAT(answers, ElementsAre("first yes"));
  desktop.setTrusted(false);
  world.advance(999ms);
  EXPECT_THAT(answers, ElementsAre("first yes"));
  world.advance(1ms);
  EXPECT_THAT(answers, ElementsAre("first yes", "second no", "third no"));
}

TEST_F(SimulatedAccessibilityTest, AnEarlierQuestionThatIsAnsweredLaterChangesNothing) {
  desktop.setTrustLatency(1s);
  const auto slow = world.time().makeSerialQueue("slow", QualityOfService::utility);
  slow->post([&] {
    EXPECT_NE(accessibility.isProcessTrusted(), ProcessTrust::granted) << "what is true when the answer comes";
  });
  world.advance(500ms);
  desktop.setTrustLatency(0s);
  EXPECT_EQ(accessibility.isProcessTrusted(), ProcessTrust::granted);
  desktop.setTrusted(false);
  world.advance(1s);
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted) << "a later question was answered before";
}

TEST_F(SimulatedAccessibilityTest, ASilentSystemIsUnknownAndForgetsNothing) {
  EXPECT_EQ(accessibility.isProcessTrusted(), ProcessTrust::granted);
  desktop.setTrustSilent(true);
  desktop.setTrustLatency(1s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(accessibility.isProcessTrusted(), ProcessTrust::unknown); }), 1s);
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
  desktop.setTrusted(false);
  desktop.setTrustSilent(false);
  EXPECT_EQ(accessibility.isProcessTrusted(), ProcessTrust::denied);
  EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::denied);
}

TEST_F(SimulatedAccessibilityTest, ASystemThatWasSilentFromTheStartIsNotAskedAgainForTheLastAnswer) {
  desktop.setTrustSilent(true);
  desktop.setTrustLatency(1s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::unknown); }), 1s);
  EXPECT_EQ(cost([&] { EXPECT_EQ(accessibility.lastKnownProcessTrust(), ProcessTrust::unknown); }), 0s);
}

// ---- A desktop that cannot be seen

TEST_F(SimulatedAccessibilityTest, AScopeThatCannotSeeTheDesktopSaysSoAndWaitsOnce) {
  for (const auto failure : {DesktopReadFailure::applicationList, DesktopReadFailure::windowServer}) {
    desktop.setDesktopFailure(failure);
    const auto scope = accessibility.beginReadScope();
    EXPECT_EQ(scope->desktopFailure(), std::nullopt) << "nothing was read yet";
    const Seconds passed = cost([&] {
      for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::cannotComplete);
        EXPECT_EQ(scope->copyActionNames(window).error(), AXError::cannotComplete);
      }
    });
    EXPECT_EQ(passed, kMessagingTimeout);
    EXPECT_EQ(scope->desktopFailure(), failure);
    EXPECT_FALSE(scope->missedTimeout(window)) << "the application is not to blame";
    EXPECT_EQ(readError(window), AXError::cannotComplete);
    desktop.setDesktopFailure(std::nullopt);
    EXPECT_EQ(accessibility.beginReadScope()->desktopFailure(), std::nullopt);
  }
}

TEST_F(SimulatedAccessibilityTest, AnApplicationCarriesOutWhatNobodyCanSee) {
  desktop.setDesktopFailure(DesktopReadFailure::applicationList);
  EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::success);
  EXPECT_EQ(desktop.presses().size(), 1U);
}

TEST_F(SimulatedAccessibilityTest, WithoutTheServiceNothingIsCarriedOutNorWaitedFor) {
  desktop.setDesktopFailure(DesktopReadFailure::accessibilityService);
  const auto scope = accessibility.beginReadScope();
  const Seconds passed = cost([&] {
    EXPECT_FALSE(scope->copyAttributeValue(window, "AXRole").hasValue());
    EXPECT_EQ(readError(window), AXError::apiDisabled);
    EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::apiDisabled);
  });
  EXPECT_EQ(passed, 0s);
  EXPECT_EQ(scope->desktopFailure(), DesktopReadFailure::accessibilityService);
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(SimulatedAccessibilityTest, WithoutThePermissionAScopeSaysThat) {
  desktop.setTrusted(false);
  const auto scope = accessibility.beginReadScope();
  EXPECT_FALSE(scope->copyAttributeValue(window, "AXRole").hasValue());
  EXPECT_EQ(scope->desktopFailure(), DesktopReadFailure::notPermitted);
}

// ---- Hooks

TEST_F(SimulatedAccessibilityTest, TheHookSeesEveryRequestBeforeItIsSent) {
  std::vector<AXRequest> requests;
  desktop.setRequestHook([&](const AXRequest& request) { requests.push_back(request); });
  static_cast<void>(accessibility.copyAttributeValue(window, "AXTitle"));
  static_cast<void>(accessibility.copyActionNames(desktop.element(app)));
  static_cast<void>(accessibility.beginReadScope()->copyAttributeValue(window, "AXTitle"));
  accessibility.performAction(window, "AXRaise");
  accessibility.setAttributeValue(window, "AXMain", true);
  static_cast<void>(accessibility.copyElementAtPosition(desktop.element(app), {0, 0}));
  ASSERT_EQ(requests.size(), 6U);
  std::vector<AXRequestKind> kinds;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    EXPECT_EQ(requests[i].index, i);
    EXPECT_EQ(requests[i].processIdentifier, app.processIdentifier);
    kinds.push_back(requests[i].kind);
  }
  EXPECT_THAT(kinds,
              ElementsAre(AXRequestKind::readAttribute, AXRequestKind::readActionNames, AXRequestKind::readAttributes,
                          AXRequestKind::performAction, AXRequestKind::setAttribute, AXRequestKind::hitTest));
  EXPECT_EQ(requests[0].node, dialog);
  EXPECT_EQ(requests[0].name, "AXTitle");
  EXPECT_EQ(requests[1].node, std::nullopt);
  EXPECT_EQ(requests[3].name, "AXRaise");
}

TEST_F(SimulatedAccessibilityTest, TheHookMayPullTheDesktopAwayUnderTheRequest) {
  desktop.setRequestHook([&](const AXRequest& request) {
    if (request.kind == AXRequestKind::performAction) desktop.close(dialog);
  });
  EXPECT_EQ(readError(window), AXError::success);
  EXPECT_EQ(accessibility.performAction(desktop.element(button), "AXPress"), AXError::invalidUIElement);
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(SimulatedAccessibilityTest, TheHookMayTakeTrustAwayAndReplaceItself) {
  int calls = 0;
  desktop.setRequestHook([&](const AXRequest&) {
    ++calls;
    EXPECT_EQ(readError(window), AXError::success) << "its own requests do not come back to it";
    desktop.setTrusted(false);
    desktop.setRequestHook(nullptr);
  });
  EXPECT_EQ(readError(window), AXError::apiDisabled);
  desktop.setTrusted(true);
  EXPECT_EQ(readError(window), AXError::success);
  EXPECT_EQ(calls, 1);
}

// ---- Read scopes

TEST_F(SimulatedAccessibilityTest, AScopeFetchesAllAttributesOfAnElementAtOnce) {
  const auto scope = accessibility.beginReadScope();
  EXPECT_EQ(scope->copyAttributeValue(window, "AXTitle").value(), AXValue{std::string("Erase?")});
  EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").value(), AXValue{std::string("AXWindow")});
  EXPECT_EQ(scope->copyAttributeValue(window, "AXNoSuchThing").error(), AXError::attributeUnsupported);
  EXPECT_EQ(desktop.roundTrips(), 1U);
  EXPECT_THAT(scope->copyActionNames(window).value(), ElementsAre("AXRaise"));
  EXPECT_THAT(scope->copyActionNames(window).value(), ElementsAre("AXRaise"));
  EXPECT_EQ(desktop.roundTrips(), 2U);
  static_cast<void>(scope->copyAttributeValue(desktop.element(button), "AXTitle"));
  EXPECT_EQ(desktop.roundTrips(), 3U);
}

TEST_F(SimulatedAccessibilityTest, AScopeAnswersWhatWasThenAndTheNextOneWhatIsNow) {
  const auto scope = accessibility.beginReadScope();
  EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::success);
  desktop.setAttribute(dialog, "AXTitle", "Changed");
  EXPECT_EQ(scope->copyAttributeValue(window, "AXTitle").value(), AXValue{std::string("Erase?")});
  EXPECT_EQ(accessibility.copyAttributeValue(window, "AXTitle").value(), AXValue{std::string("Changed")});
  EXPECT_EQ(accessibility.beginReadScope()->copyAttributeValue(window, "AXTitle").value(),
            AXValue{std::string("Changed")});
}

TEST_F(SimulatedAccessibilityTest, AScopeAnswersForEachElementAsALiveReadDoes) {
  desktop.setAttributeError(dialog, "AXHelp", AXError::cannotComplete);
  const auto scope = accessibility.beginReadScope();
  for (const AXUIElement& element :
       {window, desktop.element(button), desktop.element(app), accessibility.createSystemWide()}) {
    for (const AXAttribute name :
         {ax::kRole, ax::kTitle, ax::kChildren, ax::kParent, ax::kPosition, ax::kFocusedWindow, ax::kFocusedUIElement,
          ax::kMain, ax::kFocused, ax::kMinimized, ax::kWindows, AXAttribute("AXHelp")}) {
      const auto live = accessibility.copyAttributeValue(element, name);
      const auto scoped = scope->copyAttributeValue(element, name);
      ASSERT_EQ(live.error(), scoped.error()) << name.name();
      if (live.hasValue()) {
        EXPECT_EQ(live.value(), scoped.value()) << name.name();
      }
    }
  }
  EXPECT_FALSE(scope->missedTimeout(window)) << "an error of one attribute is no missed time-out";
}

TEST_F(SimulatedAccessibilityTest, InAScopeAHungApplicationCostsOneWait) {
  desktop.activate(other);
  const auto scope = accessibility.beginReadScope();
  EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::success);
  desktop.hang(app);
  const Seconds passed = cost([&] {
    EXPECT_EQ(scope->copyAttributeValue(desktop.element(button), "AXRole").error(), AXError::cannotComplete);
    EXPECT_EQ(scope->copyAttributeValue(desktop.element(app), "AXWindows").error(), AXError::cannotComplete);
    EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::cannotComplete);
    EXPECT_EQ(scope->copyActionNames(window).error(), AXError::cannotComplete);
  });
  EXPECT_EQ(passed, 200ms);
  EXPECT_EQ(desktop.roundTrips(), 2U);
  EXPECT_TRUE(scope->missedTimeout(window));
  EXPECT_TRUE(scope->missedTimeout(desktop.element(app)));
  EXPECT_FALSE(scope->missedTimeout(desktop.element(other)));
  EXPECT_EQ(scope->copyAttributeValue(desktop.element(other), "AXRole").error(), AXError::success);
  desktop.unhang(app);
  EXPECT_EQ(scope->copyAttributeValue(window, "AXRole").error(), AXError::cannotComplete) << "not asked again";
  EXPECT_EQ(accessibility.beginReadScope()->copyAttributeValue(window, "AXRole").error(), AXError::success);
}

TEST_F(SimulatedAccessibilityTest, PreparingApplicationsChangesNoAnswer) {
  const auto scope = accessibility.beginReadScope();
  const std::vector<AXUIElement> applications{desktop.element(app), desktop.element(other)};
  scope->prepareApplications(applications, 80);
  EXPECT_EQ(scope->copyAttributeValue(window, "AXTitle").value(), AXValue{std::string("Erase?")});
}

}  // namespace
}  // namespace quillard::platform::simulated
