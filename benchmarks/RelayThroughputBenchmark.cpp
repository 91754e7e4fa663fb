#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/RatioReporter.h"
#include "companion/relay/rules/RelayWorld.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"

// What a message costs the relay, beside a bare echo of the same library and an echo of a widely used server. All three
// are processes of their own; what is measured is the time that they spend on a processor, so that neither the client
// nor whatever else the machine does counts. QUILLARD_RELAY_PROGRAM and QUILLARD_ECHO_PROGRAM name programs that were
// built in another way than this one.
namespace quillard {
namespace {

using test::Opcode;
using test::RelayWire;

const std::string kToken(64, 'a');
const test::WireHeaders kBearer{{"Authorization", "Bearer " + kToken}};

double processorSeconds(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/schedstat");
  double nanoseconds = 0;
  file >> nanoseconds;
  return nanoseconds / 1e9;
}

// As a snapshot of the agent, so that each of the three moves the same bytes.
std::string messageOf(std::size_t bytes) {
  auto message = relayserver::snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(bytes, 'A');
  return message.dump();
}

// Sends `count` messages on one wire while they are read from the other, which may be the same. No more than a few are
// on their way at any time: the relay bounds what waits for a reader.
void pass(RelayWire& from, RelayWire& to, const std::string& text, int count) {
  const int mostUnderWay = text.size() > 16 * 1024 ? 16 : 128;
  std::atomic<int> read{0};
  std::thread writer([&] {
    for (int i = 0; i < count; ++i) {
      while (i - read >= mostUnderWay) std::this_thread::yield();
      if (!from.sendFrame(Opcode::text, text)) return;
    }
  });
  while (read < count) {
    const auto frame = to.readFrame();
    if (!frame) break;
    if (frame->payload.size() >= text.size()) ++read;
  }
  const bool isDone = read >= count;
  read = count;
  writer.join();
  if (!isDone) throw std::runtime_error("The connection ended.");
}

void measure(benchmark::State& state, pid_t process, RelayWire& from, RelayWire& to) {
  const auto text = messageOf(static_cast<std::size_t>(state.range(0)));
  const int count = state.range(0) > 16 * 1024 ? 1'000 : 20'000;
  pass(from, to, text, count / 10);  // Buffers grow.
  for (auto _ : state) {
    const double before = processorSeconds(process);
    pass(from, to, text, count);
    state.SetIterationTime((processorSeconds(process) - before) / count);
  }
  state.counters["messages_a_second_a_core"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

void relayPasses(benchmark::State& state) {
  std::vector<std::string> arguments;
  for (const char* name : {"agent-message-burst", "pairing-mebibyte-burst", "address-mebibyte-burst", "mebibyte-burst",
                           "pairing-work-burst", "address-work-burst", "work-burst"}) {
    arguments.insert(arguments.end(), {"--" + std::string(name), "100000000"});
  }
  const test::RelayProgram relay(arguments);
  RelayWire registrar(relay.port());
  registrar.ask("PUT", "/api/pairings/home/relay-token", kBearer, R"({"client":"mac","version":1})");
  RelayWire agent(relay.port());
  RelayWire phone(relay.port());
  const bool isJoined = agent.upgrade("role=mac&pairing=home", kBearer).status == 101 &&
                        phone.upgrade("role=phone&deviceID=A&deviceName=A&pairing=home", kBearer).status == 101;
  if (!isJoined) return state.SkipWithError("A WebSocket was refused.");
  measure(state, relay.processID(), agent, phone);
}

void echoes(benchmark::State& state, const std::vector<std::string>& command) {
  test::ChildProcess server({.command = command, .environment = test::presentEnvironment()});
  const auto line = server.readLine();
  if (!line) return state.SkipWithError("The server did not start.");
  RelayWire wire(static_cast<std::uint16_t>(std::stoul(*line)));
  if (wire.upgrade("", {}).status != 101) return state.SkipWithError("The WebSocket was refused.");
  measure(state, server.id(), wire, wire);
  server.kill();
}

void bareEcho(benchmark::State& state) {
  const char* other = std::getenv("QUILLARD_ECHO_PROGRAM");
  echoes(state, {other ? other : QUILLARD_BARE_ECHO});
}

void nodeEcho(benchmark::State& state) {
  echoes(state, {"node", "-e",
                 "const { WebSocketServer } = require('" QUILLARD_PHONE_PACKAGES
                 "/ws'); const server = new WebSocketServer({ port: 0, host: '127.0.0.1', perMessageDeflate: false });"
                 "server.on('listening', () => console.log(server.address().port));"
                 "server.on('connection', (socket) => socket.on('message', (data) => socket.send(data.toString())));"});
}

#define QUILLARD_MEASURE(name) BENCHMARK(name)->Arg(1024)->Arg(65536)->UseManualTime()->Iterations(3)
QUILLARD_MEASURE(relayPasses);
QUILLARD_MEASURE(bareEcho);
QUILLARD_MEASURE(nodeEcho);
#undef QUILLARD_MEASURE

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  const auto named = [](const std::string& name, int bytes) {
    return name + "/" + std::to_string(bytes) + "/iterations:3/manual_time";
  };
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{named("relayPasses", 1024), named("bareEcho", 1024), "1 KiB, beside a bare echo: at most 2"},
       {named("relayPasses", 65536), named("bareEcho", 65536), "64 KiB, beside a bare echo: at most 2.5"},
       {named("relayPasses", 1024), named("nodeEcho", 1024), "1 KiB, beside an echo of ws"},
       {named("relayPasses", 65536), named("nodeEcho", 65536), "64 KiB, beside an echo of ws"}});
}
