#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/RatioReporter.h"
#include "companion/relay/rules/RelayWorld.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"

// What the relay costs: passing a snapshot on, and a pairing that does nothing.
namespace quillard {
namespace {

using relayserver::MessageText;
using relayserver::RelayWorld;

// Takes all and keeps nothing, as a socket that is quick enough does.
class QuickPeer final : public relayserver::RelayPeer {
 public:
  bool send(const MessageText& text) override {
    benchmark::DoNotOptimize(text->data());
    return true;
  }
  void ping() override {}
  void close(relayserver::CloseCode) override {}
  void abort() override {}
  [[nodiscard]] std::size_t heldBytes() const override { return 0; }
};

// A snapshot with a ciphertext of 64 KiB to as many phones as the argument says.
void routeSnapshot(benchmark::State& state) {
  RelayWorld world({.agentMessages = {1e12, 1e12}});
  const auto agent = std::make_shared<QuickPeer>();
  world.rooms.join(agent, {.role = relayserver::Role::agent, .pairingID = "home"}, {}, world.instant);
  for (int i = 0; i < state.range(0); ++i) {
    world.rooms.join(std::make_shared<QuickPeer>(),
                     {.role = relayserver::Role::phone, .pairingID = "home", .deviceID = std::to_string(i)}, {},
                     world.instant);
  }
  auto message = relayserver::snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(64 * 1024, 'A');
  const auto text = message.dump();
  for (auto _ : state) world.rooms.take(*agent, text, world.now());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(routeSnapshot)->Arg(1)->Arg(8);

#ifdef __linux__
// KiB, its share of what is shared included.
double memoryOf(const test::RelayProgram& relay) {
  std::ifstream rollup("/proc/" + std::to_string(relay.processID()) + "/smaps_rollup");
  for (std::string name; rollup >> name;) {
    double value = 0;
    if (name == "Pss:" && rollup >> value) return value;
  }
  return 0;
}

// As many pairings as the argument says, an agent and a phone each, connected to the real relay and silent.
void idlePairings(benchmark::State& state) {
  const std::string token(64, 'a');
  const test::WireHeaders bearer{{"Authorization", "Bearer " + token}};
  for (auto _ : state) {
    const test::RelayProgram relay({"--registration-burst", "1000000", "--handshake-burst", "1000000",
                                    "--open-requests", "1000000", "--connections", "1000000"});
    test::RelayWire registrar(relay.port());
    const double before = memoryOf(relay);
    std::vector<std::unique_ptr<test::RelayWire>> wires;
    for (int i = 0; i < state.range(0); ++i) {
      const std::string pairing = "home-" + std::to_string(i);
      registrar.ask("PUT", "/api/pairings/" + pairing + "/relay-token", bearer, R"({"client":"mac","version":1})");
      for (const std::string& query :
           {"role=mac&pairing=" + pairing, "role=phone&deviceID=A&deviceName=A&pairing=" + pairing}) {
        wires.push_back(std::make_unique<test::RelayWire>(relay.port()));
        if (wires.back()->upgrade(query, bearer).status != 101) return state.SkipWithError("A WebSocket was refused.");
      }
    }
    state.counters["KiB_a_pairing"] = (memoryOf(relay) - before) / static_cast<double>(state.range(0));
    state.counters["MiB_in_all"] = memoryOf(relay) / 1024;
  }
}
BENCHMARK(idlePairings)->Arg(1000)->Iterations(1)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv, {{"routeSnapshot/8", "routeSnapshot/1", "eight phones cost little more than one: at most 1.2"}});
}
