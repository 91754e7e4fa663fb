#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/MeasuredServers.h"
#include "benchmarks/RatioReporter.h"
#include "benchmarks/SizedBenchmarks.h"

// What a message costs the relay, beside a bare echo of the same library and an echo of a widely used server.
namespace quillard::benchmarks {
namespace {

void measure(benchmark::State& state, const MeasuredServer& server, test::RelayWire& from, test::RelayWire& to) {
  const auto text = snapshotOf(static_cast<std::size_t>(state.range(0)));
  const int count = sized(state.range(0) > 16 * 1024 ? 1'000 : 20'000);
  pass(from, to, text, count / 10);  // Buffers grow.
  for (auto _ : state) {
    const double before = server.processorSeconds();
    pass(from, to, text, count);
    state.SetIterationTime((server.processorSeconds() - before) / count);
  }
  state.counters["messages_a_second_a_core"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

void relayPasses(benchmark::State& state) {
  MeasuredRelay relay;
  relay.addPairing("home");
  const auto agent = relay.joinAgent("home");
  const auto phone = relay.joinPhone("home");
  measure(state, relay, *agent, *phone);
}

void echoes(benchmark::State& state, const std::vector<std::string>& command) {
  const MeasuredEcho echo(command);
  const auto wire = echo.join();
  measure(state, echo, *wire, *wire);
}

void bareEcho(benchmark::State& state) { echoes(state, MeasuredEcho::bare()); }

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
}  // namespace quillard::benchmarks

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
