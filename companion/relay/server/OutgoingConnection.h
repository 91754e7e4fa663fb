#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/io_context.hpp>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/rules/RelayTime.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

// Connects this relay with another server. With `tls` the other end has to have a certificate for its host that the
// context's authority has signed. `done` once, later; absent: not in that time, or not at all.
void connectTo(boost::asio::io_context& loop, const PeerAddress& address,
               std::shared_ptr<boost::asio::ssl::context> tls, Duration timeout,
               std::function<void(std::optional<RelayStream>)> done);

struct HttpReply {
  int status = 0;
  std::string body;
  bool keepsAlive = false;
};
// Sends a request as it stands and reads the answer, `longest` bytes at most. The stream has nothing else under way.
// Absent: none came in that time, or something else did; then the stream is closed.
void exchange(const std::shared_ptr<RelayStream>& stream, std::string request, std::size_t longest, Duration timeout,
              std::function<void(std::optional<HttpReply>)> done);

}  // namespace quillard::relayserver
