#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/ExitCode.h"
#include "questions/QuestionRequest.h"

namespace CLI {
class App;
}

// What the program was asked to do. Pure functions of the arguments.
namespace quillard::app {

struct RunAgent {
  bool operator==(const RunAgent&) const = default;
};
// Prints of every window why it is, or is not, a prompt.
struct ScanOnce {
  bool asJson = false;
  bool operator==(const ScanOnce&) const = default;
};
// Explains of windows, in plain words, what decided about them.
struct ExplainWindows {
  std::string words;  // Of the title or the program; empty: of all.
  bool operator==(const ExplainWindows&) const = default;
};
// Checks whether everything that the agent needs is there.
struct ExamineSetup {
  bool asJson = false;
  bool operator==(const ExamineSetup&) const = default;
};
// Shows the pairing code in the terminal, or what it holds.
struct ShowPairingCode {
  bool evenWithoutTerminal = false;
  bool asText = false;
  bool operator==(const ShowPairingCode&) const = default;
};
// Shows which programs cannot be read, and changes how such a program is started.
struct MakeReadable {
  std::string program;  // Its name or its entry in the menu; empty: the programs are listed.
  bool undoes = false;
  bool operator==(const MakeReadable&) const = default;
};
// Writes down what applications show, for a report or a test.
struct RecordDesktop {
  std::string file;
  bool masksTexts = false;
  std::string program{};  // Only applications whose name holds it; empty: all.
  bool operator==(const RecordDesktop&) const = default;
};

// Keeps the address of the relay in the user's settings.
struct SetRelay {
  std::string address;
  // Absent: none, or one that is a part of the address. "-": it is a line of standard input, which other users do not
  // see, as they may see arguments.
  std::optional<std::string> registrationKey{};
  bool operator==(const SetRelay&) const = default;
};
// Takes it out of them.
struct ForgetRelay {
  bool operator==(const ForgetRelay&) const = default;
};
// Prints which relay is used, and who says so.
struct ShowRelay {
  bool asJson = false;
  bool operator==(const ShowRelay&) const = default;
};
// Tries a relay as the agent would use it.
struct TestRelay {
  std::optional<std::string> address{};  // Absent: the one that is configured.
  std::optional<std::string> registrationKey{};
  bool operator==(const TestRelay&) const = default;
};
// Prints the tunables.
struct ShowSettings {
  std::optional<std::string> name{};  // Absent: all.
  bool asJson = false;
  bool operator==(const ShowSettings&) const = default;
};
// Sets one of them.
struct ChangeSetting {
  std::string name;
  std::optional<std::string> value{};  // Absent: back to the default.
  bool operator==(const ChangeSetting&) const = default;
};
// Asks the user a question and prints the answer.
struct AskQuestion {
  QuestionRequest request;
  bool readsText = false;  // More lines come from standard input.
  bool asJson = false;
  bool fallsBackToTerminal = false;
  bool operator==(const AskQuestion&) const = default;
};
// Lists the questions that wait, or answers one.
struct AnswerQuestion {
  std::string id{};  // What its identity begins with; empty: lists them.
  std::string label{};
  bool asJson = false;
  bool operator==(const AnswerQuestion&) const = default;
};
// What the agent's window says.
struct TellStatus {
  bool asJson = false;
  bool follows = false;  // And again, whenever it changes.
  bool operator==(const TellStatus&) const = default;
};
struct PauseAlerts {
  std::string duration;  // "2h", "4h", "tomorrow", "on" or "off".
  bool operator==(const PauseAlerts&) const = default;
};
// Opens the agent's window.
struct OpenWindow {
  bool operator==(const OpenWindow&) const = default;
};
struct QuitAgent {
  bool operator==(const QuitAgent&) const = default;
};

// Prints the phones that are paired.
struct ListPhones {
  bool asJson = false;
  bool operator==(const ListPhones&) const = default;
};
// Takes pairings back.
struct UnpairPhones {
  std::string phone{};  // A name, or the number of a pairing; empty: all.
  bool all = false;
  bool isConfirmed = false;  // Nothing is asked.
  bool operator==(const UnpairPhones&) const = default;
};

// Prints what is muted.
struct ListMuted {
  bool asJson = false;
  bool operator==(const ListMuted&) const = default;
};
// Shows a kind of prompt again, or all.
struct EndMute {
  std::string id{};  // What its identity begins with; empty: all.
  bool all = false;
  bool operator==(const EndMute&) const = default;
};
// Changes when something that is muted is shown again.
struct ChangeMute {
  std::string id;
  std::string duration;  // "day", "week" or "forever".
  bool operator==(const ChangeMute&) const = default;
};
// Prints the log of what was asked and decided.
struct ShowLog {
  bool asJson = false;
  std::optional<std::string> since{};  // Only what came after that: a date, or how long ago.
  bool follows = false;                // And what is added, until it is interrupted.
  bool verifies = false;               // Instead of the entries, whether they are whole.
  bool operator==(const ShowLog&) const = default;
};

// Deletes all that the agent keeps for its user, and an installation for that user alone.
struct EraseEverything {
  bool isConfirmed = false;  // Nothing is asked.
  bool operator==(const EraseEverything&) const = default;
};

// Nothing to do but to print: the help that was asked for, or what is wrong with the arguments.
struct PrintMessage {
  std::string text;  // Ends in a line break.
  ExitCode code = ExitCode::fine;
  bool operator==(const PrintMessage&) const = default;
};

using Command = std::variant<RunAgent, ScanOnce, ExplainWindows, ExamineSetup, ShowPairingCode, MakeReadable,
                             RecordDesktop, SetRelay, ForgetRelay, ShowRelay, TestRelay, ShowSettings, ChangeSetting,
                             AskQuestion, AnswerQuestion, TellStatus, PauseAlerts, OpenWindow, QuitAgent, ListPhones,
                             UnpairPhones, ListMuted, EndMute, ChangeMute, ShowLog, EraseEverything, PrintMessage>;

// `arguments`: without the name of the program.
[[nodiscard]] Command parseCommandLine(const std::vector<std::string>& arguments);

// Hands over how arguments are read, for completions and the manual.
void withCommandLine(const std::function<void(const CLI::App&)>& use);

// "quillard" and the version number that the build gave.
[[nodiscard]] std::string versionText();

}  // namespace quillard::app
