#include <algorithm>
#include <chrono>
#include <csignal>
#include <initializer_list>
#include <map>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "contract/desktop/PromptAgent.h"
#include "desktop/ClientList.h"
#include "desktop/DesktopKinds.h"
#include "desktop/LinuxDesktopBinding.h"
#include "desktop/SampleClient.h"
#include "desktop/SharedDesktop.h"
#include "desktop/VerdictTable.h"
#include "detection/DirectAccess.h"
#include "detection/PromptReader.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "private-desktop/DesktopBus.h"
#include "support/MachineLoad.h"

// The detector on a real desktop: which windows of real programs are prompts, and what is read of them.
namespace quillard::test {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;

std::string accessOf(const PendingApproval& approval) {
  if (!approval.requiresDirectAccess) return kFromAfar;
  if (approval.directAccessReason == notUnderstoodReason()) return kNotUnderstood;
  return approval.directAccessReason == secretRequiredReason() ? kSecret : kSettings;
}

// The buttons as they stand on the screen: by rows, each from left to right.
std::vector<std::string> labelsInReadingOrder(const PendingApproval& approval) {
  auto buttons = approval.buttons;
  std::sort(buttons.begin(), buttons.end(), [](const auto& a, const auto& b) {
    return std::pair{a.y, a.x} < std::pair{b.y, b.x};
  });
  std::vector<std::string> labels;
  for (const auto& button : buttons) labels.push_back(button.label);
  return labels;
}

Prompt promptOf(const PendingApproval& approval) {
  return {.title = approval.windowTitle,
          .lines = approval.messageLines,
          .buttons = labelsInReadingOrder(approval),
          .recommended = approval.recommendedButtonLabel.value_or(""),
          .access = accessOf(approval)};
}

// A desktop, and the agent looking at it.
class World {
 public:
  explicit World(const PrivateDesktop::Options& options = {}) : binding("", options) {}
  explicit World(PrivateDesktop& shared) : binding("", shared) {}

  PrivateDesktop& desktop() { return binding.privateDesktop(); }

  // What every scan says of the windows that it looked at, for messages of failed tests.
  std::string diagnostics() {
    DesktopEnvironment variables;
    variables.values["QUILLARD_DIALOG_DIAGNOSTICS"] = "1";
    platform::simulated::SimulatedConsole console;
    DialogDetector detector{1,
                            agent.suppressionStore,
                            {binding.accessibility(), binding.workspace(), binding.windowList(), binding.clock(),
                             variables, console, agent.stableIDs, linuxPromptSupplement()}};
    (void)detector.scan();
    std::string all;
    for (const auto& line : console.lines()) all += line + "\n";
    return all;
  }

  // Waits until scans find exactly so many prompts, and no fewer or more.
  std::vector<PendingApproval> prompts(std::size_t count) {
    std::vector<PendingApproval> found;
    const bool isFound = binding.eventually([&] {
      found = agent.scan();
      return found.size() == count;
    });
    EXPECT_TRUE(isFound) << found.size() << " prompts instead of " << count << "\n" << diagnostics();
    return found;
  }

  // Whether some window can be read, down to a button with this label and a place.
  bool showsButton(const std::string& label) {
    return binding.eventually([&] {
      const auto scope = binding.accessibility().beginReadScope();
      for (const auto& application : binding.workspace().runningApplications()) {
        const auto element = binding.accessibility().createApplication(application.processIdentifier);
        for (const auto& window : AXHelpers::windows(*scope, element)) {
          for (const auto& inner : AXHelpers::deeplyNestedChildren(*scope, window, 120)) {
            const auto button = PromptReader::pressableButton(*scope, inner);
            if (button && button->label == label && button->width > 1) return true;
          }
        }
      }
      return false;
    });
  }

  LinuxDesktopBinding binding;
  PromptAgent agent{binding, linuxPromptSupplement()};
};

struct CaseOn {
  DesktopKind kind;
  Case shown;

