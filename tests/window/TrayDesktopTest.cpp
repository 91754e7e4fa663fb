#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include "desktop/PrivateDesktop.h"
#include "private-desktop/DesktopBus.h"

// The tray icon on real desktops: with a tray on the bus, with a classic one, with either coming late, with none.
namespace quillard::test {
namespace {

class TrayOnADesktop : public testing::Test {
 protected:
  DesktopProgram showIcon(const std::string& state = "none") {
    auto program = desktop.launch(QUILLARD_WINDOW_PROGRAM, {state, "tray"});
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
    const auto isClicked = [&] {
      const auto [x, y] = placeOf(program);
      clickAt(x, y);
      return program.waitForOutput("clicked", kAnswerTime);
    };
    EXPECT_TRUE(waitFor(isClicked, 3 * kTimeout))  // A panel shows a new icon in its own time.
        << program.output() << "under the pointer: " << windowsUnderPointer();
  }

  // From the outermost inwards: what a click there meets.
  [[nodiscard]] std::string windowsUnderPointer() const {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection{
        xcb_connect(desktop.display().c_str(), nullptr), &xcb_disconnect};
    auto* const x = connection.get();
    std::ostringstream found;
    for (auto window = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root; window != XCB_WINDOW_NONE;) {
      const auto pointer = owned(xcb_query_pointer_reply(x, xcb_query_pointer(x, window), nullptr));
      const auto state = owned(xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
      if (!pointer || !state) break;
      found << std::hex << window << std::dec << " of " << property(x, window, "_NET_WM_PID") << " at "
            << pointer->win_x << ' ' << pointer->win_y << ", listens for " << std::hex << state->all_event_masks
            << std::dec << "; ";
      window = pointer->child;
    }
    return found.str();
  }

  template <class Reply>
  static std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
  }

  // Of the program whose window has the keyboard; 0 when none has.
  [[nodiscard]] std::uint32_t activeProcess() const {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection{
        xcb_connect(desktop.display().c_str(), nullptr), &xcb_disconnect};
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const auto active = property(connection.get(), root, "_NET_ACTIVE_WINDOW");
    return active == XCB_WINDOW_NONE ? 0 : property(connection.get(), active, "_NET_WM_PID");
  }

  // Its first number; 0 when there is none.
  static std::uint32_t property(xcb_connection_t* connection, xcb_window_t window, const std::string& name) {
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()), nullptr));
    const auto value = owned(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, atom->atom, XCB_ATOM_ANY, 0, 1), nullptr));
    if (!value || xcb_get_property_value_length(value.get()) < 4) return 0;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(value.get()));
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

TEST_F(TrayOnADesktop, BringsTheWindowToTheFrontWithTheKeyboard) {
  auto watcher = startWatcher();
  auto program = showIcon("paired");
  const auto isActive = [&](DesktopProgram& wanted) {
    return waitFor([&] { return activeProcess() == static_cast<std::uint32_t>(wanted.pid()); });
  };
  EXPECT_TRUE(isActive(program));
  const auto service = registeredService(watcher);
  auto other = desktop.launch("zenity", {"--info", "--text", "Something else"});
  ASSERT_TRUE(isActive(other));
  EXPECT_TRUE(callItem(service, "Activate"));
  EXPECT_TRUE(isActive(program));
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
