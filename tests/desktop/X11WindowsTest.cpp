#include <algorithm>
#include <chrono>
#include <iostream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/PrivateDesktop.h"
#include "desktop/SampleClient.h"
#include "platform/linux/x11/ServerConnection.h"
#include "platform/linux/x11/WindowProperties.h"
#include "platform/linux/x11/XcbWindows.h"
#include "private-desktop/Waiting.h"
#include "support/LongTests.h"

namespace quillard::x11 {
namespace {

using test::PrivateDesktop;
using test::SampleClient;
using test::waitFor;

std::optional<Window> find(desktop::DesktopWindows& windows, WindowID id) {
  for (auto& window : windows.snapshot().windows) {
    if (window.id == id) return window;
  }
  return std::nullopt;
}

// Waits until the window is listed, and as `condition` wants it.
template <class Condition>
testing::AssertionResult becomes(desktop::DesktopWindows& windows, WindowID id, const Condition& condition) {
  if (waitFor([&] {
        const auto window = find(windows, id);
        return window && condition(*window);
      })) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << (find(windows, id) ? "The window is not so." : "The window is not listed.");
}

const auto isListed = [](const Window&) { return true; };
const auto isShown = [](const Window& window) { return window.isMapped && !window.isHidden; };

TEST(X11Windows, WithoutAServerThereAreNone) {
  for (const auto& display :
       {std::optional<std::string>{}, std::optional<std::string>{""}, std::optional<std::string>{":no-such-display"}}) {
    XcbWindows windows{display};
    EXPECT_EQ(windows.coverage(), desktop::WindowCoverage::none);
    EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
    EXPECT_FALSE(windows.activate(1));
    EXPECT_FALSE(windows.close(1));
  }
}

// Those that are beyond the limit are not gone.
TEST(X11Windows, AreNotAllKnownWhereThereAreMoreThanAreRead) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  XcbWindows windows{desktop.display()};
  ServerLink link{desktop.display()};
  const auto* const server = link.connection();
  ASSERT_NE(server, nullptr);
  const auto list = [&](std::size_t count) {
    const std::vector<std::uint32_t> none(count, server->root() + 1'000'000);  // Windows that went meanwhile.
    xcb_change_property(server->get(), XCB_PROP_MODE_REPLACE, server->root(),
                        server->atoms()[Atom::netClientListStacking], XCB_ATOM_WINDOW, 32,
                        static_cast<std::uint32_t>(count), none.data());
    xcb_flush(server->get());
  };
  list(kMostWindows);
  EXPECT_EQ(windows.snapshot().coverage, desktop::WindowCoverage::all);
  list(kMostWindows + 1);
  EXPECT_TRUE(waitFor([&] { return windows.snapshot().coverage == desktop::WindowCoverage::some; }));
}

TEST(X11Windows, ReadsTheDialogOfARealProgram) {
  PrivateDesktop desktop;
  const auto zenity = desktop.launch("zenity", {"--question", "--title", "Grüße", "--text", "Really?"});
  XcbWindows windows{desktop.display()};
  EXPECT_EQ(windows.coverage(), desktop::WindowCoverage::all);
  ASSERT_TRUE(waitFor([&] {
    const auto snapshot = windows.snapshot();
    return snapshot.windows.size() == 1 && snapshot.active;
  }));
  const auto snapshot = windows.snapshot();
  const auto& window = snapshot.windows.front();
  EXPECT_EQ(snapshot.active, window.id);
  EXPECT_EQ(snapshot.currentDesktop, 0U);
  EXPECT_EQ(snapshot.screen, (Size{1280, 1024}));
  EXPECT_EQ(window.processIdentifier, zenity.pid());
  EXPECT_EQ(window.name, "Grüße");
  EXPECT_EQ(window.className, "Zenity");
  EXPECT_EQ(window.type, WindowType::dialog);
  EXPECT_TRUE(isShown(window));
  EXPECT_GT(window.frame.top, 0);
  EXPECT_GT(window.clientBounds.width, 100);
}

TEST(X11Windows, KnowsWhereTheClientIsInsideItsFrame) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open({.bounds = {200, 150, 320, 240}, .hasFrame = false});
  ASSERT_TRUE(becomes(windows, id, [](const Window& window) {
    return window.clientBounds == Rect{200, 150, 320, 240};
  }));
  EXPECT_EQ(find(windows, id)->frame, Extents{});
}

