#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/LinuxDesktopCapabilities.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"

namespace quillard::atspi {
namespace {

using platform::DesktopCapability;
using platform::UnreadableProgram;
using test::FakeAccessibilityBus;
using test::FakeObject;
using test::FakeProgram;

constexpr std::int32_t kOtherProcess = 40'000;

// An X server with these processes' windows, or none.
class FixedWindows final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override { return known; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override {
    desktop::WindowsSnapshot snapshot{.windows = {}, .coverage = known};
    for (const auto process : owners) {
      desktop::Window window{};
      window.id = static_cast<desktop::WindowID>(snapshot.windows.size() + 1);
      window.processIdentifier = process;
      snapshot.windows.push_back(window);
    }
    return snapshot;
  }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }

  desktop::WindowCoverage known = desktop::WindowCoverage::all;
  std::vector<std::int32_t> owners;
};

class LinuxDesktopCapabilitiesTest : public testing::Test {
 protected:
  LinuxDesktopCapabilities capabilities(bool isXSession = true) {
    return {accessibility, windows, isXSession, [](std::int32_t process) -> std::optional<std::string> {
              return process == kOtherProcess ? std::optional<std::string>("gimp") : std::nullopt;
            }};
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<test::FakeProgram> program = bus.start();
  FixedWindows windows;
  qt::QtExecutors executors;
  LinuxAccessibility accessibility{
      {.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{0.5}}, windows, executors};
};

TEST_F(LinuxDesktopCapabilitiesTest, AnXSessionLacksNothing) {
  auto here = capabilities();
  EXPECT_EQ(here.limitation(DesktopCapability::windowList), std::nullopt);
  EXPECT_EQ(here.limitation(DesktopCapability::screenCoordinates), std::nullopt);
}

TEST_F(LinuxDesktopCapabilitiesTest, WithoutAnXServerEverythingIsMissing) {
  windows.known = desktop::WindowCoverage::none;
  auto here = capabilities();
  for (const auto capability : {DesktopCapability::windowList, DesktopCapability::frontmostApplication,
                                DesktopCapability::screenCoordinates, DesktopCapability::syntheticInput}) {
    const auto limitation = here.limitation(capability);
    ASSERT_TRUE(limitation);
    EXPECT_EQ(limitation->reason,
              "No X server can be reached: windows are not listed, and no click or key can be sent.");
    EXPECT_FALSE(limitation->isPartial);
  }
  EXPECT_NE(capabilities(/*isXSession=*/false)
                .limitation(DesktopCapability::windowList)
                .value_or(platform::Limitation{})
                .reason.find("Wayland session without an X server"),
            std::string::npos);
}

TEST_F(LinuxDesktopCapabilitiesTest, AWaylandSessionWithAnXServerHasXProgramsOnlyAndNoPoints) {
  windows.known = desktop::WindowCoverage::some;
  auto here = capabilities(/*isXSession=*/false);
  const auto list = here.limitation(DesktopCapability::windowList);
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->isPartial);
  EXPECT_NE(list->reason.find("This is a Wayland session."), std::string::npos) << list->reason;
  const auto points = here.limitation(DesktopCapability::screenCoordinates);
  ASSERT_TRUE(points);
  EXPECT_FALSE(points->isPartial);
}

TEST_F(LinuxDesktopCapabilitiesTest, ACompositorThatTellsOfItsWindowsLeavesInputAndPointsOpen) {
  auto here = capabilities(/*isXSession=*/false);
  EXPECT_EQ(here.limitation(DesktopCapability::windowList), std::nullopt);
  EXPECT_EQ(here.limitation(DesktopCapability::frontmostApplication), std::nullopt);
  const auto input = here.limitation(DesktopCapability::syntheticInput);
  ASSERT_TRUE(input);
  EXPECT_TRUE(input->isPartial);
  EXPECT_TRUE(here.limitation(DesktopCapability::screenCoordinates));
}

TEST_F(LinuxDesktopCapabilitiesTest, NamesProgramsWithWindowsThatAreNotOnTheBus) {
  bus.registerPrograms({program->name()});  // Of this process.
  windows.owners = {::getpid()};
  EXPECT_EQ(capabilities().unreadablePrograms(), std::vector<UnreadableProgram>{});
  windows.owners = {kOtherProcess, ::getpid(), kOtherProcess, kOtherProcess + 1};
  EXPECT_EQ(capabilities().unreadablePrograms(),
            (std::vector<UnreadableProgram>{{kOtherProcess, "gimp"}, {kOtherProcess + 1, "an unknown program"}}));
}

FakeObject object(std::uint32_t role, std::vector<std::string> children = {}) {
  FakeObject object{.role = role, .states = bit(State::showing), .name = "x"};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  return object;
}

TEST_F(LinuxDesktopCapabilitiesTest, NamesProgramsWhoseWindowsAreFramesAroundNothing) {
  constexpr std::uint32_t kFrame = 23;
  constexpr std::uint32_t kPanel = 39;
  constexpr std::uint32_t kApplication = 75;
  constexpr std::uint32_t kLabel = 29;
  bus.registerPrograms({program->name()});
  program->set(FakeProgram::kRoot, object(kApplication, {"/window"}));
  program->set("/window", object(kFrame, {"/box"}));
  program->set("/box", object(kPanel));
  const auto named = [&] {
    const auto programs = capabilities().unreadablePrograms();
    return programs.isKnown() && programs.value().size() == 1 && programs.value()[0].processIdentifier == ::getpid();
  };
  EXPECT_FALSE(named()) << "It has no window on the screen, as window managers have none.";
  windows.owners = {static_cast<std::int32_t>(::getpid())};
  EXPECT_TRUE(named());
  program->set("/window", object(kFrame));
  EXPECT_TRUE(named()) << "Nothing in it at all.";
  program->set("/window", object(kFrame, {"/box", "/label"}));
  program->set("/label", object(kLabel));
  EXPECT_FALSE(named());
  program->set(FakeProgram::kRoot, object(kApplication));
  EXPECT_FALSE(named()) << "A program without windows has none to be read.";
}

TEST_F(LinuxDesktopCapabilitiesTest, LooksOnceIntoAWindowThatHoldsSomething) {
  constexpr std::uint32_t kFrame = 23;
  constexpr std::uint32_t kPanel = 39;
  constexpr std::uint32_t kApplication = 75;
  constexpr std::uint32_t kLabel = 29;
  windows.owners = {static_cast<std::int32_t>(::getpid())};
  bus.registerPrograms({program->name()});
  program->set(FakeProgram::kRoot, object(kApplication, {"/window"}));
  program->set("/window", object(kFrame, {"/box"}));
  program->set("/box", object(kPanel, {"/label"}));
  program->set("/label", object(kLabel));
  const auto found = [&] { return capabilities().unreadablePrograms().value().size(); };
  const auto callsOf = [&](std::size_t expected) {
    const auto before = accessibility.counters().calls.load();
    EXPECT_EQ(found(), expected);
    return accessibility.counters().calls - before;
  };
  const auto first = callsOf(0);
  constexpr std::uint64_t kOfTwoObjects = 8;
  EXPECT_LE(callsOf(0) + kOfTwoObjects, first) << "What is in the window is not asked again.";

  program->set(FakeProgram::kRoot, object(kApplication, {"/other"}));
  program->set("/other", object(kFrame, {"/empty"}));
  program->set("/empty", object(kPanel));
  EXPECT_EQ(found(), 1U) << "Another window of the same program.";
  EXPECT_EQ(found(), 1U) << "One that is empty may be filled later on, so it is looked into each time.";
  program->set("/empty", object(kPanel, {"/label"}));
  EXPECT_EQ(found(), 0U);
}

TEST_F(LinuxDesktopCapabilitiesTest, NamesNoProgramOfWhichAListIsMissing) {
  windows.owners = {static_cast<std::int32_t>(::getpid())};
  constexpr std::uint32_t kFrame = 23;
  constexpr std::uint32_t kPanel = 39;
  constexpr std::uint32_t kApplication = 75;
  std::atomic<const char*> refusing{"/none"};
  FakeProgram other(bus.address(), "", [&](sd_bus_message* message) {
    const bool isRefused = std::string_view(refusing) == sd_bus_message_get_path(message) &&
                           std::string_view(sd_bus_message_get_member(message)) == "GetChildren";
    return isRefused && sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0;
  });
  bus.registerPrograms({other.name()});
  other.set(FakeProgram::kRoot, object(kApplication, {"/window"}));
  other.set("/window", object(kFrame, {"/box"}));
  other.set("/box", object(kPanel));
  const auto count = [&] { return capabilities().unreadablePrograms().value().size(); };
  EXPECT_EQ(count(), 1U);
  for (const char* path : {"/window", "/box"}) {
    refusing = path;
    EXPECT_EQ(count(), 0U) << path;
  }
}

// A program that does not answer is not known to be readable.
TEST_F(LinuxDesktopCapabilitiesTest, ClaimsNothingOfProgramsThatDoNotAnswer) {
  bus.registerPrograms({program->name()});
  windows.owners = {::getpid()};
  program->hangOn("GetChildren");
  const auto programs = capabilities().unreadablePrograms();
  ASSERT_FALSE(programs.isKnown());
  EXPECT_TRUE(programs.limitation().isPartial);
  EXPECT_EQ(programs.limitation().reason, "Not known: 1 program did not answer.");
}

TEST_F(LinuxDesktopCapabilitiesTest, NamesEmptyProgramsWhereNothingTellsOfWindows) {
  constexpr std::uint32_t kFrame = 23;
  constexpr std::uint32_t kApplication = 75;
  bus.registerPrograms({program->name()});
  program->set(FakeProgram::kRoot, object(kApplication, {"/window"}));
  program->set("/window", object(kFrame));
  windows.known = desktop::WindowCoverage::none;
  const auto programs = capabilities(/*isXSession=*/false).unreadablePrograms();
  ASSERT_TRUE(programs.isKnown());
  ASSERT_EQ(programs.value().size(), 1U);
  EXPECT_EQ(programs.value().front().processIdentifier, ::getpid());
  ASSERT_TRUE(programs.missing()) << "There may be others.";
  EXPECT_EQ(programs.missing()->reason, "Not known: it cannot be told which programs have windows.");
}

TEST_F(LinuxDesktopCapabilitiesTest, WhatCannotBeKnownIsNotNothing) {
  windows.owners = {kOtherProcess};
  windows.known = desktop::WindowCoverage::none;
  EXPECT_FALSE(capabilities().unreadablePrograms().isKnown()) << "no windows to go by";
  windows.known = desktop::WindowCoverage::all;
  bus.registry().hangOn("GetChildren");
  EXPECT_FALSE(capabilities().unreadablePrograms().isKnown()) << "no list of programs";
  bus.isEnabled = false;
  EXPECT_EQ(capabilities().unreadablePrograms(), platform::Limitation{"Not known without accessibility."});
}

}  // namespace
}  // namespace quillard::atspi
