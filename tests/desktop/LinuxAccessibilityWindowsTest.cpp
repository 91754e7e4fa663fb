#include <algorithm>

#include <QtCore/QCoreApplication>
#include <gtest/gtest.h>

#include "desktop/LinuxAccessibilityWorld.h"
#include "desktop/LoopWaiting.h"
#include "desktop/SampleClient.h"
#include "detection/PromptReader.h"

// Windows that are not simply a dialog of their own, and what the binding says beyond windows.
namespace quillard::test {
namespace {

using platform::AXError;
using platform::AXUIElement;
namespace ax = platform::ax;

PromptReading readingOf(LinuxAccessibilityWorld& world, const AXUIElement& window, std::int32_t process) {
  const auto scope = world.accessibility.beginReadScope();
  return PromptReader::readPrompt(*scope, {.window = window, .appName = "Example", .processIdentifier = process}, 80);
}

std::vector<std::string> labels(const PromptReading& reading) {
  auto labels = reading.evidence.buttonLabels;
  std::sort(labels.begin(), labels.end());
  return labels;
}

const std::vector<std::string> kBothLabels{"Allow", "Don't Allow"};

TEST(LinuxAccessibilityWindows, ADialogThatIsHiddenButKeptIsGone) {
  LinuxAccessibilityWorld world;
  auto qt = world.desktop.launch(QT_DIALOG, {"--title=Permission", "--text=Allow?", "--kind=keep"});
  auto gtk = world.desktop.launch(GTK4_DIALOG, {"Permission", "Allow?", "", "--keep"});
  for (auto* program : {&qt, &gtk}) {
    const auto window = world.window(program->pid(), "Permission");
    ASSERT_TRUE(window);
    const auto allow = world.find(world.accessibility, *window, ax::kButtonRole, "Allow");
    ASSERT_TRUE(allow);
    EXPECT_EQ(world.accessibility.performAction(*allow, ax::kPressAction), AXError::success);
    EXPECT_TRUE(program->waitForOutput("\nAllow\n"));
    const auto application = world.accessibility.createApplication(program->pid());
    EXPECT_TRUE(waitFor([&] { return AXHelpers::windows(world.accessibility, application).empty(); }));
    EXPECT_TRUE(program->isRunning());
  }
}

TEST(LinuxAccessibilityWindows, APlainWindowIsADialogWhenOnlyItsXWindowSaysSo) {
  LinuxAccessibilityWorld world;
  auto program = world.desktop.launch(QT_DIALOG, {"--title=Permission", "--kind=plain"});
  const auto window = world.window(program.pid(), "Permission");
  ASSERT_TRUE(window);
  // The window manager may list it, with its type, after the program has shown its buttons.
  EXPECT_TRUE(waitFor([&] { return AXHelpers::subrole(world.accessibility, *window) == ax::kDialogSubrole; }));
  EXPECT_EQ(labels(readingOf(world, *window, program.pid())), kBothLabels);
}

TEST(LinuxAccessibilityWindows, AModalDialogOfAWindowIsItsSheet) {
  LinuxAccessibilityWorld world;
  auto program = world.desktop.launch(QT_DIALOG, {"--title=Permission", "--text=Allow?", "--kind=sheet"});
  const auto application = world.accessibility.createApplication(program.pid());
  std::vector<AXUIElement> windows;
  std::vector<AXUIElement> children;
  ASSERT_TRUE(waitFor([&] {
    windows = AXHelpers::windows(world.accessibility, application);
    if (windows.size() != 1) return false;
    children = AXHelpers::children(world.accessibility, windows.front());
    return !children.empty() && AXHelpers::role(world.accessibility, children.back()) == ax::kSheetRole;
  }));
  EXPECT_EQ(AXHelpers::stringAttribute(world.accessibility, windows.front(), ax::kTitle), "Owner");
  const auto& sheet = children.back();
  EXPECT_EQ(AXHelpers::elementAttribute(world.accessibility, sheet, ax::kParent), windows.front());
  ASSERT_TRUE(waitFor([&] { return world.isLaidOut(world.accessibility, sheet); }));
  const auto reading = readingOf(world, windows.front(), program.pid());
  EXPECT_EQ(reading.content, sheet);
  EXPECT_EQ(reading.evidence.title, "Permission");
  EXPECT_EQ(labels(reading), kBothLabels);
  const auto allow = world.find(world.accessibility, sheet, ax::kButtonRole, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_EQ(AXHelpers::nearestWindow(world.accessibility, *allow, 20), sheet);
  EXPECT_EQ(world.accessibility.performAction(sheet, ax::kRaiseAction), AXError::success);
  EXPECT_EQ(world.accessibility.performAction(*allow, ax::kPressAction), AXError::success);
  EXPECT_TRUE(program.waitForOutput("\nAllow\n"));
}

TEST(LinuxAccessibilityWindows, TheTextOfAPasswordFieldIsNeverGiven) {
  LinuxAccessibilityWorld world;
  auto zenity = world.desktop.launch("zenity", {"--password", "--title=Permission"});
  auto qt = world.desktop.launch(QT_DIALOG, {"--title=Permission", "--text=Allow?", "--password"});
  auto gtk = world.desktop.launch(GTK4_DIALOG, {"Permission", "Allow?", "", "--password"});
  for (const auto* program : {&zenity, &qt, &gtk}) {
    const auto window = world.window(program->pid(), "Permission");
    ASSERT_TRUE(window);
    EXPECT_TRUE(readingOf(world, *window, program->pid()).hasSecureTextField);
    int fields = 0;
    for (const auto& element : world.walk(world.accessibility, *window)) {
      if (AXHelpers::subrole(world.accessibility, element) != ax::kSecureTextFieldSubrole) continue;
      ++fields;
      EXPECT_EQ(AXHelpers::role(world.accessibility, element), ax::kTextFieldRole);
      EXPECT_FALSE(world.accessibility.copyAttributeValue(element, ax::kValue).hasValue());
      EXPECT_FALSE(AXHelpers::stringAttribute(world.accessibility, element, ax::kDescription).value_or("").empty());
    }
    EXPECT_EQ(fields, 1) << world.outline(world.accessibility, *window);
    EXPECT_EQ(world.outline(world.accessibility, *window).find("planted"), std::string::npos);
  }
}

TEST(LinuxAccessibilityWindows, TheTextOfAnOrdinaryFieldIsItsValue) {
  LinuxAccessibilityWorld world;
  auto zenity = world.desktop.launch("zenity", {"--entry", "--title=Permission", "--entry-text=grüße"});
  const auto window = world.window(zenity.pid(), "Permission");
  ASSERT_TRUE(window);
  EXPECT_TRUE(world.find(world.accessibility, *window, ax::kTextFieldRole, "grüße"));
}

TEST(LinuxAccessibilityWindows, Gtk4IsNeverAskedForWhatItWarnsAbout) {
  LinuxAccessibilityWorld world;
  auto gtk = world.desktop.launch(GTK4_DIALOG, {"Permission", "Allow?", ""});
  const auto window = world.window(gtk.pid(), "Permission");
  ASSERT_TRUE(window);
  const auto before = gtk.errors();
  (void)world.outline(world.accessibility, *window, true);
  const auto frame = AXHelpers::frame(world.accessibility, *window).value_or(Rect{});
  (void)world.accessibility.copyElementAtPosition(world.accessibility.createSystemWide(), {frame.x + 9, frame.y + 60});
  EXPECT_EQ(gtk.errors(), before);
}

TEST(LinuxAccessibilityWindows, WithoutADisplayNothingIsAtAPoint) {
  LinuxAccessibilityWorld world{{.hasDisplay = false}};
  EXPECT_EQ(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(world.accessibility.copyElementAtPosition(world.accessibility.createSystemWide(), {1, 1}).error(),
            AXError::notImplemented);
  EXPECT_FALSE(AXHelpers::focusedWindow(world.accessibility, world.accessibility));
}

TEST(LinuxAccessibilityWindows, WhereTheDisplayCannotBeSeenPromptsAreReadAndPressedAllTheSame) {
  LinuxAccessibilityWorld world;
  x11::XcbWindows nowhere{std::nullopt};
  atspi::LinuxAccessibility blind{{.sessionBusAddress = world.desktop.sessionBusAddress()}, nowhere, world.executors};
  auto zenity = world.desktop.launch("zenity", {"--question", "--title=Permission", "--text=Allow?"});
  ASSERT_TRUE(world.window(zenity.pid(), "Permission"));
  const auto windows = AXHelpers::windows(blind, blind.createApplication(zenity.pid()));
  ASSERT_EQ(windows.size(), 1U);
  const auto scope = blind.beginReadScope();
  const auto reading = PromptReader::readPrompt(
      *scope, {.window = windows.front(), .appName = "Example", .processIdentifier = zenity.pid()}, 80);
  EXPECT_EQ(reading.buttons.size(), 2U) << "Their frames are good for telling that they are there.";
  EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"Allow?"});
  EXPECT_TRUE(waitFor([&] { return AXHelpers::focusedWindow(blind, blind) == windows.front(); }));
  EXPECT_EQ(blind.performAction(windows.front(), ax::kRaiseAction), AXError::actionUnsupported);
  const auto yes = world.find(blind, windows.front(), ax::kButtonRole, "Yes");
  ASSERT_TRUE(yes);
  (void)blind.performAction(*yes, ax::kPressAction);
  EXPECT_EQ(zenity.wait(), 0);
}

TEST(LinuxAccessibilityWindows, TellsWhoIsOnTheBus) {
  LinuxAccessibilityWorld world;
  auto zenity = world.desktop.launch("zenity", {"--question", "--title=Permission"});
  ASSERT_TRUE(world.window(zenity.pid(), "Permission"));
  const auto processes = world.accessibility.processIdentifiers().value_or(std::vector<std::int32_t>{});
  EXPECT_NE(std::find(processes.begin(), processes.end(), zenity.pid()), processes.end());
  const auto applications = world.accessibility.accessibleApplications();
  EXPECT_NE(std::find(applications.begin(), applications.end(), atspi::AccessibleApplication{zenity.pid(), "zenity"}),
            applications.end());
}

TEST(LinuxAccessibilityTrust, FollowsTheSwitchAndTheBus) {
  LinuxAccessibilityWorld world{{.accessibility = PrivateDesktop::Options::Accessibility::off}};
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(world.accessibility.switchOn(), atspi::SwitchOnOutcome::switchedOn);
  EXPECT_EQ(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(world.accessibility.switchOn(), atspi::SwitchOnOutcome::wasOn);
  world.desktop.killAccessibilityBus();
  EXPECT_TRUE(waitFor([&] { return world.accessibility.isProcessTrusted() != platform::ProcessTrust::granted; }));
}

TEST(LinuxAccessibilityTrust, ThereIsNoneWithoutABus) {
  LinuxAccessibilityWorld world{{.accessibility = PrivateDesktop::Options::Accessibility::missing}};
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_TRUE(AXHelpers::windows(world.accessibility, world.accessibility.createApplication(1)).empty());
  x11::XcbWindows nowhere{std::nullopt};
  atspi::LinuxAccessibility outside{{}, nowhere, world.executors};
  EXPECT_NE(outside.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_EQ(outside.switchOn(), atspi::SwitchOnOutcome::failed);
}

TEST(LinuxAccessibilityTrust, ProgramsOfQtThatStartedBeforeTheSwitchStayUnseenAndAreNamed) {
  LinuxAccessibilityWorld world{{.accessibility = PrivateDesktop::Options::Accessibility::off}};
  auto qt = world.desktop.launch(QT_DIALOG, {"--title=Permission", "--text=Allow?"},
                                 {{"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", ""}});
  ASSERT_TRUE(qt.waitForOutput("ready"));
  ASSERT_TRUE(waitFor([&] { return !world.windows.snapshot().windows.empty(); }));
  EXPECT_EQ(world.accessibility.switchOn(), atspi::SwitchOnOutcome::switchedOn);
  EXPECT_EQ(world.accessibility.unseenProcesses(), std::vector<std::int32_t>{qt.pid()});
}

TEST(LinuxAccessibilityTrust, IsAskedForOnceForAsLongAsNothingIsSaidOfIt) {
  using platform::ProcessTrust;
  LinuxAccessibilityWorld world;
  int told = 0;
  const auto subscription = world.accessibility.observeTrustChanges([&] { ++told; });
  const auto refreshed = [&] {
    std::optional<ProcessTrust> answer;
    world.accessibility.refreshProcessTrust([&](ProcessTrust trust) { answer = trust; });
    EXPECT_FALSE(answer) << "It comes in a later turn.";
    EXPECT_TRUE(waitInLoop([&] { return answer.has_value(); }));
    return answer;
  };
  const auto calls = [&] { return world.accessibility.counters().calls.load(); };
  ASSERT_TRUE(waitInLoop([&] { return told > 0; })) << "The watch is there.";
  EXPECT_EQ(refreshed(), ProcessTrust::granted);
  const auto before = calls();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(refreshed(), ProcessTrust::granted);
  EXPECT_EQ(calls(), before);
  world.desktop.setAccessibilityEnabled(false);
  EXPECT_TRUE(waitInLoop([&] { return refreshed() == ProcessTrust::denied; }));
  world.desktop.setAccessibilityEnabled(true);
  EXPECT_TRUE(waitInLoop([&] { return refreshed() == ProcessTrust::granted; }));
  world.desktop.killAccessibilityBus();
  EXPECT_TRUE(waitInLoop([&] { return refreshed() != ProcessTrust::granted; })) << "Nobody said so, but it is gone.";
}

TEST(LinuxAccessibilityTrust, ChangesAreToldOnTheMainThread) {
  LinuxAccessibilityWorld world;
  int told = 0;
  auto subscription = world.accessibility.observeTrustChanges([&] { ++told; });
  const auto spinUntil = [&](int count) {
    return waitFor([&] {
      QCoreApplication::processEvents();
      return told >= count;
    });
  };
  // The watch comes up by itself, some time.
  EXPECT_TRUE(waitFor([&] {
    world.desktop.setAccessibilityEnabled(false);
    world.desktop.setAccessibilityEnabled(true);
    QCoreApplication::processEvents();
    return told > 0;
  }));
  const int before = told;
  world.desktop.setAccessibilityEnabled(false);
  EXPECT_TRUE(spinUntil(before + 1));
  subscription.reset();
  const int atEnd = told;
  world.desktop.setAccessibilityEnabled(true);
  world.desktop.setAccessibilityEnabled(false);
  QCoreApplication::processEvents();
  EXPECT_EQ(told, atEnd);
}

}  // namespace
}  // namespace quillard::test
