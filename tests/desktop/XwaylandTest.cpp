#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/DesktopKinds.h"
#include "desktop/PrivateDesktop.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/sway/SwayWindows.h"
#include "platform/linux/x11/XcbWindows.h"
#include "platform/qt/QtExecutors.h"

// An X program and a Wayland program side by side, on a Wayland desktop with an X server for the one.
namespace quillard::test {
namespace {

using desktop::WindowCoverage;
using desktop::WindowsSnapshot;
namespace ax = platform::ax;

std::string variable(const PrivateDesktop& desktop, const std::string& name) {
  for (const auto& entry : desktop.environment()) {
    if (entry.starts_with(name + "=")) return entry.substr(name.size() + 1);
  }
  return "";
}

bool lists(const WindowsSnapshot& snapshot, pid_t process) {
  return std::any_of(snapshot.windows.begin(), snapshot.windows.end(),
                     [&](const desktop::Window& window) { return window.processIdentifier == process; });
}

std::optional<std::int32_t> front(const WindowsSnapshot& snapshot) {
  for (const auto& window : snapshot.windows) {
    if (window.id == snapshot.active) return window.processIdentifier;
  }
  return std::nullopt;
}

class Xwayland : public testing::Test {
 protected:
  void SetUp() override {
    QUILLARD_SKIP_WITHOUT(DesktopKind::sway);
    desktop = std::make_unique<PrivateDesktop>(PrivateDesktop::Options{.kind = DesktopKind::sway, .hasXwayland = true});
    ASSERT_NE(desktop->display(), "");
  }
  DesktopProgram show(const std::string& title, const std::string& backend) {
    auto program = desktop->launch("gtk3_prompt",
                                   {"--title", title, "--text", "May it go on?", "--button", "Stay", "--button", "Go"},
                                   {{"GDK_BACKEND", backend}});
    EXPECT_TRUE(program.waitForOutput("ready")) << program.errors();
    return program;
  }

  std::unique_ptr<PrivateDesktop> desktop;
};

TEST_F(Xwayland, TheCompositorKnowsBothAndWhichOfThemIsInFront) {
  sway::SwayWindows windows(variable(*desktop, "SWAYSOCK"));
  const auto onWayland = show("On Wayland", "wayland");
  const auto onX = show("On X", "x11");
  EXPECT_TRUE(waitFor([&] { return front(windows.snapshot()) == onX.pid(); }));
  EXPECT_TRUE(lists(windows.snapshot(), onWayland.pid()));
  for (const auto& window : windows.snapshot().windows) {
    if (window.processIdentifier == onWayland.pid()) {
      EXPECT_TRUE(windows.activate(window.id));
    }
  }
  EXPECT_TRUE(waitFor([&] { return front(windows.snapshot()) == onWayland.pid(); }));
}

// As on a compositor that tells nothing.
TEST_F(Xwayland, TheXServerSpeaksForXProgramsOnly) {
  x11::XcbWindows windows(desktop->display());
  qt::QtExecutors executors;
  atspi::LinuxAccessibility accessibility({.sessionBusAddress = desktop->sessionBusAddress(),
                                           .ownProcessIdentifier = ::getpid(),
                                           .isXSession = false,
                                           .messagingTimeout = Seconds{2}},
                                          windows, executors);
  const auto isFront = [&](const DesktopProgram& program) {
    return AXHelpers::boolAttribute(accessibility, accessibility.createApplication(program.pid()), ax::kFrontmost);
  };
  const auto onX = show("On X", "x11");
  EXPECT_TRUE(waitFor([&] { return isFront(onX) == true; }));
  EXPECT_TRUE(waitFor([&] { return lists(windows.snapshot(), onX.pid()); }));

  const auto onWayland = show("On Wayland", "wayland");
  EXPECT_TRUE(waitFor([&] { return isFront(onWayland) == true && isFront(onX) == false; }));
  EXPECT_FALSE(lists(windows.snapshot(), onWayland.pid()));
  EXPECT_TRUE(waitFor([&] { return accessibility.activeProcess() == onWayland.pid(); }));
  for (const auto* program : {&onX, &onWayland}) {
    EXPECT_EQ(AXHelpers::windows(accessibility, accessibility.createApplication(program->pid())).size(), 1U);
  }
}

}  // namespace
}  // namespace quillard::test
