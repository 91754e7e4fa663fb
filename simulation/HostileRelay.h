#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/MemoryPairingStore.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/RelayService.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "simulation/Chance.h"
#include "simulation/HostileNetwork.h"
#include "simulation/Identities.h"
#include "simulation/Ledger.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// A phone's end of its connection to the relay. The relay calls it when a frame arrives or the connection ends.
class PhoneLine {
 public:
  PhoneLine() = default;
  PhoneLine(const PhoneLine&) = delete;
  PhoneLine& operator=(const PhoneLine&) = delete;
  virtual ~PhoneLine() = default;
  virtual void frameArrived(const std::string& frame) = 0;
  virtual void lineEnded() = 0;
};

// What the relay tells the judge, before it does anything else with it.
struct RelayEvents {
  std::function<void(const std::string& frame, const InstallationSecrets& secrets)> agentSent;
  // The bearer token has no known identity.
  std::function<void(const std::string& frame)> unknownAgentSent;
  std::function<void(const platform::HttpRequest& request)> agentAsked;
  // Its connections broke: what it says until it has another one reaches nobody.
  std::function<void()> agentWasCutOff = [] {};
};

// The relay between the agent and the phones: the real relay's rules, and around them a network and an operator who do
// whatever they like, but have no key. How much goes wrong is `setHostility`; what is asked of it by name happens once.
class HostileRelay {
 public:
  HostileRelay(Stage& stage, Identities& identities, Ledger& ledger, RelayEvents events, std::uint64_t seed);
  ~HostileRelay();
  HostileRelay(const HostileRelay&) = delete;
  HostileRelay& operator=(const HostileRelay&) = delete;

  // Of a hundred frames, as many suffer something. Zero: the relay is honest, and the network reliable.
  void setHostility(int percent) { network.setHostility(percent); }

  // ---- What happens once.
  void dropConnections();
  // Neither answers nor accepts; all connections break.
  void goDown(Seconds duration);
  // Forgets rooms and snapshots; `losesDatabase`: pairings, too.
  void restart(bool losesDatabase);
  // Answers registrations or connections so, for a while.
  void refuse(Fault how, Seconds duration);
  void togglePresence();
  void replayOldFrame();
  void sendGarbage();
  // Nothing is wrong from now on.
  void calmDown();

  // ---- The phones' side. The line outlives its connection, which `disconnect` ends.
  [[nodiscard]] bool connect(const std::string& deviceID, const InstallationSecrets& secrets, PhoneLine& line);
  void disconnect(const std::string& deviceID);
  // A frame of the phone; lost without a connection.
  void send(const std::string& deviceID, const std::string& frame);

  // Whether an agent with this identity is connected.
  [[nodiscard]] bool hasAgent(const InstallationSecrets& secrets) const;

  // As a server does from time to time.
  void tick();

 private:
  class Core;
  class AgentPeer;
  class PhonePeer;
  struct AgentLink;
  using ConnectionHandle = platform::simulated::SimulatedWebSockets::ConnectionHandle;

  void connectionStarted(const ConnectionHandle& connection);
  [[nodiscard]] std::optional<platform::HttpOutcome> answer(const platform::HttpRequest& request);
  void expectBoundedAttempts();
  [[nodiscard]] std::optional<int> refusal(const ConnectionHandle& connection);
  void fromAgent(const std::shared_ptr<AgentLink>& link, const std::string& frame);
  void toAgent(const std::weak_ptr<AgentLink>& link, const std::string& frame);
  void deliverToAgent(const std::string& pairingID, const std::weak_ptr<AgentLink>& link, const std::string& frame);
  void toPhone(const std::string& deviceID, std::uint64_t connection, const std::string& frame);
  void leave(AgentLink& link);
  [[nodiscard]] std::shared_ptr<AgentLink> newestLink(const std::string& pairingID) const;
  [[nodiscard]] relayserver::Moment moment() const;

  Stage& stage;
  Identities& identities;
  Ledger& ledger;
  const RelayEvents events;
  Chance chance;
  HostileNetwork network;
  bool isUp = true;
  std::map<Fault, Seconds> refusals;  // Until when.
  std::deque<Seconds> attempts;       // The newest requests of the agent.
  relayserver::MemoryPairingStore store;
  std::unique_ptr<Core> core;
  std::vector<std::shared_ptr<AgentLink>> agents;
  struct PhoneLink {
    std::shared_ptr<PhonePeer> peer;
    PhoneLine* line = nullptr;
    std::uint64_t number = 0;
    std::string pairingID;
    Seconds lastToPhone{0};
    Seconds lastFromPhone{0};
  };
  std::map<std::string, PhoneLink> phones;
  std::uint64_t connectionsMade = 0;
  struct KeptFrame {
    std::string pairingID;
    std::string frame;
  };
  std::deque<KeptFrame> archive;  // What went to agents.
};

}  // namespace quillard::simulation
