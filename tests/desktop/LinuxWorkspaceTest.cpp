#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/LoopWaiting.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/SampleClient.h"
#include "desktop/X11Binding.h"
#include "detection/VisibleWindowOwners.h"
#include "support/LongTests.h"

namespace quillard::x11 {
namespace {

namespace fs = std::filesystem;

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;
using test::DesktopProgram;
using test::PrivateDesktop;
using test::SampleClient;
using test::waitInLoop;
using test::X11Binding;

class LinuxWorkspaceTest : public testing::Test {
 protected:
  // A process that only is there: its windows are the sample client's, which says they were this process's.
  DesktopProgram sleeper() { return desktop.launch("sleep", {"1000"}); }
  WindowID window(std::int32_t process, const std::string& type = "") {
    const auto id = client.open({.process = process, .type = type});
    // Until all has been noticed: a change together with its launch would be reported as a launch alone.
    const bool getsKeyboard = type.empty();
    EXPECT_TRUE(waitInLoop([&] {
      const auto& noticed = binding.watch.lastSnapshot();
      const auto is = [&](const Window& each) { return each.id == id; };
      return std::any_of(noticed.windows.begin(), noticed.windows.end(), is) && (noticed.active == id || !getsKeyboard);
    }));
    return id;
  }
  std::optional<Window> found(WindowID id) {
    for (auto& each : binding.windows.snapshot().windows) {
      if (each.id == id) return each;
    }
    return std::nullopt;
  }
  // Waits until the process is running as `condition` wants it.
  template <class Condition>
  bool becomes(std::int32_t process, const Condition& condition) {
    return waitInLoop([&] {
      const auto application = binding.workspace.runningApplication(process);
      return application && condition(*application);
    });
  }
  std::optional<std::size_t> seen(WorkspaceEventKind kind, std::int32_t process = 0) const {
    for (std::size_t i = 0; i < events.size(); ++i) {
      const auto& told = events[i].application;
      if (events[i].kind == kind && (process == 0 || (told && told->processIdentifier == process))) return i;
    }
    return std::nullopt;
  }
  bool waitForEvent(WorkspaceEventKind kind, std::int32_t process = 0) {
    return waitInLoop([&] { return seen(kind, process).has_value(); });
  }

