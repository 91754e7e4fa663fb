#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/PrivateDesktop.h"
#include "desktop/SampleClient.h"
#include "platform/linux/x11/XTestEvents.h"
#include "platform/linux/x11/XcbWindows.h"
#include "private-desktop/Waiting.h"
#include "support/MachineLoad.h"

namespace quillard::x11 {
namespace {

using platform::KeyCode;
using platform::MouseEventType;
using test::DesktopProgram;
using test::PrivateDesktop;
using test::SampleClient;
using test::waitFor;
using Lines = std::vector<std::string>;

constexpr Point kInside{320, 330};  // 20,30 inside a window at 300,300.

class XTestEventsTest : public testing::Test {
 protected:
  WindowID window(SampleClient& of, const DesktopProgram& program, bool isUnmanaged = false) {
    const auto id = of.open(
        {.bounds = {300, 300, 200, 150}, .process = program.pid(), .isUnmanaged = isUnmanaged, .hasFrame = false});
    if (!isUnmanaged) {
      EXPECT_TRUE(waitFor([&] { return windows.snapshot().active == id; }));
      EXPECT_TRUE(waitFor([&] { return clientBounds(id) == Rect({300, 300, 200, 150}); }));
    }
    return id;
  }
  Rect clientBounds(WindowID id) {
    for (const auto& each : windows.snapshot().windows) {
      if (each.id == id) return each.clientBounds;
    }
    return {};
  }
  void click(std::int32_t process, Point point = kInside) {
    for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
      const auto event = input.createMouseEvent(type, point);
      ASSERT_TRUE(event);
      input.postToProcess(process, *event);
    }
  }
  void pressKey(std::int32_t process, KeyCode key) {
    for (const bool isDown : {true, false}) {
      const auto event = input.createKeyboardEvent(key, isDown);
      ASSERT_TRUE(event);
      input.postToProcess(process, *event);
    }
  }
  static testing::AssertionResult gets(SampleClient& client, const Lines& lines) {
    if (waitFor([&] { return client.input() == lines; }, std::chrono::seconds{10})) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure() << "It got:";
    for (const auto& line : client.input()) failure << " " << line << ";";
    return failure;
  }
  // What was posted before has arrived by the time the server answers: nothing more is to come.
  static bool gotNothing(SampleClient& client) { return client.input().empty(); }

