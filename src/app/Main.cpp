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

namespace {

using namespace quillard::app;

// Past the standard library's buffers, in which a secret would stay behind.
void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

ExitCode run(const Command& command, char* programName, const Output& output) {
  if (const auto* const said = std::get_if<SaySomething>(&command)) {
    (said->code == ExitCode::fine ? output.print : output.printError)(said->text);
    return said->code;
  }
  if (std::holds_alternative<RunAgent>(command)) return runAgent(programName, output);
  return runTool(command, programName, output);
}

}  // namespace

int main(int argc, char** argv) {
  ensureStandardStreams();
  forbidCoreDumps();
  const Output output{.print = [](std::string_view text) { writeAll(STDOUT_FILENO, text); },
                      .printError = [](std::string_view text) { writeAll(STDERR_FILENO, text); }};
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return number(run(parseCommandLine(arguments), argv[0], output));
}
