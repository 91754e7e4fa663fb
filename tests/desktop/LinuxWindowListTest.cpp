#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/LoopWaiting.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/SampleClient.h"
#include "desktop/X11Binding.h"
#include "detection/VisibleWindowOwners.h"
#include "platform/linux/x11/DesktopWatch.h"
#include "platform/linux/x11/XcbWindows.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::x11 {
namespace {

using platform::WindowListEntry;
using platform::WindowListOptions;
using test::PrivateDesktop;
using test::SampleClient;
using test::waitInLoop;
using test::X11Binding;

std::vector<std::string> names(const std::vector<WindowListEntry>& entries) {
  std::vector<std::string> found;
  for (const auto& entry : entries) found.push_back(entry.windowName.value_or(""));
  return found;
}

class LinuxWindowListTest : public testing::Test {
 protected:
  std::vector<WindowListEntry> list(WindowListOptions options = WindowListOptions::onScreenOnly) {
    return binding.windowList.copyWindowInfo(options);
  }
  // The entry of that name, once it is there.
  std::optional<WindowListEntry> entry(const std::string& name) {
    std::optional<WindowListEntry> found;
    const bool isThere = waitInLoop([&] {
      for (const auto& each : list()) {
        if (each.windowName == name) found = each;
      }
      return found.has_value();
    });
    return isThere ? found : std::nullopt;
  }
  bool isVisible(const std::string& name) {
    const auto found = entry(name);
    EXPECT_TRUE(found.has_value()) << name;
    return found && VisibleWindowOwners::isVisible(*found);
  }
  bool waitForNames(const std::vector<std::string>& expected, WindowListOptions options) {
    return waitInLoop([&] { return names(list(options)) == expected; });
  }

