#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "companion/relay/rules/PairingStore.h"

namespace quillard::relayserver {

// What a relay of a cluster keeps on a disk of its own beside the cluster's store: the revocations that its agents
// asked for, so that none is lost with the store; and the pairings that it had before it joined the cluster. Every
// operation throws PairingStore::Failure.
class RelayDisk {
 public:
  struct Revocation {
    std::string pairingID;
    std::int64_t at = 0;
  };
  struct Pairing {
    std::string pairingID;
    PairingStore::Entry entry;
  };

  RelayDisk() = default;
  RelayDisk(const RelayDisk&) = delete;
  RelayDisk& operator=(const RelayDisk&) = delete;
  virtual ~RelayDisk() = default;

  virtual void keepRevocation(const std::string& pairingID, std::int64_t at) = 0;
  virtual std::vector<Revocation> revocations() = 0;
  // Of the time before.
  virtual std::vector<Pairing> pairings() = 0;
  virtual void forgetPairings() = 0;
  // Writes something that changes nothing.
  virtual void probe() = 0;
};

}  // namespace quillard::relayserver
