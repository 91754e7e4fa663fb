#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/PrivateDesktop.h"
#include "platform/linux/LinuxPlatform.h"
#include "support/QtWait.h"

// The binding to Linux put together, on a desktop of its own.
namespace quillard::desktop {
namespace {

using test::PrivateDesktop;
using test::waitUntil;

constexpr const char* kAccessibilityPage =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

std::string linesOf(int file) {
  std::string text(4096, '\0');
  const ssize_t count = ::pread(file, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

class LinuxPlatformTest : public testing::Test {
 protected:
  void start(const PrivateDesktop::Options& options) {
    desktop = std::make_unique<PrivateDesktop>(options);
    desktop->adoptEnvironment();
    console = ::open(desktop->folder("tmp").c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    ASSERT_GE(console, 0);
    system = std::make_unique<LinuxPlatform>(console);
  }
  void TearDown() override {
    system.reset();
    if (console >= 0) ::close(console);
  }

  std::unique_ptr<PrivateDesktop> desktop;
  int console = -1;
  std::unique_ptr<LinuxPlatform> system;
};

TEST_F(LinuxPlatformTest, TheAccessibilityPageIsTheDesktopsSwitch) {
  start({.accessibility = PrivateDesktop::Options::Accessibility::off, .hasNotifications = true});
  ASSERT_NE(system->accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_TRUE(system->workspace.openURL(kAccessibilityPage));
  EXPECT_TRUE(
      waitUntil([this] { return system->accessibility.isProcessTrusted() == platform::ProcessTrust::granted; }));
  EXPECT_TRUE(waitUntil([this] { return linesOf(console).find("Accessibility is on.") != std::string::npos; }))
      << linesOf(console);
}

TEST_F(LinuxPlatformTest, TheAccessibilityPageSaysThatThereIsNothingToSwitchOn) {
  start({.accessibility = PrivateDesktop::Options::Accessibility::missing});
  EXPECT_TRUE(system->workspace.openURL(kAccessibilityPage));
  EXPECT_TRUE(waitUntil([this] { return linesOf(console).find("cannot be switched on") != std::string::npos; }))
      << linesOf(console);
}

TEST_F(LinuxPlatformTest, KnowsWhoIsOnTheBusAndWhoIsNot) {
  start({});
  const auto seen = desktop->launch("zenity", {"--info", "--title=Seen", "--text=x"});
  const auto unseen = desktop->launch("zenity", {"--info", "--title=Unseen", "--text=x"}, {{"NO_AT_BRIDGE", "1"}});
  ASSERT_TRUE(waitUntil([&] {
    const auto found = system->capabilities.unreadablePrograms();
    return found.isKnown() && found.value() == std::vector<platform::UnreadableProgram>{{unseen.pid(), "zenity"}} &&
           system->accessibleProcesses.processIdentifiers() == std::vector{seen.pid()};
  }));
}

TEST_F(LinuxPlatformTest, MakesDoWithoutAnyDesktop) {
  start({.hasDisplay = false, .accessibility = PrivateDesktop::Options::Accessibility::missing});
  EXPECT_TRUE(system->capabilities.limitation(platform::DesktopCapability::windowList));
  EXPECT_FALSE(system->capabilities.unreadablePrograms().isKnown());
  EXPECT_NE(system->accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_TRUE(system->windowList.copyWindowInfo(platform::WindowListOptions::all).empty());
  EXPECT_EQ(system->workspace.frontmostApplication(), std::nullopt);
  EXPECT_FALSE(system->workspace.openURL("gopher://example.org/"));
}

}  // namespace
}  // namespace quillard::desktop