  PrivateDesktop desktop;
  X11Binding binding{desktop.display()};
  SampleClient client{desktop.display()};
  std::vector<WorkspaceEvent> events;
  platform::SubscriptionHandle subscription =
      binding.workspace.observe([this](const WorkspaceEvent& event) { events.push_back(event); });
};

const auto isActive = [](const RunningApplication& application) { return application.isActive; };
const auto isHidden = [](const RunningApplication& application) { return application.isHidden; };

TEST_F(LinuxWorkspaceTest, KnowsTheDialogOfARealProgram) {
  auto zenity = desktop.launch("zenity", {"--question", "--text", "Really?"});
  ASSERT_TRUE(becomes(zenity.pid(), isActive));
  const auto front = binding.workspace.frontmostApplication();
  EXPECT_EQ(front, (RunningApplication{.processIdentifier = zenity.pid(),
                                       .localizedName = "zenity",
                                       .bundleIdentifier = "/usr/bin/zenity",
                                       .activationPolicy = ActivationPolicy::accessory,
                                       .isActive = true}));
  EXPECT_EQ(binding.workspace.runningApplications(), std::vector{*front});
  // What has nothing but a prompt is looked at.
  EXPECT_EQ(VisibleWindowOwners::promptScanApplications(binding.workspace, binding.windowList).size(), 1U);
}

TEST_F(LinuxWorkspaceTest, NamesProgramsAsTheyAreInstalled) {
  desktop.addDesktopEntry("org.example.Asker",
                          "[Desktop Entry]\nType=Application\nName=Asker\nName[de]=Frager\nExec=zenity --question\n");
  binding.environment.values = {
      {"XDG_DATA_HOME", desktop.folder("data")}, {"XDG_DATA_DIRS", "/nowhere"}, {"LC_ALL", "de_DE.UTF-8"}};
  auto zenity = desktop.launch("zenity", {"--info", "--text", "Well"});
  ASSERT_TRUE(becomes(zenity.pid(), isActive));
  const auto application = binding.workspace.runningApplication(zenity.pid());
  EXPECT_EQ(application->bundleIdentifier, "org.example.Asker");
  EXPECT_EQ(application->localizedName, "Frager");
}

TEST_F(LinuxWorkspaceTest, KnowsLongNamesOfProgramsWhole) {
  const auto path = desktop.copyProgram("/usr/bin/sleep", "sleeping-for-a-very-long-time");
  auto program = desktop.launch(path, {"1000"});
  window(program.pid());
  std::optional<platform::RunningApplication> application;
  EXPECT_TRUE(waitInLoop([&] {  // Until the process has become the program.
    application = binding.workspace.runningApplication(program.pid());
    return application && application->localizedName == "sleeping-for-a-very-long-time";
  }));
  ASSERT_TRUE(application.has_value());
  EXPECT_EQ(application->bundleIdentifier, fs::canonical(path).string());
}

TEST_F(LinuxWorkspaceTest, WindowsDecideHowAnApplicationTakesPart) {
  auto ordinary = sleeper();
  auto asking = sleeper();
  auto panel = sleeper();
  auto onTheBus = sleeper();
  auto neither = sleeper();
  window(ordinary.pid());
  window(asking.pid(), "_NET_WM_WINDOW_TYPE_DIALOG");
  window(panel.pid(), "_NET_WM_WINDOW_TYPE_DOCK");
  binding.accessible.processes = {onTheBus.pid()};
  const auto policy = [&](DesktopProgram& program) {
    std::this_thread::sleep_for(std::chrono::milliseconds{21});  // An answer may be 20 ms old.
    const auto application = binding.workspace.runningApplication(program.pid());
    return application ? std::optional{application->activationPolicy} : std::nullopt;
  };
  EXPECT_EQ(policy(ordinary), ActivationPolicy::regular);
  EXPECT_EQ(policy(asking), ActivationPolicy::accessory);
  EXPECT_EQ(policy(panel), ActivationPolicy::prohibited);
  EXPECT_EQ(policy(onTheBus), ActivationPolicy::accessory);
  EXPECT_EQ(policy(neither), std::nullopt);
}

TEST_F(LinuxWorkspaceTest, WindowsThatClaimAForeignOrMissingProcessMakeNoApplication) {
  auto gone = sleeper();
  const auto missing = gone.pid();
  gone.kill();
  for (const std::int32_t process : {missing, 1}) {
    if (process == 1 && ::getuid() == 0) continue;  // Then it is this user's own.
    window(process);
    EXPECT_EQ(binding.workspace.runningApplication(process), std::nullopt) << process;
    EXPECT_FALSE(binding.workspace.terminate(process)) << process;
  }
  for (const std::int32_t process : {0, -1}) {
    EXPECT_EQ(binding.workspace.runningApplication(process), std::nullopt);
    EXPECT_FALSE(binding.workspace.activate(process));
    EXPECT_FALSE(binding.workspace.unhide(process));
    EXPECT_FALSE(binding.workspace.terminate(process));
  }
}

TEST_F(LinuxWorkspaceTest, TellsOfTheLifeOfAnApplication) {
  auto zenity = desktop.launch("zenity", {"--info", "--text", "Well"});
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didLaunchApplication, zenity.pid()));
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didActivateApplication, zenity.pid()));
  EXPECT_LT(seen(WorkspaceEventKind::didLaunchApplication), seen(WorkspaceEventKind::didActivateApplication));
  zenity.kill();
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didTerminateApplication, zenity.pid()));
  const auto& last = events[*seen(WorkspaceEventKind::didTerminateApplication)].application;
  EXPECT_TRUE(last->isTerminated);
  EXPECT_EQ(last->localizedName, "zenity");
}

