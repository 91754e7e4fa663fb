#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include "contract/desktop/PromptAgent.h"
#include "desktop/AccessibleTree.h"
#include "desktop/DesktopKinds.h"
#include "desktop/LinuxDesktopBinding.h"
#include "desktop/LoopWaiting.h"
#include "platform/linux/accessibility/WindowEvents.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

// What GNOME Shell itself asks, on a session of its own: read, and answered from afar.
namespace quillard::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

constexpr int kActiveState = 1;

PrivateDesktop::Options gnome() { return {.kind = DesktopKind::gnome, .isShellUnlocked = true}; }

// The session, and the agent on it.
struct GnomeWorld {
  explicit GnomeWorld(const PrivateDesktop::Options& options) : binding("gtk3_prompt", options) {}

  [[nodiscard]] PrivateDesktop& desktop() { return binding.privateDesktop(); }
  // Waits for a prompt of that title.
  [[nodiscard]] std::optional<PendingApproval> prompt(const std::string& title) {
    const auto found = agent.scan(title);
    return found.size() == 1 ? std::optional(found.front()) : std::nullopt;
  }
  // What a method of the shell answers, later; the program ends with it.
  [[nodiscard]] DesktopProgram call(const std::string& path, const std::string& method,
                                    std::vector<std::string> arguments) {
    std::vector<std::string> command{"call", "--session", "--timeout=60", "-d", "org.gnome.Shell", "-o", path, "-m"};
    command.push_back(method);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return desktop().launch("gdbus", command);
  }
  void evaluate(const std::string& script) {
    auto evaluation = call("/org/gnome/Shell", "org.gnome.Shell.Eval", {script});
    EXPECT_EQ(evaluation.wait(), 0) << evaluation.errors();
    EXPECT_THAT(evaluation.output(), testing::StartsWith("(true,"));
  }

  LinuxDesktopBinding binding;
  PromptAgent agent{binding, linuxPromptSupplement()};
};

std::vector<std::string> labelsOf(const PendingApproval& prompt) {
  std::vector<std::string> labels;
  for (const auto& button : prompt.buttons) labels.push_back(button.label);
  return labels;
}

class GnomeShell : public testing::Test {
 protected:
  void SetUp() override { QUILLARD_SKIP_WITHOUT(DesktopKind::gnome); }

  GnomeWorld& start(const PrivateDesktop::Options& options = gnome()) {
    world = std::make_unique<GnomeWorld>(options);
    return *world;
  }

  std::unique_ptr<GnomeWorld> world;
};

DesktopProgram askForTheCamera(GnomeWorld& world) {
  return world.call(
      "/org/freedesktop/portal/desktop", "org.freedesktop.impl.portal.Access.AccessDialog",
      {"/org/freedesktop/portal/desktop/request/1/a", "", "", "Allow camera use?", "A program wants to use the camera.",
       "It can be changed later.", "{'deny_label': <\"Don't Allow\">, 'grant_label': <'Allow'>}"});
}

TEST_F(GnomeShell, ItsStageIsNoPrompt) {
  auto& world = start();
  // Its panel can be read, so that a scan without prompts is not one that found no stage.
  ASSERT_TRUE(waitFor([&] {
    const auto stage = AccessibleTree(world.desktop()).windowNamed("");
    const auto isPanel = [](const Accessible& object) { return object.name == "Activities"; };
    return stage && !stage->findAllShowing(isPanel).empty();
  }));
  EXPECT_THAT(world.agent.scan(), IsEmpty());
}

TEST_F(GnomeShell, TheQuestionOfThePortalIsAnsweredEitherWay) {
  auto& world = start();
  for (const auto& [label, answer] : {std::pair{"Don't Allow", "(uint32 1,"}, std::pair{"Allow", "(uint32 0,"}}) {
    auto request = askForTheCamera(world);
    const auto prompt = world.prompt("Allow camera use?");
    ASSERT_TRUE(prompt) << request.errors();
    EXPECT_THAT(labelsOf(*prompt), ElementsAre("Allow", "Don't Allow"));
    EXPECT_THAT(prompt->messageLines, IsSupersetOf({"A program wants to use the camera.", "It can be changed later."}));
    EXPECT_EQ(world.agent.press(*prompt, label), std::nullopt);
    EXPECT_EQ(request.wait(), 0) << request.errors();
    EXPECT_THAT(request.output(), testing::StartsWith(answer));
  }
}

