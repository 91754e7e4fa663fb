#include "simulation/CommandLine.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string_view>

#include "simulation/World.h"

namespace quillard::simulation {

namespace {

constexpr double kLongestHours = 24 * 7;

template <class Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::string> readSeeds(std::string_view text, CommandLine& line) {
  const auto dots = text.find("..");
  const auto first = number<std::uint64_t>(text.substr(0, dots));
  const auto last = dots == std::string_view::npos ? std::nullopt : number<std::uint64_t>(text.substr(dots + 2));
  if (!first || !last || *last < *first) return "--seeds needs FROM..TO, such as 1..1000.";
  line.first = *first;
  line.last = *last;
  line.tracesOne = false;
  return std::nullopt;
}

std::optional<std::string> readOption(std::string_view name, std::string_view value, CommandLine& line) {
  if (name == "--seeds") return readSeeds(value, line);
  if (name == "--seed") {
    const auto seed = number<std::uint64_t>(value);
    if (!seed) return "--seed needs a whole number.";
    line.first = line.last = *seed;
    line.tracesOne = true;
    return std::nullopt;
  }
  const auto hours = number<double>(value);
  if (!hours || !(*hours > 0) || *hours > kLongestHours) return "--hours needs a number above 0, and at most 168.";
  line.length = Seconds{*hours * 3600};
  return std::nullopt;
}

std::string fixed(double value, const char* format) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

int runOne(const CommandLine& line, const LineWriter& print, const LineWriter& warn) {
  const auto outcome =
      live({.seed = line.first, .length = line.length, .trace = print, .programsAsk = line.programsAsk});
  print("decisions: " + std::to_string(outcome.decisions) + ", presses: " + std::to_string(outcome.presses));
  if (!outcome.broken) return 0;
  warn("Seed " + std::to_string(line.first) + ": " + *outcome.broken);
  return 1;
}

void printFaults(const FaultCounts& faults, const LineWriter& print) {
  std::size_t fired = 0;
  for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
    if (faults.count(kind) == 0) continue;
    ++fired;
    print(fixed(static_cast<double>(faults.count(kind)), "%10.0f") + "  " + std::string(kFaultNames[kind]));
  }
  print(std::to_string(fired) + " of " + std::to_string(kFaultKinds) + " kinds of fault happened.");
}

int runMany(const CommandLine& line, const LineWriter& print, const LineWriter& warn) {
  const auto start = std::chrono::steady_clock::now();
  FaultCounts faults;
  std::size_t broken = 0;
  std::size_t presses = 0;
  std::size_t decisions = 0;
  std::size_t incompleteLists = 0;
  std::map<std::string, std::size_t> answers;
  std::map<std::string, std::size_t> questions;
  for (std::uint64_t seed = line.first;; ++seed) {
    const auto outcome = live({.seed = seed, .length = line.length, .programsAsk = line.programsAsk});
    faults.add(outcome.faults);
    presses += outcome.presses;
    decisions += outcome.decisions;
    incompleteLists += outcome.incompleteLists;
    for (const auto& [status, count] : outcome.answers) answers[status] += count;
    for (const auto& [end, count] : outcome.questions) questions[end] += count;
    if (outcome.broken) {
      ++broken;
      warn("Seed " + std::to_string(seed) + ": " + *outcome.broken);
    }
    if (seed == line.last) break;
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  const std::uint64_t seeds = line.last - line.first + 1;
  printFaults(faults, print);
  for (const auto& [status, count] : answers) print(std::to_string(count) + " decisions were answered: " + status);
  for (const auto& [end, count] : questions) print(std::to_string(count) + " questions ended: " + end);
  print(std::to_string(incompleteLists) + " lists said that they are not whole.");
  print(std::to_string(seeds) + " seeds of " + fixed(line.length.count(), "%.0f") + " s each, " +
        std::to_string(decisions) + " decisions, " + std::to_string(presses) + " presses, " + std::to_string(broken) +
        " broken, in " + fixed(taken.count(), "%.1f") + " s.");
  return broken == 0 ? 0 : 1;
}

}  // namespace

std::string helpText() {
  return "quillard-simulate lives whole worlds through in virtual time: an agent, a desktop, phones and a hostile\n"
         "relay, from one seed each. It checks after every step what must always hold.\n"
         "\n"
         "  quillard-simulate --seed N [--hours H]         one world, with its trace\n"
         "  quillard-simulate --seeds FROM..TO [--hours H] many worlds, with a summary\n"
         "\n"
         "  --seed N          the world that this number makes; the same number makes the same world\n"
         "  --seeds FROM..TO  all of these, both ends included\n"
         "  --hours H         how long things go wrong in each world; 1/30, two minutes, at first\n"
         "  --asking          programs ask over the channel, too: the same number makes another world then\n"
         "  --help            this text\n"
         "\n"
         "The exit status is 0 when everything held, 1 when something broke, and 2 for wrong arguments.";
}

std::variant<CommandLine, std::string> readCommandLine(const std::vector<std::string>& arguments) {
  CommandLine line;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& name = arguments[i];
    if (name == "--help" || name == "-h") {
      line.isHelpWanted = true;
      continue;
    }
    if (name == "--asking") {
      line.programsAsk = true;
      continue;
    }
    if (name != "--seed" && name != "--seeds" && name != "--hours") return "There is no option " + name + ".";
    if (i + 1 == arguments.size()) return name + " needs a value.";
    if (const auto error = readOption(name, arguments[++i], line)) return *error;
  }
  return line;
}

int run(const std::vector<std::string>& arguments, const LineWriter& print, const LineWriter& warn) {
  const auto read = readCommandLine(arguments);
  if (const auto* error = std::get_if<std::string>(&read)) {
    warn(*error + " Try --help.");
    return 2;
  }
  const auto& line = std::get<CommandLine>(read);
  if (line.isHelpWanted) {
    print(helpText());
    return 0;
  }
  return line.tracesOne ? runOne(line, print, warn) : runMany(line, print, warn);
}

}  // namespace quillard::simulation
