#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/qt/QtExecutors.h"
#include "support/ShownObjects.h"

// Windows as Plasma and GTK build them, whose objects say what they are not.
namespace quillard::atspi {
namespace {

using platform::AXUIElement;
using test::FakeAccessibilityBus;
using test::FakeObject;
using test::FakeProgram;
using test::shownObject;

struct ToolkitWorld {
  ToolkitWorld()
      : program(bus.start()),
        accessibility({.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{20}}, windows, executors) {
    bus.registerPrograms({program->name()});
    program->set(FakeProgram::kRoot, shownObject(Role{75}, "example", {"/window"}));
    program->set("/text", shownObject(Role::label, "Allow it?"));
    program->set("/deny", shownObject(Role::pushButton, "Don't Allow"));
    program->set("/allow", shownObject(Role::pushButton, "Allow"));
  }

  std::optional<AXUIElement> window() {
    const auto found = AXHelpers::windows(accessibility, accessibility.createApplication(::getpid()));
    return found.empty() ? std::nullopt : std::optional{found.front()};
  }
  PromptReading read(platform::AXReadScope& scope, const AXUIElement& window) {
    return PromptReader::readPrompt(scope, {.window = window, .appName = "example"}, 80);
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<FakeProgram> program;
  desktop::NoDesktopWindows windows;
  qt::QtExecutors executors;
  LinuxAccessibility accessibility;
};

FakeObject labelled(Role role, const std::string& name, const std::string& description,
                    std::vector<std::string> children = {}) {
  FakeObject made = shownObject(role, name, std::move(children));
  made.description = description;
  return made;
}

bool has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// As Plasma's shows one: its own buttons in a tool bar beside it.
TEST(PlasmaWindows, ANotificationIsReadWithItsTextAndWithoutItsToolBar) {
  ToolkitWorld world;
  world.program->speakAs("Qt", "5.15.8");
  world.program->set("/window", shownObject(Role{23}, "", {"/bar", "/note", "/deny", "/allow"}));
  world.program->set("/bar", shownObject(Role::toolBar, "", {"/name"}));
  world.program->set("/name", shownObject(Role::label, "sender"));
  world.program->set("/note", labelled(Role::notification, "The title", "May it go on?", {"/title", "/panel"}));
  world.program->set("/panel", shownObject(Role{39}, "", {"/field"}));
  FakeObject field = shownObject(Role::text, "");
  field.states |= bit(State::editable);
  world.program->set("/field", field);
  world.program->set("/title", shownObject(Role::label, "The title"));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *window);
  EXPECT_EQ(reading.evidence.structure.toolbars, 0);
  EXPECT_EQ(reading.evidence.structure.textFields, 0);
  EXPECT_FALSE(reading.evidence.hasNavigationChrome);
  auto lines = reading.evidence.messageLines;
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines, (std::vector<std::string>{"May it go on?", "The title", "sender"}));
}

// What asks for a secret, or to be pressed, is never dropped with the field that repeats the text.
TEST(PlasmaWindows, ANotificationKeepsItsSecretsItsButtonsAndItsTexts) {
  ToolkitWorld world;
  world.program->speakAs("Qt", "5.15.8");
  world.program->set("/window", shownObject(Role{23}, "", {"/note"}));
  world.program->set("/note", labelled(Role::notification, "The title", "May it go on?", {"/panel"}));
  world.program->set("/panel", shownObject(Role{39}, "", {"/secret", "/more", "/deny", "/allow"}));
  world.program->set("/secret", shownObject(Role::passwordText, ""));
  world.program->set("/more", shownObject(Role::staticText, "For an hour"));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *window);
  EXPECT_EQ(reading.evidence.structure.secureFields, 1);
  EXPECT_EQ(reading.evidence.buttonLabels, (std::vector<std::string>{"Allow", "Don't Allow"}));
  EXPECT_TRUE(has(reading.evidence.messageLines, "For an hour"));
}

