#pragma once

#include <functional>
#include <memory>
#include <string>

#include "companion/relay/cluster/RelayDisk.h"
#include "companion/relay/push/RelayStore.h"
#include "companion/relay/server/RelayConfiguration.h"

namespace quillard::relayserver {

// The whole relay: one process, one thread. Rooms, pairings and answers are those of companion/relay/rules; this class
// gives them sockets and the time.
//
// SIGTERM and SIGINT end it in an orderly way: for `drain` it serves on and says that it is not ready; then each
// connection gets a close message and a while to answer it; a second signal ends it immediately. SIGHUP makes it read
// its certificate again.
class RelayServer {
 public:
  // Called once, in `prepare`, when everything that can be refused before was fine. Throws PairingStore::Failure.
  using OpenStore = std::function<std::unique_ptr<RelayStore>()>;

  // The same for one of several relays.
  using OpenDisk = std::function<std::unique_ptr<RelayDisk>()>;

  RelayServer(const RelayConfiguration& configuration, OpenStore openStore, OpenDisk openDisk);
  ~RelayServer();
  RelayServer(const RelayServer&) = delete;
  RelayServer& operator=(const RelayServer&) = delete;

  // Opens all that it needs. Empty, or why it cannot.
  [[nodiscard]] std::string prepare();
  // Prints where it listens, and serves until a signal ends it. `prepare` was fine.
  void run();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation;
};

}  // namespace quillard::relayserver