  PrivateDesktop desktop;
  DesktopProgram ownerProgram = desktop.launch("sleep", {"1000"});
  DesktopProgram otherProgram = desktop.launch("sleep", {"1000"});
  SampleClient owner{desktop.display()};
  SampleClient other{desktop.display()};
  XcbWindows windows{desktop.display()};
  XTestEvents input{desktop.display(), windows, true};
};

TEST_F(XTestEventsTest, AClickLandsInTheWindowUnderThePoint) {
  window(owner, ownerProgram);
  click(ownerProgram.pid());
  EXPECT_TRUE(gets(owner, {"press 1 at 20,30", "release 1 at 20,30"}));
}

TEST_F(XTestEventsTest, KeysLandInTheActiveWindow) {
  window(owner, ownerProgram);
  pressKey(ownerProgram.pid(), KeyCode::returnKey);
  pressKey(ownerProgram.pid(), KeyCode::space);
  pressKey(ownerProgram.pid(), KeyCode::escape);
  EXPECT_TRUE(gets(owner, {"key 36 down", "key 36 up", "key 65 down", "key 65 up", "key 9 down", "key 9 up"}));
}

TEST_F(XTestEventsTest, AClickForAProcessNeverHitsTheWindowOfAnotherOne) {
  window(owner, ownerProgram);
  window(other, otherProgram);  // At the same place, in front.
  click(ownerProgram.pid());
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(gotNothing(other));
  click(otherProgram.pid());
  EXPECT_TRUE(gets(other, {"press 1 at 20,30", "release 1 at 20,30"}));
  EXPECT_TRUE(gotNothing(owner));
}

TEST_F(XTestEventsTest, AClickForAProcessNeverHitsAMenuInFrontOfIt) {
  window(owner, ownerProgram);
  window(other, otherProgram, /*isUnmanaged=*/true);
  click(ownerProgram.pid());
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(gotNothing(other));
}

TEST_F(XTestEventsTest, AClickForAProcessNeverHitsWindowsThatDoNotSayWhoseTheyAre) {
  window(owner, ownerProgram);
  const auto silent = other.open({.bounds = {300, 300, 200, 150}, .hasFrame = false});
  ASSERT_TRUE(waitFor([&] { return windows.snapshot().active == silent; }));
  click(ownerProgram.pid());
  click(0);
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(gotNothing(other));
}

TEST_F(XTestEventsTest, AClickForAProcessNeverHitsTheBareDesktop) {
  window(owner, ownerProgram);
  click(ownerProgram.pid(), {900, 900});
  EXPECT_TRUE(gotNothing(owner));
}

// Which of its windows has the keyboard then is for the caller to see before the key goes there.
TEST_F(XTestEventsTest, AKeyForAProcessInTheBackBringsItToTheFrontAndIsNotPosted) {
  const auto back = window(owner, ownerProgram);
  window(other, otherProgram);
  const auto key = input.createKeyboardEvent(KeyCode::space, true);
  ASSERT_TRUE(key);
  EXPECT_FALSE(input.postToProcess(ownerProgram.pid(), *key));
  EXPECT_TRUE(waitFor([&] { return windows.snapshot().active == back; }));
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(waitFor([&] { return input.postToProcess(ownerProgram.pid(), *key); }));
  EXPECT_TRUE(gets(owner, {"key 65 down"}));
  EXPECT_TRUE(gotNothing(other));
}

TEST_F(XTestEventsTest, AKeyForAProcessThatCannotComeToTheFrontIsNotPosted) {
  const auto minimised = window(owner, ownerProgram);
  window(other, otherProgram);
  owner.minimise(minimised);
  ASSERT_TRUE(waitFor([&] { return windows.snapshot().windows.size() == 2 && clientBounds(minimised).width > 0; }));
  pressKey(999'999'999, KeyCode::space);
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(gotNothing(other));
}

TEST(XTestEvents, AKeyIsNotPostedWithoutAWindowManagerThatGivesTheKeyboard) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  XTestEvents input{desktop.display(), windows, true};
  auto program = desktop.launch("sleep", {"1000"});
  client.open({.process = program.pid()});
  const auto key = input.createKeyboardEvent(KeyCode::returnKey, true);
  ASSERT_TRUE(key);
  const auto begin = std::chrono::steady_clock::now();
  input.postToProcess(program.pid(), *key);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, test::onThisMachine(std::chrono::seconds{5}));
  EXPECT_TRUE(client.input().empty());
}

TEST_F(XTestEventsTest, AReleaseFollowsItsPressEvenWhenTheWindowIsNoLongerInFront) {
  window(owner, ownerProgram);
  const auto down = input.createMouseEvent(MouseEventType::leftMouseDown, kInside);
  const auto up = input.createMouseEvent(MouseEventType::leftMouseUp, kInside);
  ASSERT_TRUE(down && up);
  input.postToProcess(ownerProgram.pid(), *down);
  ASSERT_TRUE(gets(owner, {"press 1 at 20,30"}));
  window(other, otherProgram, /*isUnmanaged=*/true);
  input.postToProcess(ownerProgram.pid(), *up);
  EXPECT_TRUE(gets(owner, {"press 1 at 20,30", "release 1 at 20,30"}));
  EXPECT_TRUE(gotNothing(other));
}

TEST_F(XTestEventsTest, AReleaseWithoutItsPressIsNotPosted) {
  window(owner, ownerProgram);
  const auto up = input.createMouseEvent(MouseEventType::leftMouseUp, kInside);
  const auto keyUp = input.createKeyboardEvent(KeyCode::space, false);
  ASSERT_TRUE(up && keyUp);
  input.postToProcess(ownerProgram.pid(), *up);
  input.postToProcess(ownerProgram.pid(), *keyUp);
  EXPECT_TRUE(gotNothing(owner));
}

