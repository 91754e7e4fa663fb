#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/TokenHash.h"

namespace quillard::relayserver {

// What outlives the process: which pairings there are, the hashes of their tokens, and which were revoked. Each change
// is on the disk when its call returns.
//
// A pairing is unknown -> kept -> joined -> revoked; a kept one may be purged, which is unknown again.
class PairingStore {
 public:
  struct Entry {
    std::optional<TokenHash> token;  // Absent: it was revoked.
    std::int64_t lastUsed = 0;       // When it was last used, in seconds since 1970; of a revoked one, when that was.
    bool isJoined = false;           // A client has connected with its token since it was registered.
    // Of the key that only its computer has. Absent: none was shown yet.
    std::optional<TokenHash> computerKey = std::nullopt;
  };
  // Nothing could be read or written: not a matter of the pairing. What was to be changed is as it was.
  struct Failure {
    std::string description;  // Names no pairing.
  };

  PairingStore() = default;
  PairingStore(const PairingStore&) = delete;
  PairingStore& operator=(const PairingStore&) = delete;
  virtual ~PairingStore() = default;

  // All of these throw Failure.
  virtual std::optional<Entry> find(const std::string& pairingID) = 0;
  virtual void add(const std::string& pairingID, const TokenHash& token, std::int64_t now) = 0;
  // Of one that is kept. The key of a pairing that has one is never replaced.
  virtual void setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) = 0;
  virtual void markUsed(const std::string& pairingID, std::int64_t now) = 0;
  // Marks it as used, too.
  virtual void markJoined(const std::string& pairingID, std::int64_t now) = 0;
  // Also of a pairing that is not kept. Keeps the newest `most` revocations.
  virtual void revoke(const std::string& pairingID, std::int64_t now, std::size_t most) = 0;
  // Forgets the kept ones that were last used before then, and those that no client has joined before `unjoinedBefore`,
  // and names them.
  virtual std::vector<std::string> purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) = 0;
  // Forgets the oldest one that no client has joined. False: there is none.
  virtual bool forgetOldestUnjoined() = 0;
  // Forgets the one that was not used for the longest time, if that was before then, and names it. Absent: there is
  // none.
  virtual std::optional<std::string> forgetLeastUsed(std::int64_t usedBefore) = 0;
  // How many are kept; revoked ones do not count.
  virtual std::size_t count() = 0;
  // Of these, those that no client has joined.
  virtual std::size_t countUnjoined() = 0;
  // Writes something that changes nothing, to find out whether writing works: a full disk can still be read.
  virtual void probe() = 0;

  // For how many seconds changes have kept the thread waiting since this was last asked. Zero: it is not known.
  [[nodiscard]] virtual double takeWaited() { return 0; }
};

}  // namespace quillard::relayserver
