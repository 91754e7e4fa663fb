#include "app/CommandLine.h"

#include <algorithm>
#include <optional>
#include <sstream>

#include <CLI/CLI.hpp>

namespace quillard::app {
namespace {

constexpr const char* kDescription =
    "Watches the windows of this desktop for approval prompts and lets your phone answer them.\n"
    "Without a command, the agent runs; one that runs already is replaced.";

constexpr const char* kFooter =
    "Exit codes: 0 fine, 1 a problem was found, 2 wrong usage, 3 not possible here.\n"
    "More is in quillard(1).";

// Where CLI11 puts what it read.
struct Arguments {
  bool asJson = false;
  ExplainWindows explanation;
  ShowPairingCode pairing;
  RecordDesktop recording;
  SetRelay relay;
  TestRelay trial;
  std::string settingName;
  std::string settingValue;
  bool wantsDefault = false;
};

void describeRelay(CLI::App& program, Arguments& read) {
  auto* const relay = program.add_subcommand("relay", "The relay that carries prompts to your phone");
  relay->require_subcommand(1);

  auto* const set = relay->add_subcommand("set", "Use this relay from now on");
  set->add_option("ADDRESS", read.relay.address, "Such as relay.example, or wss://relay.example/ws")->required();
  set->add_option("--key", read.relay.registrationKey, "What its operator asks for at new pairings");

  relay->add_subcommand("forget", "Use no relay of the settings any more");

  auto* const show = relay->add_subcommand("show", "Say which relay is used, and why");
  show->add_flag("--json", read.asJson, "Print JSON");

  auto* const test = relay->add_subcommand("test", "Register, connect, and tell each step");
  test->add_option("ADDRESS", read.trial.address, "Another relay than the one that is used");
  test->add_option("--key", read.trial.registrationKey, "What its operator asks for at new pairings");
}

void describeSettings(CLI::App& program, Arguments& read) {
  auto* const settings = program.add_subcommand("settings", "List the settings, or set one");
  settings->add_option("NAME", read.settingName, "Of one setting");
  settings->add_option("VALUE", read.settingValue, "What it is to be")->needs("NAME");
  settings->add_flag("--default", read.wantsDefault, "Back to the default")->needs("NAME")->excludes("VALUE");
  settings->add_flag("--json", read.asJson, "Print JSON")->excludes("VALUE")->excludes("--default");
}

void describe(CLI::App& program, Arguments& read) {
  program.description(kDescription);
  program.footer(kFooter);
  program.set_version_flag("--version", versionText(), "Print the version and exit");
  program.set_help_flag("-h,--help", "Print this help and exit");
  program.require_subcommand(0, 1);

  auto* const scan = program.add_subcommand("scan", "Say of every window why it is, or is not, a prompt");
  scan->add_flag("--json", read.asJson, "Print JSON");

  auto* const explain = program.add_subcommand("explain", "Say in plain words what decided about a window");
  explain->add_option("WORDS", read.explanation.words, "Part of its title or of its program's name");

  auto* const doctor = program.add_subcommand("doctor", "Look whether everything that the agent needs is there");
  doctor->add_flag("--json", read.asJson, "Print JSON");

  auto* const pair =
      program.add_subcommand("pair", "Show the pairing code. It holds secrets: show it to your phone only");
  pair->add_flag("--text", read.pairing.asText, "What the code holds, as one line to be pasted");
  pair->add_flag("--force", read.pairing.evenWithoutTerminal, "Also when the output is no terminal");

  describeRelay(program, read);
  describeSettings(program, read);

  auto* const record = program.add_subcommand("record", "Write down what the applications show now");
  record->add_option("FILE", read.recording.file, "A new file, for you alone")->required();
  record->add_flag("--mask-texts", read.recording.masksTexts, "Hide what the texts say, but for labels of buttons");
  record->add_option("--program", read.recording.program, "Only programs whose name holds this");
}

Command relayCommandOf(const CLI::App& relay, const Arguments& read) {
  if (relay.got_subcommand("set")) return read.relay;
  if (relay.got_subcommand("forget")) return ForgetRelay{};
  if (relay.got_subcommand("test")) return read.trial;
  return ShowRelay{read.asJson};
}

Command settingsCommandOf(const CLI::App& settings, const Arguments& read) {
  if (read.wantsDefault) return ChangeSetting{read.settingName, std::nullopt};
  if (settings.count("VALUE") > 0) return ChangeSetting{read.settingName, read.settingValue};
  if (settings.count("NAME") > 0) return ShowSettings{read.settingName, read.asJson};
  return ShowSettings{std::nullopt, read.asJson};
}

Command commandOf(const CLI::App& program, const Arguments& read) {
  if (program.got_subcommand("scan")) return ScanOnce{read.asJson};
  if (program.got_subcommand("explain")) return read.explanation;
  if (program.got_subcommand("doctor")) return ExamineSetup{read.asJson};
  if (program.got_subcommand("pair")) return read.pairing;
  if (program.got_subcommand("record")) return read.recording;
  if (program.got_subcommand("relay")) return relayCommandOf(*program.get_subcommand("relay"), read);
  if (program.got_subcommand("settings")) return settingsCommandOf(*program.get_subcommand("settings"), read);
  return RunAgent{};
}

}  // namespace

Command parseCommandLine(const std::vector<std::string>& arguments) {
  CLI::App program("", "quillard");
  Arguments read;
  describe(program, read);
  // CLI11 takes them from the end.
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(std::move(reversed));
  } catch (const CLI::ParseError& end) {
    std::ostringstream said;
    const bool isWrong = program.exit(end, said, said) != 0;
    return PrintMessage{said.str(), isWrong ? ExitCode::wrongUsage : ExitCode::fine};
  }
  return commandOf(program, read);
}

std::string versionText() { return "quillard " QUILLARD_VERSION; }

}  // namespace quillard::app
