#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "companion/relay/cluster/RelayDisk.h"
#include "companion/relay/push/RelayStore.h"
#include "companion/relay/rules/PairingStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace quillard::relayserver {

// The store in one SQLite file of the user's own (0600), with a write-ahead log beside it. A file that an earlier
// version has written is brought up to date when it is opened.
class SqlitePairingStore final : public RelayStore {
 public:
  // Makes the file where there is none. Throws Failure: it cannot be made or opened, it is a link, it belongs to
  // another user or others may read it, or a newer version has written it.
  explicit SqlitePairingStore(const std::string& file);
  ~SqlitePairingStore() override;

  // A copy as of now into `copy`, which must not exist, while a relay goes on using `file`. `file` is only read: it
  // keeps the form that the version which wrote it gave it, and the copy has the same. Mode 0600. Throws Failure.
  static void backUp(const std::string& file, const std::string& copy);

  std::optional<Entry> find(const std::string& pairingID) override;
  void add(const std::string& pairingID, const TokenHash& token, std::int64_t now) override;
  void setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) override;
  void markUsed(const std::string& pairingID, std::int64_t now) override;
  void markJoined(const std::string& pairingID, std::int64_t now) override;
  void revoke(const std::string& pairingID, std::int64_t now, std::size_t most) override;
  std::vector<std::string> purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) override;
  bool forgetOldestUnjoined() override;
  std::optional<std::string> forgetLeastUsed(std::int64_t usedBefore) override;
  void probe() override;
  double takeWaited() override { return std::exchange(waited, 0); }
  std::size_t count() override;
  std::size_t countUnjoined() override;

  std::optional<std::string> pushSecret() override;
  void offerPushSecret(const std::string& secret) override;
  std::vector<PushSubscription> pushSubscriptions(const std::string& pairingID) override;
  void keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                            std::size_t most) override;
  void erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) override;

  // All that is kept, for a relay that belongs to a cluster: see RelayDisk.
  std::vector<RelayDisk::Revocation> revocations();
  std::vector<RelayDisk::Pairing> pairings();
  // The pairings, not the revocations.
  void forgetPairings();

 private:
  class Statement;
  SqlitePairingStore() = default;
  void open(const std::string& file, int flags);
  void execute(const char* sql);
  void prepareSchema();
  // Runs all of `changes` or nothing.
  template <class Changes>
  void inTransaction(Changes changes);
  [[noreturn]] void fail(const char* what) const;

  struct Close {
    void operator()(sqlite3* opened) const;
    void operator()(sqlite3_stmt* prepared) const;
  };
  std::unique_ptr<sqlite3, Close> connection;
  double waited = 0;
  // By their SQL, each a constant of its own: preparing one takes longer than running it.
  mutable std::unordered_map<const char*, std::unique_ptr<sqlite3_stmt, Close>> statements;
};

}  // namespace quillard::relayserver
