#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/RelayLimits.h"
#include "companion/relay/rules/RelayMetrics.h"
#include "companion/relay/rules/RelayService.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

class RelayCluster;

// What is under way and should be finished before the process ends.
struct Unfinished {
  std::size_t webSockets = 0;
  std::size_t answers = 0;
};

// What every connection uses. All of it outlives the connections.
struct ConnectionDependencies {
  RelayService& service;
  PairingRooms& rooms;
  MemoryBudget& memory;
  MemoryBudget& memoryOfRequests;  // Of connections that are no WebSocket, so that they do not push out those that are.
  const RelayLimits& limits;
  RelayMetrics& metrics;
  EventLog& log;
  Unfinished& unfinished;
  const std::vector<IpNetwork>& trustedProxies;
  std::function<Moment()> now;
  RelayCluster* cluster = nullptr;  // Null: this relay is the only one.
};

}  // namespace quillard::relayserver
