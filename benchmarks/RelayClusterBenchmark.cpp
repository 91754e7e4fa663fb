#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/RatioReporter.h"
#include "benchmarks/SizedBenchmarks.h"
#include "companion/relay/rules/RelayWorld.h"
#include "e2e/RelayClusterFixture.h"

// What three relays over three members of etcd do: decisions through one, two and three of them, what a tunnel costs a
// message, and what a pairing that does nothing takes. Clients, relays and etcd share the cores of one machine, so what
// counts is the relays' own time for a message.
namespace quillard {
namespace {

using std::chrono::steady_clock;
using test::ClusterOfRelays;
using test::RelayWire;

constexpr int kPairings = 6;

ClusterOfRelays& cluster() {
  static ClusterOfRelays relays({"--phone-messages-per-second",
                                 "1000000",
                                 "--agent-messages-per-second",
                                 "1000000",
                                 "--pairing-work-burst",
                                 "100000",
                                 "--address-work-burst",
                                 "100000",
                                 "--work-burst",
                                 "100000",
                                 "--pairing-mebibyte-burst",
                                 "100000",
                                 "--address-mebibyte-burst",
                                 "100000",
                                 "--open-requests",
                                 "100000",
                                 "--address-new-pairing-burst",
                                 "100000",
                                 "--new-pairing-burst",
                                 "100000",
                                 "--address-connection-burst",
                                 "100000"});
  return relays;
}

// Seconds of a core that all relays have used; each does its work on its first thread.
double relaySeconds() {
  double all = 0;
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
    std::ifstream stream("/proc/" + std::to_string(cluster().processID(relay)) + "/schedstat");
    double nanoseconds = 0;
    stream >> nanoseconds;
    all += nanoseconds / 1e9;
  }
  return all;
}

double relayKibibytes() {
  double all = 0;
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
    std::ifstream rollup("/proc/" + std::to_string(cluster().processID(relay)) + "/smaps_rollup");
    double value = 0;
    for (std::string name; rollup >> name;) {
      if (name == "Pss:" && rollup >> value) break;
    }
    all += value;
  }
  return all;
}