  [[nodiscard]] std::string name() const {
    return kind == DesktopKind::openbox ? shown.name() : privatedesktop::nameOf(kind) + "_" + shown.name();
  }
};

void PrintTo(const CaseOn& each, std::ostream* out) { *out << each.name() << ": " << each.shown; }

// What stands on what a desktop knows of windows (types, modality, owners, titles), and one plain question for each
// toolkit.
bool restsOnTheDesktop(const Case& each) {
  const auto& name = each.row.name;
  return name.starts_with("FrameO") || name == "FrameThatIsModal" || name == "MessageBoxWithoutATitle" ||
         name == "PromptInsideAWindow";
}

std::vector<CaseOn> casesOn(std::initializer_list<DesktopKind> kinds, bool (*isMeant)(const Case&)) {
  std::vector<CaseOn> found;
  for (const auto kind : kinds) {
    for (const auto& each : casesOf(verdictTable())) {
      if (isMeant(each)) found.push_back({kind, each});
    }
  }
  return found;
}

bool isAny(const Case& /*each*/) { return true; }

class Verdict : public testing::TestWithParam<CaseOn> {
 protected:
  void SetUp() override { QUILLARD_SKIP_WITHOUT(GetParam().kind); }
  static void TearDownTestSuite() { shared.clear(); }

  static PrivateDesktop& desktopOf(DesktopKind kind) {
    return shared.try_emplace(kind, PrivateDesktop::Options{.kind = kind}).first->second.get();
  }

