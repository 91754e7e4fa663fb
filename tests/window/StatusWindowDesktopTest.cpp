#include <fstream>
#include <iostream>
#include <optional>
#include <utility>

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include "desktop/AccessibleTree.h"
#include "desktop/PrivateDesktop.h"
#include "status/view/StatusWindowView.h"
#include "support/GoldenFile.h"

// The window on a real desktop, used through the accessibility interface as a screen reader uses it.
namespace quillard::test {
namespace {

std::vector<Accessible> buttons(const Accessible& window) {
  return window.findAllShowing(
      [](const Accessible& node) { return node.roleName == "button" || node.roleName == "push button"; });
}

// What a screen reader meets, one line an object.
std::string described(const Accessible& node, std::size_t depth = 0) {
  std::string lines(depth * 2, ' ');
  lines += node.roleName + " \"" + node.name + "\"";
  if (!node.description.empty()) lines += " (" + node.description + ")";
  lines += "\n";
  for (const auto& child : node.children) {
    if (child.isShowing()) lines += described(child, depth + 1);
  }
  return lines;
}

std::vector<Accessible> buttonsIn(const std::optional<Accessible>& window) {
  return window ? buttons(*window) : std::vector<Accessible>{};
}

class StatusWindowOnADesktop : public testing::Test {
 protected:
  DesktopProgram show(const std::string& state) {
    auto program = desktop.launch(QUILLARD_WINDOW_PROGRAM, {state});
    EXPECT_TRUE(program.waitForOutput("ready")) << program.errors();
    // What is showing comes to the bus bit by bit: complete once two reads are alike.
    std::string before;
    EXPECT_TRUE(waitFor([&] {
      const auto window = tree.windowNamed("Quillard");
      const std::string now = window ? described(*window) : "";
      return !buttonsIn(window).empty() && now == std::exchange(before, now);
    })) << program.errors();
    return program;
  }

  PrivateDesktop desktop;
  AccessibleTree tree{desktop.accessibilityBusAddress()};
};

TEST_F(StatusWindowOnADesktop, ReadsWell) {
  const auto program = show("paired");
  const auto window = tree.windowNamed("Quillard");
  ASSERT_TRUE(window);
  const std::string now = described(*window);
  EXPECT_EQ(now, samples::goldenText("window/accessible-tree.txt", now));
}

TEST_F(StatusWindowOnADesktop, GivesEveryTextPictureAndButtonAName) {
  auto program = show("untrusted");
  const auto nameless = tree.windowNamed("Quillard")->findAllShowing([](const Accessible& node) {
    const bool isContainer = node.roleName == "filler" || node.roleName == "scroll pane" || node.roleName == "viewport";
    return !isContainer && node.roleName != "scroll bar" && node.name.empty();
  });
  for (const auto& node : nameless) ADD_FAILURE() << node.roleName << " without a name";
}

TEST_F(StatusWindowOnADesktop, TakesEveryPressOfAnAssistiveProgram) {
  auto program = show("not-installed");
  struct Expected {
    const char* name;
    const char* about;
    StatusWindowButton button;
  };
  const Expected expected[] = {
      {"Move…", "Applications Folder", StatusWindowButton::installLocationPrimary},
      {"Open Folder", "Applications Folder", StatusWindowButton::installLocationSecondary},
      {"Open Settings", "Open at Login", StatusWindowButton::loginItemSecondary},
      {"Pause 2h", "iPhone Alerts", StatusWindowButton::notificationPausePrimary},
  };
  for (const auto& each : expected) {
    const auto found = tree.windowNamed("Quillard")->findAllShowing([&](const Accessible& node) {
      return node.name == each.name && node.description == each.about;
    });
    ASSERT_EQ(found.size(), 1U) << each.name;
    EXPECT_TRUE(tree.press(found.front()));
    EXPECT_TRUE(program.waitForOutput("button " + std::to_string(static_cast<int>(each.button)) + "\n")) << each.name;
  }
}

TEST_F(StatusWindowOnADesktop, OffersTheButtonsOfItsStateAndNoOthers) {
  auto program = show("paused");
  std::vector<std::string> names;
  for (const auto& button : buttons(*tree.windowNamed("Quillard"))) names.push_back(button.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Unpair iPhone", "Open Folder", "Open Settings", "Open Settings", "Resume",
                                             "Options…"}));
}

TEST_F(StatusWindowOnADesktop, OpensItsMenuForAnAssistiveProgramAndTakesItsChoice) {
  auto program = show("paused");
  const auto options =
      tree.windowNamed("Quillard")->findAllShowing([](const Accessible& node) { return node.name == "Options…"; });
  ASSERT_EQ(options.size(), 1U);
  EXPECT_TRUE(tree.press(options.front()));
  std::vector<Accessible> items;
  EXPECT_TRUE(waitFor([&] {
    items = tree.windowNamed("Quillard")->findAllShowing([](const Accessible& node) {
      return node.roleName == "menu item";
    });
    return !items.empty();
  }));
  ASSERT_EQ(items.size(), 3U) << described(*tree.windowNamed("Quillard"));
  EXPECT_EQ(items.back().name, "Resume Now");
  EXPECT_TRUE(tree.press(items.back()));
  EXPECT_TRUE(program.waitForOutput("choice 3")) << program.output();
}

// In the middle of the screen's edge of the window: its page, not a card.
QColor pageColor(const PrivateDesktop& desktop) {
  const std::string path = desktop.folder("tmp") + "/screen.png";
  desktop.screenshot(path);
  const QImage screen{QString::fromStdString(path)};
  return screen.pixelColor(screen.width() / 2 - 466, screen.height() / 2);
}

TEST_F(StatusWindowOnADesktop, TurnsDarkAndLightWithTheDesktop) {
  constexpr std::uint32_t kLight = 2;
  auto portal = desktop.launch(QUILLARD_SETTINGS_PORTAL, {"1"});
  ASSERT_TRUE(portal.waitForOutput("answering")) << portal.errors();
  auto program = show("paired");
  EXPECT_TRUE(waitFor([&] { return pageColor(desktop) == QColor(0x12, 0x17, 0x1a); }))
      << pageColor(desktop).name().toStdString();
  DesktopBus bus{desktop.sessionBusAddress()};
  ASSERT_GE(sd_bus_call_method(bus.get(), "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.Settings", "Set", nullptr, nullptr, "u", kLight),
            0);
  EXPECT_TRUE(program.waitForOutput("appearance changed"));
  EXPECT_TRUE(waitFor([&] { return pageColor(desktop) == QColor(0xf3, 0xf5, 0xf4); }))
      << pageColor(desktop).name().toStdString();
}

// Written by the process itself, in kilobytes; code of libraries does not count, shared or not.
int ownMemoryOf(pid_t process) {
  std::ifstream file{"/proc/" + std::to_string(process) + "/smaps_rollup"};
  int sum = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("Private_Dirty", 0) == 0) sum += std::stoi(line.substr(line.find(':') + 1));
  }
  return sum;
}

// The whole agent has 15 MB for itself.
TEST_F(StatusWindowOnADesktop, TakesLittleMemoryOfItsOwn) {
  auto program = show("paired");
  const int used = ownMemoryOf(program.pid());
  std::cout << "Memory of its own with the window on screen: " << used << " kB\n";
  EXPECT_GT(used, 500);
#ifndef QUILLARD_SANITIZED
  constexpr int kMost = 8'000;
  EXPECT_LT(used, kMost);
#endif
}

}  // namespace
}  // namespace quillard::test
