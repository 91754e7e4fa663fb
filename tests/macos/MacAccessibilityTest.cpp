#include <atomic>
#include <chrono>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "macos/MacAccessibilityFixture.h"
#include "platform/macos/AXElement.h"
#include "platform/macos/AXValues.h"
#include "platform/macos/MacAXObserver.h"

namespace quillard::test {
namespace {

using fakes::Held;
using platform::AXError;
using platform::AXForeignValue;
using platform::AXUIElement;
using platform::AXValue;
using platform::simulated::NodeHandle;
namespace ax = platform::ax;

TEST_F(MacAccessibility, GivesEachValueInItsKind) {
  EXPECT_EQ(readAs(fakes::booleanObject(true)).value(), AXValue(true));
  EXPECT_EQ(readAs(fakes::booleanObject(false)).value(), AXValue(false));
  EXPECT_EQ(readAs(fakes::integerObject(-3)).value(), AXValue(std::int64_t{-3}));
  EXPECT_EQ(readAs(fakes::realObject(0.5)).value(), AXValue(0.5));
  EXPECT_EQ(readAs(fakes::stringObject("größer 😀")).value(), AXValue(std::string("größer 😀")));
  EXPECT_EQ(readAs(fakes::stringObject("")).value(), AXValue(std::string()));
  EXPECT_EQ(readAs(fakes::arrayObject({})).value(), AXValue(std::vector<AXUIElement>{}));
  const CGPoint point{1, -2};
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeCGPoint, &point))).value(), AXValue(Point{1, -2}));
  const CGSize size{3, 4};
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeCGSize, &size))).value(), AXValue(Size{3, 4}));
  const CGRect rect{{1, 2}, {3, 4}};
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeCGRect, &rect))).value(), AXValue(Rect{1, 2, 3, 4}));
}

TEST_F(MacAccessibility, WhatTheCoreDoesNotReadIsForeign) {
  const AXValue foreign{AXForeignValue{}};
  const CFRange range{1, 2};
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeCFRange, &range))).value(), foreign);
  EXPECT_EQ(readAs(fakes::dictionaryObject({})).value(), foreign);
  EXPECT_EQ(readAs(Held::take(CFDateCreate(nullptr, 0))).value(), foreign);
  EXPECT_EQ(readAs(fakes::arrayObject({fakes::stringObject("text")})).value(), foreign);
  const auto element = Held::take(AXUIElementCreateApplication(1));
  EXPECT_EQ(readAs(fakes::arrayObject({element, fakes::booleanObject(true)})).value(), foreign);
}

TEST_F(MacAccessibility, TextThatIsBrokenOrTooLongIsUnreadable) {
  const AXValue unreadable{platform::AXUnreadableText{}};
  EXPECT_EQ(readAs(Held::take(new __CFString(u"half \xD83D"))).value(), unreadable);
  EXPECT_EQ(readAs(Held::take(new __CFString(u"\xDE00\xD83D"))).value(), unreadable);
  EXPECT_EQ(readAs(fakes::stringObject(std::string(64 * 1024 + 1, 'x'))).value(), unreadable);
  const std::string longest(std::size_t{64} * 1024, 'x');
  EXPECT_EQ(readAs(fakes::stringObject(longest)).value(), AXValue(longest));
}

TEST_F(MacAccessibility, SuccessWithoutAValueIsNoValue) {
  EXPECT_EQ(readAs(Held()).error(), AXError::noValue);
  EXPECT_EQ(readAs(Held::share(kCFNull)).error(), AXError::noValue);
}

TEST_F(MacAccessibility, EveryErrorHasAWord) {
  const std::vector<std::pair<::AXError, AXError>> table{
      {kAXErrorFailure, AXError::failure},
      {kAXErrorIllegalArgument, AXError::illegalArgument},
      {kAXErrorInvalidUIElement, AXError::invalidUIElement},
      {kAXErrorInvalidUIElementObserver, AXError::failure},
      {kAXErrorCannotComplete, AXError::cannotComplete},
      {kAXErrorAttributeUnsupported, AXError::attributeUnsupported},
      {kAXErrorActionUnsupported, AXError::actionUnsupported},
      {kAXErrorNotificationUnsupported, AXError::failure},
      {kAXErrorNotImplemented, AXError::notImplemented},
      {kAXErrorAPIDisabled, AXError::apiDisabled},
      {kAXErrorNoValue, AXError::noValue},
      {kAXErrorNotEnoughPrecision, AXError::failure},
  };
  const AXUIElement window = openWindow();
  for (const auto& [given, expected] : table) {
    mac->system.odd.errors.insert_or_assign("AXRole", given);
    EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kRole).error(), expected) << given;
  }
}

