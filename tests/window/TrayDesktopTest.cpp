#include <chrono>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include "desktop/DesktopBus.h"
#include "desktop/PrivateDesktop.h"

// The tray icon on real desktops: with a tray on the bus, with a classic one, with either coming late, with none.
namespace quillard::test {
namespace {

class TrayOnADesktop : public testing::Test {
 protected:
  DesktopProgram showIcon() {
    auto program = desktop.launch(QUILLARD_WINDOW_PROGRAM, {"none", "tray"});
    EXPECT_TRUE(program.waitForOutput("ready")) << program.errors();
    return program;
  }

  DesktopProgram startWatcher(const std::vector<std::string>& arguments = {}) {
    auto watcher = desktop.launch(QUILLARD_NOTIFIER_WATCHER, arguments);
    EXPECT_TRUE(watcher.waitForOutput("watching")) << watcher.errors();
    return watcher;
  }

  DesktopProgram startClassicTray() {
    std::ofstream{desktop.folder("config") + "/tint2rc"} << "panel_items = S\npanel_size = 200 32\n"
                                                            "panel_position = bottom right horizontal\n";
    return desktop.launch("tint2", {"-c", desktop.folder("config") + "/tint2rc"});
  }

  // The service under which the icon registered itself; empty when it did not.
  static std::string registeredService(DesktopProgram& watcher) {
    if (!watcher.waitForOutput("registered ")) return {};
    std::istringstream words{watcher.output().substr(watcher.output().find("registered ") + 11)};
    std::string service;
    words >> service;
    return service;
  }

  bool callItem(const std::string& service, const char* method) {
    DesktopBus bus{desktop.sessionBusAddress()};
    return sd_bus_call_method(bus.get(), service.c_str(), "/StatusNotifierItem", "org.kde.StatusNotifierItem", method,
                              nullptr, nullptr, "ii", 0, 0) >= 0;
  }

  void clickAt(int x, int y) const {
    auto* connection = xcb_connect(desktop.display().c_str(), nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root, static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y), 0);
    xcb_test_fake_input(connection, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, root, 0, 0, 0);
    xcb_test_fake_input(connection, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, root, 0, 0, 0);
    xcb_flush(connection);
    xcb_disconnect(connection);
  }

  // Where the icon says that it is; a panel may still move it.
  static std::pair<int, int> placeOf(const DesktopProgram& program) {
    const std::string output = program.output();
    std::istringstream words{output.substr(output.rfind("docked ") + 7)};
    int x = 0;
    int y = 0;
    words >> x >> y;
    return {x, y};
  }

  void expectClassicIcon(DesktopProgram& program) const {
    constexpr std::chrono::milliseconds kAnswerTime{200};
    ASSERT_TRUE(program.waitForOutput("docked ")) << program.errors();
    EXPECT_TRUE(waitFor([&] {
      const auto [x, y] = placeOf(program);
      clickAt(x, y);
      return program.waitForOutput("clicked", kAnswerTime);
    })) << program.output();
  }

  PrivateDesktop desktop;
};

TEST_F(TrayOnADesktop, StandsInATrayOnTheBusAndOpensTheWindowAtAClick) {
  auto watcher = startWatcher();
  auto program = showIcon();
  const auto service = registeredService(watcher);
  ASSERT_FALSE(service.empty());
  EXPECT_TRUE(callItem(service, "Activate"));
  EXPECT_TRUE(program.waitForOutput("clicked"));
}

TEST_F(TrayOnADesktop, FindsATrayOnTheBusThatComesLate) {
  auto program = showIcon();
  auto watcher = startWatcher();
  const auto service = registeredService(watcher);
  ASSERT_FALSE(service.empty());
  EXPECT_TRUE(callItem(service, "Activate"));
  EXPECT_TRUE(program.waitForOutput("clicked"));
}

TEST_F(TrayOnADesktop, WaitsForThePanelThatShowsWhatTheBusTakes) {
  auto watcher = startWatcher({"panel comes later"});
  auto program = showIcon();
  EXPECT_FALSE(registeredService(watcher).empty());
}

TEST_F(TrayOnADesktop, ComesBackWhenTheTrayOnTheBusDoes) {
  auto watcher = startWatcher();
  auto program = showIcon();
  ASSERT_FALSE(registeredService(watcher).empty());
  watcher.kill();
  auto next = startWatcher();
  EXPECT_FALSE(registeredService(next).empty());
}

TEST_F(TrayOnADesktop, StandsInAClassicTrayWhereThereIsNoOther) {
  auto tray = startClassicTray();
  auto program = showIcon();
  expectClassicIcon(program);
}

TEST_F(TrayOnADesktop, FindsAClassicTrayThatComesLate) {
  auto program = showIcon();
  auto tray = startClassicTray();
  expectClassicIcon(program);
}

TEST_F(TrayOnADesktop, LivesWithoutATray) {
  auto program = showIcon();
  DesktopBus bus{desktop.sessionBusAddress()};
  EXPECT_FALSE(bus.isNameOwned("org.kde.StatusNotifierWatcher"));
  EXPECT_TRUE(program.isRunning());
  EXPECT_EQ(program.output(), "ready\n");
}

}  // namespace
}  // namespace quillard::test
