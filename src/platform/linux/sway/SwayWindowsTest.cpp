#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/sway/SwayTree.h"
#include "platform/linux/sway/SwayWatch.h"
#include "platform/linux/sway/SwayWindows.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeSway.h"
#include "support/QtWait.h"

namespace quillard::sway {
namespace {

using desktop::WindowCoverage;
using desktop::WindowsSnapshot;
using std::chrono::milliseconds;
using test::FakeSway;
using test::waitUntil;

constexpr auto kWindowEvent = static_cast<std::uint32_t>(MessageType::windowEvent);

std::string treeWith(const std::vector<std::string>& titles) {
  std::string windows;
  for (std::size_t i = 0; i < titles.size(); ++i) {
    windows += (i == 0 ? "" : ",") + std::string(R"({"id":)") + std::to_string(10 + i) +
               R"(,"pid":7,"visible":true,"name":")" + titles[i] + "\"}";
  }
  return R"({"type":"root","nodes":[{"id":4,"type":"workspace","name":"1","nodes":[)" + windows + "]}]}";
}

std::vector<std::string> titlesOf(const WindowsSnapshot& snapshot) {
  std::vector<std::string> titles;
  for (const auto& window : snapshot.windows) titles.push_back(window.name);
  return titles;
}

using Titles = std::vector<std::string>;

TEST(SwayWindows, AreAskedForEachTime) {
  FakeSway sway;
  SwayWindows windows{sway.path()};
  EXPECT_EQ(windows.coverage(), WindowCoverage::all);
  EXPECT_EQ(windows.snapshot().coverage, WindowCoverage::all) << "An empty desktop is known to be empty.";
  sway.setTree(treeWith({"A", "B"}));
  EXPECT_EQ(titlesOf(windows.snapshot()), (Titles{"A", "B"}));
}

TEST(SwayWindows, AreRaisedAndClosedByCommandsForThatContainerAlone) {
  FakeSway sway;
  SwayWindows windows{sway.path()};
  EXPECT_TRUE(windows.activate(windowOf(12)));
  EXPECT_TRUE(windows.close(windowOf(13)));
  EXPECT_FALSE(windows.activate(13)) << "a window of the X server";
  EXPECT_EQ(sway.commands(), (std::vector<std::string>{"[con_id=12] focus", "[con_id=13] kill"}));
}

TEST(SwayWindows, WhereNobodyListensNothingIsKnown) {
  SwayWindows windows{"/nowhere/sway.sock"};
  EXPECT_EQ(windows.coverage(), WindowCoverage::none);
  EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
  EXPECT_FALSE(windows.activate(windowOf(1)));
}

TEST(SwayWindows, ASilentSwayIsNoEmptyDesktop) {
  FakeSway sway;
  SwayWindows windows{sway.path(), milliseconds{0}};
  sway.isSilent = true;
  EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
  sway.isSilent = false;
  EXPECT_EQ(windows.snapshot().coverage, WindowCoverage::all);
}

TEST(SwayWindows, ASwayThatSpeaksNonsenseIsNotBelieved) {
  FakeSway sway;
  SwayWindows windows{sway.path(), milliseconds{0}};
  for (const std::string& lie :
       {std::string(40, 'x'), encoded(MessageType::getTree, "{"), encoded(MessageType::getTree, "[]"),
        std::string("i3-ipc\xFF\xFF\xFF\xFF\x04\0\0\0", 14)}) {
    sway.lieWith(lie);
    EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
  }
  sway.lieWith("");
  EXPECT_EQ(windows.snapshot().coverage, WindowCoverage::all);
}

TEST(SwayWindows, AreFoundAgainWhenSwayWasStartedAnew) {
  FakeSway sway;
  SwayWindows windows{sway.path(), milliseconds{0}};
  sway.setTree(treeWith({"A"}));
  ASSERT_EQ(windows.snapshot().windows.size(), 1U);
  sway.stop();
  EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
  sway.start();
  EXPECT_EQ(windows.snapshot().windows.size(), 1U);
}

struct Watched {
  FakeSway sway;
  SwayWindows windows{sway.path(), milliseconds{0}};
  qt::QtExecutors executors;
  SwayWatch watch{sway.path(), windows, executors.mainThread()};
  std::vector<Titles> reported;
  platform::SubscriptionHandle subscription =
      watch.observe([this](const WindowsSnapshot& snapshot) { reported.push_back(titlesOf(snapshot)); });
};

TEST(SwayWatch, TellsOfANewWindowOnceForAllTheEventsThatItCauses) {
  Watched world;
  world.sway.setTree(treeWith({"Permission"}));
  for (const char* change : {"new", "focus", "title", "floating"}) {
    world.sway.announce(kWindowEvent, std::string(R"({"change":")") + change + "\"}");
  }
  EXPECT_TRUE(waitUntil([&] { return !world.reported.empty(); }));
  EXPECT_EQ(world.reported, std::vector<Titles>{{"Permission"}});
  EXPECT_EQ(titlesOf(world.watch.lastSnapshot()), Titles{"Permission"});
}

TEST(SwayWatch, ATitleThatChangesAllTheTimeIsReadNowAndThen) {
  Watched world;
  world.sway.setTree(treeWith({"50 %"}));
  for (int i = 0; i < 50; ++i) world.sway.announce(kWindowEvent, R"({"change":"title"})");
  EXPECT_TRUE(waitUntil([&] { return !world.reported.empty(); }));
  EXPECT_EQ(world.reported.size(), 1U);
}

TEST(SwayWatch, WhenSwayGoesThereAreNoWindows) {
  Watched world;
  world.sway.setTree(treeWith({"A"}));
  world.sway.announce(kWindowEvent, R"({"change":"new"})");
  ASSERT_TRUE(waitUntil([&] { return world.reported.size() == 1; }));
  world.sway.stop();
  EXPECT_TRUE(waitUntil([&] { return world.reported.size() == 2; }));
  EXPECT_EQ(world.reported.back(), Titles{});
  EXPECT_EQ(world.watch.lastSnapshot().coverage, WindowCoverage::none);
}

}  // namespace
}  // namespace quillard::sway