// A machine that does much else may be refused for a moment: it is asked again.
std::unique_ptr<RelayWire> join(int relay, const std::string& query) {
  constexpr int kAttempts = 50;
  for (int i = 0; i < kAttempts; ++i) {
    auto wire = std::make_unique<RelayWire>(cluster().port(relay));
    if (wire->upgrade(query, test::kClusterBearer).status == 101) return wire;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  throw std::runtime_error("a join was refused");
}

void registerPairing(int relay, const std::string& name) {
  constexpr int kAttempts = 50;
  int status = 0;
  for (int i = 0; i < kAttempts; ++i) {
    status = test::registerAt(cluster(), relay, name);
    if (status == 204) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  throw std::runtime_error("a registration was refused with " + std::to_string(status));
}

// A pairing whose agent answers each decision, and a phone at the same or another relay.
struct Pair {
  Pair(const std::string& name, int agentAt, int phoneAt) {
    registerPairing(agentAt, name);
    agent = join(agentAt, "role=mac&pairing=" + name);
    phone = join(phoneAt, "role=phone&deviceName=A&deviceID=A&pairing=" + name);
  }
  // From the phone to the agent, and the receipt back.
  double decide(const std::string& text) const {
    const auto begin = steady_clock::now();
    phone->sendFrame(test::Opcode::text, text);
    agent->read("approval.request");
    phone->read("relay.receipt");
    return std::chrono::duration<double, std::micro>(steady_clock::now() - begin).count();
  }
  std::unique_ptr<RelayWire> agent;
  std::unique_ptr<RelayWire> phone;
};

std::string decisionText() {
  auto message = relayserver::request("d1");
  message["encryptedRequest"]["ciphertext"] = std::string(1024, 'A');
  return message.dump();
}

// `state.range(0)`: relays that have rooms; `state.range(1)`: whether phones come in elsewhere.
void decisions(benchmark::State& state) {
  static int run = 0;
  const std::string text = decisionText();
  for (auto _ : state) {
    ++run;
    std::vector<std::unique_ptr<Pair>> pairs;
    const int relays = static_cast<int>(state.range(0));
    for (int i = 0; i < kPairings; ++i) {
      const int home = i % relays;
      const int edge = state.range(1) != 0 ? (home + 1) % ClusterOfRelays::kRelays : home;
      pairs.push_back(std::make_unique<Pair>("run-" + std::to_string(run) + "-" + std::to_string(i), home, edge));
    }
    const double before = relaySeconds();
    const auto begin = steady_clock::now();
    std::vector<std::vector<double>> times(pairs.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      threads.emplace_back([&, i] {
        const int count = benchmarks::sized(500);
        for (int k = 0; k < count; ++k) times[i].push_back(pairs[i]->decide(text));
      });
    }
    for (auto& thread : threads) thread.join();
    const double took = std::chrono::duration<double>(steady_clock::now() - begin).count();
    std::vector<double> all;
    for (const auto& some : times) all.insert(all.end(), some.begin(), some.end());
    std::sort(all.begin(), all.end());
    const auto count = static_cast<double>(all.size());
    state.counters["decisions_a_second"] = count / took;
    state.counters["us_median"] = all[all.size() / 2];
    state.counters["us_p99"] = all[all.size() * 99 / 100];
    state.counters["relay_us_a_decision"] = (relaySeconds() - before) * 1e6 / count;
    state.SetIterationTime((relaySeconds() - before) / count);
  }
}
BENCHMARK(decisions)
    ->Args({1, 0})
    ->Args({2, 0})
    ->Args({3, 0})
    ->Args({1, 1})
    ->Args({3, 1})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

// Agents that join anew at so many relays as the argument says, one after another: a transaction each.
void joins(benchmark::State& state) {
  static int run = 0;
  for (auto _ : state) {
    const int joinCount = benchmarks::sized(300);
    std::vector<std::unique_ptr<RelayWire>> wires;
    std::vector<std::string> names;
    for (int i = 0; i < joinCount; ++i) {
      names.push_back("join-" + std::to_string(run) + "-" + std::to_string(i));
      registerPairing(0, names.back());
    }
    const auto begin = steady_clock::now();
    for (int i = 0; i < joinCount; ++i) {
      wires.push_back(
          join(i % static_cast<int>(state.range(0)), "role=mac&pairing=" + names[static_cast<std::size_t>(i)]));
    }
    const double took = std::chrono::duration<double>(steady_clock::now() - begin).count();
    state.counters["joins_a_second_one_by_one"] = joinCount / took;
    state.SetIterationTime(took / joinCount);
    ++run;
  }
}
BENCHMARK(joins)->Arg(1)->Arg(2)->Arg(3)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

// KiB of all relays for a silent agent and a phone, in place of the time. The argument: whether the phone comes in
// elsewhere.
void idlePairings(benchmark::State& state) {
  static int run = 0;
  for (auto _ : state) {
    const int idle = benchmarks::sized(300);
    std::vector<std::unique_ptr<Pair>> pairs;
    const double before = relayKibibytes();
    for (int i = 0; i < idle; ++i) {
      const int home = i % ClusterOfRelays::kRelays;
      const int edge = state.range(0) != 0 ? (home + 1) % ClusterOfRelays::kRelays : home;
      pairs.push_back(std::make_unique<Pair>("idle-" + std::to_string(run) + "-" + std::to_string(i), home, edge));
    }
    const double kibibytes = (relayKibibytes() - before) / idle;
    state.counters["KiB_a_pairing"] = kibibytes;
    state.SetIterationTime(kibibytes);
    ++run;
  }
}
BENCHMARK(idlePairings)->Arg(0)->Arg(1)->Iterations(1)->UseManualTime();

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  if (!quillard::test::EtcdMembers::isInstalled()) {
    std::printf("%s\n", quillard::test::EtcdMembers::kMissing);
    return 0;
  }
  const auto decisions = [](int relays, bool isElsewhere, const std::string& counter = "") {
    return "decisions/" + std::to_string(relays) + (isElsewhere ? "/1" : "/0") + "/iterations:1/manual_time" +
           (counter.empty() ? "" : ":" + counter);
  };
  const auto joins = [](int relays) { return "joins/" + std::to_string(relays) + "/iterations:1/manual_time"; };
  const auto idle = [](int where) { return "idlePairings/" + std::to_string(where) + "/iterations:1/manual_time"; };
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{decisions(1, true), decisions(1, false),
        "a tunnel costs a decision less of the relays' time than the decision itself: at most 2.5"},
       {decisions(3, true), decisions(3, false), "the same with three relays"},
       {decisions(1, true, "us_median"), decisions(1, false, "us_median"), "median there and back through a tunnel"},
       {decisions(2, false), decisions(1, false), "a decision costs two relays what it costs one: at most 1.3"},
       {decisions(3, false), decisions(1, false), "a decision costs three relays what it costs one: at most 1.3"},
       {decisions(2, false, "decisions_a_second"), decisions(1, false, "decisions_a_second"),
        "decisions a second of two relays; with more processors than two it grows"},
       {decisions(3, false, "decisions_a_second"), decisions(1, false, "decisions_a_second"), "and of three"},
       {decisions(3, false, "us_median"), decisions(1, false, "us_median"), "median with three relays"},
       {decisions(3, false, "us_p99"), decisions(1, false, "us_p99"), "99th percentile with three relays"},
       {joins(2), joins(1), "an agent that joins one of two relays"},
       {joins(3), joins(1), "an agent that joins one of three relays"},
       {idle(1), idle(0), "memory of a pairing whose phone comes in elsewhere"}});
}
