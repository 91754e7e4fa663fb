#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "contract/desktop/PromptAgent.h"
#include "desktop/DesktopKinds.h"
#include "desktop/InstalledPrograms.h"
#include "desktop/LinuxDesktopBinding.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "private-desktop/DesktopBus.h"

// What Plasma itself asks, on a session of its own: read, and answered from afar.
namespace quillard::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;

std::string libexec(const std::string& name) { return installedProgram(name).value_or(name); }

constexpr std::chrono::seconds kShellTimeout{60};

class Plasma : public testing::Test {
 protected:
  void SetUp() override {
    QUILLARD_SKIP_WITHOUT(DesktopKind::kwin);
    begin({.kind = DesktopKind::kwin});
  }

  void begin(const PrivateDesktop::Options& options) {
    agent.reset();
    binding = std::make_unique<LinuxDesktopBinding>("qt_prompt", options);
    agent = std::make_unique<PromptAgent>(*binding, linuxPromptSupplement());
  }

  [[nodiscard]] PrivateDesktop& desktop() { return binding->privateDesktop(); }

  // Starts a program of the desktop, and waits until it owns `name`.
  void start(const std::string& program, const std::string& name) {
    programs.push_back(desktop().launch(program, {}, {{"QT_LOGGING_RULES", "*=false"}}));
    DesktopBus bus(desktop().sessionBusAddress());
    ASSERT_TRUE(waitFor([&] { return bus.isNameOwned(name) || !programs.back().isRunning(); }, kShellTimeout));
    ASSERT_TRUE(programs.back().isRunning()) << programs.back().errors();
  }

  [[nodiscard]] std::optional<PendingApproval> promptWith(const std::string& line) {
    std::optional<PendingApproval> found;
    const bool isFound = binding->eventually([&] {
      for (auto& each : agent->scan()) {
        const bool isIt =
            std::find(each.messageLines.begin(), each.messageLines.end(), line) != each.messageLines.end();
        if (isIt || each.windowTitle == line) found = std::move(each);
      }
      return found.has_value();
    });
    EXPECT_TRUE(isFound) << line;
    return found;
  }

  std::unique_ptr<LinuxDesktopBinding> binding;
  std::unique_ptr<PromptAgent> agent;
  std::vector<DesktopProgram> programs;
};

std::vector<std::string> labelsOf(const PendingApproval& prompt) {
  std::vector<std::string> labels;
  for (const auto& button : prompt.buttons) labels.push_back(button.label);
  return labels;
}

// It ignores the labels that it was handed.
TEST_F(Plasma, TheQuestionOfThePortalIsAnsweredEitherWay) {
  ASSERT_NO_FATAL_FAILURE(start(libexec("xdg-desktop-portal-kde"), "org.freedesktop.impl.portal.desktop.kde"));
  for (const auto& [label, answer] : {std::pair{"Cancel", "(uint32 1,"}, std::pair{"OK", "(uint32 0,"}}) {
    auto request = desktop().launch(
        "gdbus", {"call", "--session", "--timeout=60", "-d", "org.freedesktop.impl.portal.desktop.kde", "-o",
                  "/org/freedesktop/portal/desktop", "-m", "org.freedesktop.impl.portal.Access.AccessDialog",
                  "/org/freedesktop/portal/desktop/request/1/a", "", "", "Allow camera use?",
                  "A program wants to use the camera.", "It can be changed later.",
                  "{'deny_label': <\"Don't Allow\">, 'grant_label': <'Allow'>}"});
    const auto prompt = promptWith("Allow camera use?");
    ASSERT_TRUE(prompt) << request.errors();
    EXPECT_THAT(labelsOf(*prompt), testing::UnorderedElementsAre("OK", "Cancel"));
    EXPECT_THAT(prompt->messageLines, IsSupersetOf({"A program wants to use the camera.", "It can be changed later."}));
    EXPECT_EQ(agent->press(*prompt, label), std::nullopt);
    EXPECT_EQ(request.wait(), 0) << request.errors();
    EXPECT_THAT(request.output(), testing::StartsWith(answer));
  }
}

TEST_F(Plasma, ANotificationWithButtonsIsAnsweredAndOneWithoutIsNone) {
  ASSERT_NO_FATAL_FAILURE(start(libexec("kactivitymanagerd"), "org.kde.ActivityManager"));
  ASSERT_NO_FATAL_FAILURE(start("plasmashell", "org.freedesktop.Notifications"));
  for (const std::string label : {"Don't Allow", "Allow"}) {
    auto sender = desktop().launch("notify-send", {"-u", "critical", "-A", "allow=Allow", "-A", "deny=Don't Allow",
                                                   "--wait", "Permission " + label, "May it go on?"});
    const auto prompt = promptWith("Permission " + label);
    ASSERT_TRUE(prompt) << sender.errors();
    EXPECT_THAT(labelsOf(*prompt), IsSupersetOf({"Allow", "Don't Allow"}));
    EXPECT_THAT(prompt->messageLines, Contains(testing::HasSubstr("May it go on?")));
    EXPECT_EQ(agent->press(*prompt, label), std::nullopt);
    EXPECT_EQ(sender.wait(), 0) << sender.errors();
    EXPECT_EQ(sender.output(), label == "Allow" ? "allow\n" : "deny\n");
  }
  auto news = desktop().launch("notify-send", {"-u", "critical", "Delete it?", "May it go on?"});
  EXPECT_EQ(news.wait(), 0) << news.errors();
  EXPECT_THAT(agent->scan(), IsEmpty());
}

TEST_F(Plasma, TheQuestionForAPasswordOfAnAdministratorIsDismissed) {
  begin({.kind = DesktopKind::kwin, .systemServices = {{"org.freedesktop.PolicyKit1", POLICY_AUTHORITY}}});
  programs.push_back(desktop().launch(libexec("polkit-kde-authentication-agent-1"), {},
                                      {{"LD_PRELOAD", SESSION_STUB}, {"QT_LOGGING_RULES", "*=false"}}));
  const std::string line = "Authentication is needed to run a program as another user";
  // It comes up in steps, each of which makes another prompt of it: the name of its field, then its whole title.
  std::optional<PendingApproval> prompt;
  (void)binding->eventually([&] {
    prompt = promptWith(line);
    return prompt && prompt->windowTitle.ends_with("PolicyKit1 KDE Agent") &&
           testing::Matches(Contains("Password for root:"))(prompt->messageLines);
  });
  ASSERT_TRUE(prompt) << programs.back().errors();
  EXPECT_TRUE(prompt->requiresDirectAccess);
  EXPECT_THAT(labelsOf(*prompt), Contains("Cancel"));
  EXPECT_EQ(agent->press(*prompt, "Cancel"), std::nullopt);
  EXPECT_THAT(agent->scan(), IsEmpty());
}

}  // namespace
}  // namespace quillard::test
