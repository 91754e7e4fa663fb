#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/FakeProgramWorld.h"

// Which windows a program has, what of them can be seen, and who is in front: by the bus, and by the X server beside
// it.
namespace quillard::atspi {
namespace {

using platform::AXUIElement;
using platform::DesktopReadFailure;
using test::FakeProgram;
using test::FakeProgramWorld;
using test::object;
namespace ax = platform::ax;

constexpr auto kShown = bit(State::showing);

// An X server that can go.
class GoingServer final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override {
    return isThere ? desktop::WindowCoverage::all : desktop::WindowCoverage::none;
  }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return {.windows = {}, .coverage = coverage()}; }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
  bool isThere = true;
};

TEST(FakePrograms, AnXServerThatHasGoneIsNoDesktopWithoutWindows) {
  for (const bool isXSession : {true, false}) {
    FakeProgramWorld world;
    GoingServer server;
    LinuxAccessibility accessibility{
        {.sessionBusAddress = world.bus.address(), .isXSession = isXSession}, server, world.executors};
    const auto failure = [&] {
      const auto scope = accessibility.beginReadScope();
      (void)AXHelpers::windows(*scope, world.application());
      return scope->desktopFailure();
    };
    EXPECT_EQ(failure(), std::nullopt);
    server.isThere = false;
    EXPECT_EQ(failure(), isXSession ? std::optional(DesktopReadFailure::windowServer) : std::nullopt)
        << "Elsewhere X servers come and go.";
    server.isThere = true;
    EXPECT_EQ(failure(), std::nullopt);
  }
}

// Some windows of a desktop, such as the X server's in a Wayland session.
class FixedWindows final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override { return present.coverage; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return present; }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
  desktop::WindowsSnapshot present{.windows = {}, .coverage = desktop::WindowCoverage::some};
};

// What the three ways to ask say of who is in front.
struct Front {
  std::optional<bool> main;
  std::optional<bool> frontmost;
  bool isFocusedWindow = false;
  bool operator==(const Front&) const = default;
};

struct FrontWorld : FakeProgramWorld {
  FixedWindows windows;
  LinuxAccessibility desktop{{.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{20}}, windows, executors};

  Front front() {
    const auto window = this->window();
    if (!window) return {};
    const auto flag = [&](const AXUIElement& element, platform::AXAttribute name) -> std::optional<bool> {
      const auto value = desktop.copyAttributeValue(element, name);
      if (!value.hasValue()) return std::nullopt;
      return std::get<bool>(value.value());
    };
    return {.main = flag(*window, ax::kMain),
            .frontmost = flag(application(), ax::kFrontmost),
            .isFocusedWindow =
                AXHelpers::elementAttribute(desktop, desktop.createSystemWide(), ax::kFocusedWindow) == window};
  }
  void showAs(std::uint64_t states) {
    auto dialog = object(Role::dialog, "Permission", {"/text", "/deny", "/allow"});
    dialog.states = states;
    program->set("/window", dialog);
  }
};

TEST(FakePrograms, AWindowThatTheXServerDoesNotKnowIsInFrontWhenItSaysSo) {
  FrontWorld world;
  world.showAs(kShown | bit(State::active));
  EXPECT_EQ(world.front(), (Front{true, true, true}));
  world.showAs(kShown);
  EXPECT_EQ(world.front(), (Front{false, false, false}));
}

TEST(FakePrograms, OfItsOwnWindowsTheXServerKnowsBetter) {
  FrontWorld world;
  world.showAs(kShown);
  desktop::Window own{.id = 7, .processIdentifier = ::getpid(), .name = "Permission", .isMapped = true};
  own.clientBounds = {10, 10, 100, 20};
  world.windows.present.windows = {own};
  EXPECT_EQ(world.front(), (Front{false, false, false}));
  world.windows.present.active = own.id;
  EXPECT_EQ(world.front(), (Front{true, true, true}));
}

