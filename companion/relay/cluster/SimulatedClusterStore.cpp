#include "companion/relay/cluster/SimulatedClusterStore.h"

#include <algorithm>
#include <utility>

namespace quillard::relayserver {
namespace {

constexpr std::chrono::seconds kTimeout{4};
constexpr std::chrono::milliseconds kPoll{5};

}  // namespace

// ---- The engine

void SimulatedClusterEngine::at(Instant when, std::function<void()> act) { due.emplace(when, std::move(act)); }

void SimulatedClusterEngine::advance(Duration by) {
  const Instant end = present + by;
  while (!due.empty() && due.begin()->first <= end) {
    const auto act = std::move(due.begin()->second);
    present = std::max(present, due.begin()->first);
    due.erase(due.begin());
    endLeases();
    act();
  }
  present = end;
  endLeases();
}

void SimulatedClusterEngine::setAvailable(bool available) {
  isAvailable = available;
  for (auto& [number, lease] : leases) lease.end = present + lease.length;
}

void SimulatedClusterEngine::compact() {
  compactedTo = revision;
  history.clear();
}

void SimulatedClusterEngine::lose(const std::string& key) { values.erase(key); }

std::optional<std::string> SimulatedClusterEngine::value(const std::string& key) const {
  const auto found = values.find(key);
  return found == values.end() ? std::nullopt : std::optional(found->second.value);
}

bool SimulatedClusterEngine::holds(const ClusterCondition& condition) const {
  const auto found = values.find(condition.key);
  const Revision modified = found == values.end() ? 0 : found->second.modified;
  switch (condition.kind) {
    case ClusterCondition::Kind::modifiedAt:
      return modified == condition.modified;
    case ClusterCondition::Kind::isThere:
      return modified != 0;
    case ClusterCondition::Kind::isAbsent:
      return modified == 0;
  }
  return false;
}

void SimulatedClusterEngine::erase(const std::string& key) {
  if (values.erase(key) > 0) history.push_back({key, std::nullopt, revision});
}

void SimulatedClusterEngine::change(const ClusterChange& change) {
  if (change.kind == ClusterChange::Kind::put) {
    values[change.key] = {change.value, revision, change.lease};
    history.push_back({change.key, change.value, revision});
    return;
  }
  std::vector<std::string> keys{change.key};
  if (change.kind == ClusterChange::Kind::erasePrefix) {
    keys.clear();
    for (auto found = values.lower_bound(change.key); found != values.end() && found->first.starts_with(change.key);
         ++found) {
      keys.push_back(found->first);
    }
  }
  for (const auto& key : keys) erase(key);
}

void SimulatedClusterEngine::endLeases() {
  if (!isAvailable) return;
  std::vector<LeaseNumber> ended;
  for (const auto& [number, lease] : leases) {
    if (lease.end <= present) ended.push_back(number);
  }
  for (const LeaseNumber number : ended) {
    leases.erase(number);
    ++revision;
    std::vector<std::string> keys;
    for (const auto& [key, stored] : values) {
      if (stored.lease == number) keys.push_back(key);
    }
    for (const auto& key : keys) erase(key);
  }
}

ClusterTransactionResult SimulatedClusterEngine::transact(const ClusterTransaction& transaction) {
  ClusterTransactionResult result;
  result.succeeded = std::all_of(transaction.conditions.begin(), transaction.conditions.end(),
                                 [this](const ClusterCondition& condition) { return holds(condition); });
  if (result.succeeded && !transaction.changes.empty()) {
    ++revision;
    for (const auto& each : transaction.changes) change(each);
  }
  result.revision = revision;
  for (const auto& key : transaction.reads) {
    const auto found = values.find(key);
    if (found != values.end()) result.found.push_back({key, found->second.value, found->second.modified});
  }
  return result;
}

// ---- A client

template <class Result>
void SimulatedClusterStore::ask(std::function<std::optional<Result>()> act, Done<Result> done) {
  const auto answer = [this, done = std::move(done), alive = isAlive](Duration after, std::optional<Result> result) {
    engine.at(engine.now() + after, [done, alive, result = std::move(result)] {
      if (*alive) done(result);
    });
  };
  if (isCutOff) return answer(kTimeout, std::nullopt);
  engine.at(engine.now() + latency, [this, act = std::move(act), answer, alive = isAlive] {
    if (!*alive) return;
    if (!engine.isAvailable) return answer(kTimeout, std::nullopt);
    auto result = act();
    const bool isLost = losesAnswers || isCutOff;
    answer(isLost ? Duration(kTimeout) : latency, isLost ? std::nullopt : std::move(result));
  });
}

void SimulatedClusterStore::transact(ClusterTransaction transaction, Done<ClusterTransactionResult> done) {
  ask<ClusterTransactionResult>(
      [this, transaction = std::move(transaction)]() -> std::optional<ClusterTransactionResult> {
        // As the engine does, which refuses all of it.
        for (const auto& change : transaction.changes) {
          if (change.lease != 0 && !engine.leases.contains(change.lease)) return std::nullopt;
        }
        return engine.transact(transaction);
      },
      std::move(done));
}

void SimulatedClusterStore::readAll(const std::string& prefix, Done<ClusterReading> done) {
  ask<ClusterReading>(
      [this, prefix]() -> std::optional<ClusterReading> {
        ClusterReading reading{.revision = engine.revision};
        for (const auto& [key, stored] : engine.values) {
          if (key.starts_with(prefix)) reading.entries.push_back({key, stored.value, stored.modified});
        }
        return reading;
      },
      std::move(done));
}

void SimulatedClusterStore::takeLease(int seconds, Done<LeaseNumber> done) {
  ask<LeaseNumber>(
      [this, seconds]() -> std::optional<LeaseNumber> {
        const std::chrono::seconds length(seconds);
        engine.leases[++engine.leasesTaken] = {length, engine.now() + length};
        return engine.leasesTaken;
      },
      std::move(done));
}

void SimulatedClusterStore::keepLease(LeaseNumber lease, Done<bool> done) {
  ask<bool>(
      [this, lease]() -> std::optional<bool> {
        const auto found = engine.leases.find(lease);
        if (found == engine.leases.end()) return false;
        found->second.end = engine.now() + found->second.length;
        return true;
      },
      std::move(done));
}

void SimulatedClusterStore::watch(Revision first, ClusterWatcher newWatcher) {
  watcher = std::move(newWatcher);
  nextWatched = first;
  hasSilentWatch = false;
  poll(++watches, kPoll + watchDelay);
}

void SimulatedClusterStore::poll(std::uint64_t number, Duration after) {
  engine.at(engine.now() + after, [this, number, alive = isAlive] {
    if (!*alive || number != watches) return;
    if (isCutOff || hasSilentWatch || !engine.isAvailable) return poll(number, kPoll);
    if (nextWatched <= engine.compactedTo) {
      ++watches;
      const auto told = watcher;  // It may make a new watch.
      return told.compacted();
    }
    std::vector<ClusterEvent> events;
    for (const auto& event : engine.history) {
      if (event.modified >= nextWatched) events.push_back(event);
    }
    if (!events.empty()) nextWatched = events.back().modified + 1;
    poll(number, kPoll);
    const auto told = watcher;
    if (!events.empty()) told.events(events);
  });
}

}  // namespace quillard::relayserver
