#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/AccessibleTree.h"
#include "desktop/PrivateDesktop.h"
#include "e2e/InstalledAgent.h"
#include "e2e/TestRelay.h"

// The window of the running agent, used as a screen reader does: every button through the accessibility bus,
// and every action for real.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using test::Accessible;
using test::DesktopProgram;
using test::InstalledAgent;
using test::PrivateDesktop;
using test::TestRelay;
using test::waitFor;

constexpr std::uint32_t kPanelRole = 39;
constexpr std::uint32_t kMenuItemRole = 35;

const std::string kPairing = "Phone Pairing";
const std::string kInstallation = "Installation";
const std::string kAccessibility = "Accessibility";
const std::string kLogin = "Open at Login";
const std::string kAlerts = "Phone Alerts";
const std::string kPrograms = "Programs";

class AgentWindow : public testing::Test {
 protected:
  explicit AgentWindow(const PrivateDesktop::Options& options = {}) : desktop(options) {
    // In place of the desktop's file browser: writes down what it is asked to open.
    std::filesystem::create_directories(programs);
    std::ofstream(programs + "/xdg-open") << "#!/bin/sh\nprintf '%s\\n' \"$1\" >> \"$HOME/opened\"\n";
    std::filesystem::permissions(programs + "/xdg-open", std::filesystem::perms::owner_all);
  }

  void startAgent(PrivateDesktop::Variables more = {}) {
    more.insert(more.end(), {{"QUILLARD_RELAY_URL", relay.url()},
                             {"QUILLARD_PAIRING_ID", "window"},
                             {"PATH", programs + ":/usr/local/bin:/usr/bin:/bin"},
                             {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}});
    agent.push_back(installed.start(more));
    ASSERT_TRUE(relay.waitForConnection()) << printed();
    relay.pairPhone(installed.endToEndSecret());
  }
  std::string printed() { return agent.back().output() + agent.back().errors(); }

  // The first object in the agent's windows, below the row of that name, that is of this role and name.
  std::optional<Accessible> find(const std::string& row, std::uint32_t role, const std::string& name) {
    for (const auto& window : tree.windowsOf(agent.back().pid())) {
      const auto* const panel = window.find(kPanelRole, row);
      const auto* const found = panel ? panel->find(role, name) : nullptr;
      if (found) return *found;
    }
    return std::nullopt;
  }
  bool shows(const std::string& row, const std::string& text) {
    return waitFor([&] { return find(row, test::kLabelRole, text).has_value(); });
  }
  void press(const std::string& row, const std::string& label) {
    std::optional<Accessible> button;
    ASSERT_TRUE(waitFor([&] {
      button = find(row, test::kButtonRole, label);
      return button.has_value();
    })) << row
        << ": " << label << "\n"
        << printed();
    EXPECT_TRUE(tree.press(*button));
  }
  // From the menu that a button has opened. Pressing a menu item may answer only when the menu is gone.
  void choose(const std::string& item) {
    ASSERT_TRUE(waitFor([&] {
      for (const auto& window : tree.windowsOf(agent.back().pid())) {
        const auto* const found = window.find(kMenuItemRole, item);
        if (found) return tree.press(*found);
      }
      return false;
    })) << item;
  }
  std::vector<std::string> opened() {
    std::vector<std::string> addresses;
    std::ifstream file(desktop.folder("home") + "/opened");
    for (std::string line; std::getline(file, line);) addresses.push_back(line);
    return addresses;
  }
  bool opens(const std::string& part) {
    return waitFor([&] {
      const auto addresses = opened();
      return std::any_of(addresses.begin(), addresses.end(),
                         [&](const std::string& address) { return address.find(part) != std::string::npos; });
    });
  }
  bool listHas(std::size_t count) {
    return relay.waitForList([&](const auto& approvals) { return approvals.size() == count; }, 30s).has_value();
  }

  PrivateDesktop desktop;
  const std::string programs = desktop.folder("home") + "/programs";
  TestRelay relay;
  InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  test::AccessibleTree tree{desktop};
  std::vector<DesktopProgram> agent;  // One at most.
};

TEST_F(AgentWindow, PausesAndResumesThePhonesAlerts) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", {"--kind", "dialog", "--title", "Waiting", "--text", "May it go on?",
                                               "--button", "No", "--button", "Yes"});
  ASSERT_TRUE(listHas(1)) << printed();
  press(kAlerts, "Pause 2h");
  EXPECT_TRUE(listHas(0));
  EXPECT_TRUE(shows(kAlerts, "Alerts will resume automatically."));
  press(kAlerts, "Resume");
  EXPECT_TRUE(listHas(1));
  EXPECT_TRUE(shows(kAlerts, "Pause while you answer prompts here."));
  EXPECT_TRUE(dialog.isRunning());
}

