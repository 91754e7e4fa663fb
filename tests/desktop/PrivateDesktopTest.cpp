#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <QtGui/QImage>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "desktop/DesktopProcesses.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/Screenshot.h"
#include "private-desktop/DesktopBus.h"
#include "private-desktop/FileContents.h"
#include "support/ChildProcess.h"
#include "support/MachineLoad.h"

namespace quillard::test {
namespace {

namespace fs = std::filesystem;
using Options = PrivateDesktop::Options;

// The file that stands for an X server, outside the desktop's folder. Another server may take the number right after it
// was released, so the time of the file counts too. Empty when there is none.
std::string xSocket(const std::string& display) {
  struct stat status {};
  if (::stat(("/tmp/.X11-unix/X" + display.substr(1)).c_str(), &status) != 0) return {};
  return std::to_string(status.st_ino) + " " + std::to_string(status.st_mtim.tv_sec) + " " +
         std::to_string(status.st_mtim.tv_nsec);
}

std::string valueAfter(const std::string& line, const std::string& label) {
  return line.rfind(label, 0) == 0 ? line.substr(label.size()) : "";
}

std::optional<std::string> lineWith(ChildProcess& child, const std::string& label) {
  while (auto line = child.readLine()) {
    if (line->find(label) != std::string::npos) return line;
  }
  return std::nullopt;
}

QImage screen(const PrivateDesktop& desktop) {
  const std::string file = desktop.folder("tmp/screen.png");
  desktop.screenshot(file);
  return QImage(QString::fromStdString(file));
}

bool isBlank(const QImage& picture) {
  const QRgb first = picture.pixel(0, 0);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.pixel(x, y) != first) return false;
    }
  }
  return true;
}

bool has(const std::vector<std::string>& environment, const std::string& name) {
  return std::any_of(environment.begin(), environment.end(),
                     [&](const auto& entry) { return entry.rfind(name + "=", 0) == 0; });
}

TEST(PrivateDesktop, IsUpWithinAFifthOfASecond) {
  using std::chrono::milliseconds;
  const milliseconds promise = onThisMachine(milliseconds(200));
  auto best = milliseconds::max();
  for (int i = 0; i < 10 && best >= promise; ++i) {
    const PrivateDesktop desktop;
    best = std::min(best, desktop.startTime());
    std::cout << "The desktop is up after " << desktop.startTime().count() << " ms\n";
  }
  EXPECT_LT(best, promise);
}

TEST(PrivateDesktop, HasAccessibilitySwitchedOnAndARegistry) {
  const PrivateDesktop desktop;
  EXPECT_TRUE(DesktopBus(desktop.sessionBusAddress()).isAccessibilityEnabled());
  EXPECT_TRUE(DesktopBus(desktop.accessibilityBusAddress()).isNameOwned("org.a11y.atspi.Registry"));
}

TEST(PrivateDesktop, SwitchesAccessibilityOffAndOn) {
  PrivateDesktop desktop({.accessibility = Options::Accessibility::off});
  DesktopBus bus(desktop.sessionBusAddress());
  EXPECT_FALSE(bus.isAccessibilityEnabled());
  EXPECT_FALSE(desktop.accessibilityBusAddress().empty());
  desktop.setAccessibilityEnabled(true);
  EXPECT_TRUE(bus.isAccessibilityEnabled());
}

TEST(PrivateDesktop, GoesWithoutAccessibility) {
  const PrivateDesktop desktop({.accessibility = Options::Accessibility::missing});
  EXPECT_EQ(desktop.accessibilityBusAddress(), "");
  EXPECT_EQ(DesktopBus(desktop.sessionBusAddress()).accessibilityBusAddress(), "");
}

TEST(PrivateDesktop, GoesWithoutAnXServer) {
  const PrivateDesktop desktop({.hasDisplay = false});
  EXPECT_EQ(desktop.display(), "");
  EXPECT_FALSE(has(desktop.environment(), "DISPLAY"));
  EXPECT_TRUE(has(desktop.environment(), "WAYLAND_DISPLAY"));
  EXPECT_TRUE(DesktopBus(desktop.accessibilityBusAddress()).isNameOwned("org.a11y.atspi.Registry"));
}

TEST(PrivateDesktop, GoesWithoutAWindowManager) {
  PrivateDesktop desktop({.hasWindowManager = false});
  auto question = desktop.launch("xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"});
  ASSERT_EQ(question.wait(), 0);
  EXPECT_NE(question.output().find("no such atom"), std::string::npos) << question.output();
}

