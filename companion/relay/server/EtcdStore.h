#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/cluster/ClusterStore.h"
#include "companion/relay/rules/EventLog.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

struct EtcdOptions {
  std::vector<PeerAddress> members;
  // Asked for each connection, since certificates are renewed. Empty: in clear.
  std::function<std::shared_ptr<boost::asio::ssl::context>()> tls{};
  std::string user{};  // Empty: it asks for none.
  std::string password{};
  std::string prefix = "quillard/";
  // How long a member gets to check the password, which costs it a tenth of a second of an idle processor. Twice as
  // long each time that none was checked, up to sixteen seconds.
  std::chrono::milliseconds authentication{2'000};
};

// A cluster's store in etcd, through the HTTP/JSON gateway of whichever member answers. What a member does not answer
// soon is asked of the next one, so a transaction may be done twice: its conditions have to make that harmless. What
// nobody has answered after four seconds is not known; what waits for the password to be checked is looked at with each
// call that is made.
class EtcdStore final : public ClusterStore {
 public:
  // Both outlive it.
  EtcdStore(boost::asio::io_context& loop, EtcdOptions options, EventLog& log);
  ~EtcdStore() override;

  void transact(ClusterTransaction transaction, Done<ClusterTransactionResult> done) override;
  void readAll(const std::string& prefix, Done<ClusterReading> done) override;
  void takeLease(int seconds, Done<LeaseNumber> done) override;
  void keepLease(LeaseNumber lease, Done<bool> done) override;
  void watch(Revision first, ClusterWatcher watcher) override;

 private:
  class Implementation;
  const std::shared_ptr<Implementation> implementation;
};

}  // namespace quillard::relayserver