TEST_F(XTestEventsTest, NothingStaysPressedWhenItGoes) {
  window(owner, ownerProgram);
  {
    XTestEvents brief{desktop.display(), windows, true};
    const auto down = brief.createMouseEvent(MouseEventType::leftMouseDown, kInside);
    const auto keyDown = brief.createKeyboardEvent(KeyCode::space, true);
    ASSERT_TRUE(down && keyDown);
    brief.postToProcess(ownerProgram.pid(), *down);
    brief.postToProcess(ownerProgram.pid(), *keyDown);
  }
  EXPECT_TRUE(waitFor([&] { return owner.hasInput("release 1 at 20,30") && owner.hasInput("key 65 up"); }));
}

TEST_F(XTestEventsTest, TheHardwaresWayLeadsToWhateverIsThereIfItIsTheExpectedProgram) {
  window(owner, ownerProgram);
  window(other, otherProgram);
  for (const auto type : {MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
    if (type == MouseEventType::leftMouseDown) {
      EXPECT_FALSE(input.postToDesktop(*input.createMouseEvent(type, kInside), ownerProgram.pid()));
      EXPECT_FALSE(input.postToDesktop(*input.createMouseEvent(type, kInside), std::nullopt));
    }
    EXPECT_TRUE(input.postToDesktop(*input.createMouseEvent(type, kInside), otherProgram.pid()));
  }
  ASSERT_TRUE(gets(other, {"press 1 at 20,30", "release 1 at 20,30"}));
  for (const bool isDown : {true, false}) {
    const auto key = input.createKeyboardEvent(KeyCode::returnKey, isDown);
    if (isDown) {
      EXPECT_FALSE(input.postToDesktop(*key, ownerProgram.pid()));
    }
    EXPECT_TRUE(input.postToDesktop(*key, otherProgram.pid()));
  }
  EXPECT_TRUE(gets(other, {"press 1 at 20,30", "release 1 at 20,30", "key 36 down", "key 36 up"}));
  EXPECT_TRUE(gotNothing(owner));
}

TEST_F(XTestEventsTest, WithinAWaylandSessionNothingIsPostedToTheDesktop) {
  window(owner, ownerProgram);
  XTestEvents guest{desktop.display(), windows, false};
  EXPECT_FALSE(
      guest.postToDesktop(*guest.createMouseEvent(MouseEventType::leftMouseDown, kInside), ownerProgram.pid()));
  EXPECT_FALSE(guest.postToDesktop(*guest.createKeyboardEvent(KeyCode::returnKey, true), ownerProgram.pid()));
  EXPECT_TRUE(gotNothing(owner));
}

TEST_F(XTestEventsTest, WhileTheScreenIsLockedNothingIsPressed) {
  bool isLocked = true;
  XTestEvents behindLock{desktop.display(), windows, true, [&] { return isLocked; }};
  const auto down = behindLock.createKeyboardEvent(platform::KeyCode::space, true);
  const auto up = behindLock.createKeyboardEvent(platform::KeyCode::space, false);
  ASSERT_TRUE(down && up);
  window(owner, ownerProgram);
  const auto process = ownerProgram.pid();
  EXPECT_FALSE(behindLock.postToDesktop(*down, process));
  EXPECT_FALSE(behindLock.postToProcess(process, *down));
  isLocked = false;
  EXPECT_FALSE(behindLock.postToDesktop(*up, process)) << "Nothing was pressed that could be released.";
  EXPECT_TRUE(behindLock.postToDesktop(*down, process));
  EXPECT_TRUE(behindLock.postToDesktop(*up, process));
}

// While it is asked whether the screen is locked, the program opens another window.
TEST_F(XTestEventsTest, NothingIsPressedInAWindowThatCameMeanwhile) {
  window(owner, ownerProgram);
  int timesAsked = 0;
  bool isUnmanaged = false;
  XTestEvents slow{desktop.display(), windows, true, [&] {
                     ++timesAsked;
                     window(other, ownerProgram, isUnmanaged);
                     return false;
                   }};
  const auto key = slow.createKeyboardEvent(KeyCode::returnKey, true);
  ASSERT_TRUE(key);
  EXPECT_FALSE(slow.postToProcess(ownerProgram.pid(), *key));
  isUnmanaged = true;
  const auto down = slow.createMouseEvent(MouseEventType::leftMouseDown, kInside);
  ASSERT_TRUE(down);
  EXPECT_FALSE(slow.postToProcess(ownerProgram.pid(), *down));
  EXPECT_EQ(timesAsked, 2);
  EXPECT_TRUE(gotNothing(owner));
  EXPECT_TRUE(gotNothing(other));
}

TEST_F(XTestEventsTest, AnEventMayBePostedAgain) {
  window(owner, ownerProgram);
  const auto down = input.createMouseEvent(MouseEventType::leftMouseDown, kInside);
  const auto up = input.createMouseEvent(MouseEventType::leftMouseUp, kInside);
  Lines expected;
  for (int i = 0; i < 2; ++i) {
    input.postToProcess(ownerProgram.pid(), *down);
    input.postToProcess(ownerProgram.pid(), *up);
    expected.insert(expected.end(), {"press 1 at 20,30", "release 1 at 20,30"});
    EXPECT_TRUE(gets(owner, expected));
  }
}

TEST_F(XTestEventsTest, PointsOutsideTheScreenMakeNoEvent) {
  const double notANumber = std::numeric_limits<double>::quiet_NaN();
  const double endless = std::numeric_limits<double>::infinity();
  for (const Point point : {Point{-1, 5}, Point{5, -1}, Point{1280, 5}, Point{5, 1024}, Point{notANumber, 5},
                            Point{5, notANumber}, Point{endless, 5}, Point{5, -endless}}) {
    EXPECT_FALSE(input.createMouseEvent(MouseEventType::leftMouseDown, point)) << point.x << "," << point.y;
  }
  EXPECT_TRUE(input.createMouseEvent(MouseEventType::leftMouseDown, {0, 0}));
  EXPECT_TRUE(input.createMouseEvent(MouseEventType::leftMouseDown, {1279, 1023}));
}

TEST_F(XTestEventsTest, PressesARealButton) {
  auto zenity = desktop.launch("zenity", {"--question", "--text", "Really?"});
  ASSERT_TRUE(waitFor([&] {
    const auto snapshot = windows.snapshot();
    return snapshot.active && snapshot.windows.front().processIdentifier == zenity.pid();
  }));
  // Its default button has the focus as soon as the dialog listens.
  EXPECT_TRUE(waitFor([&] {
    pressKey(zenity.pid(), KeyCode::escape);
    return zenity.wait(std::chrono::milliseconds{50}).has_value();
  }));
  EXPECT_EQ(zenity.wait(), 1);
}

TEST_F(XTestEventsTest, NothingIsMadeOrPostedOnceTheServerIsGone) {
  const auto down = input.createMouseEvent(MouseEventType::leftMouseDown, kInside);
  const auto key = input.createKeyboardEvent(KeyCode::space, true);
  ASSERT_TRUE(down && key);
  desktop.killDisplay();
  EXPECT_FALSE(input.postToDesktop(*down, ownerProgram.pid()));
  input.postToProcess(ownerProgram.pid(), *key);
  EXPECT_FALSE(input.createMouseEvent(MouseEventType::moved, kInside));
  EXPECT_FALSE(input.createKeyboardEvent(KeyCode::space, true));
}

TEST(XTestEvents, NothingIsMadeWithoutAServer) {
  XcbWindows windows{std::nullopt};
  XTestEvents input{std::nullopt, windows, true};
  EXPECT_FALSE(input.createMouseEvent(MouseEventType::moved, {1, 1}));
  EXPECT_FALSE(input.createKeyboardEvent(KeyCode::returnKey, true));
}

}  // namespace
}  // namespace quillard::x11