TEST_F(MacAccessibility, AnErrorInAValuesPlaceIsThatError) {
  const ::AXError error = kAXErrorCannotComplete;
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeAXError, &error))).error(), AXError::cannotComplete);
  const ::AXError none = kAXErrorSuccess;
  EXPECT_EQ(readAs(Held::take(AXValueCreate(kAXValueTypeAXError, &none))).error(), AXError::noValue);
}

TEST_F(MacAccessibility, ADeadElementIsInvalid) {
  const AXUIElement window = openWindow();
  mac->desktop.close(prompt);
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kRole).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.copyActionNames(window).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.performAction(window, ax::kRaiseAction), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.setAttributeValue(window, ax::kMain, true), AXError::invalidUIElement);
}

TEST_F(MacAccessibility, AnElementOfAnotherBindingIsInvalid) {
  const NodeHandle node = mac->desktop.open({.title = "Camera"});
  const AXUIElement foreign = mac->desktop.element(node);
  EXPECT_EQ(mac->accessibility.copyAttributeValue(foreign, ax::kRole).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.copyActionNames(foreign).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.performAction(foreign, ax::kPressAction), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.copyElementAtPosition(foreign, {}).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.processIdentifier(foreign), std::nullopt);
  EXPECT_EQ(mac->accessibility.setAttributeValue(openWindow(), ax::kFocusedWindow, foreign), AXError::illegalArgument);
  EXPECT_EQ(mac->accessibility.beginReadScope()->copyAttributeValue(foreign, ax::kRole).error(),
            AXError::invalidUIElement);
}

TEST_F(MacAccessibility, NamesThatAreNoTextAreRefusedWithoutARequest) {
  const AXUIElement window = openWindow();
  mac->desktop.resetRoundTrips();
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, "AX\xFF").error(), AXError::illegalArgument);
  EXPECT_EQ(mac->accessibility.performAction(window, "AX\xFF"), AXError::illegalArgument);
  EXPECT_EQ(mac->accessibility.setAttributeValue(window, "AX\xFF", true), AXError::illegalArgument);
  EXPECT_EQ(mac->accessibility.setAttributeValue(window, ax::kTitle, std::string("\xFF")), AXError::illegalArgument);
  EXPECT_EQ(mac->desktop.roundTrips(), 0U);
}

TEST_F(MacAccessibility, ActionNamesThatAreNoListOfTextsAreAFailure) {
  const AXUIElement window = openWindow();
  mac->system.odd.actionNames = fakes::arrayObject({fakes::integerObject(1)});
  EXPECT_EQ(mac->accessibility.copyActionNames(window).error(), AXError::failure);
  mac->system.odd.actionNames = fakes::stringObject("AXPress");
  EXPECT_EQ(mac->accessibility.copyActionNames(window).error(), AXError::failure);
  mac->system.odd.actionNames.reset();
  mac->system.odd.givesNullArrays = true;
  EXPECT_EQ(mac->accessibility.copyActionNames(window).error(), AXError::failure);
}

TEST_F(MacAccessibility, WhatCanBeSaidToTheSystemIsReadBackEqual) {
  const auto one = mac->accessibility.createApplication(41);
  const auto other = mac->accessibility.createApplication(42);
  const std::vector<AXValue> values{true,
                                    std::int64_t{7},
                                    std::numeric_limits<std::int64_t>::max(),
                                    1.5,
                                    std::string("Ünïcode 😀"),
                                    Point{1, 2},
                                    Size{3, 4},
                                    Rect{5, 6, 7, 8},
                                    one,
                                    std::vector<AXUIElement>{one, other}};
  for (const AXValue& value : values) {
    EXPECT_EQ(macos::valueFrom(macos::cfValueFrom(value).get()).value(), value) << value.index();
  }
  EXPECT_FALSE(macos::cfValueFrom(AXForeignValue{}));
}

// ---- Time-outs

TEST_F(MacAccessibility, BoundsEveryRequestOfTheProcessFromTheStart) {
  const AXUIElement window = openWindow();
  mac->desktop.hang(*mac->desktop.owner(prompt));
  EXPECT_NEAR(waitedFor(window).count(), 0.2, 1e-6);
}

TEST_F(MacAccessibility, BoundsTheElementOfEachApplicationBesides) {
  const AXUIElement window = openWindow();
  const auto process = mac->desktop.owner(prompt)->processIdentifier;
  mac->desktop.hang({process});
  mac->system.processTimeout = 1;
  const AXUIElement application = mac->accessibility.createApplication(process);
  EXPECT_NEAR(waitedFor(application).count(), 0.2, 1e-6);
  const AXUIElement& copy = application;
  EXPECT_NEAR(waitedFor(copy).count(), 0.2, 1e-6);
  EXPECT_NEAR(waitedFor(window).count(), 1, 1e-6) << "a bound holds for its handle and the copies of that only";
}

