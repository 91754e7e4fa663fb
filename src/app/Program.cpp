#include "app/Program.h"

#include <cerrno>
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
void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
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
  const Output output{.print = [](std::string_view text) { writeAll(STDOUT_FILENO, text); },
                      .printError = [](std::string_view text) { writeAll(STDERR_FILENO, text); }};
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return number(run(parseCommandLine(arguments), system, argv[0], output));
}

}  // namespace quillard::app