// Browsers give this role to every `role=alert` of a page, and other toolkits to banners.
TEST(OtherNotifications, AreReadLikeAnyPartOfAWindow) {
  for (const char* toolkit : {"gtk", "Chromium"}) {
    SCOPED_TRACE(toolkit);
    ToolkitWorld world;
    world.program->speakAs(toolkit, "4.8.3");
    world.program->set("/window", shownObject(Role{23}, "", {"/note", "/deny"}));
    world.program->set("/note", labelled(Role::notification, "", "Read aloud only", {"/said", "/secret", "/allow"}));
    world.program->set("/said", shownObject(Role::staticText, "Enter the password to delete all files."));
    world.program->set("/secret", shownObject(Role::passwordText, ""));
    const auto window = world.window();
    ASSERT_TRUE(window);
    const auto scope = world.accessibility.beginReadScope();
    const auto reading = world.read(*scope, *window);
    EXPECT_EQ(reading.evidence.structure.secureFields, 1);
    EXPECT_EQ(reading.evidence.buttonLabels, (std::vector<std::string>{"Don't Allow", "Allow"}));
    EXPECT_TRUE(has(reading.evidence.messageLines, "Enter the password to delete all files."));
    EXPECT_FALSE(has(reading.evidence.messageLines, "Read aloud only"));
  }
}

TEST(OtherNotifications, OfQtInsideAWindowKeepTheirFields) {
  ToolkitWorld world;
  world.program->speakAs("Qt", "5.15.8");
  world.program->set("/window", shownObject(Role{23}, "", {"/box", "/deny", "/allow"}));
  world.program->set("/box", shownObject(Role{39}, "", {"/note"}));
  world.program->set("/note", labelled(Role::notification, "", "A hint", {"/field"}));
  FakeObject field = shownObject(Role::text, "");
  field.states |= bit(State::editable);
  world.program->set("/field", field);
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(world.read(*scope, *window).evidence.structure.textFields, 1);
}

TEST(PlasmaWindows, AToolBarBesideNoNotificationIsOne) {
  ToolkitWorld world;
  world.program->set("/window", shownObject(Role{23}, "", {"/bar", "/text", "/deny", "/allow"}));
  world.program->set("/bar", shownObject(Role::toolBar, ""));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(world.read(*scope, *window).evidence.structure.toolbars, 1);
}

// The number of tab lists in a window that holds one with these children.
int tabListsIn(ToolkitWorld& world, std::vector<std::string> children) {
  world.program->set("/window", shownObject(Role{23}, "", {"/text", "/row", "/deny", "/allow"}));
  world.program->set("/row", shownObject(Role::pageTabList, "", std::move(children)));
  world.program->set("/no", shownObject(Role::pushButton, "No"));
  world.program->set("/yes", shownObject(Role::pushButton, "Yes"));
  world.program->set("/tab", shownObject(Role::pageTab, "General"));
  world.program->set("/box", shownObject(Role{39}, "", {"/tab"}));
  const auto window = world.window();
  EXPECT_TRUE(window);
  if (!window) return -1;
  const auto scope = world.accessibility.beginReadScope();
  return world.read(*scope, *window).evidence.structure.tabGroups;
}

TEST(PlasmaWindows, AListOfTabsThatHoldsNothingButButtonsIsARowOfThem) {
  ToolkitWorld world;
  world.program->speakAs("Qt", "6.4.2");
  EXPECT_EQ(tabListsIn(world, {"/no", "/yes"}), 0);
  EXPECT_EQ(tabListsIn(world, {"/tab", "/no", "/yes"}), 1);
  EXPECT_EQ(tabListsIn(world, {"/box", "/no"}), 1) << "Its tabs lie one level deeper.";
  EXPECT_EQ(tabListsIn(world, {}), 1);
  EXPECT_EQ(tabListsIn(world, {"/no", "/missing"}), 1) << "One of them was not read.";
}

