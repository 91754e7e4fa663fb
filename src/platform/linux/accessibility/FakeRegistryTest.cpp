#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/AccessibleProcessList.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/FakeProgramWorld.h"

// The binding where the bus, its launcher or its list of programs fails: nothing is known then, and nothing has gone.
namespace quillard::atspi {
namespace {

using platform::AXError;
using platform::DesktopReadFailure;
using platform::ProcessTrust;
using test::FakeProgram;
using test::FakeProgramWorld;
using test::object;
namespace ax = platform::ax;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// What a scope that has read one application says of the desktop.
std::optional<DesktopReadFailure> failureOf(FakeProgramWorld& world) {
  const auto scope = world.accessibility.beginReadScope();
  (void)AXHelpers::windows(*scope, world.application());
  return scope->desktopFailure();
}

TEST(FakePrograms, AHungRegistryIsNoEmptyDesktop) {
  FakeProgramWorld world{Seconds{0.1}};
  world.bus.registry().hangOn("GetChildren");
  EXPECT_EQ(world.accessibility.copyAttributeValue(world.application(), ax::kWindows).error(), AXError::cannotComplete);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::nullopt) << "It cannot be told.";
  EXPECT_EQ(failureOf(world), DesktopReadFailure::applicationList);
  world.bus.registry().goOnWith("GetChildren");
  EXPECT_EQ(failureOf(world), std::nullopt);
}

TEST(FakePrograms, ARegistryThatAnswersNonsenseIsNoEmptyDesktop) {
  FakeProgramWorld world;
  world.bus.registry().lieOn("GetChildren");
  EXPECT_FALSE(world.accessibility.copyAttributeValue(world.application(), ax::kWindows).hasValue());
  EXPECT_EQ(failureOf(world), DesktopReadFailure::applicationList);
}

TEST(FakePrograms, AHungProgramIsNoFailureOfTheDesktop) {
  FakeProgramWorld world{Seconds{0.1}};
  world.program->hangOn("GetChildren");
  EXPECT_EQ(failureOf(world), std::nullopt);
}

TEST(FakePrograms, ASilentRegistryTakesNoProgramOffTheList) {
  FakeProgramWorld world{Seconds{0.1}};
  AccessibleProcessList list{world.accessibility, [&] { return world.accessibility.busAddress(); },
                             world.executors.mainThread()};
  const std::vector<std::int32_t> present{::getpid()};
  EXPECT_EQ(list.processIdentifiers(), present);
  world.bus.registry().hangOn("GetChildren");
  const auto another = world.bus.start();
  another->set(FakeProgram::kRoot, object(Role{75}, "another"));  // Its coming makes the list ask.
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(list.processIdentifiers(), present);
    EXPECT_TRUE(list.isPresentNow(::getpid()));
    EXPECT_FALSE(list.isPresentNow(1));
  }
}

TEST(FakePrograms, AProgramThatJoinedWhileTheRegistryWasSilentIsOnTheListSoonAfter) {
  FakeProgramWorld world{Seconds{0.1}};
  world.bus.registry().hangOn("GetChildren");
  AccessibleProcessList list{world.accessibility, [&] { return world.accessibility.busAddress(); },
                             world.executors.mainThread()};
  EXPECT_TRUE(list.processIdentifiers().empty());
  world.bus.registry().goOnWith("GetChildren");
  const auto end = steady_clock::now() + std::chrono::seconds{10};
  while (list.processIdentifiers().empty() && steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds{20});
  }
  EXPECT_EQ(list.processIdentifiers(), std::vector<std::int32_t>{::getpid()});
}

TEST(FakePrograms, WhereNoBusCanBeReachedNothingWasSeen) {
  FakeProgramWorld world;
  world.bus.kill();
  EXPECT_EQ(failureOf(world), DesktopReadFailure::accessibilityService);
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::unknown) << "It may come back.";
}

TEST(FakePrograms, AScopeThatReadNothingHasMissedNothing) {
  FakeProgramWorld world;
  world.bus.kill();
  EXPECT_EQ(world.accessibility.beginReadScope()->desktopFailure(), std::nullopt);
}

TEST(FakePrograms, ALauncherThatDoesNotAnswerLeavesThePermissionUnknown) {
  FakeProgramWorld world;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::granted);
  world.bus.isLauncherSilent = true;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::unknown);
  EXPECT_EQ(world.accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
  EXPECT_EQ(failureOf(world), std::nullopt) << "The desktop can be read all the same.";
  world.bus.isLauncherSilent = false;
  world.bus.isEnabled = false;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::denied);
}

TEST(FakePrograms, WhenTheBusDiesEverythingFailsQuietly) {
  FakeProgramWorld world;
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  world.bus.isEnabled = false;
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_TRUE(scope->copyAttributeValue(*window, ax::kTitle).hasValue());
  world.bus.kill();
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_FALSE(world.accessibility.copyAttributeValue(*window, ax::kTitle).hasValue());
  EXPECT_EQ(world.accessibility.performAction(*window, ax::kPressAction), AXError::apiDisabled);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::nullopt) << "It cannot be told.";
}

}  // namespace
}  // namespace quillard::atspi