TEST(PrivateDesktop, BringsNotificationsAndSecretsWhenAsked) {
  const PrivateDesktop plain;
  EXPECT_FALSE(DesktopBus(plain.sessionBusAddress()).isNameOwned("org.freedesktop.Notifications"));
  EXPECT_FALSE(DesktopBus(plain.sessionBusAddress()).isNameOwned("org.freedesktop.secrets"));
  const PrivateDesktop rich({.hasNotifications = true, .secretService = Options::SecretService::unlocked});
  EXPECT_TRUE(DesktopBus(rich.sessionBusAddress()).isNameOwned("org.freedesktop.Notifications"));
  EXPECT_TRUE(DesktopBus(rich.sessionBusAddress()).isNameOwned("org.freedesktop.secrets"));
}

// The path of the prompt that has to be answered before the service makes a collection.
std::string promptForANewCollection(DesktopBus& bus) {
  sd_bus_message* reply = nullptr;
  const char* collection = nullptr;
  const char* prompt = "";
  sd_bus_call_method(bus.get(), "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                     "CreateCollection", nullptr, &reply, "a{sv}s", 1, "org.freedesktop.Secret.Collection.Label", "s",
                     "Of a test", "");
  if (reply) sd_bus_message_read(reply, "oo", &collection, &prompt);
  std::string result = prompt;
  sd_bus_message_unref(reply);
  return result;
}

TEST(PrivateDesktop, ShowsTheRealPromptOfALockedSecretService) {
  const PrivateDesktop desktop({.secretService = Options::SecretService::locked});
  DesktopBus bus(desktop.sessionBusAddress());
  const std::string prompt = promptForANewCollection(bus);
  ASSERT_GT(prompt.size(), 1U);
  sd_bus_call_method(bus.get(), "org.freedesktop.secrets", prompt.c_str(), "org.freedesktop.Secret.Prompt", "Prompt",
                     nullptr, nullptr, "s", "");
  EXPECT_TRUE(waitFor([&] { return bus.isNameOwned("org.gnome.keyring.SystemPrompter"); }));
  EXPECT_TRUE(waitFor([&] { return !isBlank(screen(desktop)); }));
}

TEST(PrivateDesktop, IsIsolatedFromAnotherOne) {
  PrivateDesktop one;
  const PrivateDesktop other;
  EXPECT_NE(one.display(), other.display());
  DesktopBus bus(one.sessionBusAddress());
  ASSERT_GE(sd_bus_request_name(bus.get(), "org.example.OfOneDesktop", 0), 0);
  EXPECT_TRUE(bus.isNameOwned("org.example.OfOneDesktop"));
  EXPECT_FALSE(DesktopBus(other.sessionBusAddress()).isNameOwned("org.example.OfOneDesktop"));
  const auto window = one.launch("zenity", {"--info", "--text=Here only"});
  ASSERT_TRUE(waitFor([&] { return !isBlank(screen(one)); }));
  EXPECT_TRUE(isBlank(screen(other)));
}

TEST(PrivateDesktop, LeavesNothingBehind) {
  std::string folder;
  std::string display;
  std::string socket;
  {
    PrivateDesktop desktop({.hasNotifications = true, .secretService = Options::SecretService::unlocked});
    folder = fs::path(desktop.folder("home")).parent_path();
    display = desktop.display();
    socket = xSocket(display);
    auto program = desktop.launch("sh", {"-c", "sleep 600 & echo up; sleep 601"});
    ASSERT_TRUE(program.waitForOutput("up"));
    EXPECT_NE(socket, "");
    EXPECT_GE(processesWith(folder).size(), 8U);
  }
  EXPECT_EQ(processesWith(folder), std::vector<std::string>());
  EXPECT_FALSE(fs::exists(folder));
  EXPECT_NE(xSocket(display), socket);
}

TEST(PrivateDesktop, LeavesNothingBehindWhenTheTestIsKilled) {
  ChildProcess owner(
      {.command = {DESKTOP_OWNER, "--gtest_filter=DesktopOwner.WaitsToBeKilled"}, .environment = presentEnvironment()});
  const std::string home = valueAfter(lineWith(owner, "folder: ").value_or(""), "folder: ");
  const std::string display = valueAfter(owner.readLine().value_or(""), "display: ");
  ASSERT_FALSE(home.empty());
  const std::string socket = xSocket(display);
  ASSERT_NE(socket, "");
  const std::string folder = fs::path(home).parent_path();
  ASSERT_GE(processesWith(folder).size(), 8U);
  owner.kill();
  EXPECT_TRUE(waitFor([&] { return processesWith(folder).empty(); }));
  EXPECT_TRUE(waitFor([&] { return !fs::exists(folder); }));
  EXPECT_NE(xSocket(display), socket);
}