TEST(PlasmaWindows, AListOfTabsOfAnotherToolkitIsOne) {
  ToolkitWorld world;
  EXPECT_EQ(tabListsIn(world, {"/no", "/yes"}), 1);
}

// They answer a press with True and do nothing. One that expires meanwhile was not answered by that.
TEST(MateNotifications, AreNotPressedAtAll) {
  for (const std::string name : {"mate-notification-daemon", "example"}) {
    SCOPED_TRACE(name);
    ToolkitWorld world;
    world.program->set(FakeProgram::kRoot, shownObject(Role{75}, name, {"/window"}));
    world.program->set("/window", shownObject(Role::alert, "Critical Notification", {"/text", "/deny"}));
    const auto window = world.window();
    ASSERT_TRUE(window);
    const bool isDeaf = name != "example";
    for (const auto& element : AXHelpers::deeplyNestedChildren(world.accessibility, *window, 80)) {
      if (AXHelpers::role(world.accessibility, element) != platform::ax::kButtonRole) continue;
      EXPECT_EQ(world.accessibility.performAction(element, platform::ax::kPressAction),
                isDeaf ? platform::AXError::notImplemented : platform::AXError::success);
    }
    EXPECT_EQ(world.program->timesAsked("DoAction"), isDeaf ? 0 : 1);
  }
}

std::vector<std::string> buttonsOf(ToolkitWorld& world) {
  const auto window = world.window();
  if (!window) return {"no window"};
  const auto scope = world.accessibility.beginReadScope();
  auto labels = world.read(*scope, *window).evidence.buttonLabels;
  std::sort(labels.begin(), labels.end());
  return labels;
}

FakeObject hidden(FakeObject object) {
  object.states = 0;
  return object;
}

constexpr Role kSeparator{50};

// As GTK 3 draws it on GNOME.
void setTitleBarOfGtk3(FakeProgram& program, std::vector<std::string> inBox) {
  program.speakAs("gtk", "3.24.38");
  program.set("/window", shownObject(Role::dialog, "Camera", {"/bar", "/text", "/deny", "/allow"}));
  program.set("/bar", shownObject(Role::panel, "", {"/box"}));
  program.set("/box", shownObject(Role::filler, "", std::move(inBox)));
  program.set("/separator", hidden(shownObject(kSeparator, "")));
  program.set("/close", shownObject(Role::pushButton, "Close"));
}

TEST(TitleBars, OfGtk3HoldNoButtonsOfThePrompt) {
  ToolkitWorld world;
  setTitleBarOfGtk3(*world.program, {"/separator", "/close"});
  EXPECT_EQ(buttonsOf(world), (std::vector<std::string>{"Allow", "Don't Allow"}));
}

TEST(TitleBars, OfGtk3KeepWhatAProgramPutsThere) {
  const std::vector<std::string> all{"Allow", "Close", "Don't Allow"};
  for (const std::vector<std::string>& inBox :
       {std::vector<std::string>{"/close"}, std::vector<std::string>{"/separator", "/close", "/word"}}) {
    ToolkitWorld world;
    setTitleBarOfGtk3(*world.program, inBox);
    world.program->set("/word", shownObject(Role::label, "A word"));
    EXPECT_EQ(buttonsOf(world), all);
  }
  ToolkitWorld world;
  setTitleBarOfGtk3(*world.program, {"/separator"});
  world.program->set("/bar", shownObject(Role::panel, "", {"/box", "/close"}));
  EXPECT_EQ(buttonsOf(world), all) << "beside the box";
  world.program->set("/bar", shownObject(Role::panel, "", {"/another"}));
  world.program->set("/another", shownObject(Role::panel, "", {"/box"}));
  world.program->set("/box", shownObject(Role::filler, "", {"/separator", "/close"}));
  EXPECT_EQ(buttonsOf(world), all) << "deeper";
}