TEST_F(LinuxWorkspaceTest, HidesAndUnhidesWithItsWindows) {
  auto program = sleeper();
  const auto first = window(program.pid());
  const auto second = window(program.pid());
  client.minimise(first);
  ASSERT_TRUE(waitInLoop([&] { return found(first)->isHidden; }));
  EXPECT_FALSE(binding.workspace.runningApplication(program.pid())->isHidden);  // One is left.
  client.minimise(second);
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didHideApplication, program.pid()));
  EXPECT_TRUE(becomes(program.pid(), isHidden));

  EXPECT_TRUE(binding.workspace.unhide(program.pid()));
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didUnhideApplication, program.pid()));
  EXPECT_TRUE(waitInLoop([&] { return !found(first)->isHidden && !found(second)->isHidden; }));
  EXPECT_TRUE(binding.workspace.unhide(program.pid()));  // Nothing to do is done.
}

TEST_F(LinuxWorkspaceTest, ActivateBringsAllWindowsToTheFront) {
  auto back = sleeper();
  auto front = sleeper();
  const auto first = window(back.pid());
  const auto second = window(back.pid());
  const auto cover = window(front.pid());
  ASSERT_TRUE(waitInLoop([&] { return binding.windows.snapshot().windows.back().id == cover; }));
  events.clear();
  EXPECT_TRUE(binding.workspace.activate(back.pid()));
  EXPECT_TRUE(waitInLoop([&] {
    const auto listed = binding.windows.snapshot().windows;
    return listed.size() == 3 && listed[0].id == cover && listed[1].id == first && listed[2].id == second;
  }));
  EXPECT_TRUE(waitForEvent(WorkspaceEventKind::didActivateApplication, back.pid()));
  EXPECT_TRUE(becomes(back.pid(), isActive));
  EXPECT_EQ(binding.workspace.frontmostApplication()->processIdentifier, back.pid());
}

TEST_F(LinuxWorkspaceTest, ActivateGoesWhereTheOnlyWindowIs) {
  auto program = sleeper();
  const auto id = window(program.pid());
  client.moveToDesktop(id, 2);
  ASSERT_TRUE(waitInLoop([&] { return found(id)->desktop == 2U; }));
  EXPECT_TRUE(binding.workspace.activate(program.pid()));
  EXPECT_TRUE(becomes(program.pid(), isActive));

  client.minimise(id);
  ASSERT_TRUE(becomes(program.pid(), isHidden));
  EXPECT_TRUE(binding.workspace.activate(program.pid()));
  EXPECT_TRUE(becomes(program.pid(), isActive));
}

TEST_F(LinuxWorkspaceTest, TellsOfAnotherDesktop) {
  client.switchToDesktop(1);
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::activeSpaceDidChange));
  EXPECT_EQ(events[*seen(WorkspaceEventKind::activeSpaceDidChange)].application, std::nullopt);
}

TEST_F(LinuxWorkspaceTest, AProcessThatJoinsTheBusIsAnApplicationUntilItLeaves) {
  auto program = sleeper();
  binding.accessible.change({program.pid()});
  EXPECT_TRUE(seen(WorkspaceEventKind::didLaunchApplication, program.pid()));
  binding.accessible.change({});
  EXPECT_TRUE(seen(WorkspaceEventKind::didTerminateApplication, program.pid()));
}

// A scan finds a window by its focus that was not there when it began: its prompt has the program's name all the same.
TEST_F(LinuxWorkspaceTest, AProgramThatHasJustShownItsFirstWindowIsKnown) {
  std::vector<DesktopProgram> programs;
  for (int i = 0; i < 10; ++i) {
    programs.push_back(sleeper());
    const auto id = client.open({.process = programs.back().pid(), .type = "notification"});
    do {
      static_cast<void>(binding.workspace.runningApplications());
    } while (!found(id));
    EXPECT_TRUE(binding.workspace.runningApplication(programs.back().pid()).has_value());
  }
}

TEST_F(LinuxWorkspaceTest, AProgramThatHasJustJoinedTheBusIsKnown) {
  auto program = sleeper();
  EXPECT_EQ(binding.workspace.runningApplication(program.pid()), std::nullopt);
  binding.accessible.unreported = {program.pid()};
  const auto found = binding.workspace.runningApplication(program.pid());
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->activationPolicy, ActivationPolicy::accessory);
}

