#include "app/ChannelRun.h"

#include <array>
#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include <QtCore/QCoreApplication>
#include <fcntl.h>
#include <unistd.h>

#include "app/AskTool.h"
#include "app/ChannelTools.h"
#include "app/LogTool.h"
#include "app/MuteTools.h"
#include "app/PhoneTools.h"
#include "app/TerminalLine.h"
#include "app/TerminalQuestion.h"
#include "foundation/PrintableText.h"
#include "platform/qt/TerminationSignals.h"

namespace quillard::app {
namespace {

constexpr Seconds kParentInterval{1};
constexpr Seconds kLogInterval{1};
constexpr std::size_t kLongestProblem = 1000;
constexpr pid_t kFirstProcess = 1;  // Takes in whoever has lost its parent.

// All of it, or what is beyond `longest` left out but for one byte. Absent: it cannot be read.
std::optional<std::string> readAll(int descriptor, std::size_t longest) {
  std::string text;
  std::array<char, 4096> piece{};
  while (text.size() <= longest) {
    const auto length = ::read(descriptor, piece.data(), piece.size());
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return std::nullopt;
    if (length == 0) break;
    text.append(piece.data(), static_cast<std::size_t>(length));
  }
  return text;
}

void addLines(std::vector<std::string>& lines, std::string_view text) {
  while (!text.empty()) {
    const auto end = text.find('\n');
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

// What the terminal of this process says, whatever its standard streams are. The question's time counts anew there:
// where no phone was connected, all of it has been waited for one.
AskOutcome askHere(const QuestionRequest& request, const AskOutcome& problem, pid_t parent) {
  const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
  if (terminal < 0) return problem;
  const auto chosen = askAtTerminal(terminal, request, request.timeout, [parent] { return ::getppid() != parent; });
  ::close(terminal);
  return terminalOutcome(request, chosen, problem);
}

ExitCode fallBack(const AskQuestion& command, const AskOutcome& problem, pid_t parent, const Output& output) {
  const auto outcome = askHere(command.request, problem, parent);
  if (::getppid() != parent) return ExitCode::interrupted;
  if (outcome.kind == AskOutcome::Kind::answered || command.asJson) output.print(askText(outcome, command.asJson));
  output.printError(askErrorText(outcome));
  return exitCode(outcome);
}

// What a tool's loop ends with.
struct Ending {
  void operator()(ExitCode wanted) {
    code = wanted;
    QCoreApplication::exit();
  }
  ExitCode code = ExitCode::cannotDoHere;
};

ChannelRequestEvents eventsOf(const std::string& name, Ending& end, const Output& output,
                              std::function<bool(const ChannelMessage&)> onMessage) {
  return {.onMessage = std::move(onMessage), .onProblem = [&end, &output, name](ExitCode code, const auto& message) {
            output.printError("quillard " + name + ": " + printableText(message) + "\n");
            end(code);
          }};
}

// Sends one line and hands what comes to `onMessage`, until that returns an exit code.
ExitCode exchange(const std::string& name, const std::string& line, const ChannelRunDependencies& dependencies,
                  const Output& output,
                  const std::function<std::optional<ExitCode>(const ChannelMessage&)>& onMessage) {
  Ending end;
  const qt::TerminationSignals termination([&] { end(ExitCode::interrupted); });
  const ChannelRequest request(dependencies.localSockets, dependencies.executors.mainThread(), line,
                               eventsOf(name, end, output, [&](const ChannelMessage& message) {
                                 const auto code = onMessage(message);
                                 if (code) end(*code);
                                 return !code;
                               }));
  QCoreApplication::exec();
  return end.code;
}

std::string jsonLine(const ChannelMessage& message) {
  return message.json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

ExitCode notUnderstood(const std::string& name, const Output& output) {
  output.printError("quillard " + name + ": The agent's answer is not understood.\n");
  return ExitCode::cannotDoHere;
}

// Absent: a person agreed.
std::optional<ExitCode> refusalAtTerminal(const std::string& question, const Output& output) {
  const auto agreed = agreesAtTerminal(question, output);
  if (!agreed) {
    output.printError("quillard unpair: " + question + " Without a terminal, --yes has to say so.\n");
    return ExitCode::cannotDoHere;
  }
  if (*agreed) return std::nullopt;
  output.printError("Nothing was unpaired.\n");
  return ExitCode::problemFound;
}

ExitCode changeMutes(const std::string& name, const ChannelRunDependencies& dependencies, const Output& output,
                     const std::function<MuteRequest(const ListedMutes&)>& plan) {
  std::optional<ListedMutes> mutes;
  const auto code = exchange(name, channelLine("muted"), dependencies, output,
                             [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                               mutes = readMutes(message);
                               return mutes ? ExitCode::fine : notUnderstood(name, output);
                             });
  if (code != ExitCode::fine) return code;
  const auto request = plan(*mutes);
  if (request.problem.empty()) return runRequest(name, request.line, dependencies, output);
  output.printError("quillard " + name + ": " + request.problem + "\n");
  return ExitCode::problemFound;
}

ExitCode sendAnswer(const AnswerQuestion& command, const std::vector<ListedQuestion>& questions,
                    const ChannelRunDependencies& dependencies, const Output& output) {
  if (::isatty(STDIN_FILENO) != 1) {
    output.printError("quillard answer: Questions are answered at a terminal.\n");
    return ExitCode::cannotDoHere;
  }
  const auto* const question = questionWith(questions, command.id);
  if (!question) {
    output.printError(
        "quillard answer: No question, or more than one, has this identity: " + printableText(command.id) + "\n");
    return ExitCode::problemFound;
  }
  return runRequest("answer", channelLine("answer", {{"id", question->id}, {"label", command.label}}), dependencies,
                    output);
}

}  // namespace

ExitCode runAsk(AskQuestion command, const ChannelRunDependencies& dependencies, const Output& output) {
  // Before anything that takes time: the agent is to name the process that asks.
  const pid_t parent = ::getppid();
  if (parent == kFirstProcess) {
    output.printError("quillard ask: The program that asks has ended.\n");
    return ExitCode::cannotDoHere;
  }
  if (command.readsText) {
    const auto text = readAll(STDIN_FILENO, QuestionRequest::kLongestText);
    if (text) addLines(command.request.lines, *text);
    const auto problem = text ? problemOf(command.request) : "The standard input cannot be read.";
    if (problem) {
      output.printError("quillard ask: " + *problem + "\n");
      return ExitCode::wrongUsage;
    }
  }
  if (::getppid() != parent) return ExitCode::interrupted;
  Ending end;
  std::optional<AskOutcome> came;
  {
    const qt::TerminationSignals termination([&] { end(ExitCode::interrupted); });
    const auto watch = dependencies.executors.mainThread().repeatEvery(kParentInterval, [&] {
      if (::getppid() != parent) end(ExitCode::interrupted);
    });
    const AskTool tool(command, {dependencies.localSockets, dependencies.executors.mainThread(), dependencies.clock},
                       output, [&](ExitCode code, const AskOutcome& outcome) {
                         came = outcome;
                         end(code);
                       });
    QCoreApplication::exec();
  }
  if (!came || !command.fallsBackToTerminal || !mayFallBack(*came)) return end.code;
  return fallBack(command, *came, parent, output);
}

ExitCode runAnswer(const AnswerQuestion& command, const ChannelRunDependencies& dependencies, const Output& output) {
  std::vector<ListedQuestion> questions;
  const auto code = exchange("answer", channelLine("questions"), dependencies, output,
                             [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                               auto read = readQuestions(message);
                               if (!read) return notUnderstood("answer", output);
                               questions = std::move(*read);
                               if (!command.id.empty()) return ExitCode::fine;
                               output.print(command.asJson ? jsonLine(message) : questionsText(questions));
                               return ExitCode::fine;
                             });
  if (code != ExitCode::fine || command.id.empty()) return code;
  return sendAnswer(command, questions, dependencies, output);
}

ExitCode runStatus(const TellStatus& command, const ChannelRunDependencies& dependencies, const Output& output) {
  return exchange("status", requestLine(command), dependencies, output,
                  [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                    output.print(statusText(message, command.asJson));
                    if (command.follows && output.couldPrint()) return std::nullopt;
                    return ExitCode::fine;
                  });
}

ExitCode runPhones(const ListPhones& command, const ChannelRunDependencies& dependencies, const Output& output) {
  return exchange("phones", channelLine("phones"), dependencies, output,
                  [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                    const auto phones = readPhones(message);
                    if (!phones) return notUnderstood("phones", output);
                    output.print(command.asJson ? jsonLine(message) : phonesText(*phones));
                    return ExitCode::fine;
                  });
}

ExitCode runUnpair(const UnpairPhones& command, const ChannelRunDependencies& dependencies, const Output& output) {
  std::optional<std::vector<ListedPhone>> phones;
  const auto code = exchange("unpair", channelLine("phones"), dependencies, output,
                             [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                               phones = readPhones(message);
                               return phones ? ExitCode::fine : notUnderstood("unpair", output);
                             });
  if (code != ExitCode::fine) return code;
  const auto plan = planUnpairing(command, *phones);
  if (const auto* const problem = std::get_if<std::string>(&plan)) {
    output.printError("quillard unpair: " + *problem + (problem->ends_with('\n') ? "" : "\n"));
    return ExitCode::problemFound;
  }
  const auto& unpairing = std::get<Unpairing>(plan);
  // Between the exchanges: Ctrl-C ends the program there.
  const auto refusal = command.isConfirmed ? std::nullopt : refusalAtTerminal(unpairing.question, output);
  if (refusal) return *refusal;
  return exchange("unpair", unpairing.line, dependencies, output,
                  [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                    const auto text = unpairedText(message);
                    if (!text) return notUnderstood("unpair", output);
                    output.print(*text);
                    return ExitCode::fine;
                  });
}

ExitCode runPairAnother(const ShowPairingCode& command, const TerminalFacts& terminal,
                        const ChannelRunDependencies& dependencies, const Output& output, const UserTexts& say) {
  if (const auto refusal = refusalToShow(command, terminal, output)) return *refusal;
  return exchange("pair", channelLine("pairAnother"), dependencies, output,
                  [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                    JsonReader reader{message.json};
                    auto text = reader.string("text");
                    if (message.type != "code" || reader.error()) return notUnderstood("pair", output);
                    return showCodeOf(takenSecret(text), command, terminal, output,
                                      "It is for one more phone, and ends after ten minutes.\n", say);
                  });
}

ExitCode runMuted(const ListMuted& command, const ChannelRunDependencies& dependencies, const Output& output) {
  return exchange("muted", channelLine("muted"), dependencies, output,
                  [&](const ChannelMessage& message) -> std::optional<ExitCode> {
                    const auto mutes = readMutes(message);
                    if (!mutes) return notUnderstood("muted", output);
                    output.print(command.asJson ? jsonLine(message) : mutesText(*mutes));
                    return ExitCode::fine;
                  });
}

ExitCode runUnmute(const EndMute& command, const ChannelRunDependencies& dependencies, const Output& output) {
  return changeMutes("unmute", dependencies, output,
                     [&](const ListedMutes& mutes) { return planUnmuting(command, mutes); });
}

ExitCode runMute(const ChangeMute& command, const ChannelRunDependencies& dependencies, const Output& output) {
  return changeMutes("mute", dependencies, output,
                     [&](const ListedMutes& mutes) { return planMuting(command, mutes); });
}

ExitCode runLog(const ShowLog& command, platform::AppendOnlyFile& file, const ChannelRunDependencies& dependencies,
                const Output& output) {
  LogTool tool(command, file, dependencies.clock.now(), output);
  const auto code = tool.print();
  if (!command.follows || code == ExitCode::wrongUsage || code == ExitCode::cannotDoHere) return code;
  Ending end;
  const qt::TerminationSignals termination([&] { end(ExitCode::interrupted); });
  const auto watch = dependencies.executors.mainThread().repeatEvery(kLogInterval, [&] {
    const auto now = tool.print();
    if (now == ExitCode::cannotDoHere || !output.couldPrint()) end(now);
  });
  QCoreApplication::exec();
  return end.code;
}

ExitCode runRequest(const std::string& name, const std::string& line, const ChannelRunDependencies& dependencies,
                    const Output& output) {
  return exchange(name, line, dependencies, output,
                  [](const ChannelMessage&) -> std::optional<ExitCode> { return ExitCode::fine; });
}

std::optional<ChangeOutcome> changeThere(const SettingsChange& change, const ChannelRunDependencies& dependencies) {
  std::optional<ChangeOutcome> outcome;
  const ChannelRequest request(dependencies.localSockets, dependencies.executors.mainThread(), requestLine(change),
                               {.onMessage =
                                    [&](const ChannelMessage& message) {
                                      JsonReader reader{message.json};
                                      outcome = ChangeOutcome{
                                          .isTakenOver = reader.optionalBoolean("takenOver").value_or(false),
                                          .unwritten = reader.optionalString("unwritten")};
                                      if (outcome->unwritten)
                                        outcome->unwritten = printableText(*outcome->unwritten, kLongestProblem);
                                      QCoreApplication::exit();
                                      return false;
                                    },
                                .onProblem =
                                    [&](ExitCode code, const std::string& message) {
                                      if (code == ExitCode::problemFound) outcome = ChangeOutcome{.problem = message};
                                      QCoreApplication::exit();
                                    }});
  QCoreApplication::exec();
  return outcome;
}

}  // namespace quillard::app
