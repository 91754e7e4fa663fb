#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "benchmarks/Figures.h"
#include "benchmarks/MeasuredServers.h"
#include "benchmarks/RatioReporter.h"
#include "benchmarks/SizedBenchmarks.h"
#include "companion/relay/rules/RelayWorld.h"
#include "companion/relay/rules/TrafficBudget.h"

// What else a relay has to be good at: latency at half load, handshakes, one snapshot for many phones, a reader that
// does not read among many that do, and pairings that do nothing.
namespace quillard::benchmarks {
namespace {

using std::chrono::steady_clock;
using test::Opcode;
using test::RelayWire;
using Wires = std::vector<std::unique_ptr<RelayWire>>;

constexpr std::size_t kSmall = 1024;
constexpr std::size_t kLarge = 65536;

// ---- Latency

struct Latency {
  double median = 0;  // Seconds.
  double of99 = 0;    // Of a hundred, one takes longer.
};

// One message after another, as often as half of what the server could do alone on a core, whether or not the ones
// before have arrived. Each is found again by the number in its snapshotID.
Latency latencyAtHalfLoad(RelayWire& from, RelayWire& to) {
  const int warmUp = sized(10'000);
  const auto messages = sized(std::size_t{20'000});
  const auto text = snapshotOf(kSmall);
  pass(from, to, text, warmUp);
  const auto before = steady_clock::now();
  pass(from, to, text, warmUp);
  const auto interval = 2 * std::chrono::duration<double>(steady_clock::now() - before) / warmUp;

  std::vector<steady_clock::time_point> sent(messages);
  std::vector<double> taken;
  taken.reserve(messages);
  // Where the machine keeps either end waiting, no more than this are on their way: the relay bounds what waits.
  constexpr std::size_t kMostUnderWay = 128;
  std::atomic<std::size_t> read{0};
  std::thread writer([&] {
    const auto begin = steady_clock::now();
    for (std::size_t i = 0; i < sent.size(); ++i) {
      sent[i] = begin + std::chrono::duration_cast<steady_clock::duration>(interval * static_cast<double>(i));
      while (steady_clock::now() < sent[i] || i >= read + kMostUnderWay) std::this_thread::yield();
      if (!from.sendFrame(Opcode::text, text)) return;
    }
  });
  while (taken.size() < messages) {
    const auto frame = to.readFrame();
    if (!frame) break;
    if (frame->payload.size() < text.size()) continue;
    taken.push_back(std::chrono::duration<double>(steady_clock::now() - sent[taken.size()]).count());
    ++read;
  }
  const bool isDone = taken.size() == messages;
  read = messages;
  writer.join();
  if (!isDone) throw std::runtime_error("The connection ended.");
  std::sort(taken.begin(), taken.end());
  return {taken[messages / 2], taken[messages * 99 / 100]};
}

const Latency& latencyOfRelay() {
  static const Latency latency = [] {
    MeasuredRelay relay;
    relay.addPairing("home");
    const auto agent = relay.joinAgent("home");
    const auto phone = relay.joinPhone("home");
    return latencyAtHalfLoad(*agent, *phone);
  }();
  return latency;
}

const Latency& latencyOfEcho() {
  static const Latency latency = [] {
    const MeasuredEcho echo(MeasuredEcho::bare());
    const auto wire = echo.join();
    return latencyAtHalfLoad(*wire, *wire);
  }();
  return latency;
}

void report(benchmark::State& state, double seconds) {
  for (auto _ : state) state.SetIterationTime(seconds);
}
void relayMedian(benchmark::State& state) { report(state, latencyOfRelay().median); }
void relay99th(benchmark::State& state) { report(state, latencyOfRelay().of99); }
void echoMedian(benchmark::State& state) { report(state, latencyOfEcho().median); }
void echo99th(benchmark::State& state) { report(state, latencyOfEcho().of99); }

// ---- Handshakes

template <class Join>
void measureHandshakes(benchmark::State& state, const MeasuredServer& server, Join join) {
  const int handshakes = sized(2'000);
  for (auto _ : state) {
    const double before = server.processorSeconds();
    for (int i = 0; i < handshakes; ++i) (void)join();
    state.SetIterationTime((server.processorSeconds() - before) / handshakes);
  }
  state.counters["a_second_a_core"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

void relayHandshake(benchmark::State& state) {
  MeasuredRelay relay;
  relay.addPairing("home");
  measureHandshakes(state, relay, [&] { return relay.joinPhone("home"); });
}

void echoHandshake(benchmark::State& state) {
  const MeasuredEcho echo(MeasuredEcho::bare());
  measureHandshakes(state, echo, [&] { return echo.join(); });
}

// ---- What clients pay for beside messages

// Each is answered, and the next one comes when that was read.
void relayPing(benchmark::State& state) {
  MeasuredRelay relay;
  relay.addPairing("home");
  const auto agent = relay.joinAgent("home");
  (void)agent->readFrame();  // Which phones there are.
  const int pings = sized(20'000);
  constexpr int kAtOnce = 100;
  constexpr std::size_t kPong = 2;
  for (auto _ : state) {
    const double before = relay.processorSeconds();
    for (int i = 0; i < pings; i += kAtOnce) {
      for (int each = 0; each < kAtOnce; ++each) agent->sendFrame(Opcode::ping, "");
      if (agent->readRaw(kAtOnce * kPong).size() != kAtOnce * kPong) throw std::runtime_error("No pong came.");
    }
    state.SetIterationTime((relay.processorSeconds() - before) / pings);
  }
}

// By the clock: the thread waits for the disk. The close message says that it is done.
void relayRevocation(benchmark::State& state) {
  MeasuredRelay relay;
  const int revocations = sized(100);
  Wires agents;
  for (int i = 0; i < revocations; ++i) {
    const auto name = "home-" + std::to_string(i);
    relay.addPairing(name);
    agents.push_back(relay.joinAgent(name));
    (void)agents.back()->readFrame();
  }
  for (auto _ : state) {
    const auto before = steady_clock::now();
    for (const auto& agent : agents) {
      agent->say(relayserver::unpair());
      if (agent->readClose() == 0) throw std::runtime_error("No pairing was revoked.");
    }
    state.SetIterationTime(std::chrono::duration<double>(steady_clock::now() - before).count() / revocations);
  }
}

void chargedPing(benchmark::State& state) { report(state, relayserver::costOf({.controls = 1}).seconds); }
void chargedRevocation(benchmark::State& state) { report(state, relayserver::costOf({.commits = 1}).seconds); }

// ---- Many readers

// Waits until each of them has read `count` texts of this size.
void readAll(const Wires& wires, std::size_t size, int count) {
  for (const auto& wire : wires) {
    for (int read = 0; read < count;) {
      const auto frame = wire->readFrame();
      if (!frame) throw std::runtime_error("The connection ended.");
      if (frame->payload.size() >= size) ++read;
    }
  }
}

// A snapshot of 64 KiB for as many phones as the argument says.
void fanOut(benchmark::State& state) {
  const int messages = sized(300);
  MeasuredRelay relay;
  relay.addPairing("home");
  const auto agent = relay.joinAgent("home");
  Wires phones;
  for (int i = 0; i < state.range(0); ++i) phones.push_back(relay.joinPhone("home", "phone-" + std::to_string(i)));
  const auto text = snapshotOf(kLarge);
  for (auto _ : state) {
    const double before = relay.processorSeconds();
    for (int i = 0; i < messages; ++i) {
      agent->sendFrame(Opcode::text, text);
      readAll(phones, text.size(), 1);
    }
    state.SetIterationTime((relay.processorSeconds() - before) / messages);
  }
}

// 1,000 pairings get messages in turn; then the phone of one of them reads nothing any more, and the others get
// messages again. Seconds of the relay a message, the median of all rounds.
struct AmongThousand {
  double without = 0;
  double withSlowReader = 0;
};

double timeOfMessage(const MeasuredRelay& relay, const Wires& agents, const Wires& phones) {
  const auto text = snapshotOf(kSmall);
  const auto rounds = sized(std::size_t{31});
  std::vector<double> taken;
  while (taken.size() < rounds) {
    const double before = relay.processorSeconds();
    for (const auto& agent : agents) agent->sendFrame(Opcode::text, text);
    readAll(phones, text.size(), 1);
    taken.push_back((relay.processorSeconds() - before) / static_cast<double>(agents.size()));
  }
  return medianOf(taken);
}

AmongThousand measureAmongThousand() {
  constexpr int kSmallBuffer = 4096;
  MeasuredRelay relay;
  Wires agents;
  Wires phones;
  for (int i = 0; i < sized(1'000); ++i) {
    const std::string name = "home-" + std::to_string(i);
    relay.addPairing(name);
    agents.push_back(relay.joinAgent(name));
    phones.push_back(relay.joinPhone(name));
  }
  relay.addPairing("slow");
  const auto slowAgent = relay.joinAgent("slow");
  const auto slowPhone = relay.joinPhone("slow", "A", kSmallBuffer);
  AmongThousand result;
  result.without = timeOfMessage(relay, agents, phones);
  const auto large = snapshotOf(kLarge);
  constexpr int kUntilItWaits = 40;
  for (int i = 0; i < kUntilItWaits; ++i) slowAgent->sendFrame(Opcode::text, large);
  result.withSlowReader = timeOfMessage(relay, agents, phones);
  return result;
}

const AmongThousand& amongThousand() {
  static const AmongThousand result = measureAmongThousand();
  return result;
}
void messageAmongThousand(benchmark::State& state) { report(state, amongThousand().without); }
void messageBesideSlowReader(benchmark::State& state) { report(state, amongThousand().withSlowReader); }

// ---- Pairings that do nothing

// As many as the argument says, or as the limit of open files allows: an agent and a phone each, connected and silent.
// The time is KiB of each.
void measureIdle(benchmark::State& state, MeasuredRelay::Encryption encryption) {
  rlimit files{};
  ::getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &files);
  constexpr rlim_t kOthers = 400;  // More than the relay keeps back for other files than connections.
  const auto wanted = sized(static_cast<std::size_t>(state.range(0)));
  const auto pairings = std::min(wanted, (files.rlim_cur - kOthers) / 2);
  state.counters["pairings"] = static_cast<double>(pairings);
  for (auto _ : state) {
    MeasuredRelay relay(encryption);
    const double before = relay.memory();
    Wires wires;
    for (std::size_t i = 0; i < pairings; ++i) {
      const std::string name = "home-" + std::to_string(i);
      relay.addPairing(name);
      wires.push_back(relay.joinAgent(name));
      wires.push_back(relay.joinPhone(name));
    }
    const double kibibytes = (relay.memory() - before) / static_cast<double>(pairings);
    state.SetIterationTime(kibibytes);
    state.counters["KiB_a_pairing"] = kibibytes;
    state.counters["MiB_in_all"] = relay.memory() / 1024;
  }
}

void idlePairing(benchmark::State& state) { measureIdle(state, MeasuredRelay::Encryption::none); }
void idlePairingWithTls(benchmark::State& state) { measureIdle(state, MeasuredRelay::Encryption::own); }

#define QUILLARD_FIGURE(name) BENCHMARK(name)->UseManualTime()->Iterations(1)->Unit(benchmark::kMicrosecond)
QUILLARD_FIGURE(relayMedian);
QUILLARD_FIGURE(relay99th);
QUILLARD_FIGURE(echoMedian);
QUILLARD_FIGURE(echo99th);
QUILLARD_FIGURE(relayHandshake);
QUILLARD_FIGURE(echoHandshake);
QUILLARD_FIGURE(relayPing);
QUILLARD_FIGURE(chargedPing);
QUILLARD_FIGURE(relayRevocation);
QUILLARD_FIGURE(chargedRevocation);
QUILLARD_FIGURE(fanOut)->Arg(1)->Arg(8);
QUILLARD_FIGURE(messageAmongThousand);
QUILLARD_FIGURE(messageBesideSlowReader);
QUILLARD_FIGURE(idlePairing)->Arg(1'000)->Arg(10'000);
QUILLARD_FIGURE(idlePairingWithTls)->Arg(1'000);
#undef QUILLARD_FIGURE

}  // namespace
}  // namespace quillard::benchmarks

int main(int argc, char** argv) {
  const auto named = [](const std::string& name) { return name + "/iterations:1/manual_time"; };
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{named("relayMedian"), named("echoMedian"), "median at half load, beside a bare echo: at most 2.5"},
       {named("relay99th"), named("echo99th"), "99th percentile at half load: at most 2.5"},
       {named("relayHandshake"), named("echoHandshake"), "a handshake, beside a bare echo: at most 2.5"},
       {named("relay99th"), named("relayMedian"), "the relay's 99th percentile, beside its median"},
       {named("relayPing"), named("chargedPing"), "a ping, beside what it is charged: at most 1"},
       {named("relayRevocation"), named("chargedRevocation"), "a revocation on the disk, beside what it is charged"},
       {named("fanOut/8"), named("fanOut/1"), "a snapshot for eight phones instead of one: less than 8"},
       {named("messageBesideSlowReader"), named("messageAmongThousand"),
        "with a slow reader among 1,000: at most 1.05"},
       {named("idlePairing/10000"), named("idlePairing/1000"), "memory of a pairing among 10,000: at most 1.1"},
       {named("idlePairingWithTls/1000"), named("idlePairing/1000"), "memory of a pairing with the relay's own TLS"}});
}
