// How long a prompt and a decision are on their way, and a start until its first scan: with the installed agent on a
// private desktop, and a fake relay. A line a figure, beside the delays that are fixed.

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/Figures.h"
#include "benchmarks/SizedBenchmarks.h"
#include "e2e/AgentOnDesktop.h"

namespace quillard::benchmarks {
namespace {

using std::chrono::steady_clock;

// From the start of a process to its first scan; from the hint of a window to the second scan that finds its prompt,
// which is the one that publishes it; from a decision to the press, in which the window comes to the front first.
constexpr double kStart = 300;
constexpr double kPublish = 800;
constexpr double kPress = 200;

double millisecondsSince(steady_clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count();
}

class Road {
 public:
  test::DesktopProgram start(test::PrivateDesktop::Variables variables = {}) {
    variables.insert(variables.end(), {{"QUILLARD_RELAY_URL", relay.url()}, {"QUILLARD_PAIRING_ID", "office"}});
    return installed.start(variables);
  }

  // To the end of it, when the line about the prompt is printed.
  double startToFirstScan() {
    auto prompt = desktop.launch("gtk3_prompt", test::prompt("Before", {"No", "Yes"}));
    if (!prompt.waitForOutput("ready")) throw std::runtime_error("No prompt.");
    const auto begin = steady_clock::now();
    auto started = start({{"QUILLARD_DIALOG_DIAGNOSTICS", "1"}});
    if (!started.waitForOutput("\"Before\"")) throw std::runtime_error("No scan.");
    return millisecondsSince(begin);
  }

  void pair() {
    agent.push_back(start());
    if (!relay.waitForConnection()) throw std::runtime_error("The agent does not connect.");
    relay.pairPhone(installed.endToEndSecret());
  }

  // Shows one prompt, and presses one of its buttons from the phone.
  void answerOne(std::vector<double>& toWire, std::vector<double>& toPress) {
    const std::string title = "Prompt " + std::to_string(++prompts);
    auto prompt = desktop.launch("gtk3_prompt", test::prompt(title, {"No", "Yes"}));
    if (!prompt.waitForOutput("ready")) throw std::runtime_error("No prompt.");
    const auto shown = steady_clock::now();
    const auto list =
        relay.waitForList([&](const auto& all) { return test::titled(all, title).has_value(); }, test::kLongestWait);
    if (!list) throw std::runtime_error("The phone does not show the prompt.");
    toWire.push_back(millisecondsSince(shown));
    const auto decided = steady_clock::now();
    (void)relay.decide(test::titled(*list, title)->id, "Yes");
    if (!prompt.waitForOutput("pressed: Yes")) throw std::runtime_error("Nothing was pressed.");
    toPress.push_back(millisecondsSince(decided));
    const bool isGone = relay.waitForList([&](const auto& all) { return !test::titled(all, title); }).has_value();
    if (!isGone) throw std::runtime_error("The prompt stays on the phone.");
  }

 private:
  test::PrivateDesktop desktop;
  test::TestRelay relay;
  test::InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  std::vector<test::DesktopProgram> agent;
  int prompts = 0;
};

void starts() {
  std::vector<double> times;
  for (int i = 0; i < sized(21); ++i) times.push_back(Road{}.startToFirstScan());
  print({"start to first scan", "the fixed 0.3 s", medianOf(times), kStart, "ms", "360 ms"});
}

void answers() {
  Road road;
  road.pair();
  std::vector<double> toWire;
  std::vector<double> toPress;
  for (int i = 0; i < sized(21); ++i) road.answerOne(toWire, toPress);
  print({"prompt on screen to snapshot on the wire", "the fixed 0.8 s", medianOf(toWire), kPublish, "ms", "825 ms"});
  print({"decision on the wire to press", "the fixed 0.2 s", medianOf(toPress), kPress, "ms", "225 ms"});
}

}  // namespace
}  // namespace quillard::benchmarks

int main() {
  quillard::benchmarks::starts();
  quillard::benchmarks::answers();
}
