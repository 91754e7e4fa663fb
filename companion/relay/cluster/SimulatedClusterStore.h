#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/cluster/ClusterStore.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// A fake of the engine behind a cluster's store, in virtual time: one truth in memory, whatever happens to its clients.
class SimulatedClusterEngine {
 public:
  // All that is due until then happens, in the order of its time.
  void advance(Duration by);
  [[nodiscard]] Instant now() const { return present; }

  // Most of its members are gone: nobody gets an answer until it is back. Then leases start anew.
  void setAvailable(bool isAvailable);
  // Forgets what happened before now.
  void compact();
  // Forgets the key without telling anybody, as a backup that is older does.
  void lose(const std::string& key);

  [[nodiscard]] std::optional<std::string> value(const std::string& key) const;

 private:
  friend class SimulatedClusterStore;
  struct Stored {
    std::string value;
    Revision modified = 0;
    LeaseNumber lease = 0;
  };
  struct Lease {
    std::chrono::seconds length{};
    Instant end{};
  };

  void at(Instant when, std::function<void()> act);
  [[nodiscard]] bool holds(const ClusterCondition& condition) const;
  void change(const ClusterChange& change);
  void erase(const std::string& key);
  void endLeases();
  [[nodiscard]] ClusterTransactionResult transact(const ClusterTransaction& transaction);

  Instant present{std::chrono::hours(1)};
  bool isAvailable = true;
  Revision revision = 1;
  Revision compactedTo = 0;
  LeaseNumber leasesTaken = 0;
  std::map<std::string, Stored> values;
  std::vector<ClusterEvent> history;
  std::map<LeaseNumber, Lease> leases;
  std::multimap<Instant, std::function<void()>> due;
};

// One client's end of it.
class SimulatedClusterStore final : public ClusterStore {
 public:
  explicit SimulatedClusterStore(SimulatedClusterEngine& engine) : engine(engine) {}
  ~SimulatedClusterStore() override { *isAlive = false; }

  bool isCutOff = false;                            // It reaches nobody, and its watch says nothing.
  bool losesAnswers = false;                        // What it asks for is done, and it does not hear of it.
  bool hasSilentWatch = false;                      // The present watch says nothing; the next one does.
  Duration latency = std::chrono::milliseconds(1);  // Each way.
  Duration watchDelay{};                            // How long a new watch takes before it shows anything.

  void transact(ClusterTransaction transaction, Done<ClusterTransactionResult> done) override;
  void readAll(const std::string& prefix, Done<ClusterReading> done) override;
  void takeLease(int seconds, Done<LeaseNumber> done) override;
  void keepLease(LeaseNumber lease, Done<bool> done) override;
  void watch(Revision first, ClusterWatcher watcher) override;

 private:
  template <class Result>
  void ask(std::function<std::optional<Result>()> act, Done<Result> done);
  void poll(std::uint64_t number, Duration after);

  SimulatedClusterEngine& engine;
  std::uint64_t watches = 0;
  Revision nextWatched = 0;
  ClusterWatcher watcher;
  const std::shared_ptr<bool> isAlive = std::make_shared<bool>(true);
};

}  // namespace quillard::relayserver
