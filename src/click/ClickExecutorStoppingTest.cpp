#include <gtest/gtest.h>

#include "support/ClickExecutorFixture.h"

// Presses that end early, or that an application keeps waiting.
namespace quillard {
namespace {

using platform::AXError;
using platform::MouseEventType;
using platform::simulated::AXRequest;
using platform::simulated::AXRequestKind;
using platform::simulated::PostedEvent;

// ---- Stopping

TEST_F(ClickExecutorTest, EndsWithinATenthOfASecondOfARequestToStop) {
  for (double at = 0; at < 16400; at += 113) {
    ClickWorld other;
    other.approve(other.question(PressEffect::doesNothing()));
    const auto start = other.world.time().monotonicNow();
    other.stopAt = advanced(start, ms(at));
    EXPECT_EQ(other.click(), ClickError::promptStillPresent);
    EXPECT_GE(other.took, ms(at));
    EXPECT_LE(other.took, ms(at + 100)) << at;
    for (const auto& press : other.desktop().presses())
      EXPECT_LT(press.at, *other.stopAt + std::chrono::milliseconds(81));
    const auto& posted = other.events.posted();
    const auto downs =
        std::count_if(posted.begin(), posted.end(), [](const PostedEvent& event) { return event.isDown; });
    const auto ups = std::count_if(posted.begin(), posted.end(), [](const PostedEvent& event) {
      return !event.isDown && event.mouse != MouseEventType::moved;
    });
    EXPECT_EQ(downs, ups) << "nothing stays held down";
  }
}

TEST_F(ClickExecutorTest, DoesNothingWhenItIsToStopFromTheStart) {
  approve(question());
  stopAt = world.time().monotonicNow();
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  EXPECT_EQ(trace(), Lines{});
}

TEST_F(ClickExecutorTest, DoesNothingWhenItIsStoppedDuringTheChecks) {
  approve(question());
  fakePresence = [this] {
    stopAt = world.time().monotonicNow();
    return true;
  };
  EXPECT_EQ(clickAndTrace(), ClickError::promptStillPresent);
  EXPECT_EQ(trace(), Lines{});
}

// ---- Hung applications

TEST_F(ClickExecutorTest, AHungApplicationIsNotPressedAndCostsOnlyItsTimeOuts) {
  approve(question());
  desktop().hang(application, platform::simulated::LateActions::performedOnUnhang);
  fakeSearch = [] { return std::nullopt; };
  EXPECT_EQ(click(), ClickError::promptNotReadable);
  EXPECT_LT(took, Seconds{2.5}) << "one schedule, and a time-out for each of its checks";
  desktop().unhang(application);
  world.advance(Seconds{1});
  EXPECT_TRUE(desktop().presses().empty()) << "no action was requested that it could perform late";
}

TEST_F(ClickExecutorTest, BoundsTheWaitsForTheApplicationItself) {
  approve(question());
  fakePresence = [] { return true; };
  fakeSearch = [] { return std::nullopt; };
  desktop().hang(application);
  EXPECT_EQ(click(), ClickError::buttonNotFound);
  EXPECT_EQ(took, ms(400)) << "one read before the press, one for whether it died";
}

TEST_F(ClickExecutorTest, BoundsTheWaitsForAnApplicationThatLiesAboveThePrompt) {
  approve(question(PressEffect::fails(AXError::failure)));
  const auto other = desktop().launch({.name = "Other"});
  const auto above = desktop().open(other, question());
  fakePresence = [] { return true; };
  desktop().setRequestHook([&](const AXRequest& request) {
    if (request.name != platform::ax::kRaiseAction) return;
    desktop().hang(other);
    desktop().later(Seconds{0.05}, [&] { desktop().raise(above); });
  });
  EXPECT_EQ(click(), ClickError::promptStillPresent);
  EXPECT_LT(took, Seconds{16});
  EXPECT_TRUE(std::none_of(events.posted().begin(), events.posted().end(),
                           [](const PostedEvent& event) { return event.mouse.has_value(); }));
  EXPECT_FALSE(desktop().pressed(above).has_value());
}

TEST_F(ClickExecutorTest, APressThatASlowApplicationTakesLateIsNotRepeated) {
  approve(question());
  desktop().setRequestHook([this](const AXRequest& request) {
    desktop().slow(application, request.kind == AXRequestKind::performAction ? ms(250) : ms(0));
  });
  EXPECT_EQ(click(), std::nullopt);
  EXPECT_EQ(rightPresses, 1);
  EXPECT_EQ(wrongPresses, Lines{});
}

}  // namespace
}  // namespace quillard
