#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace quillard::relayserver {

// How a relay of a cluster stands in it, at the moment of asking.
struct ClusterMetrics {
  bool isServing = false;                // False: it has not begun yet, or is fenced, and lets nobody in.
  bool isFresh = false;                  // It has heard of the cluster's store lately enough to let clients in.
  std::uint64_t fences = 0;              // How often it has sent everybody away because it knew too little.
  std::uint64_t unsavedRevocations = 0;  // On its own disk alone: the store has not taken them yet.
};

// The counters of the relay. They name no pairing, device or address.
struct RelayMetrics {
  std::uint64_t agents = 0;  // Connected now, as are the next.
  std::uint64_t phones = 0;
  std::uint64_t requests = 0;  // Connections that are no WebSocket.
  std::uint64_t tunnels = 0;   // To other relays of a cluster.
  std::uint64_t pairings = 0;
  std::uint64_t snapshotBytes = 0;

  std::map<std::string, std::uint64_t> messages;  // Taken, by type; "unknown" for all that the relay does not know.
  std::map<int, std::uint64_t> answers;           // By HTTP status.
  std::map<int, std::uint64_t> closes;            // By the close code that the relay gave; 0: without one.
  std::uint64_t delivered = 0;                    // Receipts of phones.
  std::uint64_t notDelivered = 0;
  std::map<std::string, std::uint64_t> pushes;  // Asked for by agents, by what became of them.
  std::uint64_t pushPosts = 0;                  // Posted to push services, each attempt.
  std::uint64_t pushesWaiting = 0;              // Now.
  // From the agent's message until a push service had it: those that took at most so many seconds, and the sum of all.
  std::map<double, std::uint64_t> pushSeconds{{0.1, 0}, {0.3, 0}, {1, 0}, {3, 0}, {10, 0}, {60, 0}};
  double pushSecondsSum = 0;
  std::uint64_t bytesReceived = 0;  // Of messages.
  std::uint64_t bytesSent = 0;
  std::uint64_t storeFailures = 0;
  std::uint64_t droppedForMemory = 0;  // Connections that were ended because too much memory was kept.
  std::uint64_t memoryBytes = 0;       // What clients make the relay keep now.
  std::optional<ClusterMetrics> cluster = std::nullopt;  // Absent: the relay is alone.
};

// As Prometheus reads it.
[[nodiscard]] std::string prometheusText(const RelayMetrics& metrics);

}  // namespace quillard::relayserver
