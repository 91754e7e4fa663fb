#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include <gmock/gmock.h>

#include "contract/desktop/PromptAgent.h"
#include "desktop/DesktopKinds.h"
#include "desktop/InstalledPrograms.h"
#include "desktop/LinuxDesktopBinding.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "private-desktop/DesktopBus.h"

// Notifications with buttons by the programs of other desktops, which are windows of a toolkit: read, and answered from
// afar where their buttons do what they say.
namespace quillard::test {
namespace {

struct Bubbles {
  std::string name;
  DesktopKind kind;
  std::string program;  // Below /usr, as Debian has it.
  bool takesPresses;
};

class BubblesOf : public testing::TestWithParam<Bubbles> {
 protected:
  void SetUp() override {
    QUILLARD_SKIP_WITHOUT(GetParam().kind);
    const auto program = installedProgram(GetParam().program);
    if (!program) GTEST_SKIP() << GetParam().program << " is not installed.";
    binding = std::make_unique<LinuxDesktopBinding>("gtk3_prompt", PrivateDesktop::Options{.kind = GetParam().kind});
    agent = std::make_unique<PromptAgent>(*binding, linuxPromptSupplement());
    server.emplace(binding->privateDesktop().launch(*program));
    DesktopBus bus(binding->privateDesktop().sessionBusAddress());
    ASSERT_TRUE(waitFor([&] { return bus.isNameOwned("org.freedesktop.Notifications"); })) << server->errors();
  }

  [[nodiscard]] std::optional<PendingApproval> promptWith(const std::string& line) {
    std::optional<PendingApproval> found;
    const bool isFound = binding->eventually([&] {
      for (auto& each : agent->scan()) {
        const auto& lines = each.messageLines;
        if (std::find(lines.begin(), lines.end(), line) != lines.end() || each.windowTitle == line) found = each;
      }
      return found.has_value();
    });
    EXPECT_TRUE(isFound) << line;
    return found;
  }

  std::unique_ptr<LinuxDesktopBinding> binding;
  std::unique_ptr<PromptAgent> agent;
  std::optional<DesktopProgram> server;
};

TEST_P(BubblesOf, AskAndAreAnswered) {
  auto sender =
      binding->privateDesktop().launch("notify-send", {"-t", "0", "-u", "critical", "-A", "allow=Allow", "-A",
                                                       "deny=Don't Allow", "--wait", "Permission", "May it go on?"});
  const auto prompt = promptWith("May it go on?");
  ASSERT_TRUE(prompt) << sender.errors();
  std::vector<std::string> labels;
  for (const auto& button : prompt->buttons) labels.push_back(button.label);
  EXPECT_THAT(labels, testing::IsSupersetOf({"Allow", "Don't Allow"}));
  const auto failure = agent->press(*prompt, "Don't Allow");
  if (GetParam().takesPresses) {
    EXPECT_EQ(failure, std::nullopt);
    EXPECT_EQ(sender.wait(), 0) << sender.errors();
    EXPECT_EQ(sender.output(), "deny\n");
  } else {
    EXPECT_NE(failure, std::nullopt) << "A press would do nothing: the phone has to learn that.";
    EXPECT_TRUE(sender.isRunning());
    EXPECT_EQ(sender.output(), "");
  }
}

// Some show all of them in one window.
TEST_P(BubblesOf, EachIsAnsweredWhileOthersAreUp) {
  const auto ask = [&](const std::string& text) {
    return binding->privateDesktop().launch("notify-send", {"-t", "0", "-u", "critical", "-A", "allow=Allow", "-A",
                                                            "deny=Don't Allow", "--wait", "Permission", text});
  };
  auto first = ask("May it go on?");
  const auto prompt = promptWith("May it go on?");
  ASSERT_TRUE(prompt) << first.errors();
  auto second = ask("May it go further?");
  auto note = binding->privateDesktop().launch("notify-send", {"-u", "critical", "A note", "It asks nothing."});
  EXPECT_EQ(note.wait(), 0);
  const auto next = promptWith("May it go further?");
  ASSERT_TRUE(next) << second.errors();
  EXPECT_EQ(next->messageLines.end(), std::find(next->messageLines.begin(), next->messageLines.end(), "May it go on?"));
  if (!GetParam().takesPresses) {
    EXPECT_NE(agent->press(*next, "Allow"), std::nullopt);
    return;
  }
  EXPECT_EQ(agent->press(*prompt, "Don't Allow"), std::nullopt) << "It is what it was, wherever it lies by now.";
  EXPECT_EQ(first.wait(), 0) << first.errors();
  EXPECT_EQ(first.output(), "deny\n");
  EXPECT_TRUE(second.isRunning());
  EXPECT_EQ(agent->press(*next, "Allow"), std::nullopt);
  EXPECT_EQ(second.wait(), 0) << second.errors();
  EXPECT_EQ(second.output(), "allow\n");
}

INSTANTIATE_TEST_SUITE_P(Desktops, BubblesOf,
                         testing::Values(Bubbles{"xfce", DesktopKind::xfwm4, "xfce4/notifyd/xfce4-notifyd", true},
                                         Bubbles{"lxqt", DesktopKind::openbox, "lxqt-notificationd", true},
                                         Bubbles{"mate", DesktopKind::marco,
                                                 "mate-notification-daemon/mate-notification-daemon", false}),
                         [](const auto& given) { return given.param.name; });

}  // namespace
}  // namespace quillard::test
