#include "demo/Demo.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "demo/DemoTexts.h"
#include "demo/LoginStart.h"
#include "demo/PhoneProgram.h"

namespace quillard::demo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr auto kEndTimeout = 3s;  // With each of the programs, which send a close message to each other.
constexpr auto kToolTimeout = 20s;
constexpr auto kPauseBetweenSamples = 1500ms;  // So that a person sees one go before the next one comes.
constexpr int kNotPossibleHere = 3;            // What the agent exits with where it finds no display.
constexpr int kLinesBelowTheCode = 22;         // The rest of the welcome, with the text to be pasted.

std::optional<std::string> variable(const char* name) {
  const char* const value = std::getenv(name);
  return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

constexpr const char* kLoginStartWithdrawn =
    "Quillard does not start when you log in: it has no relay to use then. \"quillard relay set ADDRESS\" gives it "
    "one.\n"
    "./run --uninstall deletes what is installed.\n";

std::string dataFolder() {
  const auto home = variable("HOME");
  return variable("XDG_DATA_HOME").value_or(home.value_or("") + "/.local/share") + "/quillard-relay";
}

Variables ownEnvironment() {
  Variables result;
  for (char** entry = environ; *entry; ++entry) result.emplace_back(*entry);
  return result;
}

// The code as lines for this terminal; empty when it does not fit, or this is no terminal.
std::string codeForTerminal(const RunningDemo& running) {
  winsize size{};
  if (::isatty(STDOUT_FILENO) != 1 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {};
  const auto printed = run({running.agent, "pair", "--force"}, running.environment, 10s);
  return printed.code == 0 && fits(printed.output, size.ws_col, size.ws_row, kLinesBelowTheCode) ? printed.output + "\n"
                                                                                                 : std::string();
}

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

void printError(const std::string& text) { std::fputs(text.c_str(), stderr); }

}  // namespace

Demo::Demo(Programs programs, Options options, EndSignals& signals)
    : programs(std::move(programs)), options(std::move(options)), signals(signals) {}

Demo::~Demo() { end(); }

int Demo::run() {
  int result = 1;
  try {
    bringUp();
    result = stayUp();
  } catch (const std::exception& error) {
    if (!stopRequested()) printError(std::string(error.what()) + "\n");
  }
  end();
  return stopRequested() ? 128 + *signals.requested() : result;
}

// ---- Bringing up

void Demo::bringUp() {
  using Step = void (Demo::*)();
  for (const Step step : {&Demo::makeDesktop, &Demo::startRelay, &Demo::startAgent, &Demo::startPhone}) {
    if (stopRequested()) return;
    (this->*step)();
  }
}

void Demo::makeDesktop() {
  running.isPrivate = !options.installed;
  if (options.installed) {
    folder = dataFolder();
    running.agent = *options.installed;
    running.environment = ownEnvironment();
    return;
  }
  desktop = std::make_unique<privatedesktop::PrivateDesktop>();
  folder = desktop->folder("data") + "/quillard-relay";
  running.environment = desktop->environment();
  const fs::path place = fs::path(desktop->folder("home")) / ".local/lib/Quillard.app";
  fs::create_directories(place);
  fs::copy_file(programs.agent, place / "quillard");
  fs::copy_file(programs.information, place / "Info.plist");
  running.agent = place / "quillard";
}

void Demo::startRelay() {
  auto address = variable("QUILLARD_RELAY_URL");
  if (!address) {
    relay = std::make_unique<RelayProgram>(
        RelayProgram::Places{.program = programs.relay, .page = programs.page, .folder = folder},
        [this] { return stopRequested(); });
    running.page = relay->address();
    address = relay->socketAddress();
  }
  running.environment = with(running.environment, "QUILLARD_RELAY_URL", *address);
  running.environment =
      with(running.environment, "QUILLARD_PAIRING_ID", variable("QUILLARD_PAIRING_ID").value_or("home"));
}

// The pairing is made first, and by one program: an agent and a tool that begin at the same time would each make their
// own, and a phone would be paired with the one that neither uses. Where that has its phone, the agent makes a code for
// one more.
void Demo::startAgent() {
  const auto isCancelled = [this] { return stopRequested(); };
  pairing = pairingTextWithoutAgent(running, isCancelled);
  if (stopRequested()) return;
  if (!running.isPrivate) {
    const auto examined = demo::run({running.agent, "doctor"}, running.environment, kToolTimeout, isCancelled);
    if (examined.code != 0 && !stopRequested()) print("Something is missing:\n\n" + examined.output);
  }
  agentLog = placeOfAgentsLog();
  agent = std::make_unique<Service>(
      Service::Start{.command = {running.agent}, .environment = running.environment, .logFile = agentLog});
  if (!pairing) pairing = pairingTextOf(running, [this] { return stopRequested() || agent->exitCode(); });
  waitUntilConnected();
  demoSocket = std::make_unique<DemoSocket>(running);
  if (!running.isPrivate && !options.withSample) return;
  samples = std::make_unique<SamplePrompts>(programs.sample, running.environment, "/dev/null");
  samples->showNext();
}

// The relay of another operator may take longer: the window shows the state of the connection.
void Demo::waitUntilConnected() {
  if (!pairing || (!relay && !options.withPhone)) return;
  const bool isConnected = waitForAgent(*pairing, [this] { return stopRequested() || agent->exitCode(); });
  if (isConnected || stopRequested() || agent->exitCode()) return;
  throw std::runtime_error("Quillard does not reach its relay.\n" + lastLines(agentLog));
}

// On their own desktop, people read its lines, unless a phone has the terminal.
std::string Demo::placeOfAgentsLog() const {
  if (!running.isPrivate && !options.withPhone) return {};
  if (!running.isPrivate && !relay) return "/dev/null";
  fs::create_directories(folder);
  const std::string log = folder + "/agent.log";
  fs::remove(log);
  return log;
}

void Demo::startPhone() {
  if (!options.withPhone) {
    printWelcome();
    return;
  }
  if (!pairing) throw std::runtime_error("Without a pairing there is nothing that a phone could do.");
  if (relay) print("The phone's page is " + running.page + "; here is the phone without a browser.\n");
  phone = demo::startPhone(programs.phone, *pairing, options.answer);
}

void Demo::printWelcome() {
  Situation situation{.isPrivate = running.isPrivate,
                      .isOnUsualPort = !relay || relay->isOnUsualPort(),
                      .isRemote = variable("SSH_CONNECTION").has_value()};
  if (relay) situation.page = running.page;
  if (running.isPrivate && ::isatty(STDOUT_FILENO) == 1) {
    situation.pairing = pairing;
    situation.code = codeForTerminal(running);
  }
  print(welcome(situation));
}

// ---- Being up

int Demo::stayUp() {
  while (!stopRequested()) {
    takeSampleAnswer();
    if (const auto result = reasonToEnd()) return *result;
    waitForEvents(nextSampleAt ? std::chrono::duration_cast<milliseconds>(*nextSampleAt - steady_clock::now()) + 1ms
                               : milliseconds(-1));
    if (nextSampleAt && *nextSampleAt <= steady_clock::now()) {
      nextSampleAt.reset();
      samples->showNext();
    }
  }
  return 0;
}

// `timeout`: below zero, as long as it takes.
void Demo::waitForEvents(milliseconds timeout) const {
  std::array<pollfd, 2> ready{pollfd{signals.descriptor(), POLLIN, 0},
                              pollfd{demoSocket ? demoSocket->descriptor() : -1, POLLIN, 0}};
  if (::poll(ready.data(), ready.size(), static_cast<int>(timeout.count())) <= 0) return;
  if (ready[1].revents != 0) demoSocket->answer();
}

void Demo::takeSampleAnswer() {
  const auto answer = samples ? samples->takeAnswer() : std::nullopt;
  if (!answer) return;
  answered = answer;
  print(sampleAnswered(*answer));
  if (running.isPrivate && !options.answer) nextSampleAt = steady_clock::now() + kPauseBetweenSamples;
}

std::optional<int> Demo::reasonToEnd() {
  if (phone) {
    if (const auto code = phone->exitCode()) return resultOfPhone(*code);
  }
  if (const auto code = agent->exitCode()) {
    if (*code == 0) {
      print("Quillard was told to quit.\n");
      return 0;
    }
    printError("Quillard has ended (" + std::to_string(*code) + ").\n" + lastLines(agentLog));
    if (!running.isPrivate && *code == kNotPossibleHere) {
      printError("To try it on a private desktop:  env -u DISPLAY -u WAYLAND_DISPLAY ./run\n");
    }
    return 1;
  }
  if (relay && relay->service().exitCode()) {
    printError("The relay has ended.\n" + lastLines(relay->logFile()));
    return 1;
  }
  return std::nullopt;
}

// A phone that says "accepted" is believed only when the sample prompt says so, too.
int Demo::resultOfPhone(int code) {
  if (code != 0 || !options.answer || !running.isPrivate) return code;
  const auto end = steady_clock::now() + 5s;
  while (!answered && steady_clock::now() < end && !stopRequested()) {
    waitForEvents(100ms);
    takeSampleAnswer();
  }
  if (answered == options.answer) return 0;
  printError("The phone says that \"" + *options.answer +
             "\" was pressed, but the sample prompt knows nothing of it.\n");
  return 1;
}

// ---- Ending

void Demo::end() {
  if (phone) phone->end(kEndTimeout);
  demoSocket.reset();
  if (agent) agent->end(kEndTimeout);
  samples.reset();
  if (relay) relay->service().end(kEndTimeout);
  phone.reset();
  agent.reset();
  relay.reset();
  withdrawLoginStart();
  desktop.reset();
}

// The agent registers itself to start at login. With nothing but the relay of this run, which is not there then, it
// would come up unconfigured each time. One that the user has switched off says so in that file, which stays.
void Demo::withdrawLoginStart() {
  if (running.isPrivate || running.agent.empty()) return;
  const auto shown = demo::run({running.agent, "relay", "show", "--json"},
                               without(running.environment, "QUILLARD_RELAY_URL"), kToolTimeout);
  if (shown.code == 0) return;
  if (withdrawStartOf(running.agent, running.environment)) print(kLoginStartWithdrawn);
}

}  // namespace quillard::demo