TEST_F(MacAccessibility, IsMadeWithAnotherTimeoutWhereThatIsWanted) {
  const AXUIElement window = openWindow();
  const macos::MacAccessibility slower{macos::AXCalls{}, mac->frontmost(), mac->world.time(), Seconds{0.5}};
  mac->desktop.hang(*mac->desktop.owner(prompt));
  EXPECT_NEAR(waitedFor(window).count(), 0.5, 1e-6) << "the newest holds for the whole process";
}

TEST_F(MacAccessibility, AnApplicationThatAnswersJustInTimeIsHeard) {
  const AXUIElement window = openWindow();
  mac->desktop.slow(*mac->desktop.owner(prompt), Seconds{0.19});
  EXPECT_TRUE(mac->accessibility.copyAttributeValue(window, ax::kRole).hasValue());
  mac->desktop.slow(*mac->desktop.owner(prompt), Seconds{0.21});
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kRole).error(), AXError::cannotComplete);
}

TEST_F(MacAccessibility, APressThatTimesOutMayHappenAllTheSame) {
  openWindow();
  const auto button = *mac->desktop.findButton(prompt, "Allow");
  const auto center = *mac->desktop.frame(button);
  const auto hit =
      mac->accessibility.copyElementAtPosition(mac->accessibility.createSystemWide(), {center.x + 1, center.y + 1});
  ASSERT_TRUE(hit.hasValue());
  mac->desktop.slow(*mac->desktop.owner(prompt), Seconds{0.3});
  EXPECT_EQ(mac->accessibility.performAction(hit.value(), ax::kPressAction), AXError::cannotComplete);
  mac->world.advance(Seconds{1});
  EXPECT_EQ(mac->desktop.pressed(prompt), "Allow");
}

// ---- Trust

TEST_F(MacAccessibility, AnUntrustedProcessIsToldSoAndNeverAsks) {
  const AXUIElement window = openWindow();
  mac->desktop.setTrusted(false);
  EXPECT_NE(mac->accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kRole).error(), AXError::apiDisabled);
  EXPECT_EQ(mac->accessibility.performAction(window, ax::kRaiseAction), AXError::apiDisabled);
  EXPECT_EQ(mac->accessibility.beginReadScope()->copyAttributeValue(window, ax::kRole).error(), AXError::apiDisabled);
  mac->desktop.setTrusted(true);
  EXPECT_EQ(mac->accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(mac->system.trustQuestions, 0);
}

TEST_F(MacAccessibility, TrustChangesAreToldInATurnOfTheMainThreadWhileAnyoneListens) {
  int hints = 0;
  auto subscription = mac->accessibility.observeTrustChanges([&] { ++hints; });
  mac->system.announce("com.apple.accessibility.api");
  EXPECT_EQ(hints, 0);
  mac->world.advance(Seconds{0});
  EXPECT_EQ(hints, 1);
  mac->system.announce("com.example.another.notice");
  mac->world.advance(Seconds{0});
  EXPECT_EQ(hints, 1);
  mac->system.announce("com.apple.accessibility.api");
  subscription.reset();  // With one under way.
  mac->system.announce("com.apple.accessibility.api");
  mac->world.advance(Seconds{1});
  EXPECT_EQ(hints, 1);
  EXPECT_TRUE(mac->system.observers.empty());
}

// ---- Secure text

TEST_F(MacAccessibility, ACarelessApplicationsSecureTextIsWithheld) {
  const AXUIElement window = openWindow();
  mac->system.odd.values.insert_or_assign("AXSubrole", fakes::stringObject("AXSecureTextField"));
  mac->system.odd.values.insert_or_assign("AXValue", fakes::stringObject("hunter2"));
  for (const bool answersLists : {true, false}) {
    if (!answersLists) mac->system.odd.batchError = kAXErrorNotImplemented;
    EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kValue).error(), AXError::noValue);
    EXPECT_EQ(mac->accessibility.beginReadScope()->copyAttributeValue(window, ax::kValue).error(), AXError::noValue);
  }
}

TEST_F(MacAccessibility, AValueWhoseSubroleCannotBeReadIsWithheld) {
  const AXUIElement window = openWindow();
  mac->system.odd.errors.insert_or_assign("AXSubrole", kAXErrorFailure);
  mac->system.odd.values.insert_or_assign("AXValue", fakes::stringObject("hunter2"));
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kValue).error(), AXError::failure);
  EXPECT_EQ(mac->accessibility.beginReadScope()->copyAttributeValue(window, ax::kValue).error(), AXError::failure);
}