TEST(X11Windows, AMinimisedWindowIsHiddenUntilItIsActivated) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open();
  ASSERT_TRUE(becomes(windows, id, isShown));
  client.minimise(id);
  ASSERT_TRUE(becomes(windows, id, [](const Window& window) { return window.isHidden && !window.isMapped; }));
  EXPECT_TRUE(windows.activate(id));
  ASSERT_TRUE(becomes(windows, id, isShown));
  EXPECT_TRUE(waitFor([&] { return windows.snapshot().active == id; }));
}

TEST(X11Windows, AWindowOfAnotherDesktopIsMappedThere) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open();
  ASSERT_TRUE(becomes(windows, id, isShown));
  client.moveToDesktop(id, 2);
  ASSERT_TRUE(becomes(windows, id, [](const Window& window) { return window.desktop == 2U; }));
  EXPECT_TRUE(isShown(*find(windows, id)));
  client.switchToDesktop(2);
  EXPECT_TRUE(waitFor([&] { return windows.snapshot().currentDesktop == 2U; }));
  // The window manager says first where it is, and then what it shows there.
  EXPECT_TRUE(becomes(windows, id, isShown));
}

TEST(X11Windows, GoFromBottomToTop) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto first = client.open();
  ASSERT_TRUE(becomes(windows, first, isListed));
  const auto second = client.open();
  ASSERT_TRUE(becomes(windows, second, isListed));
  const auto isOnTop = [&](WindowID id) {
    return waitFor([&] {
      const auto listed = windows.snapshot().windows;
      return listed.size() == 2 && listed.back().id == id;
    });
  };
  EXPECT_TRUE(isOnTop(second));
  EXPECT_TRUE(windows.activate(first));
  EXPECT_TRUE(isOnTop(first));
}

TEST(X11Windows, UnmanagedWindowsAreNotListed) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto menu = client.open({.isUnmanaged = true});
  const auto ordinary = client.open();
  ASSERT_TRUE(becomes(windows, ordinary, isListed));
  EXPECT_EQ(find(windows, menu), std::nullopt);
}

TEST(X11Windows, CloseAsksTheWindow) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open();
  ASSERT_TRUE(becomes(windows, id, isListed));
  EXPECT_TRUE(windows.close(id));
  EXPECT_TRUE(waitFor([&] { return client.hasInput("asked to close"); }));
}

TEST(X11Windows, WithoutAWindowManagerTheRootsChildrenAreListed) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto menu = client.open({.isUnmanaged = true});
  const auto ordinary = client.open({.name = "alone", .process = 77});
  ASSERT_TRUE(becomes(windows, ordinary, isShown));
  EXPECT_EQ(find(windows, ordinary)->name, "alone");
  EXPECT_EQ(find(windows, ordinary)->processIdentifier, 77);
  EXPECT_EQ(find(windows, menu), std::nullopt);
  EXPECT_EQ(windows.snapshot().active, std::nullopt);
  EXPECT_FALSE(windows.activate(ordinary));  // There is no window manager to ask.
  EXPECT_FALSE(windows.close(ordinary));
}

TEST(X11Windows, FallsBackToTheListByAge) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto listed = client.open();
  const auto unlisted = client.open();
  client.setNumbers(client.root(), "_NET_CLIENT_LIST", "WINDOW", {listed});
  EXPECT_NE(find(windows, listed), std::nullopt);
  EXPECT_EQ(find(windows, unlisted), std::nullopt);
}

TEST(X11Windows, AListMayNameWindowsThatHaveGone) {
  PrivateDesktop desktop{{.hasWindowManager = false}};
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto gone = client.open();
  const auto there = client.open();
  client.close(gone);
  client.setNumbers(client.root(), "_NET_CLIENT_LIST_STACKING", "WINDOW", {gone, there, 0, 0xFFFFFFFF, there + 99});
  const auto snapshot = windows.snapshot();
  ASSERT_EQ(snapshot.windows.size(), 1U);
  EXPECT_EQ(snapshot.windows.front().id, there);
  EXPECT_EQ(windows.coverage(), desktop::WindowCoverage::all);
}

TEST(X11Windows, WindowsMayComeAndGoWhileTheyAreRead) {
  PrivateDesktop desktop;
  XcbWindows windows{desktop.display()};
  SampleClient lasting{desktop.display()};
  const auto stays = lasting.open();
  ASSERT_TRUE(becomes(windows, stays, isListed));
  std::thread restless([&] {
    SampleClient client{desktop.display()};
    for (int i = 0; i < 60; ++i) client.close(client.open());
  });
  for (int i = 0; i < 100; ++i) EXPECT_NE(find(windows, stays), std::nullopt);
  restless.join();
}