// As GTK 4 draws it on GNOME: the bar, and in it the ends with the buttons of the window.
void setTitleBarOfGtk4(FakeProgram& program, std::vector<std::string> inButton) {
  program.speakAs("GTK", "4.8.3");
  program.set("/window", shownObject(Role::dialog, "Camera", {"/text", "/deny", "/allow", "/p1"}));
  for (int i = 1; i <= 4; ++i) {
    program.set("/p" + std::to_string(i), shownObject(Role::panel, "", {"/p" + std::to_string(i + 1)}));
  }
  program.set("/p5", shownObject(Role::panel, "", {"/close"}));
  program.set("/close", shownObject(Role::pushButton, "Close", std::move(inButton)));
  program.set("/label", shownObject(Role::label, "Close"));
}

TEST(TitleBars, OfGtk4HoldNoButtonsOfThePrompt) {
  ToolkitWorld world;
  setTitleBarOfGtk4(*world.program, {});
  EXPECT_EQ(buttonsOf(world), (std::vector<std::string>{"Allow", "Don't Allow"}));
}

TEST(TitleBars, OfGtk4KeepWhatAProgramPutsThere) {
  const std::vector<std::string> all{"Allow", "Close", "Don't Allow"};
  ToolkitWorld labelled;
  setTitleBarOfGtk4(*labelled.program, {"/label"});
  EXPECT_EQ(buttonsOf(labelled), all) << "with a label of its own";
  ToolkitWorld higher;
  setTitleBarOfGtk4(*higher.program, {});
  higher.program->set("/p4", shownObject(Role::panel, "", {"/close"}));
  EXPECT_EQ(buttonsOf(higher), all) << "beside the window's own ones";
}

std::string titleOf(ToolkitWorld& world) {
  const auto window = world.window();
  return window ? AXHelpers::stringAttribute(world.accessibility, *window, platform::ax::kTitle).value_or("none") : "";
}

// Where the desktop tells no titles.
TEST(TitleBars, OfMessageDialogsOfGtk3SayTheTitleWhichTheirNamesDoNot) {
  ToolkitWorld world;
  world.program->speakAs("gtk", "3.24.38");
  world.program->set("/window", shownObject(Role::alert, "Question", {"/bar", "/content"}));
  world.program->set("/bar", shownObject(Role::filler, "", {"/title"}));
  world.program->set("/title", shownObject(Role::label, "Camera"));
  world.program->set("/content", shownObject(Role::filler, "", {"/text", "/deny", "/allow"}));
  EXPECT_EQ(titleOf(world), "Camera");
  world.program->set("/bar", shownObject(Role::filler, "", {"/title", "/word"}));
  world.program->set("/word", shownObject(Role::label, "A word"));
  EXPECT_EQ(titleOf(world), "") << "It is no title bar.";
  world.program->set("/window", shownObject(Role::alert, "Question", {"/content"}));
  EXPECT_EQ(titleOf(world), "") << "It shows none.";
  world.program->set("/window", shownObject(Role::dialog, "Named", {"/bar", "/content"}));
  EXPECT_EQ(titleOf(world), "Named");
}

// What a later reading says of a button, which has met nothing else yet.
TEST(TitleBars, AreKnownByTheButtonAlone) {
  for (const bool isGtk4 : {false, true}) {
    SCOPED_TRACE(isGtk4 ? "GTK 4" : "GTK 3");
    ToolkitWorld world;
    if (isGtk4) {
      setTitleBarOfGtk4(*world.program, {});
    } else {
      setTitleBarOfGtk3(*world.program, {"/separator", "/close"});
    }
    const auto window = world.window();
    ASSERT_TRUE(window);
    int untitled = 0;
    for (const auto& element : AXHelpers::deeplyNestedChildren(world.accessibility, *window, 80)) {
      const auto role = AXHelpers::role(world.accessibility, element);
      const auto title = world.accessibility.copyAttributeValue(element, platform::ax::kTitle);
      if (role == platform::ax::kButtonRole && !title.hasValue()) ++untitled;
    }
    EXPECT_EQ(untitled, 1);
  }
}

}  // namespace
}  // namespace quillard::atspi
