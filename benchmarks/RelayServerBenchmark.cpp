#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "benchmarks/RatioReporter.h"
#include "companion/relay/rules/RelayWorld.h"

// What the relay's rules cost: passing a snapshot on.
namespace quillard {
namespace {

using relayserver::MessageText;
using relayserver::RelayWorld;

// Takes all and keeps nothing, as a socket that is quick enough does.
class QuickPeer final : public relayserver::RelayPeer {
 public:
  Sending send(const MessageText& text, std::uint64_t) override {
    benchmark::DoNotOptimize(text->data());
    return Sending::written;
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

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv, {{"routeSnapshot/8", "routeSnapshot/1", "eight phones cost little more than one: at most 1.2"}});
}