TEST(PrivateDesktop, LeavesAPictureOfTheScreenWhenATestFails) {
  ChildProcess owner(
      {.command = {DESKTOP_OWNER, "--gtest_filter=DesktopOwner.Fails"}, .environment = presentEnvironment()});
  const std::string label = "The screen then: ";
  const std::string path = valueAfter(lineWith(owner, label).value_or(""), label);
  ASSERT_NE(path, "");
  EXPECT_TRUE(fs::path(path).is_relative()) << path;
  EXPECT_EQ(QImage(QString::fromStdString(std::string(QUILLARD_PROJECT) + "/" + path)).size(), QSize(320, 200));
  EXPECT_EQ(lineWith(owner, label), std::nullopt) << "One picture a test will do.";
  EXPECT_EQ(owner.wait(), 1);
}

TEST(PrivateDesktop, PicturesTheScreenInItsSizeAndWithItsWindows) {
  PrivateDesktop desktop({.width = 800, .height = 600});
  EXPECT_EQ(screen(desktop).size(), QSize(800, 600));
  EXPECT_TRUE(isBlank(screen(desktop)));
  const auto window = desktop.launch("zenity", {"--info", "--text=Something to see"});
  EXPECT_TRUE(waitFor([&] { return !isBlank(screen(desktop)); }));
}

TEST(PrivateDesktop, WaitsForAPictureNoLongerThanItIsToldTo) {
  PrivateDesktop desktop({.width = 800, .height = 600});
  desktop.stopDisplay();
  const std::string file = desktop.folder("tmp/screen.png");
  EXPECT_THROW(saveScreenshot(desktop.display(), file, std::chrono::milliseconds{100}), std::runtime_error);
  desktop.resumeDisplay();
  EXPECT_EQ(screen(desktop).size(), QSize(800, 600));
}

