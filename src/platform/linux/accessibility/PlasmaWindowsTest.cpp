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
#include "support/FakeAccessibilityBus.h"

// Windows as Plasma builds them, whose roles say what they are not.
namespace quillard::atspi {
namespace {

using platform::AXUIElement;
using test::FakeAccessibilityBus;
using test::FakeObject;
using test::FakeProgram;

FakeObject object(Role role, const std::string& name, std::vector<std::string> children = {}) {
  FakeObject object{.role = static_cast<std::uint32_t>(role), .states = bit(State::showing), .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  if (role == Role::pushButton) object.actions = {"click"};
  return object;
}

struct World {
  World()
      : program(bus.start()),
        accessibility({.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{20}}, windows, executors) {
    bus.registerPrograms({program->name()});
    program->set(FakeProgram::kRoot, object(Role{75}, "example", {"/window"}));
    program->set("/text", object(Role::label, "Allow it?"));
    program->set("/deny", object(Role::pushButton, "Don't Allow"));
    program->set("/allow", object(Role::pushButton, "Allow"));
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
  FakeObject made = object(role, name, std::move(children));
  made.description = description;
  return made;
}

// As Plasma's shows one: its own buttons in a tool bar beside it.
TEST(PlasmaWindows, ANotificationIsReadWithItsTextAndWithoutItsToolBar) {
  World world;
  world.program->set("/window", object(Role{23}, "", {"/bar", "/note", "/deny", "/allow"}));
  world.program->set("/bar", object(Role::toolBar, "", {"/name"}));
  world.program->set("/name", object(Role::label, "sender"));
  world.program->set("/note", labelled(Role::notification, "The title", "May it go on?", {"/title", "/panel"}));
  world.program->set("/panel", object(Role{39}, "", {"/field"}));
  FakeObject field = object(Role::text, "");
  field.states |= bit(State::editable);
  world.program->set("/field", field);
  world.program->set("/title", object(Role::label, "The title"));
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

TEST(PlasmaWindows, AToolBarBesideNoNotificationIsOne) {
  World world;
  world.program->set("/window", object(Role{23}, "", {"/bar", "/text", "/deny", "/allow"}));
  world.program->set("/bar", object(Role::toolBar, ""));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(world.read(*scope, *window).evidence.structure.toolbars, 1);
}

TEST(PlasmaWindows, AListOfTabsWithoutTabsIsARowOfButtons) {
  World world;
  world.program->set("/window", object(Role{23}, "", {"/text", "/row"}));
  world.program->set("/row", object(Role::pageTabList, "", {"/deny", "/allow"}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  {
    const auto scope = world.accessibility.beginReadScope();
    EXPECT_EQ(world.read(*scope, *window).evidence.structure.tabGroups, 0);
  }
  world.program->set("/row", object(Role::pageTabList, "", {"/tab", "/deny", "/allow"}));
  world.program->set("/tab", object(Role::pageTab, "General"));
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(world.read(*scope, *window).evidence.structure.tabGroups, 1);
}

}  // namespace
}  // namespace quillard::atspi