// A dialog of GTK 4 never says that it is showing, and may be a window of Wayland while others of its program are not.
TEST(FakePrograms, ADialogOfGtk4IsThereWhereOnlySomeWindowsAreKnown) {
  FrontWorld world;
  world.program->speakAs("GTK", "4.8.3");
  world.showAs(0);
  desktop::Window one{.id = 7, .processIdentifier = ::getpid(), .name = "One", .isHidden = true};
  one.clientBounds = {0, 0, 900, 700};
  auto two = one;
  two.id = 8;
  two.name = "Two";
  const auto shown = [&] { return AXHelpers::windows(world.desktop, world.application()); };
  world.windows.present.windows = {one, two};
  EXPECT_EQ(shown().size(), 1U);
  world.windows.present.windows = {one};
  ASSERT_EQ(shown().size(), 1U);
  EXPECT_NE(AXHelpers::boolAttribute(world.desktop, shown().front(), ax::kMinimized), std::optional(true))
      << "The one that is left over need not be its own.";
  world.windows.present.coverage = desktop::WindowCoverage::all;
  world.windows.present.windows = {one, two};
  EXPECT_EQ(shown().size(), 0U);
}

TEST(FakePrograms, WhereEveryWindowIsKnownTheOneOfAnotherProgramInFrontSettlesIt) {
  FrontWorld world;
  world.showAs(kShown | bit(State::active));  // It has not noticed yet.
  world.windows.present.coverage = desktop::WindowCoverage::all;
  world.windows.present.windows = {{.id = 9, .processIdentifier = 1, .name = "Other", .isMapped = true}};
  world.windows.present.active = 9;
  EXPECT_EQ(world.front(), (Front{false, false, false}));
}

TEST(FakePrograms, OfADialogOfGtk4ItIsNotKnownWhetherItIsInFront) {
  FrontWorld world;
  world.program->speakAs("GTK", "4.8.3");
  world.showAs(kShown);
  EXPECT_EQ(world.front(), (Front{std::nullopt, std::nullopt, false}));
}

TEST(FakePrograms, AnEmptyAlertBesideTheRealPromptIsNoDialog) {
  FakeProgramWorld world;
  world.program->set("/window", object(Role{23}, "Browser", {"/prompt", "/shell", "/remark"}));
  world.program->set("/prompt", object(Role::dialog, "Share your place?", {"/text", "/deny", "/allow"}));
  world.program->set("/shell", object(Role::alert, ""));
  world.program->set("/remark", object(Role::alert, "", {"/passing"}));
  world.program->set("/passing", object(Role::label, "Saved."));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *window);
  EXPECT_EQ(reading.evidence.title, "Share your place?");
  EXPECT_EQ(reading.evidence.role, ax::kSheetRole);
  EXPECT_EQ(reading.evidence.subrole, ax::kDialogSubrole);
  EXPECT_EQ(reading.buttons.size(), 2U);
}

TEST(FakePrograms, WhatIsHiddenOrTakesNoRoomIsNoPartOfAPrompt) {
  FakeProgramWorld world;
  auto hidden = object(Role::label, "Are you sure?");
  hidden.states = 0;
  auto empty = object(Role::label, "Delete?");
  empty.extents = Rect{0, 0, 0, 0};
  auto nowhere = object(Role::label, "Erase?");
  nowhere.extents = Rect{-2147483648.0, -2147483648.0, 1, 1};
  world.program->set("/hidden", hidden);
  world.program->set("/empty", empty);
  world.program->set("/nowhere", nowhere);
  world.program->set("/window", object(Role::dialog, "Permission", {"/hidden", "/empty", "/nowhere", "/text"}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.elementsBelow(*window), 1U);
}

TEST(FakePrograms, FileChoosersAndFillersAtTheTopAreWindows) {
  FakeProgramWorld world;
  world.program->set(FakeProgram::kRoot, object(Role{75}, "example", {"/a", "/b", "/c", "/d"}));
  world.program->set("/a", object(Role::fileChooser, "Open"));
  world.program->set("/b", object(Role{20}, "Plain"));
  world.program->set("/c", object(Role::toolTip, "Hint"));
  auto closed = object(Role::dialog, "Closed");
  closed.states = 0;
  world.program->set("/d", closed);
  const auto windows = AXHelpers::windows(world.accessibility, world.application());
  ASSERT_EQ(windows.size(), 2U);
  EXPECT_EQ(AXHelpers::role(world.accessibility, windows[0]), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::stringAttribute(world.accessibility, windows[1], ax::kTitle), "Plain");
}

}  // namespace
}  // namespace quillard::atspi
