#pragma once

#include <functional>
#include <memory>
#include <string>

#include "companion/relay/server/OutgoingConnection.h"

namespace quillard::relayserver {

// A request whose answer goes on for as long as both ends live, line by line.
class EtcdWatch {
 public:
  struct Listener {
    std::function<void(const std::string& line)> line;
    std::function<void()> ended;  // Once; not after `stop`.
  };
  // Begins now. `stop` ends it.
  [[nodiscard]] static std::shared_ptr<EtcdWatch> start(boost::asio::io_context& loop, const PeerAddress& address,
                                                        std::shared_ptr<boost::asio::ssl::context> tls,
                                                        std::string request, Listener listener);
  EtcdWatch() = default;
  EtcdWatch(const EtcdWatch&) = delete;
  EtcdWatch& operator=(const EtcdWatch&) = delete;
  virtual ~EtcdWatch() = default;
  virtual void stop() = 0;
};

}  // namespace quillard::relayserver