TEST(X11Windows, WhatAProgramSaysOfItselfIsTakenOnlyWhereItMakesSense) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open({.name = "honest", .process = 77});
  ASSERT_TRUE(becomes(windows, id, isShown));
  client.setText(id, "WM_NAME", "STRING", "fallback");

  client.setText(id, "_NET_WM_NAME", "UTF8_STRING", "bad \xC3\x28");
  EXPECT_EQ(find(windows, id)->name, "fallback");
  client.setText(id, "_NET_WM_NAME", "UTF8_STRING", "");
  for (int i = 0; i < 10; ++i) client.append(id, "_NET_WM_NAME", "UTF8_STRING", std::string(100'000, 'x'));
  EXPECT_EQ(find(windows, id)->name, "fallback");
  client.setNumbers(id, "_NET_WM_NAME", "CARDINAL", {1, 2, 3});
  EXPECT_EQ(find(windows, id)->name, "fallback");

  client.setText(id, "_NET_WM_PID", "STRING", "77");
  EXPECT_EQ(find(windows, id)->processIdentifier, std::nullopt);
  client.setNumbers(id, "_NET_WM_PID", "CARDINAL", {0xFFFFFFFF});
  EXPECT_EQ(find(windows, id)->processIdentifier, std::nullopt);
  client.setNumbers(id, "_NET_WM_PID", "CARDINAL", {77});
  client.setText(id, "WM_CLIENT_MACHINE", "STRING", "another-machine");
  EXPECT_EQ(find(windows, id)->processIdentifier, std::nullopt);

  client.setText(id, "WM_CLASS", "STRING", std::string(5000, 'y'));
  EXPECT_EQ(find(windows, id)->className, "");
  client.setNumbers(id, "_GTK_FRAME_EXTENTS", "CARDINAL", {0xFFFFFFFF, 1, 1, 1});
  EXPECT_EQ(find(windows, id)->gtkFrame, std::nullopt);
  client.setNumbers(id, "_NET_WM_WINDOW_TYPE", "CARDINAL", std::vector<std::uint32_t>(5000, 7));
  EXPECT_EQ(find(windows, id)->type, WindowType::normal);
}

TEST(X11Windows, ReadsManyWindowsInOneSnapshot) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const int count = test::rounds(50, 200);
  for (int i = 0; i < count; ++i) client.open({.name = "Window " + std::to_string(i), .process = 1000 + i});
  ASSERT_TRUE(waitFor([&] { return windows.snapshot().windows.size() == static_cast<std::size_t>(count); }));
  const auto begin = std::chrono::steady_clock::now();
  const auto snapshot = windows.snapshot();
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
  std::cout << count << " windows are read in " << taken.count() << " ms\n";
  std::vector<std::int32_t> owners;
  for (const auto& window : snapshot.windows) owners.push_back(window.processIdentifier.value_or(0));
  std::sort(owners.begin(), owners.end());
  for (int i = 0; i < count; ++i) EXPECT_EQ(owners.at(static_cast<std::size_t>(i)), 1000 + i);
}

TEST(X11Windows, AreReadByManyThreadsAtOnce) {
  PrivateDesktop desktop;
  SampleClient client{desktop.display()};
  XcbWindows windows{desktop.display()};
  const auto id = client.open();
  ASSERT_TRUE(becomes(windows, id, isListed));
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&] {
      for (int look = 0; look < 50; ++look) EXPECT_NE(find(windows, id), std::nullopt);
    });
  }
  for (auto& reader : readers) reader.join();
}

TEST(X11Windows, AServerThatDiesLeavesNoWindowsAndANewOneIsFound) {
  PrivateDesktop desktop;
  XcbWindows windows{desktop.display(), WindowCoverage::all, std::chrono::milliseconds{50}};
  {
    SampleClient client{desktop.display()};
    ASSERT_TRUE(becomes(windows, client.open(), isListed));
  }
  desktop.killDisplay();
  EXPECT_EQ(windows.snapshot(), WindowsSnapshot{});
  EXPECT_EQ(windows.coverage(), desktop::WindowCoverage::none);
  EXPECT_FALSE(windows.activate(1));

  const auto server = desktop.launch("Xvfb", {desktop.display(), "-nolisten", "tcp", "-noreset", "-ac"});
  EXPECT_TRUE(waitFor([&] { return windows.coverage() == desktop::WindowCoverage::all; }));
}

}  // namespace
}  // namespace quillard::x11
