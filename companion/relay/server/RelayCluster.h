#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include <boost/asio/io_context.hpp>

#include "companion/relay/cluster/ClusterAdmission.h"
#include "companion/relay/server/EtcdStore.h"
#include "companion/relay/server/OutgoingConnection.h"
#include "companion/relay/server/RelayConfiguration.h"
#include "companion/relay/server/Tunnel.h"

namespace quillard::relayserver {

// A relay's part in a cluster, over sockets: the store, the other relays, and the tunnels to them.
class RelayCluster {
 public:
  // All of it outlives it.
  struct Dependencies {
    boost::asio::io_context& loop;
    const RelayLimits& limits;
    RelayDisk& disk;
    EventLog& log;
    RelayMetrics& metrics;
    MemoryBudget& memory;
    std::function<Moment()> now;
  };
  // `configuration`: its cluster is set. Reads its files, and throws std::runtime_error that says which one it cannot
  // use.
  RelayCluster(const Dependencies& dependencies, const RelayConfiguration& configuration);
  ~RelayCluster();
  RelayCluster(const RelayCluster&) = delete;
  RelayCluster& operator=(const RelayCluster&) = delete;

  // Before anything else: where other relays reach this one.
  void begin(const PeerAddress& own);
  [[nodiscard]] RelayStore& relayStore() { return *store; }
  // Before the first `tick`.
  void attach(Pairings& pairings, PairingRooms& rooms, RelayService& service);
  // Some ten times a second.
  void tick();
  // Whether it has had its part in the cluster already.
  [[nodiscard]] bool hasServed() const { return served; }
  void reloadCertificates();
  // Gives its homes away. `done` once, after two seconds at the latest.
  void leave(std::function<void()> done);

  [[nodiscard]] ClusterMetrics metrics();
  [[nodiscard]] ClusterAdmission& admission() { return *admitting; }
  // For connections from other relays; null: in clear.
  [[nodiscard]] std::shared_ptr<boost::asio::ssl::context> serverTls() const { return tlsOfServer; }
  // What another relay asks every moment: for how many milliseconds this one has had the store.
  [[nodiscard]] HttpResponse answerNeighbour();

  // Sends a request's head to the home of its room. `done` once.
  void ask(const Forwarding& forwarding, std::string head, std::function<void(HomeReply)> done);
  void startTunnel(const Forwarding& forwarding, RelayStream client, HomeReply reply);

 private:
  struct Neighbour {
    std::string run;
    std::shared_ptr<RelayStream> stream;
    bool isAsked = false;
    Instant nextQuestion{};
    Instant answeredAt{};
  };
  struct OpenTunnel {
    std::string relay;
    std::weak_ptr<Tunnel> tunnel;
  };
  using Tunnels = std::unordered_multimap<std::string, OpenTunnel>;  // By pairing.

  void readCertificates();
  void askNeighbours();
  void askNeighbour(const std::string& name, Neighbour& neighbour, const PeerAddress& address);
  void didAnswer(const std::string& name, const std::string& run, const std::optional<HttpReply>& reply);
  void closeTunnels(const std::string& relay);
  void homeChanged(const std::string& pairingID);
  void movedAway(const std::string& pairingID);
  void fenced();

  const Dependencies dependencies;
  const ClusterConfiguration configuration;
  std::shared_ptr<boost::asio::ssl::context> tlsOfServer;
  std::shared_ptr<boost::asio::ssl::context> tlsOfClient;
  std::unique_ptr<EtcdStore> engine;
  std::unique_ptr<ClusterMember> member;
  std::unique_ptr<ClusterPairingStore> store;
  std::unique_ptr<ClusterAdmission> admitting;
  PairingRooms* rooms = nullptr;
  std::map<std::string, Neighbour> neighbours;
  Tunnels tunnels;
  bool served = false;
  const std::shared_ptr<bool> isAlive = std::make_shared<bool>(true);
};

}  // namespace quillard::relayserver