  inline static std::map<DesktopKind, SharedDesktop> shared;
};

TEST_P(Verdict, IsTheOneOfTheTable) {
  const auto& row = GetParam().shown.row;
  const auto& program = GetParam().shown.program;
  World world(desktopOf(GetParam().kind));
  const auto running = world.desktop().launch(program, row.arguments);
  if (!row.prompt) {
    ASSERT_TRUE(world.showsButton(row.sign)) << running.errors() << world.diagnostics();
    for (int i = 0; i < 3; ++i) {
      for (const auto& found : world.agent.scan()) ADD_FAILURE() << promptOf(found) << world.diagnostics();
    }
    return;
  }
  std::vector<PendingApproval> found;
  const auto shown = [&] {
    auto prompt = promptOf(found[0]);
    const auto& lines = row.prompt->lines;
    if (lines == kWhatever) prompt.lines = lines;
    return prompt;
  };
  const auto isAsExpected = [&] {
    found = world.agent.scan();
    return found.size() == 1 && shown() == *row.prompt;
  };
  // Twice: a window that has just come up may still be on its way to its place.
  const bool isRight = world.binding.eventually([&] {
    if (!isAsExpected()) return false;
    return isAsExpected();
  });
  if (isRight) return;
  ASSERT_EQ(found.size(), 1U) << running.errors() << world.diagnostics();
  EXPECT_EQ(shown(), *row.prompt) << world.diagnostics();
}

std::string nameOfCase(const testing::TestParamInfo<CaseOn>& each) { return each.param.name(); }

INSTANTIATE_TEST_SUITE_P(Table, Verdict, testing::ValuesIn(casesOn({DesktopKind::openbox}, isAny)), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Sway, Verdict, testing::ValuesIn(casesOn({DesktopKind::sway}, restsOnTheDesktop)), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Large, Verdict,
                         testing::ValuesIn(casesOn({DesktopKind::sway, DesktopKind::xfwm4, DesktopKind::marco,
                                                    DesktopKind::kwin, DesktopKind::gnome},
                                                   isAny)),
                         nameOfCase);

// What takes more than a program and its arguments.

constexpr const char* kSamples[] = {"gtk3_prompt", "gtk4_prompt", "qt_prompt"};

// `at`: empty, where the window manager likes.
std::vector<std::string> question(const std::string& title, const std::string& at = "100,100") {
  std::vector<std::string> arguments{"--kind",        "dialog",   "--title",     title,      "--text",
                                     "May it go on?", "--button", "Don't Allow", "--button", "Allow"};
  if (!at.empty()) arguments.insert(arguments.end(), {"--at", at});
  return arguments;
}

Prompt promptOfQuestion(const std::string& title) {
  return {.title = title, .lines = {"May it go on?"}, .buttons = {"Don't Allow", "Allow"}, .recommended = "Allow"};
}

TEST(Verdicts, OfAMinimisedWindowAreTheSame) {
  for (const char* sample : kSamples) {
    SCOPED_TRACE(sample);
    World world;
    auto arguments = question("Small");
    arguments.emplace_back("--minimised");
    const auto program = world.desktop().launch(sample, arguments);
    ClientList list(world.desktop());
    ASSERT_TRUE(world.binding.eventually([&] {
      const auto own = list.windowsOf(program.pid());
      return own.size() == 1 && own[0].states.contains("_NET_WM_STATE_HIDDEN");
    }));
    const auto found = world.prompts(1);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(promptOf(found[0]), promptOfQuestion("Small"));
  }
}

TEST(Verdicts, OfAWindowPartlyOffTheScreenAreTheSame) {
  constexpr int kScreenWidth = 160;  // Window managers keep windows on the screen where they fit.
  for (const char* sample : kSamples) {
    SCOPED_TRACE(sample);
    World world({.width = kScreenWidth, .height = 120});
    const auto program = world.desktop().launch(sample, question("Wide", ""));
    const auto found = world.prompts(1);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(promptOf(found[0]), promptOfQuestion("Wide"));
    EXPECT_TRUE(std::any_of(found[0].buttons.begin(), found[0].buttons.end(), [](const auto& button) {
      return button.x < 0 || button.x + button.width > kScreenWidth;
    })) << "It has a button that is not to be seen, or only in part.";
  }
}

TEST(Verdicts, OfAWindowOnAnotherDesktopAreTheSame) {
  for (const char* sample : kSamples) {
    SCOPED_TRACE(sample);
    World world;
    const auto program = world.desktop().launch(sample, question("Elsewhere"));
    ASSERT_EQ(world.prompts(1).size(), 1U);
    SampleClient client{world.desktop().display()};
    client.switchToDesktop(1);
    EXPECT_TRUE(world.binding.eventually([&] { return !world.binding.workspace().frontmostApplication(); }));
    const auto found = world.prompts(1);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(promptOf(found[0]), promptOfQuestion("Elsewhere"));
  }
}

TEST(Verdicts, TellTwoIdenticalPromptsOfTwoProgramsApart) {
  for (const char* sample : kSamples) {
    SCOPED_TRACE(sample);
    World world;
    const auto first = world.desktop().launch(sample, question("Twin"));
    ASSERT_EQ(world.prompts(1).size(), 1U);
    // In another place: what is alike down to its place cannot be told apart.
    const auto second = world.desktop().launch(sample, question("Twin", "500,400"));
    const auto found = world.prompts(2);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(promptOf(found[0]), promptOf(found[1]));
    EXPECT_NE(found[0].id, found[1].id);
    EXPECT_NE(found[0].processIdentifier, found[1].processIdentifier);
  }
}

TEST(Verdicts, OfAProgramThatStandsStillAreNoneAndOthersComeInTime) {
  World world;
  std::vector<DesktopProgram> programs;
  for (const char* sample : kSamples) programs.push_back(world.desktop().launch(sample, question("Up")));
  ASSERT_EQ(world.prompts(3).size(), 3U);
  for (auto& stopped : programs) {
    stopped.stop();
    (void)world.agent.scan();
    const auto begin = std::chrono::steady_clock::now();
    const auto outcome = world.agent.detector.scan();
    const auto took = std::chrono::steady_clock::now() - begin;
    // On a busy machine another one may miss its time-out, too, and is then named as well.
    EXPECT_EQ(outcome.approvals.size() + outcome.unreadProcesses.size(), 3U);
    EXPECT_THAT(outcome.unreadProcesses, Contains(stopped.pid()));
    for (const auto& each : outcome.approvals) EXPECT_NE(each.processIdentifier, stopped.pid());
    EXPECT_LT(took, onThisMachine(2s)) << "It is waited for once, not once for each of its elements.";
    stopped.resume();
    EXPECT_EQ(world.prompts(3).size(), 3U);
  }
}

TEST(Verdicts, AreQuietWhenProgramsStopOrDieInMidScan) {
  World world;
  std::vector<DesktopProgram> programs;
  for (const char* sample : kSamples) {
    programs.push_back(world.desktop().launch(sample, question("Up")));
    programs.push_back(world.desktop().launch(sample, question("Up too")));
  }
  ASSERT_EQ(world.prompts(6).size(), 6U);
  std::size_t left = 6;
  for (std::size_t i = 0; i < programs.size(); i += 2, --left) {
    const pid_t victim = programs[i].pid();
    const pid_t pausing = programs[i + 1].pid();
    std::thread disturbance([&] {
      std::this_thread::sleep_for(1ms);
      ::kill(pausing, SIGSTOP);
      std::this_thread::sleep_for(3ms);
      ::kill(victim, SIGKILL);
    });
    for (int scans = 0; scans < 3; ++scans) {
      for (const auto& each : world.agent.detector.scan().approvals) {
        // Whole or not at all.
        EXPECT_EQ(promptOf(each).buttons, (std::vector<std::string>{"Don't Allow", "Allow"})) << each.windowTitle;
      }
    }
    disturbance.join();
    ::kill(pausing, SIGCONT);
    EXPECT_EQ(world.prompts(left - 1).size(), left - 1);
  }
  EXPECT_TRUE(world.binding.printedLines().empty());
}

TEST(Verdicts, NameAProgramInFullHoweverLongItsName) {
  for (const char* sample : kSamples) {
    SCOPED_TRACE(sample);
    World world;
    const std::string name = "a-name-of-more-than-fifteen-bytes-" + std::string(sample);
    const auto program = world.desktop().launch(world.desktop().copyProgram(sample, name), question("Named"));
    const auto found = world.prompts(1);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].appName, name);
  }
}

