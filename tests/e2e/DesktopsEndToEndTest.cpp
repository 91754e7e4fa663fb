#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/DesktopKinds.h"
#include "desktop/InstalledPrograms.h"
#include "e2e/AgentOnDesktop.h"
#include "platform/linux/sway/SwayWindows.h"
#include "platform/linux/x11/XcbWindows.h"
#include "relay/RelayMessages.h"
#include "support/MachineLoad.h"

// From a prompt to its answer on every kind of desktop: what differs there is when the agent looks, and what it knows
// of windows.
namespace quillard::test {
namespace {

using std::chrono::steady_clock;

// On the desktop of that kind, where this machine has it.
DesktopKind kindOrAny(DesktopKind kind) { return privatedesktop::missingFor(kind) ? DesktopKind::openbox : kind; }

// From the window to the phone. `./test --long` asks for what is documented, ./test for much less than the sweep takes.
std::chrono::milliseconds longestDelay() {
  const char* const requested = std::getenv("QUILLARD_LONG_TESTS");
  const bool isLong = requested && std::string_view(requested) == "1";
  return std::chrono::milliseconds{isLong ? 1500 : 5000};
}

class DesktopsEndToEnd : public AgentOnDesktop, public testing::WithParamInterface<DesktopKind> {
 protected:
  DesktopsEndToEnd() : AgentOnDesktop({.kind = kindOrAny(GetParam())}) {}
};

class KnownWindowsEndToEnd : public DesktopsEndToEnd {};

class OwnWindowEndToEnd : public DesktopsEndToEnd {
 protected:
  [[nodiscard]] std::unique_ptr<desktop::DesktopWindows> windowsOfDesktop() {
    if (!isWayland(GetParam())) return std::make_unique<x11::XcbWindows>(desktop.display());
    const std::string name = "SWAYSOCK=";
    for (const auto& variable : desktop.environment()) {
      if (variable.starts_with(name)) return std::make_unique<sway::SwayWindows>(variable.substr(name.size()));
    }
    return std::make_unique<desktop::NoDesktopWindows>();
  }
};

// The sweep would find it after five minutes.
TEST_P(DesktopsEndToEnd, APromptOfAProgramThatRunsAlreadyIsOnThePhoneSoon) {
  QUILLARD_SKIP_WITHOUT(GetParam());
  startAgent();
  int round = 0;
  for (const std::string toolkit : {"gtk3_prompt", "gtk4_prompt", "qt_prompt"}) {
    const std::string title = "Question " + std::to_string(++round);
    // All that its start set off is over by the time of its prompt.
    auto program = desktop.launch(
        toolkit, prompt(title, {"Don't Allow", "Allow"}, {"--parent", "Document", "--prompt-after", "6000"}));
    ASSERT_TRUE(program.waitForOutput("ready")) << program.errors();
    const auto shown = steady_clock::now();
    const auto approval = onPhone(title);
    const auto duration = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - shown);
    std::cout << toolkit << ": on the phone after " << duration.count() << " ms\n";
    EXPECT_LT(duration, onThisMachine(longestDelay())) << toolkit;
    const auto result = relay.waitForResult(relay.decide(approval.id, "Don't Allow"));
    ASSERT_TRUE(result) << printed();
    EXPECT_EQ(result->status, kAcceptedStatus) << result->error.value_or("");
    EXPECT_EQ(program.wait(), kFirstButton);
  }
}

// What a desktop asks by itself, which is a window of no program that the prompt belongs to.
struct DesktopQuestion {
  std::string name;
  DesktopKind kind;
  // Programs of the desktop that ask, and the names that they own once they are up; in their order.
  std::vector<std::pair<std::string, std::string>> services;
  std::vector<std::string> command;  // Lets it be asked, and ends with the answer.
  std::string line;                  // Of the prompt.
  std::string label;                 // Of the button to press.
  bool takesPresses = true;
  std::vector<std::string> before{};  // Run before the agent starts. Empty: nothing.
};

void PrintTo(const DesktopQuestion& question, std::ostream* out) { *out << question.name; }

std::vector<std::string> questionForTheCamera(const std::string& service) {
  return {"gdbus",
          "call",
          "--session",
          "--timeout=60",
          "-d",
          service,
          "-o",
          "/org/freedesktop/portal/desktop",
          "-m",
          "org.freedesktop.impl.portal.Access.AccessDialog",
          "/org/freedesktop/portal/desktop/request/1/a",
          "",
          "",
          "Allow camera use?",
          "A program wants it.",
          "It can be changed later.",
          "{'deny_label': <\"Don't Allow\">, 'grant_label': <'Allow'>}"};
}

// Stays until it is answered, also where others go after some seconds.
const std::vector<std::string> kNotification{"notify-send",      "-t",     "0",           "-u",
                                             "critical",         "-A",     "allow=Allow", "-A",
                                             "deny=Don't Allow", "--wait", "Permission",  "May it go on?"};

std::vector<DesktopQuestion> desktopQuestions() {
  const std::string portalOfPlasma = "org.freedesktop.impl.portal.desktop.kde";
  const std::string notifications = "org.freedesktop.Notifications";
  return {
      {"GnomePortal",
       DesktopKind::gnome,
       {},
       questionForTheCamera("org.gnome.Shell"),
       "A program wants it.",
       "Don't Allow"},
      {"GnomeNotification", DesktopKind::gnome, {}, kNotification, "May it go on?", "Don't Allow"},
      {"PlasmaPortal",
       DesktopKind::kwin,
       {{"xdg-desktop-portal-kde", portalOfPlasma}},
       questionForTheCamera(portalOfPlasma),
       "A program wants it.",
       "Cancel"},
      {"PlasmaNotification",
       DesktopKind::kwin,
       {{"kactivitymanagerd", "org.kde.ActivityManager"}, {"plasmashell", notifications}},
       kNotification,
       "May it go on?",
       "Don't Allow"},
      {"XfceNotification",
       DesktopKind::xfwm4,
       {{"xfce4/notifyd/xfce4-notifyd", notifications}},
       kNotification,
       "May it go on?",
       "Don't Allow"},
      {"LxqtNotification",
       DesktopKind::openbox,
       {{"lxqt-notificationd", notifications}},
       kNotification,
       "May it go on?",
       "Don't Allow"},
      // All of them are one window there, which is no new one then.
      {.name = "LxqtNotificationBesideAnother",
       .kind = DesktopKind::openbox,
       .services = {{"lxqt-notificationd", notifications}},
       .command = kNotification,
       .line = "May it go on?",
       .label = "Don't Allow",
       .before = {"notify-send", "-u", "critical", "A note", "It asks nothing."}},
      {"MateNotification",
       DesktopKind::marco,
       {{"mate-notification-daemon/mate-notification-daemon", notifications}},
       kNotification,
       "May it go on?",
       "Don't Allow",
       false},
  };
}

class DesktopQuestionEndToEnd : public AgentOnDesktop, public testing::WithParamInterface<DesktopQuestion> {
 protected:
  DesktopQuestionEndToEnd() : AgentOnDesktop({.kind = kindOrAny(GetParam().kind)}) {}

