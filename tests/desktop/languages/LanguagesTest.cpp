#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "click/ClickExecutor.h"
#include "click/semantics/DialogButtonSemantics.h"
#include "desktop/LinuxDesktopBinding.h"
#include "desktop/languages/LanguageWindows.h"
#include "detection/DialogDetector.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/LongTests.h"
#include "support/TemporaryFolder.h"

// Real windows in eight languages on private desktops: what the agent makes of each, beside what it makes of the same
// window in English. Prints a table.
namespace quillard::test {
namespace {

namespace fs = std::filesystem;

struct Language {
  std::string name;
  std::string locale;  // Empty: that of no language, in which programs are English.
};

const Language kEnglish{"English", ""};
// In short runs, only the first ones.
const std::vector<Language> kLanguages{
    {"German", "de_DE.UTF-8"},     {"Japanese", "ja_JP.UTF-8"}, {"Arabic", "ar_EG.UTF-8"}, {"French", "fr_FR.UTF-8"},
    {"Portuguese", "pt_BR.UTF-8"}, {"Polish", "pl_PL.UTF-8"},   {"Chinese", "zh_CN.UTF-8"}};

// Locales under the names of languages. gettext and Qt go by the name alone, so that the C library's own locale serves
// for all of them, and nothing has to be generated.
class Locales {
 public:
  Locales() {
    for (const auto& language : kLanguages) {
      fs::create_directory_symlink("/usr/lib/locale/C.utf8", folder.path() + "/" + language.locale);
    }
  }

  [[nodiscard]] PrivateDesktop::Variables variables(const Language& language) const {
    if (language.locale.empty()) return {};
    return {{"LC_ALL", language.locale}, {"LOCPATH", folder.path()}};
  }

 private:
  TemporaryFolder folder;
};

// What the agent made of one window.
struct Verdict {
  bool isShown = false;  // It came up, and could be read.
  bool isTaken = false;
  bool isForDirectAccess = false;
  std::vector<std::string> labels;         // In the order of the walk, which is the same in every language.
  std::vector<bool> safe;                  // Of each button.
  std::optional<std::size_t> recommended;  // Which button.
};
using Verdicts = std::map<std::string, Verdict>;  // By the window's name.

// The agent's eyes, as the program puts them together.
struct Agent {
  explicit Agent(LinuxDesktopBinding& binding)
      : suppressionStore(binding.userDefaults()),
        stableIDs(binding.random()),
        detector(
            1, suppressionStore,
            {binding.accessibility(), binding.workspace(), binding.windowList(), binding.clock(), binding.environment(),
             binding.console(), stableIDs, linuxPromptSupplement(), &binding.translations()}) {}

  // What two scans in a row have seen.
  std::vector<PendingApproval> scan() {
    (void)detector.scan();
    return detector.scan().approvals;
  }

  ApprovalSuppressionStore suppressionStore;
  StableIDs stableIDs;
  DialogDetector detector;
};

// One language's windows, some at a time on a desktop of their own.
class Survey {
 public:
  Survey(const Language& language, const Locales& locales) : variables(locales.variables(language)) {}

  Verdicts of(const std::vector<LanguageWindow>& windows) {
    constexpr std::size_t kAtOnce = 7;
    Verdicts verdicts;
    for (std::size_t i = 0; i < windows.size(); i += kAtOnce) {
      const auto end = std::min(i + kAtOnce, windows.size());
      ofSome({windows.begin() + static_cast<long>(i), windows.begin() + static_cast<long>(end)}, verdicts);
    }
    return verdicts;
  }

