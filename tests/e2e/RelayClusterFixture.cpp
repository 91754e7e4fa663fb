#include "e2e/RelayClusterFixture.h"

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "companion/relay/rules/RelayWorld.h"
#include "e2e/RelayProgram.h"

namespace quillard::test {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

ClusterOfRelays::ClusterOfRelays(std::vector<std::string> more, EtcdMembers::Tls tls)
    : ClusterOfRelays(std::move(more), std::move(tls), {}) {}

ClusterOfRelays::ClusterOfRelays(std::vector<std::string> more, EtcdMembers::Tls tls, const User& user)
    : arguments(std::move(more)),
      isEngineEncrypted(!tls.certificate.empty()),
      members(3, std::move(tls)),
      ports(freePorts(2 * kRelays)) {
  if (!user.name.empty()) members.demandPassword(user.name, user.password, "quillard/");
  peerPorts.assign(ports.begin() + kRelays, ports.end());
  ports.resize(kRelays);
  processes.resize(kRelays);
  for (int relay = 0; relay < kRelays; ++relay) {
    links.emplace_back();
    for (const auto port : members.ports()) links.back().push_back(std::make_unique<CuttableLink>(port));
  }
  for (int relay = 0; relay < kRelays; ++relay) start(relay);
}

void ClusterOfRelays::start(int relay) {
  const auto at = static_cast<std::size_t>(relay);
  std::string engines;
  for (const auto& link : links[at]) {
    const std::string scheme = isEngineEncrypted ? "https" : "http";
    engines += (engines.empty() ? "" : ",") + (scheme + "://127.0.0.1:" + std::to_string(link->port()));
  }
  const std::string file = place.path() + "/" + std::to_string(relay);
  std::vector<std::string> command{"/bin/sh",
                                   "-c",
                                   R"(log=$1; shift; exec "$@" 2>> "$log")",
                                   "sh",
                                   file + ".log",
                                   relayProgram(),
                                   "--listen",
                                   "127.0.0.1:" + std::to_string(ports[at]),
                                   "--database",
                                   file + ".db",
                                   "--cluster",
                                   engines,
                                   "--cluster-name",
                                   "relay-" + std::to_string(relay),
                                   "--cluster-listen",
                                   "127.0.0.1:" + std::to_string(peerPorts[at]),
                                   "--cluster-in-clear",
                                   "--registration-burst",
                                   "100000",
                                   "--handshake-burst",
                                   "100000",
                                   "--phone-message-burst",
                                   "100000",
                                   "--agent-message-burst",
                                   "100000",
                                   "--ping-milliseconds",
                                   "1000"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  processes[at] =
      std::make_unique<ChildProcess>(ChildProcess::Start{.command = command, .environment = presentEnvironment()});
  if (!processes[at]->readLine()) throw std::runtime_error("a relay did not start: " + output());
}

void ClusterOfRelays::kill(int relay) { processes[static_cast<std::size_t>(relay)]->kill(); }

int ClusterOfRelays::end(int relay) {
  signal(relay, SIGTERM);
  return processes[static_cast<std::size_t>(relay)]->wait().value_or(-1);
}

void ClusterOfRelays::signal(int relay, int number) const {
  ::kill(processes[static_cast<std::size_t>(relay)]->id(), number);
}

void ClusterOfRelays::cutOff(int relay) {
  for (const auto& link : links[static_cast<std::size_t>(relay)]) link->cut();
}

void ClusterOfRelays::mend(int relay) {
  for (const auto& link : links[static_cast<std::size_t>(relay)]) link->mend();
}

std::string ClusterOfRelays::output() const {
  std::string all;
  for (int relay = 0; relay < kRelays; ++relay) {
    std::ifstream log(place.path() + "/" + std::to_string(relay) + ".log", std::ios::binary);
    all += "relay-" + std::to_string(relay) + ":\n" + std::string{std::istreambuf_iterator<char>(log), {}};
  }
  return all;
}

int registerAt(const ClusterOfRelays& relays, int relay, const std::string& pairing) {
  try {
    RelayWire wire(relays.port(relay));
    wire.setTimeout(seconds(3));
    return wire
        .ask("PUT", "/api/pairings/" + pairing + "/relay-token", kClusterBearer, R"({"client":"mac","version":1})")
        .status;
  } catch (const std::runtime_error&) {
    return 0;
  }
}

int joinAt(const ClusterOfRelays& relays, int relay, const std::string& query) {
  try {
    RelayWire wire(relays.port(relay));
    wire.setTimeout(seconds(3));
    return wire.upgrade(query, kClusterBearer).status;
  } catch (const std::runtime_error&) {
    return 0;
  }
}

BusyPairing::BusyPairing(const ClusterOfRelays& relays, std::string pairing, int phones)
    : relays(relays), name(std::move(pairing)), finished(static_cast<std::size_t>(phones)) {
  if (registerAt(relays, 0, name) != 204) throw std::runtime_error("a pairing could not be registered");
  threads.emplace_back([this] { runAgent(); });
  for (int phone = 0; phone < phones; ++phone) threads.emplace_back([this, phone] { runPhone(phone); });
}

void BusyPairing::stop() {
  isOver = true;
  {
    const std::lock_guard lock(mutex);
    for (const auto* wire : open) wire->interrupt();
  }
  for (auto& thread : threads) thread.join();
  threads.clear();
}

void BusyPairing::setOpen(RelayWire& wire, bool isOpen) {
  const std::lock_guard lock(mutex);
  if (isOpen) {
    open.insert(&wire);
  } else {
    open.erase(&wire);
  }
  if (isOver) wire.interrupt();
}

void BusyPairing::pause(milliseconds time) const {
  const auto end = steady_clock::now() + time;
  while (!isOver && steady_clock::now() < end) std::this_thread::sleep_for(milliseconds(10));
}

std::unique_ptr<RelayWire> BusyPairing::connect(const std::string& query, int& relay) const {
  const int chosen = relay++ % ClusterOfRelays::kRelays;
  try {
    auto wire = std::make_unique<RelayWire>(relays.port(chosen));
    wire->setTimeout(seconds(3));
    if (wire->upgrade(query, kClusterBearer).status == 101) {
      relay = chosen;  // Where it was well.
      return wire;
    }
  } catch (const std::runtime_error&) {
    return nullptr;
  }
  return nullptr;
}

// A load balancer would have found the next relay by itself: only a lap without success is a failure.
void BusyPairing::runAgent() {
  int relay = static_cast<int>(std::hash<std::string>{}(name) % ClusterOfRelays::kRelays);
  while (!isOver) {
    std::unique_ptr<RelayWire> wire;
    for (int i = 0; i < ClusterOfRelays::kRelays && !wire; ++i) wire = connect("role=mac&pairing=" + name, relay);
    if (wire) {
      agentRelay = relay;
      setOpen(*wire, true);
      wire->say(relayserver::snapshot());
      talkAsAgent(*wire);
      setOpen(*wire, false);
      ++relay;
    }
    pause(seconds(3));
  }
}

void BusyPairing::talkAsAgent(RelayWire& wire) {
  while (!isOver) {
    const auto frame = wire.readFrame();
    if (!frame || frame->opcode == Opcode::close) return;
    const auto message = Json::parse(frame->payload, nullptr, false);
    if (message.is_discarded() || message["type"] != "approval.request") continue;
    const std::string decision = message["decisionID"];
    {
      const std::lock_guard lock(mutex);
      ++arrived[decision];
    }
    wire.say(relayserver::result(decision));
  }
}

void BusyPairing::runPhone(int number) {
  int relay = number;
  int made = 0;
  milliseconds wait = seconds(1);
  const auto decisionName = [&] { return name + "-" + std::to_string(number) + "-" + std::to_string(made); };
  while (!isOver) {
    std::unique_ptr<RelayWire> wire;
    const std::string query = "role=phone&deviceName=A&pairing=" + name + "&deviceID=" + std::to_string(number);
    for (int i = 0; i < ClusterOfRelays::kRelays && !wire; ++i) wire = connect(query, relay);
    if (wire) setOpen(*wire, true);
    while (wire && !isOver && decide(*wire, number, decisionName())) {
      wait = seconds(1);
      ++made;
      pause(milliseconds(50));
    }
    if (wire) {
      setOpen(*wire, false);
      ++relay;
    }
    pause(wait * 3 / 4);
    wait = std::min<milliseconds>(wait * 2, seconds(30));
  }
}

bool BusyPairing::decide(RelayWire& wire, int phone, const std::string& decision) {
  wire.say(relayserver::request(decision));
  {
    const std::lock_guard lock(mutex);
    ++sent[decision];
  }
  while (!isOver) {
    const auto frame = wire.readFrame();
    if (!frame || frame->opcode == Opcode::close) return false;
    const auto message = Json::parse(frame->payload, nullptr, false);
    if (message.is_discarded() || message.value("decisionID", "") != decision) continue;
    if (message["type"] == "approval.result") {
      ++finished[static_cast<std::size_t>(phone)];
      return true;
    }
    const bool isDelivered = message.value("delivered", false);
    const std::lock_guard lock(mutex);
    if (isDelivered) {
      ++delivered[decision];
    } else {
      std::this_thread::sleep_for(milliseconds(100));
      wire.say(relayserver::request(decision));
      ++sent[decision];
    }
  }
  return false;
}

std::string BusyPairing::wrongs() {
  const std::lock_guard lock(mutex);
  std::string found;
  for (const auto& [decision, times] : delivered) {
    if (arrived[decision] < times) {
      found += decision + " was told delivered " + std::to_string(times) + " times and came " +
               std::to_string(arrived[decision]) + " times.\n";
    }
  }
  for (const auto& [decision, times] : arrived) {
    if (times > sent[decision]) found += decision + " came more often than it was sent.\n";
  }
  return found;
}

}  // namespace quillard::test
