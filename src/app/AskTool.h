#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "app/TerminalQuestion.h"
#include "questions/QuestionAsker.h"

// `quillard ask`: asks the user a question through the agent, and says what came of it.
namespace quillard::app {

// What the tool ends with when `outcome` came of the question.
[[nodiscard]] ExitCode exitCode(const AskOutcome& outcome);
// One line, or nothing: of an answer its label, or everything as JSON.
[[nodiscard]] std::string askText(const AskOutcome& outcome, bool asJson);
// For people; empty when answered.
[[nodiscard]] std::string askErrorText(const AskOutcome& outcome);

// Whether the question may be asked at the terminal instead: nothing else can answer it.
[[nodiscard]] bool mayFallBack(const AskOutcome& outcome);

// One question over the channel. Main thread.
class AskTool {
 public:
  // `onEnd`: once, in a turn of its own, after everything was printed; with what came of it. What it is given outlives
  // the tool.
  AskTool(const AskQuestion& command, const QuestionAskerDependencies& dependencies, const Output& output,
          std::function<void(ExitCode, const AskOutcome&)> onEnd);

 private:
  [[nodiscard]] bool print(const AskOutcome& outcome);
  void ended(const AskOutcome& outcome);

  const AskQuestion command;
  const Output& output;
  const std::function<void(ExitCode, const AskOutcome&)> onEnd;
  bool hasPrinted = false;  // One line at the most.
  std::unique_ptr<QuestionAsker> asker;
};

// The question as it is put at a terminal, with numbers before the labels.
[[nodiscard]] std::string terminalText(const QuestionRequest& request);
// What came of asking at a terminal, where `problem` came of asking the agent.
[[nodiscard]] AskOutcome terminalOutcome(const QuestionRequest& request,
                                         const std::variant<std::size_t, TerminalEnd>& chosen,
                                         const AskOutcome& problem);
// Which button a line names: by its number or its label. Absent: none.
[[nodiscard]] std::optional<std::size_t> chosenButton(const QuestionRequest& request, std::string_view line);

}  // namespace quillard::app
