#include "demo/Joining.h"

#include <cstdio>

#include <poll.h>

#include "demo/DemoTexts.h"
#include "demo/PhoneProgram.h"

namespace quillard::demo {
namespace {

int waitFor(Service& program, EndSignals& signals) {
  // The signals first: taking them also takes the news that a child has ended.
  while (!signals.requested() && !program.exitCode()) {
    pollfd ready{signals.descriptor(), POLLIN, 0};
    ::poll(&ready, 1, -1);
  }
  program.end(std::chrono::seconds(3));
  return signals.requested() ? 128 + *signals.requested() : program.exitCode().value_or(1);
}

int showSample(const RunningDemo& running, const Programs& programs, EndSignals& signals) {
  SamplePrompts samples(programs.sample, running.environment, "/dev/null");
  samples.showNext();
  while (!signals.requested()) {
    if (const auto answer = samples.takeAnswer()) {
      std::fputs(sampleAnswered(*answer).c_str(), stdout);
      return 0;
    }
    pollfd ready{signals.descriptor(), POLLIN, 0};
    ::poll(&ready, 1, -1);
  }
  return 128 + *signals.requested();
}

}  // namespace

int join(const RunningDemo& running, const Programs& programs, const Options& options, EndSignals& signals) {
  if (options.withPhone) {
    const auto isCancelled = [&signals] { return signals.requested().has_value(); };
    const auto pairing = pairingTextOf(running, isCancelled);
    if (!pairing) return 1;
    if (!waitForAgent(*pairing, isCancelled)) {
      if (!isCancelled()) std::fputs("Quillard does not reach its relay.\n", stderr);
      return 1;
    }
    return waitFor(*startPhone(programs.phone, *pairing, options.answer), signals);
  }
  if (options.withSample) return showSample(running, programs, signals);
  std::fputs(alreadyUp(running.page).c_str(), stderr);
  return 1;
}

int showPairing(const RunningDemo& running, bool evenWithoutTerminal) {
  std::vector<std::string> command{running.agent, "pair", "--text"};
  if (evenWithoutTerminal) command.emplace_back("--force");
  Service tool({.command = command, .environment = running.environment, .isInForeground = true});
  return tool.waitForEnd(std::chrono::minutes(2)).value_or(1);
}

}  // namespace quillard::demo