TEST_F(GnomeShell, AProgramBesideItsDialogGetsNoKey) {
  auto& world = start();
  auto beside = world.desktop().launch("gtk3_prompt", {"--title", "Beside", "--text", "May it go on?", "--button",
                                                       "Stay", "--button", "Go", "--kind", "dialog"});
  ASSERT_TRUE(beside.waitForOutput("ready")) << beside.errors();
  auto request = askForTheCamera(world);
  const auto prompt = world.prompt("Allow camera use?");
  ASSERT_TRUE(prompt);
  EXPECT_EQ(world.agent.press(*prompt, "Don't Allow"), std::nullopt);
  EXPECT_EQ(request.wait(), 0);
  EXPECT_TRUE(beside.isRunning());
  EXPECT_EQ(beside.output(), "ready\n");
}

TEST_F(GnomeShell, TheEndOfTheSessionIsCalledOff) {
  auto& world = start();
  auto opening = world.call("/org/gnome/SessionManager/EndSessionDialog",
                            "org.gnome.SessionManager.EndSessionDialog.Open", {"0", "0", "60", "[]"});
  const auto prompt = world.prompt("Log Out");
  ASSERT_TRUE(prompt) << opening.errors();
  EXPECT_THAT(labelsOf(*prompt), ElementsAre("Log Out", "Cancel"));
  EXPECT_EQ(world.agent.press(*prompt, "Cancel"), std::nullopt);
  EXPECT_THAT(world.agent.scan(), IsEmpty());
}

TEST_F(GnomeShell, AProgramThatDoesNotAnswerIsWaitedForOrEnded) {
  auto& world = start();
  auto silent = world.desktop().launch("zenity", {"--info", "--title=Silent", "--text=x"});
  ASSERT_TRUE(waitFor([&] {
    const auto window = AccessibleTree(world.desktop()).windowNamed("Silent");
    return window && window->hasState(kActiveState);
  }));
  silent.stop();
  const std::string ask =
      "global.get_window_actors().forEach("
      "actor => actor.meta_window.check_alive(global.display.get_current_time_roundtrip()))";
  for (const std::string label : {"Wait", "Force Quit"}) {
    world.evaluate(ask);
    const auto prompt = world.prompt("“zenity” is not responding.");
    ASSERT_TRUE(prompt);
    EXPECT_THAT(labelsOf(*prompt), testing::UnorderedElementsAre("Force Quit", "Wait"));
    EXPECT_EQ(world.agent.press(*prompt, label), std::nullopt);
    EXPECT_EQ(silent.isRunning(), label == "Wait");
  }
}

TEST_F(GnomeShell, ANotificationWithButtonsIsAnswered) {
  auto& world = start();
  for (const std::string label : {"Don't Allow", "Allow"}) {
    auto sender =
        world.desktop().launch("notify-send", {"-u", "critical", "-A", "allow=Allow", "-A", "deny=Don't Allow",
                                               "--wait", "Permission " + label, "May it go on?"});
    const auto prompt = world.prompt("Permission " + label);
    ASSERT_TRUE(prompt) << sender.errors();
    EXPECT_THAT(labelsOf(*prompt), testing::UnorderedElementsAre("Allow", "Don't Allow"));
    EXPECT_THAT(prompt->messageLines, Contains("May it go on?"));
    EXPECT_EQ(world.agent.press(*prompt, label), std::nullopt);
    EXPECT_EQ(sender.wait(), 0) << sender.errors();
    EXPECT_EQ(sender.output(), label == "Allow" ? "allow\n" : "deny\n");
  }
}