TEST(Verdicts, NameAProgramAsItsDesktopEntryDoes) {
  World world;
  world.binding.agentVariables().values = {{"XDG_DATA_HOME", world.desktop().folder("data")},
                                           {"XDG_DATA_DIRS", "/nowhere"}};
  const std::string path = world.desktop().copyProgram("qt_prompt", "asker");
  world.desktop().addDesktopEntry("org.example.Asker",
                                  "[Desktop Entry]\nType=Application\nName=The Asker\nExec=" + path + "\n");
  const auto program = world.desktop().launch(path, question("Named"));
  const auto found = world.prompts(1);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].appName, "The Asker");
  EXPECT_EQ(found[0].bundleIdentifier, "org.example.Asker");
}

// A keyring asks for a new password before it keeps anything.
void askForANewKeyring(DesktopBus& bus) {
  constexpr const char* kService = "org.freedesktop.secrets";
  sd_bus_message* reply = nullptr;
  const char* collection = nullptr;
  const char* prompt = nullptr;
  sd_bus_call_method(bus.get(), kService, "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
                     "CreateCollection", nullptr, &reply, "a{sv}s", 1, "org.freedesktop.Secret.Collection.Label", "s",
                     "Of a test", "");
  ASSERT_NE(reply, nullptr);
  ASSERT_GE(sd_bus_message_read(reply, "oo", &collection, &prompt), 0);
  sd_bus_call_method(bus.get(), kService, prompt, "org.freedesktop.Secret.Prompt", "Prompt", nullptr, nullptr, "s", "");
  sd_bus_message_unref(reply);
}

TEST(Verdicts, OfAKeyringsOwnPromptIsThatItNeedsAPersonThere) {
  World world({.secretService = PrivateDesktop::Options::SecretService::locked});
  DesktopBus bus(world.desktop().sessionBusAddress());
  askForANewKeyring(bus);
  const auto found = world.prompts(1);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].appName, "Access Prompt") << "as its desktop entry says";
  EXPECT_EQ(promptOf(found[0]), keyringPrompt()) << world.diagnostics();
  EXPECT_EQ(world.agent.press(found[0], "Cancel"), std::nullopt);
}

}  // namespace
}  // namespace quillard::test
