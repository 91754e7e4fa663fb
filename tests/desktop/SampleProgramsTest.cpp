#include <algorithm>
#include <csignal>
#include <iostream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/AccessibleTree.h"
#include "desktop/ClientList.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/SharedDesktop.h"

namespace quillard::test {
namespace {

using namespace std::chrono_literals;
using Arguments = std::vector<std::string>;

constexpr int kShowingState = 25;

// One desktop for all of them, and a new one after a test whose windows stay, as when a window manager hangs.
class SamplePrograms : public testing::TestWithParam<std::string> {
 protected:
  static void TearDownTestSuite() {
    desktop = nullptr;
    shared.end();
  }
  void SetUp() override { desktop = &shared.get(); }

  [[nodiscard]] static bool isGtk4() { return GetParam() == "gtk4_prompt"; }
  [[nodiscard]] static bool isQt() { return GetParam() == "qt_prompt"; }
  [[nodiscard]] static bool isGtk3() { return GetParam() == "gtk3_prompt"; }

  static DesktopProgram launch(const Arguments& arguments) { return desktop->launch(GetParam(), arguments); }

  // What the accessibility bus has of a program as soon as `isThere` holds for it; what it has at last, otherwise.
  template <typename Condition>
  static Accessible treeOf(const DesktopProgram& program, const Condition& isThere) {
    AccessibleTree tree(*desktop);
    Accessible all;
    const bool isInTime = waitFor([&] {
      all.children = tree.windowsOf(program.pid());
      return isThere(all);
    });
    EXPECT_TRUE(isInTime) << all.text() << program.errors();
    return all;
  }
  static Accessible treeWith(const DesktopProgram& program, std::uint32_t role, const std::string& name) {
    return treeOf(program, [&](const Accessible& all) { return all.find(role, name) != nullptr; });
  }
  // GTK 4 doubles the names of a dialog's buttons.
  static const Accessible* button(const Accessible& all, const std::string& label) {
    const auto* const found = all.find(kButtonRole, label);
    return found ? found : all.find(kButtonRole, label + " " + label);
  }
  static Accessible treeWithButton(const DesktopProgram& program, const std::string& label) {
    return treeOf(program, [&](const Accessible& all) { return button(all, label) != nullptr; });
  }
  static bool press(const DesktopProgram& program, const std::string& label) {
    const Accessible all = treeWithButton(program, label);
    const auto* const found = button(all, label);
    return found && AccessibleTree(*desktop).press(*found);
  }

  static ClientWindow windowTitled(const DesktopProgram& program, const std::string& title) {
    ClientList list(*desktop);
    ClientWindow found;
    const bool isThere = waitFor([&] {
      for (const auto& window : list.windowsOf(program.pid())) {
        if (window.title == title) found = window;
      }
      return found.id != 0;
    });
    EXPECT_TRUE(isThere) << "No window '" << title << "'" << program.errors();
    return found;
  }

