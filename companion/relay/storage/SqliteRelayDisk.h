#pragma once

#include <string>

#include "companion/relay/cluster/RelayDisk.h"
#include "companion/relay/storage/SqlitePairingStore.h"

namespace quillard::relayserver {

// A relay's own disk in the file that it would have all its pairings in, were it alone. See SqlitePairingStore.
class SqliteRelayDisk final : public RelayDisk {
 public:
  // The newest `mostRevocations` are kept. Throws PairingStore::Failure.
  SqliteRelayDisk(const std::string& file, std::size_t mostRevocations)
      : store(file), mostRevocations(mostRevocations) {}

  void keepRevocation(const std::string& pairingID, std::int64_t at) override {
    store.revoke(pairingID, at, mostRevocations);
  }
  std::vector<Revocation> revocations() override { return store.revocations(); }
  std::vector<Pairing> pairings() override { return store.pairings(); }
  void forgetPairings() override { store.forgetPairings(); }
  void probe() override { store.probe(); }

 private:
  SqlitePairingStore store;
  const std::size_t mostRevocations;
};

}  // namespace quillard::relayserver