TEST_F(LinuxWorkspaceTest, TerminateAsksWindowsToClose) {
  auto zenity = desktop.launch("zenity", {"--info", "--text", "Well"});
  ASSERT_TRUE(becomes(zenity.pid(), isActive));
  EXPECT_TRUE(binding.workspace.terminate(zenity.pid()));
  EXPECT_TRUE(zenity.wait().value_or(128) < 128);  // By itself, not by a signal.
}

TEST_F(LinuxWorkspaceTest, AnApplicationMayRefuseToQuit) {
  auto program = sleeper();
  window(program.pid());
  EXPECT_TRUE(binding.workspace.terminate(program.pid()));
  EXPECT_TRUE(waitInLoop([&] { return client.hasInput("asked to close"); }));
  EXPECT_TRUE(program.isRunning());
}

TEST_F(LinuxWorkspaceTest, AnApplicationWithoutWindowsIsTerminatedBySignal) {
  auto program = sleeper();
  binding.accessible.change({program.pid()});
  EXPECT_TRUE(binding.workspace.terminate(program.pid()));
  EXPECT_EQ(program.wait(), 128 + SIGTERM);
}

// What makes a program one of the session that the test itself was started in, as the agent's own programs are.
PrivateDesktop::Variables ourSession() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  return {{"XDG_RUNTIME_DIR", folder ? folder : ""}};
}

TEST_F(LinuxWorkspaceTest, AnAgentOfAnotherSessionIsNoneOfOurs) {
  const fs::path bundle = fs::path{desktop.folder("home")} / "Quillard.app";
  fs::create_directory(bundle);
  fs::copy_file("/usr/bin/dbus-daemon", bundle / "quillard");
  const std::string address = "unix:path=" + desktop.folder("run") + "/another-bus";
  auto agent = desktop.launch((bundle / "quillard").string(), {"--session", "--nofork", "--address=" + address});
  ASSERT_TRUE(waitInLoop([&] { return fs::exists(desktop.folder("run") + "/another-bus"); }));
  EXPECT_FALSE(binding.workspace.runningApplication(agent.pid()));
}

TEST_F(LinuxWorkspaceTest, FindsAnotherAgentAndEndsIt) {
  const fs::path bundle = fs::path{desktop.folder("home")} / "Quillard.app";
  fs::create_directory(bundle);
  fs::copy_file("/usr/bin/dbus-daemon", bundle / "quillard");  // Any program that runs on with options alone.
  const std::string address = "unix:path=" + desktop.folder("run") + "/another-bus";
  auto agent =
      desktop.launch((bundle / "quillard").string(), {"--session", "--nofork", "--address=" + address}, ourSession());
  const auto agents = [&] {
    std::vector<std::int32_t> found;
    for (const auto& application : binding.workspace.runningApplications()) {
      if (application.bundleIdentifier != "com.quillard.agent") continue;
      EXPECT_EQ(application.activationPolicy, ActivationPolicy::prohibited);  // Not searched for prompts.
      found.push_back(application.processIdentifier);
    }
    return found;
  };
  // Other tests of this machine may run agents of their own.
  const auto isFound = [&] {
    const auto found = agents();
    return std::find(found.begin(), found.end(), agent.pid()) != found.end();
  };
  ASSERT_TRUE(waitInLoop(isFound));
  EXPECT_TRUE(binding.workspace.runningApplication(agent.pid()).has_value());
  EXPECT_FALSE(binding.workspace.activate(agent.pid()));
  EXPECT_TRUE(binding.workspace.terminate(agent.pid()));
  ASSERT_TRUE(agent.wait().has_value());
  EXPECT_TRUE(waitInLoop([&] { return !isFound(); }));
}

