#pragma once

#include <memory>
#include <string>

#include "companion/relay/RelayConfiguration.h"

namespace quillard::relayserver {

// The whole relay: one process, one thread.
//
// SIGTERM and SIGINT end it in an orderly way, a second one at once; SIGHUP makes it read its certificate again.
class RelayServer {
 public:
  explicit RelayServer(const RelayConfiguration& configuration);
  ~RelayServer();
  RelayServer(const RelayServer&) = delete;
  RelayServer& operator=(const RelayServer&) = delete;

  // Opens all that it needs. Empty, or why it cannot.
  [[nodiscard]] std::string prepare();
  // Says where it listens, and serves until it is told to end.
  void run();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation;
};

}  // namespace quillard::relayserver