TEST_F(GnomeShell, ANotificationWithoutButtonsIsNone) {
  auto& world = start();
  auto sender = world.desktop().launch("notify-send", {"-u", "critical", "Delete it?", "May it go on?"});
  EXPECT_EQ(sender.wait(), 0) << sender.errors();
  AccessibleTree tree(world.desktop());
  const auto isShown = [&] {
    const auto stage = tree.windowNamed("");
    return stage && stage->find(kLabelRole, "Delete it?") != nullptr;
  };
  EXPECT_TRUE(waitFor(isShown));
  EXPECT_THAT(world.agent.scan(), IsEmpty());
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

TEST_F(GnomeShell, TheKeyringIsDismissedFromAfarAndNeverGranted) {
  auto options = gnome();
  options.secretService = PrivateDesktop::Options::SecretService::locked;
  auto& world = start(options);
  DesktopBus bus(world.desktop().sessionBusAddress());
  const std::string path = promptForANewCollection(bus);
  ASSERT_GT(path.size(), 1U);
  sd_bus_call_method(bus.get(), "org.freedesktop.secrets", path.c_str(), "org.freedesktop.Secret.Prompt", "Prompt",
                     nullptr, nullptr, "s", "");
  const auto prompt = world.prompt("Choose password for new keyring");
  ASSERT_TRUE(prompt);
  EXPECT_TRUE(prompt->requiresDirectAccess);
  EXPECT_EQ(world.agent.press(*prompt, "Cancel"), std::nullopt);
  EXPECT_THAT(world.agent.scan(), IsEmpty());
}

TEST_F(GnomeShell, TheQuestionForAPasswordOfAnAdministratorIsDismissed) {
  auto options = gnome();
  options.shellPreload = SESSION_STUB;
  options.systemServices = {{"org.freedesktop.PolicyKit1", POLICY_AUTHORITY}};
  auto& world = start(options);
  const auto prompt = world.prompt("Authentication Required");
  ASSERT_TRUE(prompt);
  EXPECT_TRUE(prompt->requiresDirectAccess);
  EXPECT_EQ(world.agent.press(*prompt, "Cancel"), std::nullopt);
  EXPECT_THAT(world.agent.scan(), IsEmpty());
}

TEST_F(GnomeShell, WhoIsInFrontIsWhatProgramsSay) {
  auto& world = start();
  auto& accessibility = world.binding.ownAccessibility();
  auto beside = world.desktop().launch("gtk3_prompt", {"--title", "Beside", "--text", "May it go on?", "--button",
                                                       "Stay", "--button", "Go", "--kind", "dialog"});
  ASSERT_TRUE(beside.waitForOutput("ready")) << beside.errors();
  EXPECT_TRUE(waitFor([&] { return accessibility.activeProcess() == beside.pid(); }));
  auto request = askForTheCamera(world);
  EXPECT_TRUE(waitFor([&] { return accessibility.activeProcess() == world.desktop().compositor().pid(); }))
      << "The program beneath says so, too.";
}

TEST_F(GnomeShell, OpeningItsCalendarAgainIsNoHintAndADialogIs) {
  auto& world = start();
  qt::QtExecutors executors;
  int hints = 0;
  const atspi::WindowEvents events([&] { return std::optional(world.desktop().accessibilityBusAddress()); },
                                   {.created = true, .activated = true, .shown = true}, ::getpid(),
                                   executors.mainThread(), [&] { ++hints; });
  const auto pass = [](std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    (void)waitInLoop([&] { return std::chrono::steady_clock::now() >= end; });
  };
  for (const bool isFirst : {true, false}) {
    auto request = askForTheCamera(world);
    EXPECT_TRUE(waitInLoop([&] { return hints > 0; })) << request.errors();
    const auto prompt = world.prompt("Allow camera use?");
    ASSERT_TRUE(prompt);
    EXPECT_EQ(world.agent.press(*prompt, "Don't Allow"), std::nullopt);
    pass(std::chrono::milliseconds{1500});
    hints = 0;
    world.evaluate("Main.panel.statusArea.dateMenu.menu.open()");
    pass(std::chrono::milliseconds{2500});
    // It has an object of the role of a notification, though there is none, which has to be looked at once: now, or
    // when the shell came up.
    EXPECT_LE(hints, isFirst ? 1 : 0);
    world.evaluate("Main.panel.statusArea.dateMenu.menu.close()");
    pass(std::chrono::milliseconds{1500});
    hints = 0;
  }
}

}  // namespace
}  // namespace quillard::test
