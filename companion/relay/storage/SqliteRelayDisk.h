#pragma once

#include <string>

#include "companion/relay/cluster/RelayDisk.h"
#include "companion/relay/storage/SqlitePairingStore.h"

namespace quillard::relayserver {

// A relay's own disk in the file that it would have all its pairings in, were it alone. See SqlitePairingStore.
class SqliteRelayDisk final : public RelayDisk {
 public:
  // How many tombstones of each kind are kept at most. Throws PairingStore::Failure.
  SqliteRelayDisk(const std::string& file, std::size_t mostRevocations, std::size_t mostRemovedPhones)
      : store(file), mostRevocations(mostRevocations), mostRemovedPhones(mostRemovedPhones) {
    store.forgetOldRemovals();
  }

  void keepRevocation(const std::string& pairingID, std::int64_t at) override {
    store.revoke(pairingID, at, mostRevocations);
  }
  void keepRemoval(const std::string& pairingID, const std::string& deviceID, std::int64_t at) override {
    store.removePhone(pairingID, deviceID, at, mostRemovedPhones);
  }
  std::vector<Revocation> revocations() override { return store.revocations(); }
  std::vector<Removal> removals() override { return store.removals(); }
  std::vector<Pairing> pairings() override { return store.pairings(); }
  void forgetPairings() override { store.forgetPairings(); }
  void probe() override { store.probe(); }

 private:
  SqlitePairingStore store;
  const std::size_t mostRevocations;
  const std::size_t mostRemovedPhones;
};

}  // namespace quillard::relayserver