  PrivateDesktop desktop;
  X11Binding binding{desktop.display()};
  SampleClient client{desktop.display()};
};

TEST_F(LinuxWindowListTest, TellsWhoseWindowItIsAndWhereItIsSeen) {
  auto sleeper = desktop.launch("sleep", {"1000"});
  const auto id = client.open({.name = "Title", .bounds = {300, 200, 400, 300}, .process = sleeper.pid()});
  ASSERT_TRUE(entry("Title").has_value());
  ASSERT_TRUE(waitInLoop([&] { return entry("Title")->bounds->height > 300; }));  // The frame is there.
  const auto found = *entry("Title");
  EXPECT_EQ(found.ownerProcessIdentifier, sleeper.pid());
  EXPECT_EQ(found.ownerName, "sleep");
  EXPECT_EQ(found.layer, 0);
  EXPECT_EQ(found.alpha, 1);
  const auto snapshot = binding.windows.snapshot();
  const auto& window = snapshot.windows.front();
  ASSERT_EQ(window.id, id);
  EXPECT_EQ(found.bounds,
            (Rect{window.clientBounds.x - window.frame.left, window.clientBounds.y - window.frame.top,
                  400 + window.frame.left + window.frame.right, 300 + window.frame.top + window.frame.bottom}));
}

TEST_F(LinuxWindowListTest, SizesCountToThePoint) {
  client.open({.name = "79 wide", .bounds = {10, 10, 79, 40}, .hasFrame = false});
  client.open({.name = "80 wide", .bounds = {10, 110, 80, 40}, .hasFrame = false});
  client.open({.name = "39 high", .bounds = {10, 210, 80, 39}, .hasFrame = false});
  EXPECT_FALSE(isVisible("79 wide"));
  EXPECT_TRUE(isVisible("80 wide"));
  EXPECT_FALSE(isVisible("39 high"));
}

TEST_F(LinuxWindowListTest, TransparencyCountsToTheHundredth) {
  const auto opacity = [](double alpha) { return std::vector{static_cast<std::uint32_t>(alpha * 0xFFFFFFFF)}; };
  const auto id = client.open({.name = "faint"});
  ASSERT_TRUE(entry("faint").has_value());
  client.setNumbers(id, "_NET_WM_WINDOW_OPACITY", "CARDINAL", opacity(0.01));
  EXPECT_FALSE(isVisible("faint"));
  client.setNumbers(id, "_NET_WM_WINDOW_OPACITY", "CARDINAL", opacity(0.02));
  EXPECT_TRUE(isVisible("faint"));
}

TEST_F(LinuxWindowListTest, PanelsAreAboveAndTheDesktopIsNotListed) {
  client.open({.name = "panel", .type = "_NET_WM_WINDOW_TYPE_DOCK"});
  client.open({.name = "background", .type = "_NET_WM_WINDOW_TYPE_DESKTOP"});
  client.open({.name = "ordinary"});
  ASSERT_TRUE(waitForNames({"panel", "ordinary"}, WindowListOptions::all));
  EXPECT_GT(entry("panel")->layer, 0);
  EXPECT_EQ(entry("ordinary")->layer, 0);
}

TEST_F(LinuxWindowListTest, AWindowThatIsKeptBelowIsNotVisible) {
  const auto id = client.open({.name = "below"});
  ASSERT_TRUE(isVisible("below"));
  client.setNumbers(id, "_NET_WM_STATE", "ATOM", {client.atom("_NET_WM_STATE_BELOW")});
  ASSERT_TRUE(waitInLoop([&] { return entry("below")->layer < 0; }));
  EXPECT_FALSE(isVisible("below"));
}

TEST_F(LinuxWindowListTest, OnlyWhatIsOnTheScreenIsListedUnlessAllIsAskedFor) {
  const auto minimised = client.open({.name = "minimised"});
  ASSERT_TRUE(entry("minimised").has_value());
  const auto elsewhere = client.open({.name = "elsewhere"});
  ASSERT_TRUE(entry("elsewhere").has_value());
  client.open({.name = "shown"});
  ASSERT_TRUE(waitForNames({"shown", "elsewhere", "minimised"}, WindowListOptions::onScreenOnly));
  client.minimise(minimised);
  client.moveToDesktop(elsewhere, 1);
  EXPECT_TRUE(waitForNames({"shown"}, WindowListOptions::onScreenOnly));
  EXPECT_EQ(list(WindowListOptions::all).size(), 3U);
  client.switchToDesktop(1);
  EXPECT_TRUE(waitForNames({"elsewhere"}, WindowListOptions::onScreenOnly));
}

TEST_F(LinuxWindowListTest, MenusAreNotListed) {
  client.open({.name = "menu", .isUnmanaged = true});
  client.open({.name = "ordinary"});
  EXPECT_TRUE(waitForNames({"ordinary"}, WindowListOptions::all));
}

// Runs the loop until no more hints come for a while. Returns how many came until then.
int settled(const int& hints) {
  for (int last = -1; last != hints;) {
    last = hints;
    if (!waitInLoop([&] { return hints != last; }, std::chrono::milliseconds{300})) break;
  }
  return hints;
}

TEST_F(LinuxWindowListTest, TellsOfWindowsThatComeGoAreRaisedAndMinimised) {
  binding.accessible.processes = {::getpid()};
  int hints = 0;
  const auto subscription = binding.windowList.observeChanges([&] { ++hints; });
  const auto isNotifiedOf = [&](auto change) {
    const int before = settled(hints);
    change();
    return waitInLoop([&] { return hints > before; });
  };
  WindowID first = 0;
  WindowID second = 0;
  EXPECT_TRUE(isNotifiedOf([&] { first = client.open({.name = "first", .process = ::getpid()}); }));
  EXPECT_TRUE(isNotifiedOf([&] { second = client.open({.name = "second", .process = ::getpid()}); }));
  EXPECT_TRUE(isNotifiedOf([&] { client.activate(first); }));
  EXPECT_TRUE(isNotifiedOf([&] { client.minimise(first); }));
  EXPECT_TRUE(isNotifiedOf([&] { client.moveToDesktop(second, 1); }));
  EXPECT_TRUE(isNotifiedOf([&] { client.switchToDesktop(1); }));
  EXPECT_TRUE(isNotifiedOf([&] { client.close(second); }));
}

// For who asks at intervals: hints do not tell of names and moves.
TEST_F(LinuxWindowListTest, MayHaveChangedOnceSomethingHasAndNotOtherwise) {
  binding.accessible.processes = {::getpid()};
  const auto id = client.open({.name = "first", .process = ::getpid()});
  ASSERT_TRUE(entry("first").has_value());
  int hints = 0;
  const auto subscription = binding.windowList.observeChanges([&] { ++hints; });
  const auto isNoticed = [&](auto change) {
    const int before = settled(hints);
    EXPECT_TRUE(waitInLoop([&] { return !binding.windowList.mayHaveChanged(); })) << "It is quiet.";
    change();
    const bool hasChanged = waitInLoop([&] { return binding.windowList.mayHaveChanged(); });
    return hasChanged ? hints - before : -1;
  };
  EXPECT_EQ(isNoticed([&] { client.setText(id, "_NET_WM_NAME", "UTF8_STRING", "renamed"); }), 0);
  EXPECT_EQ(isNoticed([&] { client.setText(id, "WM_NAME", "STRING", "renamed"); }), 0);
  EXPECT_EQ(isNoticed([&] { client.move(id, {400, 300}); }), 0);
  EXPECT_GE(isNoticed([&] { client.minimise(id); }), 0);
  EXPECT_GE(isNoticed([&] { client.open({.name = "second", .process = ::getpid()}); }), 0);
  EXPECT_GE(isNoticed([&] { desktop.killDisplay(); }), 0);
  EXPECT_TRUE(binding.windowList.mayHaveChanged()) << "Nobody would say so.";
}

TEST_F(LinuxWindowListTest, TellsOfAnotherNameUnlessSomebodyAsksWithinThreeSeconds) {
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  XcbWindows windows{desktop.display()};
  DesktopWatch watch{desktop.display(), windows, world.time().mainThread()};
  const auto id = client.open({.name = "first"});
  const auto isCalled = [&](const std::string& name) {
    const auto& all = watch.lastSnapshot().windows;
    return std::any_of(all.begin(), all.end(), [&](const auto& window) { return window.name == name; });
  };
  Seconds waited{0};
  const auto waitsFor = [&](const std::string& name) {
    waited = Seconds{0};
    return waitInLoop([&] {
      world.advance(Seconds{0.25});
      waited += Seconds{0.25};
      return isCalled(name);
    });
  };
  ASSERT_TRUE(waitsFor("first"));
  // What a window manager still does with a new window is read at once, with the name: such a look says nothing.
  std::string last;
  for (int attempt = 0; attempt < 10 && waited < Seconds{3}; ++attempt) {
    last = "Allow it, " + std::to_string(attempt) + "?";
    client.setText(id, "_NET_WM_NAME", "UTF8_STRING", last);
    ASSERT_TRUE(waitsFor(last));
  }
  EXPECT_GE(waited, Seconds{3});
  EXPECT_TRUE(waitInLoop([&] { return !watch.mayHaveChanged(); })) << "It is quiet.";
  bool isReadByWhoeverAsked = false;
  for (int attempt = 0; attempt < 10 && !isReadByWhoeverAsked; ++attempt) {
    last = watch.lastSnapshot().windows.at(0).name;
    client.setText(id, "_NET_WM_NAME", "UTF8_STRING", "Allow more, " + std::to_string(attempt) + "?");
    EXPECT_TRUE(waitInLoop([&] { return watch.mayHaveChanged(); }));
    world.advance(Seconds{60});
    isReadByWhoeverAsked = isCalled(last);
  }
  EXPECT_TRUE(isReadByWhoeverAsked) << "Nobody else has to.";
}

TEST_F(LinuxWindowListTest, AHintComesWhenTheListAlreadyHasTheWindow) {
  std::vector<std::vector<std::string>> told;
  const auto subscription = binding.windowList.observeChanges([&] { told.push_back(names(list())); });
  client.open({.name = "prompt"});
  // The window manager may have something to say of itself before.
  EXPECT_TRUE(waitInLoop([&] { return !told.empty() && told.back() == std::vector<std::string>{"prompt"}; }));
}

TEST_F(LinuxWindowListTest, NothingIsToldAfterTheSubscriptionEnds) {
  int hints = 0;
  int others = 0;
  auto subscription = binding.windowList.observeChanges([&] { ++hints; });
  const auto other = binding.windowList.observeChanges([&] { ++others; });
  client.open();
  subscription.reset();
  ASSERT_TRUE(waitInLoop([&] { return others > 0; }));
  EXPECT_EQ(hints, 0);
}

TEST_F(LinuxWindowListTest, AListenerMayEndItsOwnSubscription) {
  int hints = 0;
  platform::SubscriptionHandle subscription;
  subscription = binding.windowList.observeChanges([&] {
    ++hints;
    subscription.reset();
  });
  int others = 0;
  const auto other = binding.windowList.observeChanges([&] { ++others; });
  client.open();
  client.open();
  ASSERT_TRUE(waitInLoop([&] { return others >= 2; }));
  EXPECT_EQ(hints, 1);
}

TEST_F(LinuxWindowListTest, IsToldAndEmptyWhenTheServerDies) {
  client.open({.name = "last"});
  ASSERT_TRUE(entry("last").has_value());
  int hints = 0;
  const auto subscription = binding.windowList.observeChanges([&] { ++hints; });
  const int before = settled(hints);
  desktop.killDisplay();
  EXPECT_TRUE(waitInLoop([&] { return hints > before; }));
  EXPECT_TRUE(list(WindowListOptions::all).empty());
}

// Without a window manager, which has a lot to say about a new window.
TEST(LinuxWindowList, AWindowWithoutAPartnerOnTheBusIsToldOnceMore) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  X11Binding binding{desktop.display()};
  SampleClient client{desktop.display()};
  std::vector<std::chrono::steady_clock::time_point> hints;
  const auto subscription =
      binding.windowList.observeChanges([&] { hints.push_back(std::chrono::steady_clock::now()); });
  const auto opensWithHints = [&](std::size_t expected) {
    hints.clear();
    client.open({.process = ::getpid()});
    return waitInLoop([&] { return hints.size() >= expected; }) &&
           !waitInLoop([&] { return hints.size() > expected; }, std::chrono::milliseconds{300});
  };
  ASSERT_TRUE(opensWithHints(2)) << hints.size();
  EXPECT_GE(hints[1] - hints[0], std::chrono::milliseconds{20});
  binding.accessible.processes = {::getpid()};
  EXPECT_TRUE(opensWithHints(1)) << hints.size();
}

