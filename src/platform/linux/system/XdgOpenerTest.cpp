#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/system/DetachedProgram.h"
#include "platform/linux/system/XdgOpener.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

struct Opening {
  std::vector<Command> started;
  int accessibilitySettings = 0;
  int loginItems = 0;
  bool succeeds = true;
  XdgOpener opener{{.start =
                        [this](const Command& command) {
                          started.push_back(command);
                          return succeeds;
                        },
                    .openAccessibilitySettings =
                        [this] {
                          accessibilitySettings += 1;
                          return succeeds;
                        },
                    .openLoginItems =
                        [this] {
                          loginItems += 1;
                          return succeeds;
                        }}};
};

TEST(XdgOpener, HandsAddressesToTheDesktop) {
  Opening world;
  for (const char* url :
       {"https://example.org/a?b=c#d", "http://localhost:8080/", "HTTPS://EXAMPLE.ORG", "file:///home/ann/a%20file"}) {
    world.started.clear();
    EXPECT_TRUE(world.opener.openURL(url)) << url;
    EXPECT_EQ(world.started, (std::vector<Command>{{"xdg-open", url}}));
  }
}

TEST(XdgOpener, RefusesEveryOtherKindOfAddress) {
  Opening world;
  for (const std::string url :
       {"", "ftp://example.org/", "javascript:alert(1)", "mailto:ann@example.org", "/home/ann", "--help", "-x",
        "file://server/share", "https://", "http:", "https://example.org/a b", "https://example.org/\n",
        " https://x.org", "x-apple.systempreferences:com.apple.preference.security", "x-apple.systempreferences:"}) {
    EXPECT_FALSE(world.opener.openURL(url)) << url;
  }
  EXPECT_FALSE(world.opener.openURL("https://example.org/" + std::string(10'000, 'a')));
  EXPECT_TRUE(world.started.empty());
  EXPECT_EQ(world.accessibilitySettings + world.loginItems, 0);
}

TEST(XdgOpener, KnowsTheSettingsPagesOfTheAgent) {
  Opening world;
  EXPECT_TRUE(world.opener.openURL("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
  EXPECT_EQ(world.accessibilitySettings, 1);
  EXPECT_EQ(world.loginItems, 0);
  EXPECT_TRUE(world.opener.openURL("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
  EXPECT_EQ(world.accessibilitySettings, 1);
  EXPECT_EQ(world.loginItems, 1);
  EXPECT_TRUE(world.started.empty());
}

TEST(XdgOpener, OpensFoldersThatAreThere) {
  const test::TemporaryFolder folder;
  std::ofstream(folder.path() + "/file") << "";
  Opening world;
  EXPECT_TRUE(world.opener.openFolder(folder.path()));
  EXPECT_EQ(world.started, (std::vector<Command>{{"xdg-open", folder.path()}}));
  EXPECT_FALSE(world.opener.openFolder(folder.path() + "/missing"));
  EXPECT_FALSE(world.opener.openFolder(folder.path() + "/file"));
  EXPECT_FALSE(world.opener.openFolder("tmp"));
  EXPECT_FALSE(world.opener.openFolder(""));
  EXPECT_EQ(world.started.size(), 1U);
}

TEST(XdgOpener, TellsWhenNothingOpensIt) {
  Opening world;
  world.succeeds = false;
  EXPECT_FALSE(world.opener.openURL("https://example.org/"));
  EXPECT_FALSE(world.opener.openFolder("/"));
  EXPECT_FALSE(world.opener.openURL("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
  EXPECT_FALSE(world.opener.openURL("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
}

TEST(LoginItemPrograms, AreThoseOfTheFirstDesktopThatIsKnown) {
  EXPECT_EQ(loginItemPrograms("XFCE"), (std::vector<Command>{{"xfce4-session-settings"}}));
  EXPECT_EQ(loginItemPrograms("ubuntu:GNOME"), (std::vector<Command>{{"gnome-tweaks"}}));
  EXPECT_EQ(loginItemPrograms("KDE").front(), (Command{"systemsettings", "kcm_autostart"}));
  EXPECT_TRUE(loginItemPrograms("").empty());
  EXPECT_TRUE(loginItemPrograms("sway:").empty());
}

// What the program that was started has written, once it has.
std::string waitForFile(const std::string& path) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!fs::exists(path) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(DetachedProgram, GetsItsArgumentsWithoutAShellAndIsNoChild) {
  const test::TemporaryFolder folder;
  const std::string script = folder.path() + "/program";
  std::ofstream(script) << "#!/bin/sh\nprintf '%s|%s|%s' \"$1\" \"$2\" \"$PPID\" >\"$3.new\" && mv \"$3.new\" \"$3\"\n";
  ::chmod(script.c_str(), 0700);
  const std::string result = folder.path() + "/result";
  ASSERT_TRUE(startDetached({script, "$(touch x); a b", "", result}));
  const auto text = waitForFile(result);
  EXPECT_EQ(text.substr(0, text.rfind('|')), "$(touch x); a b|");
  EXPECT_NE(text.substr(text.rfind('|') + 1), std::to_string(::getpid()));
}

TEST(DetachedProgram, TellsThatItCannotBeStarted) {
  EXPECT_FALSE(startDetached({}));
  EXPECT_FALSE(startDetached({"/nowhere/at all"}));
  EXPECT_FALSE(startDetached({"no-program-of-this-name"}));
}

// The desktop's own xdg-open, told by BROWSER what to open addresses with.
TEST(XdgOpener, ReachesTheUsersBrowser) {
  const test::TemporaryFolder folder;
  const std::string browser = folder.path() + "/browser";
  const std::string result = folder.path() + "/opened";
  std::ofstream(browser) << "#!/bin/sh\nprintf '%s' \"$1\" >'" + result + ".new' && mv '" + result + ".new' '" +
                                result + "'\n";
  ::chmod(browser.c_str(), 0700);
  for (const char* name : {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION", "GNOME_DESKTOP_SESSION_ID",
                           "DISPLAY", "WAYLAND_DISPLAY"}) {
    ::unsetenv(name);
  }
  ::setenv("BROWSER", browser.c_str(), 1);
  ::setenv("HOME", folder.path().c_str(), 1);
  ::setenv("XDG_DATA_DIRS", folder.path().c_str(), 1);
  XdgOpener opener({.start = startDetached, .openAccessibilitySettings = {}, .openLoginItems = {}});
  EXPECT_TRUE(opener.openURL("https://example.org/a?b=c&d=e;f"));
  EXPECT_EQ(waitForFile(result), "https://example.org/a?b=c&d=e;f");
}

}  // namespace
}  // namespace quillard::desktop