 private:
  void ofSome(const std::vector<LanguageWindow>& windows, Verdicts& verdicts) {
    LinuxDesktopBinding binding("");
    Agent agent(binding);
    std::vector<DesktopProgram> programs;
    std::map<std::int32_t, std::string> names;
    std::vector<DesktopProgram> helpers;
    for (const auto& window : windows) {
      if (!window.authority.empty()) helpers.push_back(startService(binding, window));
      programs.push_back(
          binding.privateDesktop().launch(window.program, window.arguments, variablesOf(binding, window)));
      names[programs.back().pid()] = window.name;
    }
    for (const auto& window : windows) {
      if (!window.caller.empty()) helpers.push_back(call(binding, window));
    }
    const bool areAllShown = binding.eventually([&] { return shown(agent, names) == names.size(); });
    EXPECT_TRUE(areAllShown) << "Not all windows of this group came up: " << missing(verdictsOf(agent, names));
    // What is found is waited for; what is not found has the time that its neighbours take.
    auto found = verdictsOf(agent, names);
    (void)binding.eventually([&] {
      found = verdictsOf(agent, names);
      return std::all_of(windows.begin(), windows.end(), [&](const LanguageWindow& window) {
        const bool isPrompt = window.kind == WindowKind::prompt || window.kind == WindowKind::secret;
        return !isPrompt || found[window.name].isTaken;
      });
    });
    verdicts.merge(found);
  }

  [[nodiscard]] PrivateDesktop::Variables variablesOf(LinuxDesktopBinding& binding,
                                                      const LanguageWindow& window) const {
    auto all = variables;
    if (window.preloaded.empty()) return all;
    all.emplace_back("LD_PRELOAD", window.preloaded);
    all.emplace_back("DBUS_SYSTEM_BUS_ADDRESS", binding.privateDesktop().sessionBusAddress());
    return all;
  }

  static void waitForService(LinuxDesktopBinding& binding, const LanguageWindow& window) {
    DesktopBus bus(binding.privateDesktop().sessionBusAddress());
    EXPECT_TRUE(waitFor([&] { return bus.isNameOwned(window.service); })) << window.name;
  }

  static DesktopProgram startService(LinuxDesktopBinding& binding, const LanguageWindow& window) {
    auto program = binding.privateDesktop().launch(window.authority.front());
    waitForService(binding, window);
    return program;
  }

  DesktopProgram call(LinuxDesktopBinding& binding, const LanguageWindow& window) {
    waitForService(binding, window);
    return binding.privateDesktop().launch(window.caller.front(), {window.caller.begin() + 1, window.caller.end()},
                                           variables);
  }

  // Also a window without a button of its own, which an about window is.
  static bool isRead(const WindowDiagnosis& window) {
    return window.snapshot && !(window.snapshot->buttonLabels.empty() && window.snapshot->messageLines.empty());
  }

  static std::size_t shown(Agent& agent, const std::map<std::int32_t, std::string>& names) {
    std::map<std::int32_t, bool> seen;
    for (const auto& window : agent.detector.diagnose().windows) {
      if (isRead(window) && names.contains(window.processIdentifier)) seen[window.processIdentifier] = true;
    }
    return seen.size();
  }

  static std::string missing(const Verdicts& verdicts) {
    std::string all;
    for (const auto& [name, verdict] : verdicts) {
      if (!verdict.isShown) all += " [" + name + "]";
    }
    return all;
  }

  static Verdicts verdictsOf(Agent& agent, const std::map<std::int32_t, std::string>& names) {
    Verdicts verdicts;
    for (const auto& [process, name] : names) verdicts[name];
    for (const auto& window : agent.detector.diagnose().windows) {
      const auto name = names.find(window.processIdentifier);
      if (name == names.end() || !isRead(window)) continue;
      verdicts[name->second].isShown = true;
      verdicts[name->second].labels = window.snapshot->buttonLabels;
    }
    for (const auto& approval : agent.scan()) {
      const auto name = names.find(approval.processIdentifier);
      if (name != names.end()) verdicts[name->second] = verdictOf(approval);
    }
    return verdicts;
  }

  static Verdict verdictOf(const PendingApproval& approval) {
    Verdict verdict{.isShown = true, .isTaken = true, .isForDirectAccess = approval.requiresDirectAccess};
    for (std::size_t i = 0; i < approval.buttons.size(); ++i) {
      const auto& button = approval.buttons[i];
      verdict.labels.push_back(button.label);
      verdict.safe.push_back(button.isKnownDismissal || DialogButtonSemantics::isSafeDismissal(button.label));
      if (button.label == approval.recommendedButtonLabel && !verdict.recommended) verdict.recommended = i;
    }
    return verdict;
  }

