#include "app/Program.h"

#include <cerrno>
#include <csignal>
#include <string_view>
#include <variant>
#include <vector>

#include <unistd.h>

#include "app/AgentRun.h"
#include "app/CommandLine.h"
#include "app/Output.h"
#include "app/ProcessSetup.h"
#include "app/ToolRun.h"

namespace quillard::app {
namespace {

// Past the standard library's buffers, in which a secret would stay behind.
// False: not all of it could be written.
bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

ExitCode run(const Command& command, const System& system, char* programName, const Output& output) {
  if (const auto* const message = std::get_if<PrintMessage>(&command)) {
    (message->code == ExitCode::fine ? output.print : output.printError)(message->text);
    return message->code;
  }
  if (std::holds_alternative<RunAgent>(command)) return runAgent(system, programName, output);
  return runTool(command, system, programName, output);
}

}  // namespace

int runProgram(int argc, char** argv, const System& system) {
  ensureStandardStreams();
  forbidCoreDumps();
  std::signal(SIGPIPE, SIG_IGN);  // It is said with the exit code.
  bool couldPrint = true;
  const Output output{.print = [&](std::string_view text) { couldPrint = writeAll(STDOUT_FILENO, text) && couldPrint; },
                      .printError = [](std::string_view text) { (void)writeAll(STDERR_FILENO, text); },
                      .couldPrint = [&] { return couldPrint; }};
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  const auto code = run(parseCommandLine(arguments), system, argv[0], output);
  if (couldPrint || code != ExitCode::fine) return number(code);
  output.printError("quillard: The output could not be written.\n");
  return number(ExitCode::cannotDoHere);
}

}  // namespace quillard::app