TEST_F(LinuxWorkspaceTest, AnAgentIsNotAskedToCloseItsWindowInsteadOfQuitting) {
  const fs::path bundle = fs::path{desktop.folder("home")} / "Quillard.app";
  fs::create_directory(bundle);
  fs::copy_file("/usr/bin/dbus-daemon", bundle / "quillard");
  const std::string address = "unix:path=" + desktop.folder("run") + "/another-bus";
  auto agent =
      desktop.launch((bundle / "quillard").string(), {"--session", "--nofork", "--address=" + address}, ourSession());
  ASSERT_TRUE(waitInLoop([&] { return binding.workspace.runningApplication(agent.pid()).has_value(); }));
  window(agent.pid());
  EXPECT_TRUE(binding.workspace.terminate(agent.pid()));
  EXPECT_TRUE(agent.wait().has_value());
  EXPECT_FALSE(client.hasInput("asked to close"));
}

TEST_F(LinuxWorkspaceTest, OpensThroughWhatItWasGiven) {
  EXPECT_TRUE(binding.workspace.openURL("https://example.org/"));
  EXPECT_FALSE(binding.workspace.openFolder("/tmp"));
  EXPECT_EQ(binding.opener.opened, (std::vector<std::string>{"https://example.org/", "/tmp"}));
}

TEST_F(LinuxWorkspaceTest, EndsOfSubscriptionsCountAtOnce) {
  subscription.reset();
  const auto other = binding.workspace.observe([](const WorkspaceEvent&) {});
  auto program = sleeper();
  binding.accessible.change({program.pid()});
  EXPECT_TRUE(events.empty());
}

TEST_F(LinuxWorkspaceTest, SurvivesTheServer) {
  auto program = sleeper();
  window(program.pid());
  auto onTheBus = sleeper();
  binding.accessible.change({onTheBus.pid()});
  ASSERT_TRUE(waitForEvent(WorkspaceEventKind::didLaunchApplication, program.pid()));
  desktop.killDisplay();
  ASSERT_TRUE(
      waitInLoop([&] { return binding.watch.lastSnapshot().coverage == quillard::desktop::WindowCoverage::none; }));
  for (const auto* running : {&program, &onTheBus}) {
    EXPECT_FALSE(seen(WorkspaceEventKind::didTerminateApplication, running->pid())) << "It runs still.";
  }
  EXPECT_EQ(binding.workspace.frontmostApplication(), std::nullopt);
  EXPECT_TRUE(binding.workspace.runningApplication(onTheBus.pid()).has_value());
  EXPECT_FALSE(binding.workspace.activate(program.pid()));
}

TEST_F(LinuxWorkspaceTest, AnswersQuicklyWithManyWindows) {
  std::vector<DesktopProgram> programs;
  const auto count = static_cast<std::size_t>(test::rounds(6, 20));
  for (std::size_t i = 0; i < count; ++i) {
    programs.push_back(sleeper());
    for (int each = 0; each < 5; ++each) client.open({.process = programs.back().pid()});
  }
  ASSERT_TRUE(waitInLoop([&] { return binding.windows.snapshot().windows.size() == count * 5; }));
  const auto begin = std::chrono::steady_clock::now();
  const auto found = VisibleWindowOwners::promptScanApplications(binding.workspace, binding.windowList);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(found.size(), count);
  std::cout << "Which to scan, of " << count << " applications with five windows each: " << taken.count() << " ms\n";
}

TEST(LinuxWorkspace, WithoutAServerTheBusAloneTells) {
  X11Binding binding{std::nullopt};
  EXPECT_EQ(binding.windows.coverage(), desktop::WindowCoverage::none);
  std::vector<WorkspaceEventKind> events;
  const auto subscription =
      binding.workspace.observe([&](const WorkspaceEvent& event) { events.push_back(event.kind); });
  binding.accessible.change({::getpid()});
  EXPECT_EQ(events, std::vector{WorkspaceEventKind::didLaunchApplication});
  const auto running = binding.workspace.runningApplication(::getpid());
  ASSERT_TRUE(running.has_value());
  EXPECT_EQ(running->localizedName, "linux_desktop_test");
  EXPECT_EQ(running->activationPolicy, ActivationPolicy::accessory);
  EXPECT_EQ(binding.workspace.frontmostApplication(), std::nullopt);
  EXPECT_FALSE(binding.workspace.activate(::getpid()));
  EXPECT_FALSE(binding.workspace.unhide(::getpid()));
}

}  // namespace
}  // namespace quillard::x11