  inline static SharedDesktop shared;
  inline static PrivateDesktop* desktop = nullptr;  // Of the present test.
};

INSTANTIATE_TEST_SUITE_P(Toolkits, SamplePrograms, testing::Values("gtk3_prompt", "gtk4_prompt", "qt_prompt"),
                         [](const auto& toolkit) { return toolkit.param.substr(0, toolkit.param.find('_')); });

TEST_P(SamplePrograms, ShowAMessageBoxAndTellTheButton) {
  auto program = launch({"--title", "Permission", "--text", "May it go on?", "--text", "It cannot be undone.",
                         "--button", "Don't Allow", "--button", "Allow"});
  ASSERT_TRUE(program.waitForOutput("ready\n")) << program.errors();
  EXPECT_EQ(windowTitled(program, "Permission").pid, program.pid());
  EXPECT_TRUE(treeWith(program, kLabelRole, "It cannot be undone.").find(kLabelRole, "May it go on?"));
  EXPECT_TRUE(press(program, "Allow"));
  EXPECT_EQ(program.wait(), 11);
  EXPECT_EQ(program.output(), "ready\npressed: Allow\n");
  EXPECT_EQ(program.errors(), "");
}

TEST_P(SamplePrograms, ShowTheKindsOfWindowThatTheyAreAskedFor) {
  struct Case {
    std::string kind;
    std::uint32_t gtk3, gtk4, qt;  // Roles on the bus; 0: the toolkit has no such thing.
  };
  const std::vector<Case> cases{{"message-box", kAlertRole, kDialogRole, kAlertRole},
                                {"dialog", kDialogRole, kDialogRole, kDialogRole},
                                {"frame", kFrameRole, kFrameRole, kFrameRole},
                                {"filler", kFillerRole, 0, kFillerRole},
                                {"file-chooser", kFileChooserRole, kDialogRole, kDialogRole},
                                {"main-window", kFrameRole, kFrameRole, kFrameRole},
                                {"window-prompt", kFrameRole, kFrameRole, kFrameRole},
                                {"preferences", kFrameRole, kFrameRole, kFrameRole}};
  for (const auto& [kind, gtk3, gtk4, qt] : cases) {
    SCOPED_TRACE(kind);
    const auto role = isGtk3() ? gtk3 : isGtk4() ? gtk4 : qt;
    auto program = launch({"--kind", kind, "--title", "The title", "--text", "A text", "--button", "Go on"});
    if (role == 0) {
      EXPECT_EQ(program.wait(), 2);
      continue;
    }
    ASSERT_TRUE(program.waitForOutput("ready\n")) << program.errors();
    windowTitled(program, "The title");
    const auto all = treeWithButton(program, "Go on");
    ASSERT_FALSE(all.children.empty());
    EXPECT_EQ(all.children.front().role, role) << all.text();
    EXPECT_TRUE(press(program, "Go on"));
    EXPECT_EQ(program.wait(), 10);
    EXPECT_EQ(program.errors(), "");
  }
}

TEST_P(SamplePrograms, HaveFramesThatOnlyXKnowsForDialogs) {
  const auto program = launch(
      {"--kind", "frame", "--title", "Sheet", "--dialog-type", "--modal", "--parent", "Document", "--button", "Save"});
  const auto window = windowTitled(program, "Sheet");
  EXPECT_TRUE(waitFor([&] { return windowTitled(program, "Sheet").states.contains("_NET_WM_STATE_MODAL"); }));
  EXPECT_TRUE(window.types.contains("_NET_WM_WINDOW_TYPE_DIALOG"));
  EXPECT_EQ(window.transientFor, windowTitled(program, "Document").id);
  EXPECT_TRUE(treeWith(program, kFrameRole, "Sheet").find(kFrameRole, "Document"));
  const auto plain = launch({"--kind", "frame", "--title", "Plain", "--button", "Save"});
  const auto plainWindow = windowTitled(plain, "Plain");
  EXPECT_FALSE(plainWindow.types.contains("_NET_WM_WINDOW_TYPE_DIALOG"));
  EXPECT_FALSE(plainWindow.states.contains("_NET_WM_STATE_MODAL"));
  EXPECT_EQ(plainWindow.transientFor, 0U);
}

TEST_P(SamplePrograms, KeepAPromptWithinTheirWindow) {
  for (const bool isDialog : {false, true}) {
    Arguments arguments{
        "--kind", "window-prompt",        "--title",  "Some page", "--prompt-title", "Camera?", "--toolbar",
        "--text", "It wants the camera.", "--button", "Block",     "--button",       "Allow"};
    if (isDialog) arguments.emplace_back("--prompt-is-dialog");
    auto program = launch(arguments);
    const auto all = treeWithButton(program, "Allow");
    ASSERT_EQ(all.children.size(), 1U);
    EXPECT_EQ(all.children.front().role, kFrameRole);
    const auto* const prompt = all.find(isDialog ? kDialogRole : kAlertRole, "Camera?");
    ASSERT_NE(prompt, nullptr) << all.text();
    EXPECT_TRUE(prompt->find(kLabelRole, "It wants the camera."));
    EXPECT_TRUE(button(*prompt, "Block"));
    const auto* const empty = all.find(kAlertRole, isGtk4() ? "GtkBox" : "");
    ASSERT_NE(empty, nullptr) << all.text();
    EXPECT_TRUE(empty->children.empty());
    EXPECT_TRUE(press(program, "Block"));
    EXPECT_EQ(program.wait(), 10);
  }
}

TEST_P(SamplePrograms, HaveSecretFieldsWithAndWithoutAWord) {
  const auto labelled = launch({"--kind", "dialog", "--password", "Passphrase:", "--button", "OK"});
  const auto all = treeOf(labelled, [](const Accessible& tree) {
    return tree.find(kLabelRole, "Passphrase:") && tree.holdsRole(kPasswordRole);
  });
  EXPECT_TRUE(all.holdsRole(kPasswordRole)) << all.text();
  const auto bare = launch({"--kind", "message-box", "--text", "Go on?", "--secret", "--button", "OK"});
  const auto other = treeWithButton(bare, "OK");
  EXPECT_TRUE(other.holdsRole(kPasswordRole)) << other.text();
}

TEST_P(SamplePrograms, StandWithManyWidgetsTabsAndAToolbar) {
  const auto program = launch({"--kind", "main-window", "--title", "Large", "--widgets", "200", "--tabs", "--toolbar",
                               "--field", "Name:", "--button", "OK"});
  const auto all = treeWith(program, kLabelRole, "Item 199");
  EXPECT_TRUE(all.find(kLabelRole, "Item 0"));
  EXPECT_TRUE(all.holdsRole(kToolbarRole)) << "There is a toolbar.";
  EXPECT_TRUE(all.holdsRole(kTabListRole)) << "There are tabs.";
}

TEST_P(SamplePrograms, HideTextsAndButtons) {
  const auto program = launch({"--kind", "dialog", "--text", "Seen", "--hidden-text", "Unseen", "--hidden-button",
                               "Never", "--zero-size-text", "Nothing", "--button", "OK"});
  const auto all = treeWithButton(program, "OK");
  EXPECT_TRUE(all.find(kLabelRole, "Seen"));
  const auto isLeftOutOrNotShowing = [&](std::uint32_t role, const char* name) {
    const auto* const found = all.find(role, name);
    return !found || !found->hasState(kShowingState);
  };
  EXPECT_TRUE(isLeftOutOrNotShowing(kLabelRole, "Unseen"));
  EXPECT_TRUE(isLeftOutOrNotShowing(kButtonRole, "Never"));
  std::cout << GetParam() << " has of the hidden text: " << (all.find(kLabelRole, "Unseen") ? "yes" : "no")
            << ", of the one without room: " << (all.find(kLabelRole, "Nothing") ? "yes" : "no") << "\n";
}

TEST_P(SamplePrograms, IgnorePressesAndThenHaveASuccessorInTheSamePlace) {
  auto program = launch({"--kind", "dialog", "--title", "First", "--button", "Erase", "--at", "200,150",
                         "--ignore-presses", "1", "--successor", "Really?", "--successor-text", "Think again.",
                         "--successor-button", "No", "--successor-button", "Yes"});
  const auto isInPlace = [&](const std::string& title) {
    return waitFor([&] {
      const auto window = windowTitled(program, title);
      return window.x == 200 && window.y == 150;
    });
  };
  ASSERT_TRUE(program.waitForOutput("ready\n")) << program.errors();  // It stays in its place from here on.
  EXPECT_TRUE(isInPlace("First"));
  EXPECT_TRUE(press(program, "Erase"));
  ASSERT_TRUE(program.waitForOutput("pressed: Erase\n"));
  EXPECT_TRUE(press(program, "Erase"));
  EXPECT_TRUE(isInPlace("Really?")) << windowTitled(program, "Really?").x << "," << windowTitled(program, "Really?").y;
  EXPECT_TRUE(waitFor([&] { return ClientList(*desktop).windowsOf(program.pid()).size() == 1; }));
  EXPECT_TRUE(press(program, "Yes"));
  EXPECT_EQ(program.wait(), 11);
  EXPECT_EQ(program.output(), "ready\npressed: Erase\npressed: Erase\npressed: Yes\n");
  EXPECT_EQ(program.errors(), "");
}

TEST_P(SamplePrograms, AreStillThereAfterAnIgnoredPressOnAMessageBox) {
  auto program = launch({"--text", "Again?", "--button", "Yes", "--ignore-presses", "2"});
  ASSERT_TRUE(program.waitForOutput("ready\n")) << program.errors();
  EXPECT_TRUE(press(program, "Yes"));
  ASSERT_TRUE(program.waitForOutput("pressed: Yes\n"));  // A button that is still going down takes no second press.
  EXPECT_TRUE(press(program, "Yes"));
  ASSERT_TRUE(program.waitForOutput("pressed: Yes\npressed: Yes\n"));
  EXPECT_TRUE(press(program, "Yes"));
  EXPECT_EQ(program.wait(), 10);
}

TEST_P(SamplePrograms, CloseByThemselvesOrByTheWindowManager) {
  auto byItself = launch({"--kind", "dialog", "--title", "Brief", "--button", "OK", "--close-after", "0.05"});
  EXPECT_EQ(byItself.wait(), 3);
  auto asked = launch({"--kind", "dialog", "--title", "Asked", "--button", "OK"});
  ASSERT_TRUE(asked.waitForOutput("ready"));
  ::kill(asked.pid(), SIGUSR1);
  EXPECT_EQ(asked.wait(), 3);
  for (const char* kind : {"message-box", "dialog", "frame"}) {
    SCOPED_TRACE(kind);
    auto program = launch({"--kind", kind, "--title", "Closed", "--text", "Hm?", "--button", "No", "--button", "OK"});
    ASSERT_TRUE(program.waitForOutput("ready"));
    const auto window = windowTitled(program, "Closed");
    ClientList(*desktop).close(window.id);
    EXPECT_EQ(program.wait(), 3);
  }
}

TEST_P(SamplePrograms, HangWhenTheyShall) {
  auto onPress = launch({"--kind", "dialog", "--title", "Stuck", "--button", "OK", "--hang-on-press"});
  press(onPress, "OK");
  ASSERT_TRUE(onPress.waitForOutput("pressed: OK\n"));
  auto later = launch({"--kind", "dialog", "--title", "Stuck too", "--button", "OK", "--hang-after", "1"});
  ASSERT_TRUE(later.waitForOutput("hangs\n"));
  for (auto* program : {&onPress, &later}) {
    EXPECT_TRUE(program->isRunning());
    program->end();
    EXPECT_EQ(program->wait(), 128 + 15);
  }
}

TEST_P(SamplePrograms, ShowTheSamePromptAgain) {
  auto program = launch({"--kind", "dialog", "--title", "Delete?", "--button", "Delete", "--again", "2"});
  std::string pressed = "ready\n";
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(waitFor([&] { return ClientList(*desktop).windowsOf(program.pid()).size() == 1; }));
    ASSERT_TRUE(waitFor([&] { return AccessibleTree(*desktop).windowsOf(program.pid()).size() == 1; }));
    EXPECT_TRUE(press(program, "Delete"));
    pressed += "pressed: Delete\n";
    ASSERT_TRUE(program.waitForOutput(pressed)) << program.output();
  }
  EXPECT_EQ(program.wait(), 10);
  EXPECT_EQ(program.output(), pressed);
  EXPECT_EQ(program.errors(), "");
}

TEST_P(SamplePrograms, FallSilentAfterTheirWindowHasGone) {
  auto program = launch({"--kind", "dialog", "--title", "Mute", "--button", "OK", "--silent-on-press"});
  ASSERT_TRUE(program.waitForOutput("ready\n")) << program.errors();
  EXPECT_TRUE(press(program, "OK"));
  ASSERT_TRUE(program.waitForOutput("hangs\n")) << program.output();
  EXPECT_TRUE(waitFor([&] { return ClientList(*desktop).windowsOf(program.pid()).empty(); }));
  EXPECT_TRUE(program.isRunning());
}

TEST_P(SamplePrograms, ShowTwoIdenticalPromptsOfOneProgram) {
  struct Case {
    std::vector<std::string> place;
    int x = 0;  // Of the second window; the first one is at 100.
  };
  for (const auto& each : {Case{{"--twin"}, 100}, Case{{"--twin-at", "600,100"}, 600}}) {
    SCOPED_TRACE(each.x);
    Arguments arguments{"--kind",   "dialog", "--title",  "Twins", "--text", "Which?",
                        "--button", "A",      "--button", "B",     "--at",   "100,100"};
    arguments.insert(arguments.end(), each.place.begin(), each.place.end());
    auto program = launch(arguments);
    ASSERT_TRUE(program.waitForOutput("twin ready\n")) << program.errors();
    std::multiset<int> places;
    const bool areInPlace = waitFor([&] {
      places.clear();
      for (const auto& window : ClientList(*desktop).windowsOf(program.pid())) places.insert(window.x);
      return places == std::multiset<int>{100, each.x};
    });
    EXPECT_TRUE(areInPlace) << testing::PrintToString(places) << program.output() << program.errors();
    EXPECT_TRUE(press(program, "A"));
    EXPECT_TRUE(waitFor([&] { return ClientList(*desktop).windowsOf(program.pid()).size() == 1; }));
    EXPECT_TRUE(waitFor([&] { return AccessibleTree(*desktop).windowsOf(program.pid()).size() == 1; }));
    EXPECT_TRUE(program.isRunning());
    EXPECT_TRUE(press(program, "B"));
    EXPECT_EQ(program.wait(), 11);
    const std::string output = program.output();
    const bool isFirstPressedFirst = output.find("\npressed: A\ntwin pressed: B\n") != std::string::npos;
    const bool isTwinPressedFirst = output.find("\ntwin pressed: A\npressed: B\n") != std::string::npos;
    EXPECT_TRUE(isFirstPressedFirst || isTwinPressedFirst) << output;
    EXPECT_EQ(program.errors(), "");
  }
}

TEST_P(SamplePrograms, ShowTextsOfAnyLength) {
  constexpr std::size_t kPadding = 70000;
  const auto program = launch({"--kind", "dialog", "--title", "Long", "--text", "Enter the password", "--pad-texts",
                               std::to_string(kPadding), "--button", "OK"});
  const auto all = treeWithButton(program, "OK");
  EXPECT_NE(all.text().find("Enter the password and so on"), std::string::npos);
  EXPECT_GT(all.text().size(), kPadding);
}

// No such byte reaches the bus, whose server would end the connection. GTK 4 ends itself when it is asked for it.
TEST_P(SamplePrograms, ShowNoBrokenBytes) {
  auto program = launch({"--kind", "dialog", "--title", "Broken", "--text", "Whole", "--text", "Enter the pass\xffword",
                         "--button", "OK"});
  if (isGtk4()) {
    EXPECT_TRUE(waitFor([&] {
      (void)AccessibleTree(*desktop).windowsOf(program.pid());
      return !program.isRunning();
    }));
    return;
  }
  const auto all = treeWith(program, kLabelRole, "Whole");
  EXPECT_EQ(all.find(kLabelRole, "Enter the pass\xffword"), nullptr);
  EXPECT_EQ(all.find(kLabelRole, "Enter the pass\uFFFDword") != nullptr, isQt()) << all.text();
}

TEST_P(SamplePrograms, StartMinimised) {
  auto program = launch({"--kind", "frame", "--title", "Small", "--button", "OK", "--minimised"});
  EXPECT_TRUE(waitFor([&] { return windowTitled(program, "Small").states.contains("_NET_WM_STATE_HIDDEN"); }));
  EXPECT_TRUE(press(program, "OK"));
  EXPECT_EQ(program.wait(), 10);
}

TEST_P(SamplePrograms, GoByOtherNames) {
  const std::string path = desktop->copyProgram(GetParam(), "a-rather-long-program-name-" + GetParam());
  const auto copy = desktop->launch(path, {"--title", "Copy", "--text", "Hm?", "--button", "OK"});
  EXPECT_EQ(windowTitled(copy, "Copy").pid, copy.pid());
  const auto named = launch({"--title", "Named", "--text", "Hm?", "--button", "OK", "--application", "gatekeeper"});
  std::string className = windowTitled(named, "Named").className;
  std::transform(className.begin(), className.end(), className.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  EXPECT_EQ(className, "gatekeeper");
}

TEST_P(SamplePrograms, ShowTwoIdenticalPromptsSideBySide) {
  const Arguments arguments{"--title", "Twins", "--text", "Which?", "--button", "A", "--button", "B"};
  auto one = launch(arguments);
  auto other = launch(arguments);
  EXPECT_TRUE(press(one, "A"));
  EXPECT_TRUE(press(other, "B"));
  EXPECT_EQ(one.wait(), 10);
  EXPECT_EQ(other.wait(), 11);
}

TEST(Gtk3Prompt, HasAGenericNameWhenItHasNoTitle) {
  PrivateDesktop desktop;
  const auto program = desktop.launch("gtk3_prompt", {"--text", "Go on?", "--button", "Yes"});
  AccessibleTree tree(desktop);
  EXPECT_TRUE(waitFor([&] {
    const auto windows = tree.windowsOf(program.pid());
    return windows.size() == 1 && windows.front().name == "Question";
  }));
  ClientList list(desktop);
  ASSERT_TRUE(waitFor([&] { return list.windowsOf(program.pid()).size() == 1; }));
  EXPECT_EQ(list.windowsOf(program.pid()).front().title, "");
}

}  // namespace
}  // namespace quillard::test
