#include "app/AskTool.h"

#include <charconv>
#include <utility>

#include "channel/ChannelMessage.h"
#include "foundation/PrintableText.h"
#include "questions/QuestionTexts.h"

namespace quillard::app {
namespace {

using Kind = AskOutcome::Kind;

constexpr std::size_t kLongestAsked = 4096;

std::string_view outcomeName(const AskOutcome& outcome) {
  switch (outcome.kind) {
    case Kind::answered:
      return "answered";
    case Kind::ended:
      return QuestionTexts::name(outcome.end);
    case Kind::notTaken:
      return "notTaken";
    case Kind::noAgent:
      return "noAgent";
    case Kind::refused:
      break;
  }
  return "refused";
}

ExitCode exitCode(QuestionEnd end) {
  switch (end) {
    case QuestionEnd::timedOut:
      return ExitCode::timedOut;
    case QuestionEnd::noPhone:
      return ExitCode::noPhone;
    case QuestionEnd::paused:
    case QuestionEnd::muted:
      return ExitCode::mutedOrPaused;
    case QuestionEnd::tooMany:
      return ExitCode::tooMany;
    case QuestionEnd::stopping:
    case QuestionEnd::notTaken:
      break;
  }
  return ExitCode::cannotDoHere;
}

}  // namespace

ExitCode exitCode(const AskOutcome& outcome) {
  switch (outcome.kind) {
    case Kind::answered:
      return outcome.index == 0 ? ExitCode::fine : ExitCode::otherButton;
    case Kind::ended:
      return exitCode(outcome.end);
    case Kind::refused:
      return ExitCode::wrongUsage;
    case Kind::notTaken:
    case Kind::noAgent:
      break;
  }
  return ExitCode::cannotDoHere;
}

std::string askText(const AskOutcome& outcome, bool asJson) {
  const bool isAnswered = outcome.kind == Kind::answered;
  if (!asJson) return isAnswered ? outcome.label + "\n" : "";
  Json json = {{"version", kChannelVersion}, {"outcome", outcomeName(outcome)}};
  if (isAnswered) {
    json["label"] = outcome.label;
    json["index"] = outcome.index;
    json["by"] = outcome.by;
  } else {
    json["message"] = outcome.message;
  }
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string askErrorText(const AskOutcome& outcome) {
  if (outcome.kind == Kind::answered) return "";
  return "quillard ask: " + printableText(outcome.message) + "\n";
}

bool mayFallBack(const AskOutcome& outcome) {
  return outcome.kind == Kind::noAgent || (outcome.kind == Kind::ended && outcome.end == QuestionEnd::noPhone);
}

AskTool::AskTool(const AskQuestion& given, const QuestionAskerDependencies& dependencies, const Output& output,
                 std::function<void(ExitCode, const AskOutcome&)> onEnd)
    : command(given),
      output(output),
      onEnd(std::move(onEnd)),
      asker(std::make_unique<QuestionAsker>(
          dependencies, command.request,
          QuestionAskerEvents{.take = [this](const AskOutcome& outcome) { return print(outcome); },
                              .onOutcome = [this](const AskOutcome& outcome) { ended(outcome); }})) {}

bool AskTool::print(const AskOutcome& outcome) {
  hasPrinted = true;
  output.print(askText(outcome, command.asJson));
  return output.couldPrint();
}

// An answer was printed before it was taken; where it does not count after all, the exit code and the error say so.
void AskTool::ended(const AskOutcome& outcome) {
  const bool fallsBack = command.fallsBackToTerminal && mayFallBack(outcome);
  if (outcome.kind != Kind::answered && !fallsBack) {
    if (command.asJson && !hasPrinted) output.print(askText(outcome, /*asJson=*/true));
    output.printError(askErrorText(outcome));
  }
  onEnd(exitCode(outcome), outcome);
}

std::string terminalText(const QuestionRequest& request) {
  std::string text = "\n" + printableText(request.question, kLongestAsked) + "\n";
  for (const auto& line : request.lines) text += "  " + printableText(line, kLongestAsked) + "\n";
  for (std::size_t i = 0; i < request.buttons.size(); ++i) {
    text += "  " + std::to_string(i + 1) + "  " + printableText(request.buttons[i].label, kLongestAsked) + "\n";
  }
  return text + "Number: ";
}

AskOutcome terminalOutcome(const QuestionRequest& request, const std::variant<std::size_t, TerminalEnd>& chosen,
                           const AskOutcome& problem) {
  const auto answered = [&](std::size_t index, const char* by) {
    return AskOutcome{.kind = Kind::answered, .label = request.buttons[index].label, .index = index, .by = by};
  };
  if (const auto* const index = std::get_if<std::size_t>(&chosen)) return answered(*index, "terminal");
  if (std::get<TerminalEnd>(chosen) != TerminalEnd::timedOut) return problem;
  for (std::size_t i = 0; i < request.buttons.size(); ++i) {
    if (request.buttons[i].label == request.answerOnTimeout) return answered(i, "timeout");
  }
  return {.kind = Kind::ended,
          .end = QuestionEnd::timedOut,
          .message = std::string(QuestionTexts::description(QuestionEnd::timedOut))};
}

std::optional<std::size_t> chosenButton(const QuestionRequest& request, std::string_view line) {
  for (std::size_t i = 0; i < request.buttons.size(); ++i) {
    if (request.buttons[i].label == line) return i;
  }
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  if (error != std::errc{} || end != line.data() + line.size() || number < 1 || number > request.buttons.size()) {
    return std::nullopt;
  }
  return number - 1;
}

}  // namespace quillard::app
