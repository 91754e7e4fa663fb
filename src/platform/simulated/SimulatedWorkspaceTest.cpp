#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedWorkspace.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedWorkspaceTest : public testing::Test {
 protected:
  void note(const WorkspaceEvent& event) {
    EXPECT_TRUE(world.time().mainThread().isCurrent());
    static const std::vector<std::string> kNames{"launch", "terminate", "activate", "hide", "unhide", "space"};
    events.push_back(kNames.at(static_cast<std::size_t>(event.kind)) +
                     (event.application ? " " + event.application->localizedName.value_or("?") : ""));
    last = event;
  }
  std::vector<std::string> takeEvents() {
    world.advance(0s);
    return std::exchange(events, {});
  }

  SimulatedWorld world{Seed{7}};
  SimulatedDesktop& desktop = world.desktop();
  Workspace& workspace = world.workspace();
  std::vector<std::string> events;
  WorkspaceEvent last;
  SubscriptionHandle subscription = workspace.observe([this](const WorkspaceEvent& event) { note(event); });
};

TEST_F(SimulatedWorkspaceTest, ApplicationsAreListedAsTheyWereLaunched) {
  const auto b = desktop.launch({.name = "B", .bundleIdentifier = "com.example.b"});
  const auto a = desktop.launch({.policy = ActivationPolicy::accessory, .hidden = true, .processIdentifier = 7});
  const auto running = workspace.runningApplications();
  ASSERT_EQ(running.size(), 2U);
  EXPECT_EQ(running[0],
            (RunningApplication{
                .processIdentifier = b.processIdentifier, .localizedName = "B", .bundleIdentifier = "com.example.b"}));
  EXPECT_EQ(running[1], (RunningApplication{.processIdentifier = 7,
                                            .localizedName = std::nullopt,
                                            .bundleIdentifier = std::nullopt,
                                            .activationPolicy = ActivationPolicy::accessory,
                                            .isHidden = true}));
  EXPECT_EQ(workspace.runningApplication(a.processIdentifier), running[1]);
  EXPECT_EQ(workspace.runningApplication(12345), std::nullopt);
  EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

TEST_F(SimulatedWorkspaceTest, EveryChangeIsToldInOrderOnTheMainThread) {
  const auto a = desktop.launch({.name = "A", .active = true});
  const auto b = desktop.launch({.name = "B"});
  EXPECT_THAT(events, IsEmpty()) << "in a later turn";
  desktop.activate(b);
  desktop.activate(b);
  desktop.hide(b);
  desktop.unhide(b);
  desktop.changeSpace();
  desktop.terminate(a);
  EXPECT_THAT(takeEvents(), ElementsAre("launch A", "activate A", "launch B", "activate B", "hide B", "unhide B",
                                        "space", "terminate A"));
  EXPECT_TRUE(last.application->isTerminated);
  EXPECT_EQ(last.application->processIdentifier, a.processIdentifier);
}

TEST_F(SimulatedWorkspaceTest, ObserversHearWhatHappensAfterTheyCameAndBeforeTheyWent) {
  const auto a = desktop.launch({.name = "A"});
  std::vector<WorkspaceEventKind> kinds;
  auto late = workspace.observe([&](const WorkspaceEvent& event) { kinds.push_back(event.kind); });
  desktop.activate(a);
  world.advance(0s);
  EXPECT_THAT(kinds, ElementsAre(WorkspaceEventKind::didActivateApplication));
  desktop.hide(a);
  late.reset();
  world.advance(0s);
  EXPECT_EQ(kinds.size(), 1U);
  EXPECT_THAT(events, ElementsAre("launch A", "activate A", "hide A"));
}

TEST_F(SimulatedWorkspaceTest, AnObserverMayEndTheSubscriptionOfTheNext) {
  SubscriptionHandle second;
  const auto first = workspace.observe([&](const WorkspaceEvent&) { second.reset(); });
  bool isSecondNotified = false;
  second = workspace.observe([&](const WorkspaceEvent&) { isSecondNotified = true; });
  desktop.launch();
  world.advance(0s);
  EXPECT_EQ(second, nullptr);
  EXPECT_FALSE(isSecondNotified);
}

TEST_F(SimulatedWorkspaceTest, AnObserverMayEndItsOwnSubscription) {
  int told = 0;
  SubscriptionHandle once;
  once = workspace.observe([&](const WorkspaceEvent&) {
    ++told;
    once.reset();
  });
  desktop.launch();
  desktop.launch();
  world.advance(0s);
  EXPECT_EQ(told, 1);
}

TEST_F(SimulatedWorkspaceTest, ActivatingBringsToTheFrontAndUnhides) {
  const auto a = desktop.launch({.name = "A"});
  const auto b = desktop.launch({.name = "B", .active = true});
  desktop.hide(a);
  static_cast<void>(takeEvents());
  EXPECT_TRUE(workspace.activate(a.processIdentifier));
  EXPECT_EQ(workspace.frontmostApplication()->processIdentifier, a.processIdentifier);
  EXPECT_FALSE(workspace.frontmostApplication()->isHidden);
  EXPECT_FALSE(desktop.application(b)->isActive);
  EXPECT_THAT(takeEvents(), ElementsAre("unhide A", "activate A"));
  EXPECT_FALSE(workspace.activate(12345));
}

TEST_F(SimulatedWorkspaceTest, HidingTheApplicationInFrontLeavesNoneThere) {
  const auto a = desktop.launch({.name = "A", .active = true});
  desktop.hide(a);
  EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
  EXPECT_TRUE(workspace.unhide(a.processIdentifier));
  EXPECT_FALSE(desktop.application(a)->isHidden);
}

TEST_F(SimulatedWorkspaceTest, ApplicationsQuitWhenAskedUnlessTheyRefuse) {
  const auto polite = desktop.launch({.name = "Polite"});
  const auto stubborn = desktop.launch({.name = "Stubborn"});
  const auto dialog = desktop.open(polite, {.title = "x"});
  desktop.setRefusesToQuit(stubborn, true);
  EXPECT_TRUE(workspace.terminate(polite.processIdentifier));
  EXPECT_TRUE(workspace.terminate(stubborn.processIdentifier));
  EXPECT_FALSE(workspace.terminate(12345));
  EXPECT_TRUE(desktop.isOpen(dialog)) << "in a later turn";
  world.advance(0s);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_EQ(desktop.application(polite), std::nullopt);
  EXPECT_TRUE(desktop.application(stubborn).has_value());
  EXPECT_THAT(desktop.quitRequests(), ElementsAre(polite, stubborn));
}

TEST_F(SimulatedWorkspaceTest, AnEndedApplicationMayStayListedForAWhile) {
  const auto a = desktop.launch({.name = "A", .active = true});
  desktop.terminateButKeepListed(a);
  ASSERT_TRUE(desktop.application(a).has_value());
  EXPECT_TRUE(desktop.application(a)->isTerminated);
  EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
  EXPECT_FALSE(workspace.terminate(a.processIdentifier));
  desktop.terminate(a);
  EXPECT_EQ(desktop.application(a), std::nullopt);
  EXPECT_THAT(takeEvents(), ElementsAre("launch A", "activate A", "terminate A"));
}

TEST_F(SimulatedWorkspaceTest, ANewProcessMayGetTheNumberOfAnOldOne) {
  const auto old = desktop.launch({.name = "Old", .processIdentifier = 412});
  const auto dialog = desktop.open(old, {.title = "x"});
  const auto fresh = desktop.launch({.name = "New", .processIdentifier = 412});
  EXPECT_EQ(old, fresh);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_EQ(desktop.application(fresh)->localizedName, "New");
  EXPECT_EQ(workspace.runningApplications().size(), 1U);
}

TEST_F(SimulatedWorkspaceTest, SomeProcessesWithWindowsAreUnknownToIt) {
  const auto service = desktop.launch({.name = "Service", .active = true, .listed = false});
  const auto prompt = desktop.open(service, {.title = "Password"});
  EXPECT_THAT(workspace.runningApplications(), IsEmpty());
  EXPECT_EQ(workspace.runningApplication(service.processIdentifier), std::nullopt);
  EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
  EXPECT_FALSE(workspace.terminate(service.processIdentifier));
  EXPECT_EQ(world.accessibility().processIdentifier(desktop.element(prompt)), service.processIdentifier);
  EXPECT_EQ(desktop.focused(), prompt);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(SimulatedWorkspaceTest, WhatItIsAskedToOpenIsRecorded) {
  EXPECT_TRUE(workspace.openURL("https://example.com/help"));
  EXPECT_TRUE(workspace.openURL("x-settings:privacy?section=a"));
  EXPECT_FALSE(workspace.openURL("no address"));
  EXPECT_FALSE(workspace.openURL("https:"));
  EXPECT_FALSE(workspace.openURL(""));
  EXPECT_TRUE(workspace.openFolder("/Applications"));
  EXPECT_FALSE(workspace.openFolder("relative"));
  desktop.setRefusesToOpen(true);
  EXPECT_FALSE(workspace.openURL("https://example.com/"));
  EXPECT_FALSE(workspace.openFolder("/tmp"));
  EXPECT_THAT(desktop.openedURLs(), ElementsAre("https://example.com/help", "x-settings:privacy?section=a"));
  EXPECT_THAT(desktop.openedFolders(), ElementsAre("/Applications"));
}

}  // namespace
}  // namespace quillard::platform::simulated
