#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "contract/support/EtcdMembers.h"
#include "e2e/CuttableLink.h"
#include "e2e/RelayWire.h"

namespace quillard::test {

// Three relays over three members of etcd, each of which can be killed, stopped, woken and cut off.
class ClusterOfRelays {
 public:
  static constexpr int kRelays = 3;

  // `tls`: of etcd.
  explicit ClusterOfRelays(std::vector<std::string> arguments = {}, EtcdMembers::Tls tls = {});
  // With etcd asking for a user and password, which `arguments` name.
  struct User {
    std::string name;
    std::string password;
  };
  ClusterOfRelays(std::vector<std::string> arguments, EtcdMembers::Tls tls, const User& user);

  [[nodiscard]] std::uint16_t port(int relay) const { return ports[static_cast<std::size_t>(relay)]; }
  // Where it listens for the other relays.
  [[nodiscard]] std::uint16_t peerPort(int relay) const { return peerPorts[static_cast<std::size_t>(relay)]; }
  [[nodiscard]] pid_t processID(int relay) const { return processes[static_cast<std::size_t>(relay)]->id(); }
  void start(int relay);
  void kill(int relay);
  // In an orderly way. Its exit code.
  int end(int relay);
  void signal(int relay, int number) const;
  // From all members of etcd.
  void cutOff(int relay);
  void mend(int relay);
  [[nodiscard]] EtcdMembers& etcd() { return members; }
  // All that they said to the log.
  [[nodiscard]] std::string output() const;

 private:
  const std::vector<std::string> arguments;
  const bool isEngineEncrypted;
  const TemporaryFolder place;
  EtcdMembers members;
  std::vector<std::vector<std::unique_ptr<CuttableLink>>> links;  // Of each relay, to each member.
  std::vector<std::uint16_t> ports;
  std::vector<std::uint16_t> peerPorts;
  std::vector<std::unique_ptr<ChildProcess>> processes;
};

// An agent and its phones, who come back as the protocol says, each to the next relay that lets them in, and who decide
// one prompt after another. All of it is written down, to be judged afterwards.
class BusyPairing {
 public:
  BusyPairing(const ClusterOfRelays& relays, std::string name, int phones);
  ~BusyPairing() { stop(); }
  BusyPairing(const BusyPairing&) = delete;
  BusyPairing& operator=(const BusyPairing&) = delete;
  void stop();

  // How many decisions the phone has had the outcome of.
  [[nodiscard]] int outcomes(int phone) const { return finished[static_cast<std::size_t>(phone)]; }
  // Where its agent is, or was last.
  [[nodiscard]] int home() const { return agentRelay; }
  [[nodiscard]] int phoneCount() const { return static_cast<int>(finished.size()); }

  // What must never be, in words; empty: nothing of it was.
  [[nodiscard]] std::string wrongs();

 private:
  void runAgent();
  void runPhone(int number);
  // Until its agent has read whatever a phone was told to be delivered.
  void awaitDelivered();
  // Nothing is read any more by its phones, or by nobody.
  void interrupt(std::atomic<bool>& isOver);
  // Null: it was refused, or nobody was there. The next one next time.
  std::unique_ptr<RelayWire> connect(const std::string& query, int& relay) const;
  void talkAsAgent(RelayWire& wire);
  // Reads what was handed over before the relay knew that the agent has left this connection.
  void readRest(RelayWire& wire);
  // False: the connection has ended.
  bool decide(RelayWire& wire, int phone, const std::string& decision);
  // Until it is closed, `stop` can interrupt it. `isOver`: whose it is, as below.
  void setOpen(RelayWire& wire, bool isOpen, const std::atomic<bool>& isOver);
  static void pause(std::chrono::milliseconds time, const std::atomic<bool>& isOver);

  const ClusterOfRelays& relays;
  const std::string name;
  std::vector<std::atomic<int>> finished;
  std::atomic<bool> isOver = false;       // For its phones. They end first,
  std::atomic<bool> isAgentOver = false;  // and then the agent.
  std::atomic<int> agentRelay = 0;
  std::mutex mutex;
  std::map<RelayWire*, const std::atomic<bool>*> open;
  std::map<std::string, int> arrived;    // How often the agent was handed each decision.
  std::map<std::string, int> sent;       // How often its phone has sent it.
  std::map<std::string, int> delivered;  // How often it was told so.
  std::vector<std::thread> phones;
  std::thread agent;
  std::vector<std::thread> leftovers;  // Of connections that the agent has left. Its thread's, then `stop`'s.
};

// For how long tests wait for what has to come. An agent comes back three seconds after its connection has ended; what
// is beyond is for a machine that is busy.
inline constexpr std::chrono::seconds kBack{30};

inline const std::string kClusterToken(64, 'c');
inline const WireHeaders kClusterBearer{{"Authorization", "Bearer " + kClusterToken}};

// The status of registering; 0: nobody answered.
int registerAt(const ClusterOfRelays& relays, int relay, const std::string& pairing);
// The same, and again for as long as nobody answers, or the relay says that it cannot know (503), but for `kBack`.
int registerSoon(const ClusterOfRelays& relays, int relay, const std::string& pairing);
// In the same way a WebSocket. Null: it was refused, with `status`.
std::unique_ptr<RelayWire> joinSoon(const ClusterOfRelays& relays, int relay, const std::string& query, int& status);
// The status of joining; 0: nobody answered.
int joinAt(const ClusterOfRelays& relays, int relay, const std::string& query);

}  // namespace quillard::test