TEST(PrivateDesktop, ReportsHowProgramsEnd) {
  PrivateDesktop desktop({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  EXPECT_EQ(desktop.launch("sh", {"-c", "exit 7"}).wait(), 7);
  EXPECT_EQ(desktop.launch("sh", {"-c", "kill -SEGV $$"}).wait(), 128 + SIGSEGV);
  auto missing = desktop.launch("there-is-no-such-program");
  EXPECT_EQ(missing.wait(), 127);
  EXPECT_NE(missing.errors(), "");
  auto slow = desktop.launch("sleep", {"600"});
  EXPECT_EQ(slow.wait(std::chrono::milliseconds(10)), std::nullopt);
  EXPECT_TRUE(slow.isRunning());
  slow.kill();
  EXPECT_EQ(slow.wait(), 128 + SIGKILL);
  EXPECT_FALSE(slow.isRunning());
}

TEST(PrivateDesktop, StopsAndResumesPrograms) {
  PrivateDesktop desktop({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  auto program = desktop.launch("sh", {"-c", "trap 'exit 9' TERM; echo up; while :; do sleep 0.01; done"});
  ASSERT_TRUE(program.waitForOutput("up"));
  program.stop();
  program.end();
  EXPECT_EQ(program.wait(std::chrono::milliseconds(100)), std::nullopt);
  program.resume();
  EXPECT_EQ(program.wait(), 9);
}

TEST(PrivateDesktop, GivesProgramsItsOwnEnvironmentOnly) {
  PrivateDesktop desktop({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  ASSERT_EQ(::setenv("QUILLARD_OF_THE_TEST", "1", 1), 0);
  auto program = desktop.launch("env", {}, {{"ADDED", "yes"}, {"TMPDIR", ""}});
  ASSERT_EQ(program.wait(), 0);
  const std::string output = program.output();
  EXPECT_EQ(output.find("QUILLARD_OF_THE_TEST"), std::string::npos);
  EXPECT_NE(output.find("ADDED=yes\n"), std::string::npos);
  EXPECT_EQ(output.find("TMPDIR="), std::string::npos);
  EXPECT_NE(output.find("HOME=" + desktop.folder("home") + "\n"), std::string::npos);
  EXPECT_EQ(program.errors(), "");
  ::unsetenv("QUILLARD_OF_THE_TEST");
}

TEST(PrivateDesktop, LendsItsEnvironmentToTheTest) {
  const std::optional<std::string> before =
      std::getenv("DISPLAY") ? std::optional(std::getenv("DISPLAY")) : std::nullopt;
  {
    PrivateDesktop desktop;
    ASSERT_EQ(::setenv("NO_AT_BRIDGE", "1", 1), 0);
    desktop.adoptEnvironment();
    EXPECT_STREQ(std::getenv("DISPLAY"), desktop.display().c_str());
    EXPECT_STREQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), desktop.sessionBusAddress().c_str());
    EXPECT_EQ(std::getenv("NO_AT_BRIDGE"), nullptr);
  }
  EXPECT_STREQ(std::getenv("NO_AT_BRIDGE"), "1");
  ::unsetenv("NO_AT_BRIDGE");
  EXPECT_EQ(before.has_value(), std::getenv("DISPLAY") != nullptr);
}

TEST(PrivateDesktop, RunsACopyOfAProgramUnderAnotherName) {
  PrivateDesktop desktop({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  const std::string path = desktop.copyProgram("/bin/sleep", "a-program-with-a-long-name");
  const auto program = desktop.launch(path, {"600"});
  const std::string link = "/proc/" + std::to_string(program.pid()) + "/exe";
  EXPECT_TRUE(waitFor([&] { return fs::read_symlink(link) == path; }));
}

TEST(PrivateDesktop, DescribesProgramsAndServicesAsInstalledOnesAre) {
  const PrivateDesktop desktop({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  desktop.addDesktopEntry("org.example.Gatekeeper", "[Desktop Entry]\nType=Application\nName=Gatekeeper\n");
  EXPECT_TRUE(fs::exists(desktop.folder("data/applications/org.example.Gatekeeper.desktop")));
  DesktopBus bus(desktop.sessionBusAddress());
  EXPECT_FALSE(bus.ping("org.example.Missing", "/"));
  // Started because it is asked for: whether it then takes the name is its own affair.
  const std::string mark = desktop.folder("tmp/started");
  desktop.addBusService("org.example.Starting", "/bin/sh -c 'touch " + mark + "; exit 1'");
  EXPECT_FALSE(bus.ping("org.example.Starting", "/"));
  EXPECT_TRUE(waitFor([&] { return fs::exists(mark); }));
}

TEST(PrivateDesktop, LosesItsServersWhenAsked) {
  PrivateDesktop desktop;
  desktop.killAccessibilityBus();
  EXPECT_THROW(DesktopBus{desktop.accessibilityBusAddress()}, std::runtime_error);
  desktop.killSessionBus();
  EXPECT_THROW(DesktopBus{desktop.sessionBusAddress()}, std::runtime_error);
  EXPECT_NE(xSocket(desktop.display()), "");
  desktop.killDisplay();
  EXPECT_EQ(xSocket(desktop.display()), "");
}

TEST(PrivateDesktop, KeepsTheNumberOfADisplayThatWasKilled) {
  PrivateDesktop desktop({.accessibility = Options::Accessibility::missing});
  desktop.killDisplay();
  for (int i = 0; i < 3; ++i) {
    const PrivateDesktop next({.accessibility = Options::Accessibility::missing});
    EXPECT_NE(next.display(), desktop.display());
  }
  EXPECT_EQ(xSocket(desktop.display()), "");
}

TEST(PrivateDesktop, TakesAnotherNumberWhereAForeignServerHasOne) {
  std::string taken;
  {
    const PrivateDesktop desktop({.accessibility = Options::Accessibility::missing});
    taken = desktop.display();
  }
  // Another test may have reserved the number by now: the server then fails, or has it, and both are as good.
  PrivateDesktop host({.hasDisplay = false, .accessibility = Options::Accessibility::missing});
  auto foreign = host.launch("Xvfb", {taken, "-nolisten", "tcp"});
  ASSERT_TRUE(waitFor([&] { return !xSocket(taken).empty() || !foreign.isRunning(); }));
  const PrivateDesktop next({.accessibility = Options::Accessibility::missing});
  EXPECT_NE(next.display(), taken);
  EXPECT_NE(xSocket(next.display()), "");
}

}  // namespace
}  // namespace quillard::test
