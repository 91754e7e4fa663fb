#pragma once

#include <functional>
#include <memory>
#include <string>

#include <boost/asio/io_context.hpp>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/rules/MemoryBudget.h"
#include "companion/relay/rules/RelayTime.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

// What the home of a room has answered to a forwarded request.
struct HomeReply {
  int status = 0;       // 0: nothing came in time.
  std::string arrived;  // The answer's head, and what followed it already.
  std::optional<RelayStream> stream;
};
// Sends `head` to another relay and reads the head of its answer, both within `timeout`. `done` once, later.
void askHome(boost::asio::io_context& loop, const PeerAddress& address, std::shared_ptr<boost::asio::ssl::context> tls,
             std::string head, Duration timeout, std::function<void(HomeReply)> done);

// Copies bytes between a client and the home of its room, and knows nothing of what they mean. It holds one small
// buffer each way, so that whoever does not read stops whoever writes. It ends when either end does: what has been read
// is still written.
class Tunnel {
 public:
  // `arrived`: from the home, to be sent first. `budget`: counts its buffers, and outlives it. `onEnd`: once.
  [[nodiscard]] static std::shared_ptr<Tunnel> start(RelayStream client, RelayStream home, std::string arrived,
                                                     const MemoryBudget& budget, std::function<void()> onEnd);
  Tunnel() = default;
  Tunnel(const Tunnel&) = delete;
  Tunnel& operator=(const Tunnel&) = delete;
  virtual ~Tunnel() = default;
  // Without ceremony, after `grace`, in which the home can still say goodbye.
  virtual void closeAfter(Duration grace) = 0;
};

}  // namespace quillard::relayserver