TEST(LinuxWindowList, IsEmptyWithoutAServer) {
  X11Binding binding{std::nullopt};
  EXPECT_TRUE(binding.windowList.copyWindowInfo(WindowListOptions::all).empty());
  EXPECT_FALSE(binding.windowList.readWindowInfo(WindowListOptions::all).isKnown()) << "not that there are none";
  const auto subscription = binding.windowList.observeChanges([] { ADD_FAILURE(); });
  EXPECT_FALSE(waitInLoop([] { return false; }, std::chrono::milliseconds{50}));
}

TEST(LinuxWindowList, AListOfAServerThatDiedIsNotEmptyButUnknown) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  X11Binding binding{desktop.display()};
  ASSERT_TRUE(binding.windowList.readWindowInfo(WindowListOptions::all).isKnown());
  EXPECT_TRUE(binding.windowList.copyWindowInfo(WindowListOptions::all).empty()) << "none is open";
  desktop.killDisplay();
  EXPECT_TRUE(waitInLoop([&] { return !binding.windowList.readWindowInfo(WindowListOptions::all).isKnown(); }));
}

TEST(LinuxWindowList, SeesAndTellsOfWindowsWithoutAWindowManager) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  X11Binding binding{desktop.display()};
  SampleClient client{desktop.display()};
  int hints = 0;
  const auto subscription = binding.windowList.observeChanges([&] { ++hints; });
  const auto id = client.open({.name = "alone"});
  ASSERT_TRUE(waitInLoop([&] { return hints > 0; }));
  EXPECT_EQ(names(binding.windowList.copyWindowInfo(WindowListOptions::onScreenOnly)),
            std::vector<std::string>{"alone"});
  const int before = hints;
  client.close(id);
  EXPECT_TRUE(waitInLoop([&] { return hints > before; }));
}

}  // namespace
}  // namespace quillard::x11
