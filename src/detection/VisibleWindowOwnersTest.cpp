#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "detection/VisibleWindowOwners.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WindowListEntry;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

WindowListEntry entry(std::int32_t owner, Rect bounds = {10, 20, 300, 200}) {
  return {.ownerProcessIdentifier = owner,
          .ownerName = "Owner",
          .windowName = "Window",
          .layer = 0,
          .alpha = 1.0,
          .bounds = bounds};
}

std::vector<std::int32_t> processes(const std::vector<RunningApplication>& applications) {
  std::vector<std::int32_t> processes;
  for (const auto& application : applications) processes.push_back(application.processIdentifier);
  return processes;
}

TEST(VisibleWindow, HasALeastSize) {
  EXPECT_TRUE(VisibleWindowOwners::isVisible(entry(1, {0, 0, 80, 40})));
  EXPECT_FALSE(VisibleWindowOwners::isVisible(entry(1, {0, 0, 79, 40})));
  EXPECT_FALSE(VisibleWindowOwners::isVisible(entry(1, {0, 0, 80, 39})));
  EXPECT_FALSE(VisibleWindowOwners::isVisible(entry(1, {0, 0, std::nan(""), 100})));
  auto withoutBounds = entry(1);
  withoutBounds.bounds = std::nullopt;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(withoutBounds));
}

TEST(VisibleWindow, IsNotTransparent) {
  auto window = entry(1);
  window.alpha = 0.01;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
  window.alpha = 0.02;
  EXPECT_TRUE(VisibleWindowOwners::isVisible(window));
  window.alpha = std::nan("");
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
  window.alpha = std::nullopt;
  EXPECT_TRUE(VisibleWindowOwners::isVisible(window));
}

TEST(VisibleWindow, IsNotBehindTheOrdinaryOnes) {
  auto window = entry(1);
  window.layer = -1;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
  window.layer = 25;
  EXPECT_TRUE(VisibleWindowOwners::isVisible(window));
  window.layer = std::nullopt;
  EXPECT_TRUE(VisibleWindowOwners::isVisible(window));
}

class VisibleWindowOwnersTest : public testing::Test {
 protected:
  platform::simulated::SimulatedDesktop& desktop() { return world.desktop(); }
  std::set<std::string> signatures() { return VisibleWindowOwners::visibleWindowSignatures(world.windowList()); }
  std::int32_t launch(const char* name, ActivationPolicy policy = ActivationPolicy::regular) {
    return desktop().launch({.name = name, .policy = policy}).processIdentifier;
  }

  SimulatedWorld world{Seed{1}};
};

TEST_F(VisibleWindowOwnersTest, SignaturesSayOwnerNamesLayerAndPlace) {
  desktop().addWindowEntry(entry(412, {10.9, -20.9, 300.5, 200}));
  EXPECT_EQ(signatures(), std::set<std::string>{"412|Owner|Window|0|10,-20,300,200"});
}

TEST_F(VisibleWindowOwnersTest, SignaturesLeaveOutWhatIsNotKnownOrNotVisible) {
  desktop().addWindowEntry({.bounds = Rect{0, 0, std::numeric_limits<double>::infinity(), 50}});
  desktop().addWindowEntry(entry(1, {0, 0, 10, 10}));
  desktop().addWindowEntry(entry(2), /*isOnScreen=*/false);
  EXPECT_EQ(signatures(), std::set<std::string>{"||||0,0,9223372036854775807,50"});
}

TEST_F(VisibleWindowOwnersTest, OwnersAreListedFrontToBackFromOneUp) {
  for (const std::int32_t owner : {5, 0, -7, 4, 5}) desktop().addWindowEntry(entry(owner));
  desktop().addWindowEntry(entry(6), /*isOnScreen=*/false);
  EXPECT_EQ(VisibleWindowOwners::processIdentifiers(world.windowList(), false), (std::vector<std::int32_t>{5, 4, 5}));
  EXPECT_EQ(VisibleWindowOwners::processIdentifiers(world.windowList(), true), (std::vector<std::int32_t>{6, 5, 4, 5}));
}

TEST_F(VisibleWindowOwnersTest, VisibleApplicationsAreTheOwnersThatRunEachOnce) {
  const auto first = launch("First");
  const auto second = launch("Second");
  for (const std::int32_t owner : {first, 12345, second, first}) desktop().addWindowEntry(entry(owner));
  EXPECT_EQ(processes(VisibleWindowOwners::visibleRunningApplications(world.workspace(), world.windowList())),
            (std::vector<std::int32_t>{first, second}));
}

TEST_F(VisibleWindowOwnersTest, BackgroundApplicationsAreThoseThatCanHaveWindows) {
  const auto regular = launch("Regular");
  const auto accessory = launch("Accessory", ActivationPolicy::accessory);
  launch("Daemon", ActivationPolicy::prohibited);
  desktop().terminateButKeepListed(desktop().launch({.name = "Ended"}));
  EXPECT_EQ(processes(VisibleWindowOwners::backgroundGUIApplications(world.workspace())),
            (std::vector<std::int32_t>{regular, accessory}));
}

TEST_F(VisibleWindowOwnersTest, PromptServicesAreFoundWhateverTheirPolicy) {
  launch("Other");
  const auto agent = launch("SecurityAgent", ActivationPolicy::prohibited);
  desktop().terminateButKeepListed(desktop().launch({.name = "loginwindow"}));
  EXPECT_EQ(processes(VisibleWindowOwners::knownPromptServiceApplications(world.workspace())),
            std::vector<std::int32_t>{agent});
}

TEST_F(VisibleWindowOwnersTest, PromptScanGoesFromTheFrontmostToThePromptServicesEachOnce) {
  const auto background = launch("Background");
  const auto service = launch("SecurityAgent", ActivationPolicy::prohibited);
  const auto visible = launch("Visible", ActivationPolicy::prohibited);
  const auto frontmost = launch("Frontmost");
  launch("Daemon", ActivationPolicy::prohibited);
  desktop().activate({frontmost});
  desktop().addWindowEntry(entry(frontmost));
  desktop().addWindowEntry(entry(visible));
  EXPECT_EQ(processes(VisibleWindowOwners::promptScanApplications(world.workspace(), world.windowList())),
            (std::vector<std::int32_t>{frontmost, visible, background, service}));
}

TEST_F(VisibleWindowOwnersTest, AskNoApplication) {
  desktop().open({.title = "A", .buttons = {"OK"}});
  desktop().resetRoundTrips();
  (void)signatures();
  (void)VisibleWindowOwners::promptScanApplications(world.workspace(), world.windowList());
  EXPECT_EQ(desktop().roundTrips(), 0U);
}

}  // namespace
}  // namespace quillard
