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
    "Of ask: 0 the first button, 1 another one, 4 nobody answered in time, 5 no phone can be reached,\n"
    "6 muted or paused, 7 too many questions, 130 interrupted.\n"
    "More is in quillard(1).";

// Where CLI11 puts what it read.
struct Arguments {
  bool asJson = false;
  ExplainWindows explanation;
  ShowPairingCode pairing;
  MakeReadable readable;
  RecordDesktop recording;
  SetRelay relay;
  TestRelay trial;
  std::string settingName;
  std::string settingValue;
  bool wantsDefault = false;
  AskQuestion question;
  std::vector<std::string> buttons;
  std::vector<std::string> denials;
  std::string timeout;
  std::string text;
  std::string fallback;
  AnswerQuestion answer;
  TellStatus status;
  PauseAlerts pause;
  ListPhones phones;
  UnpairPhones unpairing;
  ListMuted muted;
  EndMute unmuting;
  ChangeMute muting;
  ShowLog log;
  EraseEverything erasing;
};

void describeRelay(CLI::App& program, Arguments& read) {
  auto* const relay = program.add_subcommand("relay", "The relay that carries prompts to your phone");
  relay->require_subcommand(1);

  auto* const set = relay->add_subcommand("set", "Use this relay from now on");
  set->add_option("ADDRESS", read.relay.address, "Such as relay.example, or wss://relay.example/ws")->required();
  set->add_option("--key", read.relay.registrationKey,
                  "What its operator asks for at new pairings; -: a line of standard input");

  relay->add_subcommand("forget", "Use no relay of the settings any more");

  auto* const show = relay->add_subcommand("show", "Say which relay is used, and why");
  show->add_flag("--json", read.asJson, "Print JSON");

  auto* const test = relay->add_subcommand("test", "Register, connect, and tell each step");
  test->add_option("ADDRESS", read.trial.address, "Another relay than the one that is used");
  test->add_option("--key", read.trial.registrationKey,
                   "What its operator asks for at new pairings; -: a line of standard input");
}

void describeSettings(CLI::App& program, Arguments& read) {
  auto* const settings = program.add_subcommand("settings", "List the settings, or set one");
  settings->add_option("NAME", read.settingName, "Of one setting");
  settings->add_option("VALUE", read.settingValue, "What it is to be")->needs("NAME");
  settings->add_flag("--default", read.wantsDefault, "Back to the default")->needs("NAME")->excludes("VALUE");
  settings->add_flag("--json", read.asJson, "Print JSON")->excludes("VALUE")->excludes("--default");
}

// "90", "90s", "10m", "2h". Absent: none of these.
std::optional<Seconds> durationOf(std::string_view text) {
  double number = 0;
  std::size_t digits = 0;
  for (; digits < text.size() && digits < 6 && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    number = number * 10 + (text[digits] - '0');
  }
  const auto unit = text.substr(digits);
  if (digits == 0) return std::nullopt;
  if (unit.empty() || unit == "s") return Seconds{number};
  if (unit == "m") return Seconds{60 * number};
  if (unit == "h") return Seconds{3600 * number};
  return std::nullopt;
}

// Ends in "\n".
PrintMessage wrongUsage(const std::string& command, const std::string& problem) {
  return {"quillard " + command + ": " + problem + "\nRun with --help for more information.\n", ExitCode::wrongUsage};
}