TEST_F(MacAccessibility, AValueWhoseSubroleIsNoTextIsWithheld) {
  const AXUIElement window = openWindow();
  mac->system.odd.values.insert_or_assign("AXValue", fakes::stringObject("hunter2"));
  for (const Held& odd : {fakes::integerObject(1), Held::take(new __CFString(u"AXSecureTextField\xD83D"))}) {
    mac->system.odd.values.insert_or_assign("AXSubrole", odd);
    EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kValue).error(), AXError::failure);
    EXPECT_EQ(mac->accessibility.beginReadScope()->copyAttributeValue(window, ax::kValue).error(), AXError::failure);
  }
}

TEST_F(MacAccessibility, AValueOfAnElementWithoutSubroleIsGiven) {
  const AXUIElement window = openWindow();
  mac->system.odd.values.insert_or_assign("AXValue", fakes::stringObject("plain"));
  for (const ::AXError none : {kAXErrorNoValue, kAXErrorAttributeUnsupported}) {
    mac->system.odd.errors.insert_or_assign("AXSubrole", none);
    EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kValue).value(), AXValue(std::string("plain")));
  }
  mac->system.odd.errors.clear();
  mac->system.odd.values.insert_or_assign("AXSubrole", Held::share(kCFNull));
  EXPECT_EQ(mac->accessibility.copyAttributeValue(window, ax::kValue).value(), AXValue(std::string("plain")));
}

// ---- This very process, for which the system would answer on the thread that asks: the fakes stop a test that
// asks

TEST_F(MacAccessibility, ElementsOfThisProcessAreInvalidAndNeverAsked) {
  const AXUIElement itself = mac->accessibility.createApplication(::getpid());
  EXPECT_EQ(mac->accessibility.copyAttributeValue(itself, ax::kWindows).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.copyActionNames(itself).error(), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.setAttributeValue(itself, ax::kFrontmost, true), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.performAction(itself, ax::kRaiseAction), AXError::invalidUIElement);
  EXPECT_EQ(mac->accessibility.copyElementAtPosition(itself, {1, 1}).error(), AXError::invalidUIElement);
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_EQ(scope->copyAttributeValue(itself, ax::kWindows).error(), AXError::invalidUIElement);
  EXPECT_EQ(scope->copyActionNames(itself).error(), AXError::invalidUIElement);
  EXPECT_FALSE(scope->missedTimeout(itself));
  EXPECT_EQ(mac->accessibility.processIdentifier(itself), ::getpid());
}

// ---- Observers, and where requests are made

TEST_F(MacAccessibility, AnObserverIsUndoneAndItsFailureIgnored) {
  const AXUIElement application = mac->accessibility.createApplication(41);
  macos::MacAXObserver observer(macos::CFHandle<AXObserverRef>::adopt(new __AXObserver));
  observer.removeNotification(application, "AXWindowCreated");
  observer.removeNotification(application, "AX\xFF");
  observer.detachFromRunLoop();
  EXPECT_EQ(mac->system.removedNotifications, (std::vector<std::pair<std::string, pid_t>>{{"AXWindowCreated", 41}}));
  EXPECT_EQ(mac->system.detachedSources, 1);
}

// One thread for each turn; a turn is current on its own.
class ThreadExecutor final : public platform::SerialExecutor {
 public:
  ~ThreadExecutor() override {
    for (auto& thread : threads) thread.join();
  }
  void post(platform::Turn turn) override {
    threads.emplace_back([this, turn = std::move(turn)] {
      isInTurn = true;
      turn();
      ++turns;
    });
  }
  [[nodiscard]] platform::TaskHandle postAfter(Seconds, platform::Turn) override { return nullptr; }
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds, platform::Turn) override { return nullptr; }
  [[nodiscard]] bool isCurrent() const override { return isInTurn; }

  std::atomic<int> turns{0};

 private:
  static thread_local bool isInTurn;
  std::vector<std::thread> threads;
};
thread_local bool ThreadExecutor::isInTurn = false;

TEST(AXCalls, AreMadeWhereTheExecutorIsAndAwaited) {
  const auto here = std::this_thread::get_id();
  std::thread::id there;
  {
    ThreadExecutor executor;
    const macos::AXCalls calls{&executor};
    EXPECT_EQ(calls.run([&] {
      there = std::this_thread::get_id();
      return calls.run([&] { return there == std::this_thread::get_id() ? 7 : 0; });  // In place: no second turn.
    }),
              7);
    bool isDone = false;
    calls.run([&] { isDone = true; });
    EXPECT_TRUE(isDone);
  }
  EXPECT_NE(there, here);
}

TEST(AXCalls, WithoutAnExecutorAreMadeByTheCaller) {
  EXPECT_EQ(macos::AXCalls{}.run([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

}  // namespace
}  // namespace quillard::test
