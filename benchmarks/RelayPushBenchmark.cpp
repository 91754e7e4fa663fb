#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/MeasuredServers.h"
#include "benchmarks/RatioReporter.h"
#include "benchmarks/SizedBenchmarks.h"
#include "companion/relay/rules/RelayWorld.h"
#include "e2e/PushServiceProgram.h"

// Sleeping phones that are woken all at once: from the agents' messages until a push service over TLS has taken all of
// them and the agents know. The push service verifies each token, and shares the processors.
namespace quillard::benchmarks {
namespace {

constexpr int kPhonesOfAPairing = 8;

struct Household {
  std::unique_ptr<test::RelayWire> agent;
  std::map<std::string, std::string> subscriptions;  // By device.
};

// Phones that have subscribed and gone.
Household household(MeasuredRelay& relay, const test::PushServiceProgram& service, const std::string& name,
                    int phones) {
  relay.addPairing(name);
  Household home{.agent = relay.joinAgent(name)};
  const auto answer =
      test::RelayWire(relay.port())
          .ask("GET", "/api/pairings/" + name + "/push-key", {{"Authorization", "Bearer " + std::string(64, 'a')}});
  const std::string key = Json::parse(answer.body)["key"];
  service.setKey(key);
  for (int i = 0; i < phones; ++i) {
    const std::string device = "D" + std::to_string(i);
    const auto phone = relay.joinPhone(name, device);
    phone->say({{"type", "push.subscribe"},
                {"endpoint", service.endpoint("201", name + device)},
                {"key", key},
                {"encryptedSubscription", relayserver::sealed()}});
    if (phone->read("push.subscription").value("subscribed", false)) {
      const auto list = home.agent->read("push.subscriptions");
      for (const auto& one : list["subscriptions"]) {
        home.subscriptions[one["deviceID"]] = one["subscriptionID"];
      }
    }
  }
  if (home.subscriptions.size() != static_cast<std::size_t>(phones)) throw std::runtime_error("A phone has no place.");
  return home;
}

void wakes(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0) == 1 ? 1 : sized(state.range(0)));
  const test::PushServiceProgram service({}, true);
  MeasuredRelay relay(MeasuredRelay::Encryption::none, service.options());
  std::vector<Household> homes;
  for (int left = count; left > 0; left -= kPhonesOfAPairing) {
    const std::string name = "home-" + std::to_string(left);
    homes.push_back(household(relay, service, name, std::min(left, kPhonesOfAPairing)));
  }
  const std::string body = std::string(24, 'A') + "EABBBAAA" + std::string(800, 'A');
  double processor = 0;
  for (auto _ : state) {
    const double before = relay.processorSeconds();
    const auto begin = std::chrono::steady_clock::now();
    for (auto& home : homes) {
      for (const auto& [device, id] : home.subscriptions) {
        home.agent->say({{"type", "push.send"},
                         {"pushID", device},
                         {"deviceID", device},
                         {"subscriptionID", id},
                         {"body", body},
                         {"ttl", 300},
                         {"urgency", "high"}});
      }
    }
    for (auto& home : homes) {
      for (std::size_t i = 0; i < home.subscriptions.size(); ++i) {
        if (home.agent->read("push.result").value("status", "") != "accepted") {
          throw std::runtime_error("A push was not accepted.");
        }
      }
    }
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    processor += relay.processorSeconds() - before;
  }
  state.counters["relay_us_a_push"] =
      processor * 1e6 / (static_cast<double>(count) * static_cast<double>(state.iterations()));
}
BENCHMARK(wakes)->Arg(1)->Arg(1000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillard::benchmarks

int main(int argc, char** argv) { return quillard::benchmarks::runAndPrintRatios(argc, argv, {}); }