  const PrivateDesktop::Variables variables;
};

// ---- The table

struct Count {
  int prompts = 0, found = 0;
  int others = 0, wronglyTaken = 0;
  int safe = 0, englishSafe = 0, wronglySafe = 0;
  int secrets = 0, marked = 0;
  int recommended = 0, englishRecommended = 0;
};

int safeButtons(const Verdict& verdict) {
  return static_cast<int>(std::count(verdict.safe.begin(), verdict.safe.end(), true));
}

// Safe here, and not the button of the same place in English.
int wronglySafeButtons(const Verdict& verdict, const Verdict& english) {
  int count = 0;
  for (std::size_t i = 0; i < verdict.safe.size(); ++i) {
    const bool isSafeInEnglish = i < english.safe.size() && english.safe[i];
    if (verdict.safe[i] && !isSafeInEnglish) ++count;
  }
  return count;
}

Count countOf(const std::vector<LanguageWindow>& windows, const Verdicts& verdicts, const Verdicts& english) {
  Count count;
  for (const auto& window : windows) {
    const auto& verdict = verdicts.at(window.name);
    const auto& inEnglish = english.at(window.name);
    const bool isPrompt = window.kind == WindowKind::prompt || window.kind == WindowKind::secret;
    ++(isPrompt ? count.prompts : count.others);
    if (verdict.isTaken) ++(isPrompt ? count.found : count.wronglyTaken);
    if (window.kind == WindowKind::secret) {
      ++count.secrets;
      if (verdict.isForDirectAccess) ++count.marked;
    }
    if (verdict.isTaken) count.wronglySafe += wronglySafeButtons(verdict, inEnglish);
    count.safe += safeButtons(verdict);
    count.englishSafe += safeButtons(inEnglish);
    if (inEnglish.recommended) ++count.englishRecommended;
    if (verdict.recommended && verdict.recommended == inEnglish.recommended) ++count.recommended;
  }
  return count;
}

void printHead() {
  std::printf("%-12s %14s %14s %14s %13s %14s %14s\n", "", "prompts found", "others taken", "safe buttons",
              "wrongly safe", "secrets marked", "recommended");
}

void printRow(const std::string& name, const Count& count) {
  const auto part = [](int some, int all) { return std::to_string(some) + " of " + std::to_string(all); };
  std::printf("%-12s %14s %14s %14s %13d %14s %14s\n", name.c_str(), part(count.found, count.prompts).c_str(),
              part(count.wronglyTaken, count.others).c_str(), part(count.safe, count.englishSafe).c_str(),
              count.wronglySafe, part(count.marked, count.secrets).c_str(),
              part(count.recommended, count.englishRecommended).c_str());
  std::fflush(stdout);
}

std::string described(const std::string& name, const Verdict& verdict) {
  std::string text = name + ":";
  for (const auto& label : verdict.labels) text += " [" + label + "]";
  return text;
}

void expectAsInEnglish(const std::vector<LanguageWindow>& windows, const Verdicts& verdicts, const Verdicts& english) {
  for (const auto& window : windows) {
    const auto& verdict = verdicts.at(window.name);
    const auto& inEnglish = english.at(window.name);
    EXPECT_EQ(verdict.isTaken, inEnglish.isTaken) << described(window.name, verdict);
    if (!verdict.isTaken || !inEnglish.isTaken) continue;
    EXPECT_EQ(verdict.isForDirectAccess, inEnglish.isForDirectAccess) << described(window.name, verdict);
    EXPECT_EQ(verdict.safe, inEnglish.safe) << described(window.name, verdict);
    EXPECT_EQ(verdict.recommended, inEnglish.recommended) << described(window.name, verdict);
  }
}

// What a person says of the windows in English, so that a language cannot be as good as English by both being bad.
const std::set<std::string> kSafeInEnglish{"Cancel", "No", "Deny Access"};
// Windows of the others that are taken for prompts today.
const std::set<std::string> kKnownMistakes{"gtk3 recent"};
// Something is destroyed, granted for ever or overwritten in all the others.
const std::set<std::string> kRecommendableInEnglish{"zenity --question"};

void expectEnglishIsRight(const LanguageWindow& window, const Verdict& verdict) {
  const bool isPrompt = window.kind == WindowKind::prompt || window.kind == WindowKind::secret;
  EXPECT_EQ(verdict.isTaken, isPrompt || kKnownMistakes.contains(window.name)) << described(window.name, verdict);
  if (!verdict.isTaken) return;
  if (window.kind == WindowKind::secret) {
    EXPECT_TRUE(verdict.isForDirectAccess) << window.name;
  }
  ASSERT_EQ(verdict.safe.size(), verdict.labels.size());
  for (std::size_t i = 0; i < verdict.labels.size(); ++i) {
    EXPECT_EQ(verdict.safe[i], kSafeInEnglish.contains(verdict.labels[i])) << described(window.name, verdict);
  }
  if (isPrompt) {
    EXPECT_GE(safeButtons(verdict), 1) << described(window.name, verdict);
  }
  if (verdict.recommended) {
    EXPECT_TRUE(kRecommendableInEnglish.contains(window.name))
        << described(window.name, verdict) << ": " << verdict.labels[*verdict.recommended];
  }
}

class Languages : public testing::Test {
 protected:
  static bool translationsAreInstalled() { return fs::exists("/usr/share/locale/de/LC_MESSAGES/gtk30.mo"); }
  static void SetUpTestSuite() {
    if (translationsAreInstalled()) return;
    std::printf("This machine leaves out the translations of its packages: every language is English here.\n");
  }

