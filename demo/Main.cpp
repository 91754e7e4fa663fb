// What ./run starts once everything is built: the whole system on this machine, until Ctrl-C. ./run --help says what it
// does; these are its own options:
//
//   demo [--installed PROGRAM] [--phone] [--answer LABEL] [--sample]   brings it up, or joins what is up
//   demo --pair [--force]   shows the text of the pairing of what is up
//   demo --is-up            says whether something is up, by its exit code
//   demo --on-private-desktop COMMAND...   runs a command beside a sample prompt

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "demo/Demo.h"
#include "demo/Joining.h"

namespace {

using namespace quillard::demo;

const Programs kPrograms{.agent = DEMO_AGENT,
                         .information = DEMO_INFORMATION,
                         .relay = DEMO_RELAY,
                         .page = DEMO_PAGE,
                         .phone = DEMO_PHONE,
                         .sample = DEMO_SAMPLE};

struct Arguments {
  Options options;
  bool isPairing = false;
  bool isForced = false;
  bool asksWhetherItIsUp = false;
  std::vector<std::string> command;  // To be run on a private desktop.
};

void describe(CLI::App& program, Arguments& read) {
  program.add_option("--installed", read.options.installed, "The agent, as it is installed for this user");
  auto* const phone = program.add_flag("--phone", read.options.withPhone, "A phone in this terminal");
  program.add_option("--answer", read.options.answer, "The button that it presses by itself")->needs(phone);
  program.add_flag("--sample", read.options.withSample, "A sample prompt on this desktop");
  auto* const pair = program.add_flag("--pair", read.isPairing, "Show the text of the pairing");
  program.add_flag("--force", read.isForced, "Also when the output is no terminal")->needs(pair);
  program.add_flag("--is-up", read.asksWhetherItIsUp, "Say whether it is up, by the exit code");
  program.add_option("--on-private-desktop", read.command, "Run a command there, beside a sample prompt");
}

// Runs a command on a private desktop, without an agent there.
int runOnPrivateDesktop(const std::vector<std::string>& command, EndSignals& signals) {
  quillard::privatedesktop::PrivateDesktop desktop;
  auto prompt = desktop.launch(
      DEMO_SAMPLE, {"--kind", "dialog", "--title", "Camera access", "--text", "A web page wants to use the camera.",
                    "--button", "Don't Allow", "--button", "Allow"});
  if (!prompt.waitForOutput("ready")) std::fprintf(stderr, "The sample prompt did not come up.\n");
  Service program({.command = command, .environment = desktop.environment(), .isInForeground = true});
  return program.waitForEnd(std::chrono::minutes(2), [&signals] { return signals.requested().has_value(); })
      .value_or(1);
}

int runAs(const Arguments& read) {
  EndSignals signals;
  if (!read.command.empty()) return runOnPrivateDesktop(read.command, signals);
  const auto running = DemoSocket::find();
  if (read.asksWhetherItIsUp) return running ? 0 : 1;
  if (read.isPairing) {
    if (running) return showPairing(*running, read.isForced);
    std::fprintf(stderr, "No ./run is up on this machine, which is what this pairs with.\n");
    return 1;
  }
  if (running) return join(*running, kPrograms, read.options, signals);
  return Demo(kPrograms, read.options, signals).run();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App program("", "demo");
  Arguments read;
  describe(program, read);
  CLI11_PARSE(program, argc, argv);
  try {
    return runAs(read);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