void describeAsk(CLI::App& program, Arguments& read) {
  auto* const ask = program.add_subcommand("ask", "Ask the user a question, on the phone, and print the answer");
  ask->add_option("QUESTION", read.question.request.question, "What is asked, in one line")->required();
  ask->add_option("--line", read.question.request.lines, "A line that explains it; may be given again");
  ask->add_option("--text", read.text, "-: more lines come from standard input")->check(CLI::IsMember({"-"}));
  ask->add_option("--button", read.buttons, "An answer; the first one ends with 0")->required();
  ask->add_option("--deny", read.denials, "The label of a button that grants nothing");
  ask->add_option("--recommend", read.question.request.recommended, "The label of the button to be recommended");
  ask->add_option("--default-on-timeout", read.question.request.answerOnTimeout, "The label if nobody answers in time");
  ask->add_option("--timeout", read.timeout, "How long to wait: 90s, 10m, 2h (10m)");
  ask->add_flag("--needs-computer", read.question.request.needsComputer, "It may be denied from afar, not granted");
  ask->add_option("--fallback", read.fallback, "terminal: ask there if there is no other way")
      ->check(CLI::IsMember({"terminal"}));
  ask->add_flag("--json", read.question.asJson, "Print JSON");
  for (auto* const option : ask->get_options()) {
    const bool mayRepeat =
        option->check_name("--line") || option->check_name("--button") || option->check_name("--deny");
    if (!mayRepeat) continue;
    // Without extra arguments, "[a,b]" is one text and no list.
    option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)->allow_extra_args(false);
  }
}

void describeAgentCommands(CLI::App& program, Arguments& read) {
  auto* const status = program.add_subcommand("status", "Print what the agent that runs does");
  status->add_flag("--json", read.status.asJson, "Print JSON");
  status->add_flag("--follow", read.status.follows, "And again, whenever it changes");
  auto* const pause = program.add_subcommand("pause", "Pause alerts to the phone, or resume them");
  pause->add_option("DURATION", read.pause.duration, "2h, 4h, tomorrow, on (until off) or off")
      ->required()
      ->check(CLI::IsMember({"2h", "4h", "tomorrow", "on", "off"}));
  program.add_subcommand("open", "Open the agent's window");
  program.add_subcommand("quit", "End the agent");
  auto* const answer = program.add_subcommand("answer", "List the questions of programs that wait, or answer one");
  answer->add_option("ID", read.answer.id, "What the question's identity begins with");
  answer->add_option("LABEL", read.answer.label, "The answer");
  answer->add_flag("--json", read.answer.asJson, "Print JSON");
}

void describePhones(CLI::App& program, Arguments& read) {
  auto* const phones = program.add_subcommand("phones", "List the phones that are paired");
  phones->add_flag("--json", read.phones.asJson, "Print JSON");
  auto* const unpair = program.add_subcommand("unpair", "Take the pairing of a phone back");
  unpair->add_option("PHONE", read.unpairing.phone, "Its name, or its number as \"quillard phones\" prints it");
  unpair->add_flag("--all", read.unpairing.all, "All phones")->excludes("PHONE");
  unpair->add_flag("--yes", read.unpairing.isConfirmed, "Without asking");
}

void describeMutes(CLI::App& program, Arguments& read) {
  auto* const muted = program.add_subcommand("muted", "List the kinds of prompts that are muted");
  muted->add_flag("--json", read.muted.asJson, "Print JSON");
  auto* const unmute = program.add_subcommand("unmute", "Show a kind of prompt again");
  unmute->add_option("ID", read.unmuting.id, "What its identity begins with, as \"quillard muted\" prints it");
  unmute->add_flag("--all", read.unmuting.all, "All kinds")->excludes("ID");
  auto* const mute = program.add_subcommand("mute", "Change how long a kind of prompt stays muted");
  mute->add_option("ID", read.muting.id, "What its identity begins with, as \"quillard muted\" prints it")->required();
  mute->add_option("DURATION", read.muting.duration, "day, week or forever")
      ->required()
      ->check(CLI::IsMember({"day", "week", "forever"}));
}

void describeLog(CLI::App& program, Arguments& read) {
  auto* const log = program.add_subcommand("log", "Print what was asked and decided, and what became of it");
  log->add_flag("--json", read.log.asJson, "Print JSON, a line for each entry");
  auto* const since = log->add_option("--since", read.log.since, "Only what came after that: 2h, 3d, 2026-03-01");
  auto* const follow = log->add_flag("--follow", read.log.follows, "And what is added");
  log->add_flag("--verify", read.log.verifies, "Say whether all entries are whole")->excludes(since)->excludes(follow);
}