  void survey(const std::vector<LanguageWindow>& windows, std::size_t languages) {
    const auto english = Survey(kEnglish, locales).of(windows);
    printHead();
    printRow(kEnglish.name, countOf(windows, english, english));
    for (const auto& window : windows) expectEnglishIsRight(window, english.at(window.name));
    for (std::size_t i = 0; i < languages; ++i) {
      SCOPED_TRACE(kLanguages[i].name);
      const auto verdicts = Survey(kLanguages[i], locales).of(windows);
      const auto count = countOf(windows, verdicts, english);
      printRow(kLanguages[i].name, count);
      expectAsInEnglish(windows, verdicts, english);
      EXPECT_EQ(count.wronglySafe, 0);
      EXPECT_EQ(count.marked, count.secrets);
    }
  }

  const Locales locales;
};

TEST_F(Languages, HavePromptsThatAreJudgedAsTheSameOnesInEnglish) {
  survey(languagePrompts(), static_cast<std::size_t>(rounds(3, static_cast<int>(kLanguages.size()))));
}

TEST_F(Languages, HaveOtherWindowsThatAreJudgedAsTheSameOnesInEnglish) {
  survey(languageOthers(), static_cast<std::size_t>(rounds(1, static_cast<int>(kLanguages.size()))));
}

TEST_F(Languages, HaveButtonsThatAreShownAndPressedAsTheyStand) {
  LinuxDesktopBinding binding("");
  Agent agent(binding);
  auto program = binding.privateDesktop().launch("zenity", {"--question"}, locales.variables(kLanguages.front()));
  std::vector<PendingApproval> found;
  ASSERT_TRUE(binding.eventually([&] {
    found = agent.scan();
    return found.size() == 1;
  })) << program.errors();
  const std::string label = translationsAreInstalled() ? "Nein" : "No";
  const auto isSo = [&](const DialogButton& button) { return button.label == label; };
  ASSERT_TRUE(std::any_of(found[0].buttons.begin(), found[0].buttons.end(), isSo));
  const auto resolve = [&] { return agent.detector.resolve(found[0], label); };
  const auto button = resolve().button;
  ASSERT_TRUE(button);
  const auto error = ClickExecutor::click(
      *button, {binding.accessibility(), binding.syntheticEvents(), binding.clock()},
      {.presence = [&] { return agent.detector.presenceOf(found[0]); }, .refreshedButton = resolve});
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(program.wait(), 1) << "zenity says that the question was denied.";
}

}  // namespace
}  // namespace quillard::test
