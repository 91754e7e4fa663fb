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

int registerSoon(const ClusterOfRelays& relays, int relay, const std::string& pairing) {
  const auto latest = steady_clock::now() + kBack;
  int status = registerAt(relays, relay, pairing);
  while ((status == 0 || status == 503) && steady_clock::now() < latest) {
    std::this_thread::sleep_for(milliseconds(50));
    status = registerAt(relays, relay, pairing);
  }
  return status;
}

std::unique_ptr<RelayWire> joinSoon(const ClusterOfRelays& relays, int relay, const std::string& query, int& status) {
  const auto latest = steady_clock::now() + kBack;
  do {
    auto wire = std::make_unique<RelayWire>(relays.port(relay));
    status = wire->upgrade(query, kClusterBearer).status;
    if (status == 101) return wire;
    std::this_thread::sleep_for(milliseconds(50));
  } while ((status == 0 || status == 503) && steady_clock::now() < latest);
  return nullptr;
}

BusyPairing::BusyPairing(const ClusterOfRelays& relays, std::string pairing, int count)
    : relays(relays), name(std::move(pairing)), finished(static_cast<std::size_t>(count)) {
  if (registerSoon(relays, 0, name) != 204) throw std::runtime_error("a pairing could not be registered");
  agent = std::thread([this] { runAgent(); });
  for (int phone = 0; phone < count; ++phone) phones.emplace_back([this, phone] { runPhone(phone); });
}

void BusyPairing::stop() {
  interrupt(isOver);
  for (auto& thread : phones) thread.join();
  phones.clear();
  if (!agent.joinable()) return;
  awaitDelivered();
  interrupt(isAgentOver);
  agent.join();
  for (auto& thread : leftovers) thread.join();
  leftovers.clear();
}

void BusyPairing::interrupt(std::atomic<bool>& end) {
  end = true;
  const std::lock_guard lock(mutex);
  for (const auto& [wire, over] : open) {
    if (*over) wire->interrupt();
  }
}

// A phone may have read a receipt while the agent had not come to read the request.
void BusyPairing::awaitDelivered() {
  const auto latest = steady_clock::now() + kBack;
  while (!wrongs().empty() && steady_clock::now() < latest) std::this_thread::sleep_for(milliseconds(10));
}

void BusyPairing::setOpen(RelayWire& wire, bool isOpen, const std::atomic<bool>& over) {
  const std::lock_guard lock(mutex);
  if (isOpen) {
    open.emplace(&wire, &over);
  } else {
    open.erase(&wire);
  }
  if (over) wire.interrupt();
}

void BusyPairing::pause(milliseconds time, const std::atomic<bool>& over) {
  const auto end = steady_clock::now() + time;
  while (!over && steady_clock::now() < end) std::this_thread::sleep_for(milliseconds(10));
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
  while (!isAgentOver) {
    std::unique_ptr<RelayWire> wire;
    for (int i = 0; i < ClusterOfRelays::kRelays && !wire; ++i) wire = connect("role=mac&pairing=" + name, relay);
    if (wire) {
      agentRelay = relay;
      setOpen(*wire, true, isAgentOver);
      wire->say(relayserver::snapshot());
      talkAsAgent(*wire);
      leftovers.emplace_back([this, left = std::shared_ptr<RelayWire>(std::move(wire))] {
        readRest(*left);
        setOpen(*left, false, isAgentOver);
      });
      ++relay;
    }
    pause(seconds(3), isAgentOver);
  }
}

void BusyPairing::talkAsAgent(RelayWire& wire) {
  while (!isAgentOver) {
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

void BusyPairing::readRest(RelayWire& wire) {
  wire.setTimeout(kBack);
  wire.endSending();
  talkAsAgent(wire);
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
    if (wire) setOpen(*wire, true, isOver);
    while (wire && !isOver && decide(*wire, number, decisionName())) {
      wait = seconds(1);
      ++made;
      pause(milliseconds(50), isOver);
    }
    if (wire) {
      setOpen(*wire, false, isOver);
      ++relay;
    }
    pause(wait * 3 / 4, isOver);
    wait = std::min<milliseconds>(wait * 2, seconds(30));
  }
}

// The agent may have gone after it was handed the request, and be back at the same relay: whoever has no outcome asks
// again, as phones do. Each second, at least, a frame comes.
bool BusyPairing::decide(RelayWire& wire, int phone, const std::string& decision) {
  constexpr seconds kAskAgain{3};
  auto asked = steady_clock::now();
  const auto ask = [&] {
    {
      const std::lock_guard lock(mutex);
      ++sent[decision];
    }
    asked = steady_clock::now();
    wire.say(relayserver::request(decision));
  };
  ask();
  while (!isOver) {
    const auto frame = wire.readFrame();
    if (!frame || frame->opcode == Opcode::close) return false;
    const auto message = Json::parse(frame->payload, nullptr, false);
    if (message.is_discarded() || message.value("decisionID", "") != decision) {
      if (steady_clock::now() - asked > kAskAgain) ask();
      continue;
    }
    if (message["type"] == "approval.result") {
      ++finished[static_cast<std::size_t>(phone)];
      return true;
    }
    if (message.value("delivered", false)) {
      const std::lock_guard lock(mutex);
      ++delivered[decision];
    } else {
      std::this_thread::sleep_for(milliseconds(100));
      ask();
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
