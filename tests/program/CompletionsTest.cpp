#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/configuration/Tunables.h"
#include "app/CommandLine.h"
#include "companion/relay/app/BackupCommandLine.h"
#include "companion/relay/app/CheckCommandLine.h"
#include "companion/relay/app/RelayCommandLine.h"
#include "companion/relay/app/RelaySetup.h"
#include "packaging/completions/Completions.h"
#include "packaging/completions/ManualPages.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

// Completions and manual pages say what the command lines read: neither less nor more.
namespace quillard {
namespace {

using completions::CommandDescription;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

CommandDescription agent() {
  completions::KnownValues known;
  for (const auto& tunable : AgentConfiguration::tunables()) {
    known["quillard settings NAME"].emplace_back(tunable.name);
  }
  CommandDescription made;
  app::withCommandLine([&](const CLI::App& program) { made = completions::describe(program, known); });
  return made;
}

CommandDescription relay() {
  CommandDescription made;
  relayserver::withRelayCommandLine([&](const CLI::App& program) { made = completions::describe(program); });
  const auto add = [&made](const CLI::App& program) {
    auto command = completions::describe(program);
    command.name = command.name.substr(command.name.find(' ') + 1);
    made.commands.push_back(std::move(command));
  };
  relayserver::withSetupCommandLine(add);
  relayserver::withCheckCommandLine(add);
  relayserver::withBackupCommandLine(add);
  return made;
}

std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Holds a file of the tree to `made`; with QUILLARD_UPDATE_GOLDEN, writes it.
void expectFile(const std::string& name, const std::string& made) {
  const std::string path = std::string(SOURCE_FOLDER) + "/" + name;
  if (std::getenv("QUILLARD_UPDATE_GOLDEN")) std::ofstream(path, std::ios::binary | std::ios::trunc) << made;
  EXPECT_EQ(textOf(path), made) << name << " is not what the command line says: QUILLARD_UPDATE_GOLDEN=1 writes it.";
}

TEST(Completions, AreMadeFromTheCommandLines) {
  for (const auto& program : {agent(), relay()}) {
    expectFile("packaging/completions/" + program.name + ".bash", bashCompletion(program));
    expectFile("packaging/completions/_" + program.name, zshCompletion(program));
    expectFile("packaging/completions/" + program.name + ".fish", fishCompletion(program));
  }
}

TEST(Completions, KnowEveryCommandAndWhatItTakes) {
  const auto program = agent();
  std::vector<std::string> commands;
  for (const auto& one : program.commands) commands.push_back(one.name);
  EXPECT_THAT(commands, IsSupersetOf({"scan", "relay", "settings", "ask", "answer", "pause", "unpair", "quit"}));
  const auto find = [](const CommandDescription& command, const std::string& name) {
    return *std::find_if(command.commands.begin(), command.commands.end(),
                         [&](const auto& one) { return one.name == name; });
  };
  EXPECT_THAT(find(program, "pause").arguments.at(0).values, ElementsAre("2h", "4h", "tomorrow", "on", "off"));
  EXPECT_THAT(find(program, "settings").arguments.at(0).values, Contains("approval-stale-grace"));
  EXPECT_TRUE(find(program, "record").arguments.at(0).takesPath());
  EXPECT_EQ(find(find(program, "relay"), "set").options.size(), 2U) << "help and the key";
  const auto server = relay();
  EXPECT_GT(server.options.size(), 50U);
  for (const auto& option : server.options) EXPECT_THAT(option.names, Not(Contains("--idle-milliseconds")));
}

// ---- In the shells themselves

std::vector<std::string> outputOf(std::vector<std::string> command) {
  auto environment = test::presentEnvironment();
  environment.emplace_back("LC_ALL=C.UTF-8");
  test::ChildProcess program({.command = std::move(command), .environment = environment, .input = {}});
  std::vector<std::string> lines;
  while (const auto line = program.readLine()) lines.push_back(*line);
  EXPECT_EQ(program.wait(), 0);
  return lines;
}

bool isInstalled(const std::string& shell) { return std::filesystem::exists("/usr/bin/" + shell); }

const std::string kFolder = std::string(SOURCE_FOLDER) + "/packaging/completions/";

// What bash offers for the last of `words`.
std::vector<std::string> bashOffers(const std::vector<std::string>& words) {
  const auto& program = words.front();
  std::string function = "_" + program;
  std::replace(function.begin(), function.end(), '-', '_');
  std::string list;
  for (const auto& word : words) list += " '" + word + "'";
  return outputOf({"bash", "--norc", "-c",
                   "set -u; compopt() { :; }; . '" + kFolder + program + ".bash'; COMP_WORDS=(" + list +
                       "); COMP_CWORD=" + std::to_string(words.size() - 1) + "; " + function +
                       "; ((${#COMPREPLY[@]})) && printf '%s\\n' \"${COMPREPLY[@]}\"; true"});
}

TEST(BashCompletion, OffersCommandsOptionsAndValues) {
  EXPECT_THAT(bashOffers({"quillard", "re"}), ElementsAre("relay", "readable", "record"));
  EXPECT_THAT(bashOffers({"quillard", "relay", ""}), ElementsAre("set", "forget", "show", "test"));
  EXPECT_THAT(bashOffers({"quillard", "relay", "set", "--k"}), ElementsAre("--key"));
  EXPECT_THAT(bashOffers({"quillard", "pause", "t"}), ElementsAre("tomorrow"));
  EXPECT_THAT(bashOffers({"quillard", "settings", "app"}), ElementsAre("approval-stale-grace"));
  EXPECT_THAT(bashOffers({"quillard", "ask", "--button", "relay", "--dead"}), IsEmpty());
  EXPECT_THAT(bashOffers({"quillard", "ask", "--button", "relay", "--de"}),
              ElementsAre("--deny", "--default-on-timeout"));
  EXPECT_THAT(bashOffers({"quillard", "ask", "--button", ""}), IsEmpty()) << "a label is anybody's";
  EXPECT_THAT(bashOffers({"quillard", "ask", "--fallback", ""}), ElementsAre("terminal"));
  EXPECT_THAT(bashOffers({"quillard", "ask", "--fallback", "=", "t"}), ElementsAre("terminal"));
  EXPECT_THAT(bashOffers({"quillard", "ask", "--", "--li"}), IsEmpty()) << "what follows is the question";
  EXPECT_THAT(bashOffers({"quillard-relay", "se"}), ElementsAre("setup"));
  EXPECT_THAT(bashOffers({"quillard-relay", "--log-format", "j"}), ElementsAre("json"));
  EXPECT_THAT(bashOffers({"quillard-relay", "--tls-key", kFolder + "quillard.b"}),
              ElementsAre(kFolder + "quillard.bash"));
}

TEST(ZshCompletion, IsReadByZshAndOffersCommandsOptionsAndValues) {
  if (!isInstalled("zsh")) GTEST_SKIP() << "zsh is not installed";
  // In a terminal of its own (zpty), since completion lives in the line editor.
  const std::string script =
      "zmodload zsh/zpty; zpty z zsh -f -i; r() { zpty -w z \"$1\"; }\n"
      "r 'PS1=; fpath=(" +
      kFolder +
      " $fpath); autoload -Uz compinit; compinit -D -u; bindkey \"^I\" complete-word'\n"
      "r 'zstyle \":completion:*\" list-prompt \"\"; zstyle \":completion:*\" menu no; LISTMAX=1000'\n"
      "r 'echo rea\"\"dy'; zpty -r z out '*ready*'\n"
      "t() { zpty -n -w z \"$1\"$'\\t'; zpty -n -w z $'\\C-a#\\n'; r 'echo en\"\"d'; zpty -r z out '*end*'; print -r "
      "-- \"$out\"; }\n";
  const auto offers = [&](const std::string& line) {
    std::string all;
    for (const auto& one : outputOf({"zsh", "-f", "-c", script + "t '" + line + "'"})) all += one + "\n";
    return all;
  };
  const auto commands = offers("quillard p");
  for (const char* name : {"pair", "pause", "phones"}) EXPECT_THAT(commands, testing::HasSubstr(name));
  EXPECT_THAT(offers("quillard pause tom"), testing::HasSubstr("tomorrow"));
  EXPECT_THAT(offers("quillard relay set --k"), testing::HasSubstr("--key"));
  EXPECT_THAT(offers("quillard ask --button x --default-o"), testing::HasSubstr("--default-on-timeout"));
  EXPECT_THAT(offers("quillard-relay --log-format js"), testing::HasSubstr("json"));
}

TEST(FishCompletion, OffersCommandsOptionsAndValues) {
  if (!isInstalled("fish")) GTEST_SKIP() << "fish is not installed";
  const test::TemporaryFolder home;
  const auto offers = [&](const std::string& line) {
    const auto program = line.substr(0, line.find(' '));
    auto lines =
        outputOf({"env", "HOME=" + home.path(), "XDG_CONFIG_HOME=" + home.path(), "XDG_DATA_HOME=" + home.path(),
                  "fish", "--no-config", "-c", "source '" + kFolder + program + ".fish'; complete -C '" + line + "'"});
    for (auto& one : lines) one = one.substr(0, one.find('\t'));
    std::sort(lines.begin(), lines.end());
    return lines;
  };
  EXPECT_THAT(offers("quillard re"), ElementsAre("readable", "record", "relay"));
  EXPECT_THAT(offers("quillard relay "), ElementsAre("forget", "set", "show", "test"));
  EXPECT_THAT(offers("quillard relay set --k"), ElementsAre("--key"));
  EXPECT_THAT(offers("quillard pause t"), ElementsAre("tomorrow"));
  EXPECT_THAT(offers("quillard ask --button relay --de"), ElementsAre("--default-on-timeout", "--deny"));
  EXPECT_THAT(offers("quillard-relay --log-format j"), ElementsAre("json"));
}

// ---- Manual pages

TEST(Manual, NamesEveryCommandAndOption) { EXPECT_THAT(completions::missingIn(textOf(MANUAL), agent()), IsEmpty()); }

TEST(Manual, IsFoundOutWhenItForgetsACommandOrAnOption) {
  auto program = agent();
  program.commands.push_back({.name = "dance", .description = {}, .options = {}, .arguments = {}, .commands = {}});
  for (auto& one : program.commands) {
    if (one.name == "scan") one.options.push_back({.names = {"--force"}});  // Which is another command's.
  }
  EXPECT_THAT(completions::missingIn(textOf(MANUAL), program), ElementsAre("scan --force", "dance"));
}

TEST(Manual, OfTheRelayIsMadeFromItsCommandLine) {
  auto page = textOf(kFolder + "quillard-relay.1.in");
  const auto put = [&page](const std::string& place, const std::string& text) {
    const auto at = page.find(place);
    ASSERT_NE(at, std::string::npos) << place;
    page.replace(at, place.size(), text);
  };
  put("@COMMANDS@", completions::commandEntries(relay()));
  put("@OPTIONS@", completions::optionEntries(relay(), "QUILLARD_RELAY_"));
  expectFile("docs/quillard-relay.1", page);
  EXPECT_THAT(completions::missingIn(page, relay()), IsEmpty());
  EXPECT_THAT(page, testing::HasSubstr("QUILLARD_RELAY_TLS_KEY"));
}

TEST(Manual, NamesEveryVariableOfTheTunablesTheOlderNamesIncluded) {
  const auto page = textOf(MANUAL);
  std::set<std::string> names{"QUILLARD_RELAY_URL", "FARROWLIGHT_RELAY_URL", "QUILLARD_PAIRING_ID",
                              "FARROWLIGHT_PAIRING_ID"};
  for (const auto& tunable : AgentConfiguration::tunables()) {
    for (const auto variable : tunable.variables) {
      if (!variable.empty()) names.emplace(variable);
    }
  }
  EXPECT_GE(names.size(), 16U);
  for (const auto& name : names) EXPECT_NE(page.find(name), std::string::npos) << name;
}

}  // namespace
}  // namespace quillard