Command askCommand(const Arguments& read) {
  AskQuestion command = read.question;
  for (const auto& label : read.buttons) {
    const bool dismisses = std::find(read.denials.begin(), read.denials.end(), label) != read.denials.end();
    command.request.buttons.push_back({label, dismisses});
  }
  for (const auto& label : read.denials) {
    if (!command.request.hasButton(label)) return wrongUsage("ask", "No button has the label of --deny.");
  }
  if (!read.timeout.empty()) {
    const auto timeout = durationOf(read.timeout);
    if (!timeout) return wrongUsage("ask", "A time-out is written as 90s, 10m or 2h.");
    command.request.timeout = *timeout;
  }
  command.readsText = !read.text.empty();
  command.fallsBackToTerminal = !read.fallback.empty();
  if (const auto problem = problemOf(command.request)) return wrongUsage("ask", *problem);
  return command;
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

  auto* const readable = program.add_subcommand("readable", "List programs that cannot be read, and mend their start");
  auto* const name = readable->add_option("PROGRAM", read.readable.program, "Start it from the menu so that it can be");
  readable->add_flag("--undo", read.readable.undoes, "Start it as before")->needs(name);

  auto* const record = program.add_subcommand("record", "Write down what the applications show now");
  record->add_option("FILE", read.recording.file, "A new file, for you alone")->required();
  record->add_flag("--mask-texts", read.recording.masksTexts, "Hide what the texts say, but for labels of buttons");
  record->add_option("--program", read.recording.program, "Only programs whose name holds this");

  describeAsk(program, read);
  describeAgentCommands(program, read);
  describePhones(program, read);
  describeMutes(program, read);
  describeLog(program, read);

  auto* const erase = program.add_subcommand("erase", "Unpair all phones, and delete all that Quillard keeps for you");
  erase->add_flag("--yes", read.erasing.isConfirmed, "Without asking");
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
  if (program.got_subcommand("readable")) return read.readable;
  if (program.got_subcommand("record")) return read.recording;
  if (program.got_subcommand("relay")) return relayCommandOf(*program.get_subcommand("relay"), read);
  if (program.got_subcommand("settings")) return settingsCommandOf(*program.get_subcommand("settings"), read);
  if (program.got_subcommand("ask")) return askCommand(read);
  if (program.got_subcommand("answer")) {
    if (!read.answer.id.empty() && read.answer.label.empty()) return wrongUsage("answer", "LABEL is missing.");
    return read.answer;
  }
  if (program.got_subcommand("status")) return read.status;
  if (program.got_subcommand("pause")) return read.pause;
  if (program.got_subcommand("phones")) return read.phones;
  if (program.got_subcommand("unpair")) {
    if (!read.unpairing.all && read.unpairing.phone.empty()) return wrongUsage("unpair", "PHONE or --all is missing.");
    return read.unpairing;
  }
  if (program.got_subcommand("muted")) return read.muted;
  if (program.got_subcommand("unmute")) {
    if (!read.unmuting.all && read.unmuting.id.empty()) return wrongUsage("unmute", "ID or --all is missing.");
    return read.unmuting;
  }
  if (program.got_subcommand("mute")) return read.muting;
  if (program.got_subcommand("log")) return read.log;
  if (program.got_subcommand("erase")) return read.erasing;
  if (program.got_subcommand("open")) return OpenWindow{};
  if (program.got_subcommand("quit")) return QuitAgent{};
  return RunAgent{};
}

// A question that looks like an option gets the help, which must not end like the answer that grants.
bool isAsked(const std::vector<std::string>& arguments) { return arguments.size() > 2 && arguments[0] == "ask"; }

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
    const bool isWrong = program.exit(end, said, said) != 0 || isAsked(arguments);
    return PrintMessage{said.str(), isWrong ? ExitCode::wrongUsage : ExitCode::fine};
  }
  return commandOf(program, read);
}

void withCommandLine(const std::function<void(const CLI::App&)>& use) {
  CLI::App program("", "quillard");
  Arguments read;
  describe(program, read);
  use(program);
}

std::string versionText() { return "quillard " QUILLARD_VERSION; }

}  // namespace quillard::app