  void startServices() {
    DesktopBus bus(desktop.sessionBusAddress());
    for (const auto& service : GetParam().services) {
      const auto& program = service.first;
      const auto path = installedProgram(program);
      if (!path) GTEST_SKIP() << program << " is not installed.";
      services.push_back(desktop.launch(*path, {}, {{"QT_LOGGING_RULES", "*=false"}}));
      ASSERT_TRUE(waitFor([&] { return bus.isNameOwned(service.second); }, kLongestWait)) << services.back().errors();
    }
  }
  [[nodiscard]] PendingApproval questionOnPhone() {
    const auto isIt = [](const PendingApproval& each) {
      return each.windowTitle == GetParam().line ||
             std::any_of(each.messageLines.begin(), each.messageLines.end(),
                         [](const std::string& line) { return line.find(GetParam().line) != std::string::npos; });
    };
    const auto find = [&](const auto& list) { return std::find_if(list.begin(), list.end(), isIt); };
    const auto list = relay.waitForList([&](const auto& all) { return find(all) != all.end(); }, kLongestWait);
    EXPECT_TRUE(list) << printed();
    return list ? *find(*list) : PendingApproval{};
  }

  std::vector<DesktopProgram> services;
};

TEST_P(DesktopQuestionEndToEnd, IsOnThePhoneSoonAndAnswered) {
  const auto& question = GetParam();
  QUILLARD_SKIP_WITHOUT(question.kind);
  startServices();
  if (IsSkipped() || HasFatalFailure()) return;
  const auto run = [&](const std::vector<std::string>& command) {
    return desktop.launch(command.front(), {command.begin() + 1, command.end()});
  };
  if (!question.before.empty()) {
    EXPECT_EQ(run(question.before).wait(), 0);
  }
  startAgent();
  EXPECT_EQ(desktop.launch("sleep", {"6"}).wait(), 0);  // All that the start set off is over.
  auto program = run(question.command);
  const auto begin = steady_clock::now();
  const auto approval = questionOnPhone();
  const auto duration = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
  std::cout << question.name << ": on the phone after " << duration.count() << " ms\n";
  EXPECT_LT(duration, onThisMachine(longestDelay()));
  ASSERT_FALSE(approval.buttons.empty());
  // A person reads first. Meanwhile the agent's own note comes up, which moves the bubbles of some desktops.
  EXPECT_EQ(desktop.launch("sleep", {"3"}).wait(), 0);
  const auto result = relay.waitForResult(relay.decide(questionOnPhone().id, question.label));
  ASSERT_TRUE(result) << printed();
  EXPECT_EQ(result->status == kAcceptedStatus, question.takesPresses) << result->error.value_or("");
  if (question.takesPresses) {
    EXPECT_EQ(program.wait(), 0) << program.errors();
  } else {
    EXPECT_TRUE(program.isRunning());
  }
}

TEST_P(KnownWindowsEndToEnd, AWindowThatHasGoneIsGoneThoughItsProgramFallsSilent) {
  QUILLARD_SKIP_WITHOUT(GetParam());
  startAgent();
  auto program = desktop.launch("gtk3_prompt", prompt("Gone", {"Don't Allow", "Allow"}, {"--silent-on-press"}));
  const auto approval = onPhone("Gone");
  const auto result = relay.waitForResult(relay.decide(approval.id, "Don't Allow"));
  ASSERT_TRUE(result) << printed();
  EXPECT_EQ(result->status, kAcceptedStatus) << result->error.value_or("");
  EXPECT_TRUE(program.isRunning());
}

TEST_P(OwnWindowEndToEnd, TheWindowOfTheStartDoesNotCoverAPrompt) {
  QUILLARD_SKIP_WITHOUT(GetParam());
  auto program = desktop.launch("gtk3_prompt", prompt("Waiting", {"Don't Allow", "Allow"}));
  ASSERT_TRUE(program.waitForOutput("ready")) << program.errors();
  startAgent();
  (void)onPhone("Waiting");
  const auto windows = windowsOfDesktop();
  EXPECT_TRUE(waitFor([&] {
    const auto list = windows->snapshot().windows;
    const auto of = [&](pid_t process) {
      return std::find_if(list.begin(), list.end(),
                          [&](const desktop::Window& window) { return window.processIdentifier == process; });
    };
    const auto own = of(agent.back().pid());
    const bool coversNothing = own == list.end() || own->isHidden || own < of(program.pid());
    return of(program.pid()) != list.end() && coversNothing;
  })) << printed();
}

INSTANTIATE_TEST_SUITE_P(Small, DesktopsEndToEnd, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, DesktopsEndToEnd, kLargeDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, DesktopQuestionEndToEnd, testing::ValuesIn(desktopQuestions()),
                         [](const auto& given) { return given.param.name; });
INSTANTIATE_TEST_SUITE_P(Small, KnownWindowsEndToEnd, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Small, OwnWindowEndToEnd, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, KnownWindowsEndToEnd, testing::Values(DesktopKind::kwin), nameOfKind);

}  // namespace
}  // namespace quillard::test
