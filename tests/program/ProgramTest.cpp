#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "desktop/PrivateDesktop.h"
#include "private-desktop/FileContents.h"
#include "program/Installation.h"

// The program on a desktop of its own: what its user sees of it.
namespace quillard {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using privatedesktop::fileContents;
using test::DesktopProgram;
using test::PrivateDesktop;
using Arguments = std::vector<std::string>;
using namespace std::chrono_literals;

bool waitUntil(const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

class Program : public testing::Test {
 protected:
  void start(const PrivateDesktop::Options& options = {}) {
    desktop = std::make_unique<PrivateDesktop>(options);
    test::installProgram(prefix());
  }
  [[nodiscard]] std::string prefix() const { return desktop->folder("home") + "/.local"; }
  [[nodiscard]] std::string executable() const { return prefix() + "/bin/quillard"; }
  DesktopProgram launch(const Arguments& arguments, const PrivateDesktop::Variables& variables = {}) {
    return desktop->launch(executable(), arguments, variables);
  }
  // What a tool has printed, once it has ended.
  std::string printed(const Arguments& arguments, int expectedCode) {
    auto tool = launch(arguments);
    EXPECT_EQ(tool.wait(), expectedCode) << tool.output() << tool.errors();
    return tool.output();
  }
  json scan() { return json::parse(printed({"scan", "--json"}, 0)); }
  bool seesWindow(const std::string& title) {
    const auto windows = scan().at("windows");
    return std::any_of(windows.begin(), windows.end(), [&](const json& one) { return one.at("title") == title; });
  }
  std::map<std::string, std::string> doctorStates() {
    auto tool = launch({"doctor", "--json"});
    EXPECT_TRUE(tool.wait().has_value());
    std::map<std::string, std::string> states;
    const auto report = json::parse(tool.output());
    for (const auto& check : report.at("checks")) {
      states[check.at("id").get<std::string>()] = check.at("state").get<std::string>();
    }
    return states;
  }
  // Accepted as a prompt, which takes its text and its buttons.
  bool findsPrompt(const std::string& title) {
    const auto windows = scan().at("windows");
    return std::any_of(windows.begin(), windows.end(), [&](const json& one) {
      return one.at("title") == title && one.at("accepted") == true && one.at("buttonLabels").size() == 2;
    });
  }
  DesktopProgram showPrompt() {
    return desktop->launch("zenity", {"--question", "--title=Permission", "--text=Allow this?", "--ok-label=Allow",
                                      "--cancel-label=Don't Allow"});
  }

  std::unique_ptr<PrivateDesktop> desktop;
};

TEST_F(Program, ScanSeesAPromptOfAnotherProgram) {
  start();
  const auto dialog = showPrompt();
  ASSERT_TRUE(waitUntil([this] { return findsPrompt("Permission"); }));
  const auto window = scan().at("windows").at(0);
  EXPECT_EQ(window.at("accepted"), true);
  EXPECT_EQ(window.at("messageLines"), json({"Allow this?"}));
  EXPECT_EQ(window.at("buttonLabels").size(), 2U);
  const auto text = printed({"scan"}, 0);
  EXPECT_NE(text.find("PROMPT        \"Permission\""), std::string::npos) << text;
}

TEST_F(Program, RecordWritesWhatIsOnScreen) {
  start();
  const auto dialog = showPrompt();
  ASSERT_TRUE(waitUntil([this] { return findsPrompt("Permission"); }));
  const std::string file = desktop->folder("tmp") + "/desktop.json";
  printed({"record", file}, 0);
  EXPECT_NE(fileContents(file).find("Allow this?"), std::string::npos);
  printed({"record", file}, 3);  // Nothing is overwritten.
}

TEST_F(Program, DoctorFindsAllThatADesktopHas) {
  start({.hasNotifications = true, .secretService = PrivateDesktop::Options::SecretService::unlocked});
  auto states = doctorStates();
  for (const char* id : {"install", "display", "accessibility", "programs", "keychain"}) {
    EXPECT_EQ(states[id], "fine") << id;
  }
  EXPECT_EQ(states["notifications"], "note") << "Its server, dunst, shows no buttons to anybody.";
  EXPECT_EQ(states["relay"], "problem");
  EXPECT_EQ(states["agent"], "note");
}

TEST_F(Program, DoctorFindsWhatADesktopLacks) {
  start({.accessibility = PrivateDesktop::Options::Accessibility::missing});
  auto states = doctorStates();
  EXPECT_EQ(states["accessibility"], "problem");
  EXPECT_EQ(states["notifications"], "note");
  EXPECT_EQ(states["keychain"], "note");
}

TEST_F(Program, TheAgentShowsItsWindowStartsAtLoginAndEndsPolitely) {
  start();
  auto agent = launch({});
  ASSERT_TRUE(waitUntil([this] { return seesWindow("Quillard"); })) << agent.errors();
  EXPECT_EQ(doctorStates()["agent"], "fine");
  EXPECT_EQ(doctorStates()["login-item"], "fine");
  const auto entry = fileContents(desktop->folder("config") + "/autostart/com.quillard.agent.desktop");
  EXPECT_NE(entry.find("Exec=\"" + prefix() + "/lib/Quillard.app/quillard\""), std::string::npos) << entry;
  agent.end();
  EXPECT_EQ(agent.wait(), 0) << agent.errors();
  EXPECT_EQ(doctorStates()["agent"], "note");
}

TEST_F(Program, ASecondAgentTakesThePlaceOfTheFirst) {
  start();
  auto first = launch({});
  ASSERT_TRUE(waitUntil([this] { return doctorStates()["agent"] == "fine"; })) << first.errors();
  auto second = launch({});
  EXPECT_EQ(first.wait(), 0) << first.errors();
  ASSERT_TRUE(waitUntil([this] { return seesWindow("Quillard"); })) << second.errors();
  EXPECT_TRUE(second.isRunning());
}

TEST_F(Program, TheAgentWritesNoCoreDump) {
  start();
  auto agent = launch({});
  ASSERT_TRUE(waitUntil([this] { return doctorStates()["agent"] == "fine"; })) << agent.errors();
  const std::string folder = "/proc/" + std::to_string(agent.pid());
  EXPECT_NE(fileContents(folder + "/limits").find("Max core file size        0                    0"),
            std::string::npos);
  EXPECT_EQ(fileContents(folder + "/coredump_filter"), "00000000\n");
}

TEST_F(Program, TheAgentSaysThatItNeedsADisplay) {
  start({.hasDisplay = false});
  auto agent = launch({}, {{"QT_QPA_PLATFORM", ""}, {"WAYLAND_DISPLAY", ""}});
  EXPECT_EQ(agent.wait(), 3);
  EXPECT_NE(agent.errors().find("There is no X server"), std::string::npos) << agent.errors();
}

TEST_F(Program, TheAgentRunsInAWaylandSessionWithoutAnXServer) {
  start({.hasDisplay = false});
  auto agent = launch({}, {{"QT_QPA_PLATFORM", ""}, {"WAYLAND_DISPLAY", "wayland-of-nobody"}});
  ASSERT_TRUE(waitUntil([this] { return doctorStates()["agent"] == "fine"; })) << agent.errors();
  EXPECT_TRUE(agent.isRunning());
  agent.end();
  EXPECT_EQ(agent.wait(), 0) << agent.errors();
}

}  // namespace
}  // namespace quillard
