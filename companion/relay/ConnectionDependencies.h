#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "companion/relay/ClientAddress.h"
#include "companion/relay/EventLog.h"
#include "companion/relay/PairingRooms.h"
#include "companion/relay/RelayLimits.h"
#include "companion/relay/RelayMetrics.h"
#include "companion/relay/RelayService.h"
#include "companion/relay/RelayTime.h"

namespace quillard::relayserver {

// What has to be finished before the process may end.
struct Unfinished {
  std::size_t webSockets = 0;
  std::size_t answers = 0;
};

// What every connection uses. All of it outlives them.
struct ConnectionDependencies {
  RelayService& service;
  PairingRooms& rooms;
  const RelayLimits& limits;
  RelayMetrics& metrics;
  EventLog& log;
  Unfinished& unfinished;
  const std::vector<IpNetwork>& trustedProxies;
  std::function<Moment()> now;
};

}  // namespace quillard::relayserver
