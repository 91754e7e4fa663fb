#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/DesktopKinds.h"
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

class ShellEndToEnd : public DesktopsEndToEnd {};

// No window of a program, and none that the desktop tells of.
TEST_P(ShellEndToEnd, ADialogAndANotificationOfTheShellAreOnThePhoneSoon) {
  QUILLARD_SKIP_WITHOUT(GetParam());
  startAgent();
  EXPECT_EQ(desktop.launch("sleep", {"6"}).wait(), 0);  // All that the start set off is over.
  const auto measured = [&](const std::string& title, const std::vector<std::string>& command,
                            std::chrono::milliseconds notShownFor = {}) {
    auto program = desktop.launch(command.front(), {command.begin() + 1, command.end()});
    const auto begin = steady_clock::now();
    const auto approval = onPhone(title);
    const auto duration = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
    std::cout << title << " on the phone after " << duration.count() << " ms\n";
    EXPECT_LT(duration, onThisMachine(longestDelay() + notShownFor)) << title;
    const auto result = relay.waitForResult(relay.decide(approval.id, "Don't Allow"));
    ASSERT_TRUE(result) << printed();
    EXPECT_EQ(result->status, kAcceptedStatus) << result->error.value_or("");
    EXPECT_EQ(program.wait(), 0) << program.errors();
  };
  measured(
      "Allow camera use?",
      {"gdbus", "call", "--session", "--timeout=60", "-d", "org.gnome.Shell", "-o", "/org/freedesktop/portal/desktop",
       "-m", "org.freedesktop.impl.portal.Access.AccessDialog", "/org/freedesktop/portal/desktop/request/1/a", "", "",
       "Allow camera use?", "A program wants it.", "", "{'deny_label': <\"Don't Allow\">, 'grant_label': <'Allow'>}"});
  // GNOME shows one notification at a time, for four seconds: the agent's own about the dialog comes first.
  constexpr std::chrono::milliseconds kAnotherNotification{4000};
  measured("Permission",
           {"notify-send", "-u", "critical", "-A", "allow=Allow", "-A", "deny=Don't Allow", "--wait", "Permission",
            "May it go on?"},
           kAnotherNotification);
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
INSTANTIATE_TEST_SUITE_P(Large, ShellEndToEnd, testing::Values(DesktopKind::gnome), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Small, KnownWindowsEndToEnd, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Small, OwnWindowEndToEnd, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, KnownWindowsEndToEnd, testing::Values(DesktopKind::kwin), nameOfKind);

}  // namespace
}  // namespace quillard::test