TEST_F(AgentWindow, OffersLongerPausesInAMenu) {
  startAgent();
  ASSERT_TRUE(shows(kAlerts, "Pause while you answer prompts here."));
  press(kAlerts, "Options…");
  choose("Pause until Resumed");
  EXPECT_TRUE(shows(kAlerts, "Paused until you resume."));
  press(kAlerts, "Options…");
  choose("Resume Now");
  EXPECT_TRUE(shows(kAlerts, "Pause while you answer prompts here."));
}

TEST_F(AgentWindow, OpensTheFolderForApplications) {
  startAgent();
  press(kInstallation, "Open Folder");
  EXPECT_TRUE(opens("/.local/lib"));
}

TEST_F(AgentWindow, SwitchesTheStartAtLoginOnAgainAndShowsWhereItIsKept) {
  startAgent();
  const auto entry = desktop.folder("config") + "/autostart/com.quillard.agent.desktop";
  ASSERT_TRUE(shows(kLogin, "Enabled"));
  ASSERT_TRUE(std::filesystem::remove(entry));
  ASSERT_TRUE(shows(kLogin, "Off")) << "The window looks again every two seconds.";
  press(kLogin, "Enable");
  EXPECT_TRUE(shows(kLogin, "Enabled"));
  EXPECT_TRUE(std::filesystem::exists(entry));
  press(kLogin, "Open Settings");
  EXPECT_TRUE(opens("autostart"));
}

TEST_F(AgentWindow, UnpairsThePhoneAndComesBackUnderANewIdentity) {
  startAgent();
  ASSERT_TRUE(shows(kPairing, "Phone paired"));
  const auto before = std::string(installed.endToEndSecret().text());
  press(kPairing, "Unpair Phone");
  EXPECT_TRUE(waitFor([&] { return relay.connections() == 2; })) << printed();
  EXPECT_TRUE(waitFor([&] { return installed.endToEndSecret().text() != before; }));
}

// It is none that is built on Chromium, but has mapped a file as those have.
TEST_F(AgentWindow, ChangesHowAProgramStartsThatCannotBeReadAndUndoesIt) {
  namespace fs = std::filesystem;
  const auto shared = desktop.folder("home") + "/shared";
  const auto program = desktop.copyProgram("/usr/bin/zenity", "chat");
  const auto mapped = desktop.folder("home") + "/v8_context_snapshot.so";
  fs::copy_file(SESSION_STUB, mapped);
  fs::create_directories(shared + "/applications");
  std::ofstream(shared + "/applications/chat.desktop")
      << "[Desktop Entry]\nType=Application\nName=Chat\nExec=" << program << " %U\n";
  auto chat = desktop.launch(program, {"--info", "--text=Hello"}, {{"NO_AT_BRIDGE", "1"}, {"LD_PRELOAD", mapped}});
  startAgent({{"XDG_DATA_DIRS", shared + ":/usr/local/share:/usr/share"}});
  ASSERT_TRUE(shows(kPrograms, "1 program cannot be read")) << chat.errors();
  EXPECT_TRUE(shows(kPrograms, "Their prompts are not seen. Chat: Start it with --force-renderer-accessibility."));

  const auto copy = desktop.folder("data") + "/applications/chat.desktop";
  press(kPrograms, "Make Readable…");
  choose("Chat");
  EXPECT_TRUE(waitFor([&] { return fs::exists(copy); }));
  press(kPrograms, "Undo…");
  choose("Chat");
  EXPECT_TRUE(waitFor([&] { return !fs::exists(copy); }));
  EXPECT_TRUE(chat.isRunning());
}

class AgentWindowWithoutAccessibility : public AgentWindow {
 protected:
  AgentWindowWithoutAccessibility() : AgentWindow({.accessibility = PrivateDesktop::Options::Accessibility::off}) {}
};

TEST_F(AgentWindowWithoutAccessibility, SwitchesAccessibilityOnFromThePairingCard) {
  startAgent();
  ASSERT_TRUE(shows(kPairing, "Accessibility required"));
  press(kPairing, "Switch On Accessibility…");
  EXPECT_TRUE(shows(kAccessibility, "On")) << printed();
}

TEST_F(AgentWindowWithoutAccessibility, SwitchesAccessibilityOnFromItsRow) {
  startAgent();
  ASSERT_TRUE(shows(kAccessibility, "Required"));
  press(kAccessibility, "Open Settings");
  EXPECT_TRUE(shows(kAccessibility, "On")) << printed();
}

}  // namespace
}  // namespace quillard
