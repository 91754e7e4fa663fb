#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "contract/desktop/PromptAgent.h"
#include "desktop/LinuxDesktopBinding.h"
#include "desktop/LoopWaiting.h"
#include "foundation/Text.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "private-desktop/FileContents.h"

// The browser as Debian has it, with its own desktop entry: it tells nothing of its windows until it is started with
// the switch that the copy of its entry has.
namespace quillard::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;

constexpr const char* kBrowser = "/usr/bin/chromium";
constexpr const char* kSwitch = "--force-renderer-accessibility";
constexpr std::chrono::seconds kBrowserTimeout{60};

class Chromium : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kBrowser)) GTEST_SKIP() << kBrowser << " is not installed.";
    binding.agentVariables().values = {{"XDG_DATA_HOME", desktop().folder("data")},
                                       {"XDG_DATA_DIRS", "/usr/local/share:/usr/share"}};
    std::ofstream(page()) << "<!doctype html><title>Ask</title><body><script>setTimeout(() => {"
                             "document.title = confirm('May it go on?') ? 'Yes' : 'No'; }, 500)</script>";
  }

  [[nodiscard]] PrivateDesktop& desktop() { return binding.privateDesktop(); }
  [[nodiscard]] std::string page() { return desktop().folder("home") + "/ask.html"; }
  [[nodiscard]] std::string ownEntry() { return desktop().folder("data") + "/applications/chromium.desktop"; }

  // A command line of the entry, with what it takes to run alone, as root and without a graphics card.
  [[nodiscard]] DesktopProgram start(std::vector<std::string> command) {
    command.insert(command.end(), {"--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                                   "--no-default-browser-check", "--disable-background-networking",
                                   "--disable-component-update", "--disable-sync", "--password-store=basic",
                                   "--user-data-dir=" + desktop().folder("home") + "/profile", "file://" + page()});
    return desktop().launch(command.front(), {command.begin() + 1, command.end()});
  }

  // As it is named among the programs that cannot be read. Absent: it is not.
  [[nodiscard]] std::optional<platform::UnreadableProgram> named() {
    const auto found = binding.capabilities().unreadablePrograms();
    if (!found.isKnown()) return std::nullopt;
    for (const auto& program : found.value()) {
      if (text::lowercased(program.name).find("chromium") != std::string::npos) return program;
    }
    return std::nullopt;
  }

  // The words of the first command line, without what stands for files.
  [[nodiscard]] static std::vector<std::string> commandOf(const std::string& entry) {
    std::istringstream lines{entry};
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("Exec=")) continue;
      std::istringstream words{line.substr(5)};
      std::vector<std::string> command;
      for (std::string word; words >> word;) {
        if (!word.starts_with("%")) command.push_back(word);
      }
      return command;
    }
    return {};
  }

  LinuxDesktopBinding binding{""};
  PromptAgent agent{binding, linuxPromptSupplement()};
};

TEST_F(Chromium, IsNamedUntilItsEntryIsMadeReadableAndThenItsPromptIsAnswered) {
  std::optional<platform::UnreadableProgram> program;
  {
    auto browser = start({kBrowser});
    ASSERT_TRUE(waitInLoop(
        [&] {
          program = named();
          return program.has_value();
        },
        kBrowserTimeout))
        << browser.errors();
    EXPECT_EQ(program->startEntry, "chromium");
    EXPECT_THAT(program->remedy, HasSubstr(kSwitch));
    EXPECT_TRUE(agent.scan().empty()) << "The page asks, and nobody can see it.";
  }

  EXPECT_EQ(binding.readableStarts().change(program->startEntry), std::nullopt);
  const auto command = commandOf(privatedesktop::fileContents(ownEntry()));
  ASSERT_THAT(command, IsSupersetOf({std::string(kBrowser), std::string(kSwitch)}));
  auto browser = start(command);
  std::vector<PendingApproval> prompts;
  ASSERT_TRUE(waitInLoop(
      [&] {
        prompts = agent.scan();
        return prompts.size() == 1;
      },
      kBrowserTimeout))
      << browser.errors();
  EXPECT_THAT(prompts[0].messageLines, Contains(HasSubstr("May it go on?")));
  std::vector<std::string> labels;
  for (const auto& button : prompts[0].buttons) labels.push_back(button.label);
  EXPECT_THAT(labels, IsSupersetOf({"OK", "Cancel"}));
  EXPECT_EQ(named(), std::nullopt);
  EXPECT_EQ(agent.press(prompts[0], "Cancel"), std::nullopt);
  EXPECT_TRUE(waitInLoop([&] {
    const auto windows = binding.windows().snapshot().windows;
    return std::any_of(windows.begin(), windows.end(), [](const auto& each) { return each.name.starts_with("No"); });
  })) << "The page heard the answer.";

  EXPECT_EQ(binding.readableStarts().undo("chromium"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(ownEntry()));
  EXPECT_TRUE(binding.readableStarts().changed().empty());
}

}  // namespace
}  // namespace quillard::test
